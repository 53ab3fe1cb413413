#pragma once

#include <QString>

#include <memory>

// A failure handed to the user: where it comes from (domain and code), what failed
// (description) and why (reason), with the lower-level error that caused it, if any.
struct AppError {
  QString domain;
  int code = 0;
  QString description;
  QString reason;
  std::shared_ptr<const AppError> underlying;

  bool isNull() const { return domain.isEmpty() && code == 0 && description.isEmpty(); }

  // One line for the console: "description: reason (underlying: ...)".
  QString text() const {
    QString line = description;
    if (!reason.isEmpty())
      line += (line.isEmpty() ? QString() : QStringLiteral(": ")) + reason;
    if (underlying)
      line += QStringLiteral(" (underlying: %1)").arg(underlying->text());
    return line;
  }
};

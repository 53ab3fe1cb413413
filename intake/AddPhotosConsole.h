#pragma once

#include "intake/PhotoIntake.h"

#include <functional>

// The add run's messages as command-line lines: "TITLE: text" for each panel the screen would
// show, and a line naming each folder with a file name that cannot be read. The trash refusal
// has no text of its own: the caller reports the refused request from its status.
class AddPhotosConsole : public AddPhotosListener {
public:
  explicit AddPhotosConsole(std::function<void(const QString &line)> writeLine)
      : writeLine_(std::move(writeLine)) {}

  static QString lineForMessage(const AddPhotosMessage &message);

  void addPhotosMessage(const AddPhotosMessage &message) override;
  void addPhotosUnreadableName(const QString &folder) override;

private:
  std::function<void(const QString &)> writeLine_;
};

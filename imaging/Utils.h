#pragma once

#include <QDateTime>
#include <QString>

// The shared utility object: one instance for the process, made on first use. Class-level
// helpers are static members. Each group of operations lives in its own source file
// (Utils.cpp holds the size, duration and date texts), so groups can grow independently.
class Utils {
public:
  static Utils &sharedUtils();

  Utils(const Utils &) = delete;
  Utils &operator=(const Utils &) = delete;

  // --- Size, duration and date texts (Utils.cpp) ---

  // A byte count in base 1000 ("bytes", "KB", "MB", "GB", "TB"), e.g. "512 bytes",
  // "1.23 MB". flags is accepted for the callers' sake and ignored.
  QString unitStringFromBytes(double bytes, int flags);
  // h/m/s text; a duration under an hour begins with a blank (" 45 seconds").
  QString timeFormattedString(qint64 seconds);

  // Whole seconds from start to end, fraction dropped (towards zero); 0 for invalid dates.
  static qint64 getDurationBetweenDate(const QDateTime &start, const QDateTime &end);
  // The date by a Unicode date pattern in the current locale and time zone.
  static QString getDateStringFromDate(const QDateTime &date, const QString &pattern);
  // "yyyyMMddTHHmm" in the current time zone.
  static QString getDateInFormatNEW(const QDateTime &date);

private:
  Utils() = default;
};

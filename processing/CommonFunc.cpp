#include "processing/CommonFunc.h"

#include "imaging/Utils.h"
#include "platform/DateFormat.h"

namespace CommonFunc {

QString getSizeInUnits(double bytes) {
  return Utils::sharedUtils().unitStringFromBytes(bytes, 0);
}

QDateTime getDateFromString(const QString &text) {
  return platform::DateFormat::parse(text, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
}

QDateTime getDateFromString1(const QString &text) {
  return platform::DateFormat::parse(text, QStringLiteral("MM/dd/yyyy hh:mm:ss"));
}

QString getStringFromDate(const QDateTime &date) {
  return platform::DateFormat::format(date, QStringLiteral("MMM dd, yyyy"));
}

QString getDateTimeStringFromDate(const QDateTime &date) {
  return platform::DateFormat::format(date, QStringLiteral("MMM dd, yyyy hh:mm:ss a"));
}

} // namespace CommonFunc

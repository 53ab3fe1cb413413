#pragma once

#include <QDateTime>
#include <QString>

// Dates as text with Unicode date patterns (ICU), in the current locale and time zone:
// "YYYY" is the week-based year, "a" the AM/PM marker, "s" the unpadded second.
namespace platform::DateFormat {

QString format(const QDateTime &date, const QString &pattern);
// An invalid QDateTime when text does not parse wholly with pattern.
QDateTime parse(const QString &text, const QString &pattern);

} // namespace platform::DateFormat

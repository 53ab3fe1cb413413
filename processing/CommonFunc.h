#pragma once

#include <QDateTime>
#include <QString>

// Size and date texts shared by the batch screens and the summary log. Other themes of
// CommonFunc live in their own headers.
namespace CommonFunc {

// Same text as Utils::unitStringFromBytes ("0 bytes", "1.23 MB").
QString getSizeInUnits(double bytes);

// "yyyy:MM:dd HH:mm:ss", the metadata date form; an invalid date when text does not parse.
QDateTime getDateFromString(const QString &text);
// "MM/dd/yyyy hh:mm:ss"; an invalid date when text does not parse.
QDateTime getDateFromString1(const QString &text);
// "MMM dd, yyyy"; empty for an invalid date.
QString getStringFromDate(const QDateTime &date);
// "MMM dd, yyyy hh:mm:ss a"; empty for an invalid date.
QString getDateTimeStringFromDate(const QDateTime &date);

} // namespace CommonFunc

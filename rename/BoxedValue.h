#pragma once

#include <QString>
#include <QVariant>

// Settings hold boxed values that nothing validates when stored: a settings file may put a
// text where a number belongs. These readers give every value the reading the settings have
// always had, so a wrong type reads as 0 or empty instead of failing.
namespace BoxedValue {

// Numbers truncated towards zero and wrapped to 32 bits; booleans 0 or 1; a text gives its
// leading integer after blanks ("12abc" -> 12, " -3" -> -3, "abc" -> 0), clamped to 32 bits;
// anything else 0.
qint32 intValue(const QVariant &value);

// Numbers are true when not 0; a text is true when, after blanks, an optional sign and
// leading zeros, it starts with Y, y, T, t or a digit 1-9; anything else false.
bool boolValue(const QVariant &value);

// Numbers as they are; a text gives its leading decimal number ("0.85x" -> 0.85); anything
// else 0.
double doubleValue(const QVariant &value);

// A text as it is; anything else (a missing key included) the empty text.
QString stringValue(const QVariant &value);

// The same readers on one key of a rule dictionary.
inline qint32 intValue(const QVariantMap &dict, const QString &key) {
  return intValue(dict.value(key));
}
inline bool boolValue(const QVariantMap &dict, const QString &key) {
  return boolValue(dict.value(key));
}
inline QString stringValue(const QVariantMap &dict, const QString &key) {
  return stringValue(dict.value(key));
}

} // namespace BoxedValue

#pragma once

#include <QString>
#include <QVariant>

// The user's preferences store: an INI file under the XDG config folder, keys exactly
// as the application names them. Every write is flushed at once. An unreadable or
// corrupt store reads as absent keys.
namespace platform::Preferences {

bool contains(const QString &key);
QVariant value(const QString &key, const QVariant &fallback = {});
QString stringValue(const QString &key);  // "" when absent
qint64 integerValue(const QString &key);  // 0 when absent or not a number
bool boolValue(const QString &key);       // false when absent
QByteArray dataValue(const QString &key); // empty when absent
void setValue(const QString &key, const QVariant &value);
void remove(const QString &key);
// Drops every key of the application (the first-launch wipe).
void removeAll();
// Flushes to disk; false when the store cannot be written.
bool synchronize();
// The store's file, for diagnostics and tests.
QString filePath();

// How a stored text reads as a flag, as the original platform's boxed values do: true when,
// after blanks, a sign and leading zeros, it starts with Y, y, T, t or a digit 1-9.
bool textIsTrue(const QString &text);

} // namespace platform::Preferences

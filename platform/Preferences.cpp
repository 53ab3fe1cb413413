#include "platform/Preferences.h"

#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QSettings>
#include <QStringDecoder>

#include <memory>

namespace platform::Preferences {

namespace {

// One lock for every access: QSettings objects are made per call so that each call sees
// what the previous one flushed, and the lock keeps a read from meeting a half-done write.
QMutex &storeLock() {
  static QMutex lock;
  return lock;
}

std::unique_ptr<QSettings> openStore() {
  return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                     QStringLiteral("Quillmere"), QStringLiteral("Quillmere"));
}

// QSettings parses almost anything as INI; a file it wrote is UTF-8 text without control
// characters (it escapes them), so anything else is damage, not settings.
bool looksLikeIni(const QString &path) {
  QFile file(path);
  if (!file.exists())
    return true;
  if (!file.open(QIODevice::ReadOnly))
    return false;
  const QByteArray bytes = file.readAll();
  for (const char byte : bytes) {
    const auto c = static_cast<unsigned char>(byte);
    if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
      return false;
    if (c == 0x7f)
      return false;
  }
  QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
  const QString text = utf8(bytes);
  return !utf8.hasError();
}

bool readable(const QSettings &store) {
  return store.status() == QSettings::NoError && looksLikeIni(store.fileName());
}

// A store that does not parse is moved aside before the first write, so the new value
// lands in a clean file and the old bytes stay on disk for whoever wants to look.
void setAsideIfCorrupt(std::unique_ptr<QSettings> &store) {
  if (readable(*store))
    return;
  const QString path = store->fileName();
  store.reset();
  const QString aside = path + QStringLiteral(".corrupt");
  QFile::remove(aside);
  if (!QFile::rename(path, aside))
    QFile::remove(path);
  store = openStore();
}

// The Mac's boolValue on text: true at the first "Y", "y", "T", "t" or digit 1-9 after
// blanks, a sign and leading zeros.

// Leading integer of a text ("12abc" -> 12, "3.7" -> 3), 0 when there is none.
qint64 leadingInteger(const QString &text) {
  const QString trimmed = text.trimmed();
  qsizetype end = 0;
  if (end < trimmed.size() &&
      (trimmed.at(end) == QLatin1Char('+') || trimmed.at(end) == QLatin1Char('-')))
    ++end;
  while (end < trimmed.size() && trimmed.at(end).isDigit() && trimmed.at(end).unicode() < 128)
    ++end;
  bool ok = false;
  const qint64 number = trimmed.left(end).toLongLong(&ok);
  return ok ? number : 0;
}

} // namespace

bool contains(const QString &key) {
  QMutexLocker locker(&storeLock());
  auto store = openStore();
  return readable(*store) && store->contains(key);
}

QVariant value(const QString &key, const QVariant &fallback) {
  QMutexLocker locker(&storeLock());
  auto store = openStore();
  if (!readable(*store))
    return fallback;
  return store->value(key, fallback);
}

QString stringValue(const QString &key) {
  const QVariant stored = value(key);
  if (!stored.isValid() || stored.metaType().id() == QMetaType::QVariantList ||
      stored.metaType().id() == QMetaType::QStringList)
    return {};
  if (stored.metaType().id() == QMetaType::QByteArray)
    return QString::fromUtf8(stored.toByteArray());
  return stored.toString();
}

qint64 integerValue(const QString &key) {
  const QVariant stored = value(key);
  switch (stored.metaType().id()) {
  case QMetaType::Bool:
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
    return stored.toLongLong();
  case QMetaType::Double:
  case QMetaType::Float:
    return static_cast<qint64>(stored.toDouble());
  case QMetaType::QString:
    return leadingInteger(stored.toString());
  default:
    return 0;
  }
}

bool boolValue(const QString &key) {
  const QVariant stored = value(key);
  switch (stored.metaType().id()) {
  case QMetaType::Bool:
    return stored.toBool();
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
    return stored.toLongLong() != 0;
  case QMetaType::Double:
  case QMetaType::Float:
    return stored.toDouble() != 0.0;
  case QMetaType::QString:
    return textIsTrue(stored.toString());
  default:
    return false;
  }
}

QByteArray dataValue(const QString &key) {
  const QVariant stored = value(key);
  if (stored.metaType().id() != QMetaType::QByteArray)
    return {};
  return stored.toByteArray();
}

void setValue(const QString &key, const QVariant &newValue) {
  QMutexLocker locker(&storeLock());
  auto store = openStore();
  setAsideIfCorrupt(store);
  store->setValue(key, newValue);
  store->sync();
}

void remove(const QString &key) {
  QMutexLocker locker(&storeLock());
  auto store = openStore();
  setAsideIfCorrupt(store);
  store->remove(key);
  store->sync();
}

void removeAll() {
  QMutexLocker locker(&storeLock());
  auto store = openStore();
  setAsideIfCorrupt(store);
  store->clear();
  store->sync();
}

bool synchronize() {
  QMutexLocker locker(&storeLock());
  auto store = openStore();
  store->sync();
  // A store that does not parse is still writable: the next write sets it aside.
  return store->status() != QSettings::AccessError;
}

QString filePath() {
  QMutexLocker locker(&storeLock());
  return openStore()->fileName();
}

bool textIsTrue(const QString &text) {
  qsizetype i = 0;
  while (i < text.size() && text.at(i).isSpace())
    ++i;
  if (i < text.size() && (text.at(i) == QLatin1Char('+') || text.at(i) == QLatin1Char('-')))
    ++i;
  while (i < text.size() && text.at(i) == QLatin1Char('0'))
    ++i;
  if (i >= text.size())
    return false;
  const QChar c = text.at(i);
  return c == QLatin1Char('Y') || c == QLatin1Char('y') || c == QLatin1Char('T') ||
         c == QLatin1Char('t') || (c >= QLatin1Char('1') && c <= QLatin1Char('9'));
}

} // namespace platform::Preferences

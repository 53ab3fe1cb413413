#include "rename/BoxedValue.h"

#include "platform/Preferences.h"

#include <QVariantMap>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace BoxedValue {

namespace {

bool isText(const QVariant &value) {
  return value.typeId() == QMetaType::QString || value.typeId() == QMetaType::QByteArray;
}

bool isNumber(const QVariant &value) {
  switch (value.typeId()) {
  case QMetaType::Bool:
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::Long:
  case QMetaType::ULong:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
  case QMetaType::Short:
  case QMetaType::UShort:
  case QMetaType::Double:
  case QMetaType::Float:
    return true;
  default:
    return false;
  }
}

bool isFloating(const QVariant &value) {
  return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
}

// Index of the first character that is not a blank (space, tab, line end).
qsizetype skipBlanks(const QString &text) {
  qsizetype i = 0;
  while (i < text.size() && text.at(i).isSpace())
    ++i;
  return i;
}

qint32 leadingInteger(const QString &text) {
  qsizetype i = skipBlanks(text);
  bool negative = false;
  if (i < text.size() && (text.at(i) == QLatin1Char('-') || text.at(i) == QLatin1Char('+'))) {
    negative = text.at(i) == QLatin1Char('-');
    ++i;
  }
  qint64 magnitude = 0;
  const qint64 limit = qint64(std::numeric_limits<qint32>::max()) + 1;
  for (; i < text.size(); ++i) {
    const QChar c = text.at(i);
    if (c < QLatin1Char('0') || c > QLatin1Char('9'))
      break;
    magnitude = std::min(limit, magnitude * 10 + (c.unicode() - '0'));
  }
  if (negative)
    return qint32(-std::min(magnitude, limit));
  return qint32(std::min<qint64>(magnitude, std::numeric_limits<qint32>::max()));
}

qint32 clampedDouble(double d) {
  if (std::isnan(d))
    return 0;
  if (d >= 2147483647.0)
    return std::numeric_limits<qint32>::max();
  if (d <= -2147483648.0)
    return std::numeric_limits<qint32>::min();
  return qint32(d);
}

} // namespace

qint32 intValue(const QVariant &value) {
  if (isText(value))
    return leadingInteger(value.toString());
  if (!isNumber(value))
    return 0;
  if (isFloating(value))
    return clampedDouble(value.toDouble());
  if (value.typeId() == QMetaType::ULongLong)
    return qint32(quint32(value.toULongLong()));
  return qint32(quint32(quint64(value.toLongLong())));
}

bool boolValue(const QVariant &value) {
  if (isText(value))
    return platform::Preferences::textIsTrue(value.toString());
  if (!isNumber(value))
    return false;
  if (isFloating(value))
    return value.toDouble() != 0.0;
  return value.toLongLong() != 0 || value.toULongLong() != 0;
}

double doubleValue(const QVariant &value) {
  if (isText(value)) {
    // Only the leading number counts, in the C notation whatever the locale.
    const QString text = value.toString();
    const qsizetype start = skipBlanks(text);
    qsizetype end = start;
    while (end < text.size()) {
      const QChar c = text.at(end);
      if (!(c.isDigit() && c.unicode() < 128) && c != QLatin1Char('.') && c != QLatin1Char('-') &&
          c != QLatin1Char('+') && c != QLatin1Char('e') && c != QLatin1Char('E'))
        break;
      ++end;
    }
    // Shorten until the text reads as a number ("1.5e" -> "1.5", "-" -> nothing).
    for (qsizetype n = end - start; n > 0; --n) {
      bool ok = false;
      const double d = QStringView(text).mid(start, n).toDouble(&ok);
      if (ok)
        return d;
    }
    return 0.0;
  }
  if (!isNumber(value))
    return 0.0;
  return value.toDouble();
}

QString stringValue(const QVariant &value) {
  if (value.typeId() == QMetaType::QString)
    return value.toString();
  return QString();
}

} // namespace BoxedValue

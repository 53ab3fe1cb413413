#include "imaging/Utils.h"

#include "platform/DateFormat.h"

#include <array>
#include <cmath>

Utils &Utils::sharedUtils() {
  static Utils instance;
  return instance;
}

QString Utils::unitStringFromBytes(double bytes, int /*flags*/) {
  static const std::array<const char *, 5> units = {"bytes", "KB", "MB", "GB", "TB"};
  const std::size_t last = units.size() - 1;

  double value = bytes;
  std::size_t unit = 0;
  // Past the largest unit the number keeps growing instead of running off the table.
  while (value >= 1000 && unit < last) {
    value /= 1000;
    ++unit;
  }
  if (value == 0)
    return QStringLiteral("0 %1").arg(QLatin1String(units[unit]));

  value = std::floor(value * 100) / 100;

  // Values just under the next unit are shown as a fraction of it. The loop above leaves
  // only the first band reachable, but all three are the established rule.
  if (unit < last) {
    if (value > 993 && value <= 1003) {
      value = 0.97;
      ++unit;
    } else if (value > 1003 && value <= 1013) {
      value = 0.98;
      ++unit;
    } else if (value > 1013 && value <= 1024) {
      value = 0.99;
      ++unit;
    }
  }

  const QString text = unit == 0 ? QString::asprintf("%4.0f %s", value, units[unit])
                                 : QString::asprintf("%4.2f %s", value, units[unit]);
  return text.trimmed();
}

QString Utils::timeFormattedString(qint64 seconds) {
  const qint64 h = seconds / 3600;
  const qint64 m = (seconds / 60) % 60;
  const qint64 s = seconds % 60;

  const QString minutePart =
      m == 1 ? QStringLiteral(" %1 minute").arg(m) : QStringLiteral(" %1 minutes").arg(m);
  const QString secondPart =
      s == 1 ? QStringLiteral(" %1 second").arg(s) : QStringLiteral(" %1 seconds").arg(s);

  if (h >= 1) {
    const QString hourPart =
        h == 1 ? QStringLiteral("%1 hour").arg(h) : QStringLiteral("%1 hours").arg(h);
    return hourPart + minutePart + secondPart;
  }
  if (m >= 1)
    return minutePart + secondPart;
  if (s >= 1)
    return secondPart;
  return QString();
}

qint64 Utils::getDurationBetweenDate(const QDateTime &start, const QDateTime &end) {
  if (!start.isValid() || !end.isValid())
    return 0;
  // Integer division truncates towards zero, as a cast of the interval would.
  return start.msecsTo(end) / 1000;
}

QString Utils::getDateStringFromDate(const QDateTime &date, const QString &pattern) {
  return platform::DateFormat::format(date, pattern);
}

QString Utils::getDateInFormatNEW(const QDateTime &date) {
  if (!date.isValid())
    return QString();
  const QDateTime local = date.toLocalTime();
  return QString::asprintf("%04d%02d%02dT%02d%02d", local.date().year(), local.date().month(),
                           local.date().day(), local.time().hour(), local.time().minute());
}

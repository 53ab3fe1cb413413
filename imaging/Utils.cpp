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

  // divisor = 1000^unit. Past the largest unit the number keeps growing instead of
  // running off the table.
  double divisor = 1;
  std::size_t unit = 0;
  while (bytes >= divisor * 1000 && unit < last) {
    divisor *= 1000;
    ++unit;
  }
  if (bytes == 0)
    return QStringLiteral("0 %1").arg(QLatin1String(units[unit]));

  // Truncated to two decimals in decimal terms: dividing by 1000 first and then
  // scaling by 100 would turn 4,100,000 bytes into 4.0999... MB and show "4.09 MB".
  const double hundredths =
      unit == 0 ? std::floor(bytes * 100) : std::floor(bytes / (divisor / 100));
  double value = hundredths / 100;

  // Values just under the next unit are shown as a fraction of it. The unit search above
  // leaves only the first band reachable, but all three are the established rule.
  if (unit < last) {
    if (hundredths > 99300 && hundredths <= 100300) {
      value = 0.97;
      ++unit;
    } else if (hundredths > 100300 && hundredths <= 101300) {
      value = 0.98;
      ++unit;
    } else if (hundredths > 101300 && hundredths <= 102400) {
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

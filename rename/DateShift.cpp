#include "rename/DateShift.h"

#include <QRegularExpression>
#include <QStringList>

#include <cstdlib>

namespace DateShift {

bool parse(const QString &text, qint64 *seconds) {
  static const QRegularExpression pattern(QStringLiteral(R"(^([+-]?)(\d+(?::\d{1,2}){1,3})$)"));
  const QRegularExpressionMatch match = pattern.match(text.trimmed());
  if (!match.hasMatch())
    return false;
  const QStringList fields = match.captured(2).split(QLatin1Char(':'));
  qint64 days = 0;
  qint64 hours = 0;
  qint64 minutes = 0;
  qint64 secs = 0;
  bool ok = true;
  const auto number = [&ok](const QString &field) {
    bool fine = false;
    const qint64 value = field.toLongLong(&fine);
    ok = ok && fine;
    return value;
  };
  switch (fields.size()) {
  case 2:
    hours = number(fields[0]);
    minutes = number(fields[1]);
    break;
  case 3:
    days = number(fields[0]);
    hours = number(fields[1]);
    minutes = number(fields[2]);
    break;
  default:
    days = number(fields[0]);
    hours = number(fields[1]);
    minutes = number(fields[2]);
    secs = number(fields[3]);
    break;
  }
  // Hours alone may run past a day ("+36:00"); with days given they stay below 24.
  if (!ok || days > 36500 || hours > (fields.size() == 2 ? 876000 : 23) || minutes > 59 ||
      secs > 59)
    return false;
  const qint64 total = ((days * 24 + hours) * 60 + minutes) * 60 + secs;
  *seconds = match.captured(1) == QLatin1String("-") ? -total : total;
  return true;
}

QString text(qint64 seconds) {
  const QChar sign = seconds < 0 ? QLatin1Char('-') : QLatin1Char('+');
  qint64 rest = std::llabs(seconds);
  const qint64 secs = rest % 60;
  rest /= 60;
  const qint64 minutes = rest % 60;
  rest /= 60;
  const qint64 hours = rest % 24;
  const qint64 days = rest / 24;
  const auto two = [](qint64 n) { return QStringLiteral("%1").arg(n, 2, 10, QLatin1Char('0')); };
  if (secs != 0)
    return QStringLiteral("%1%2:%3:%4:%5")
        .arg(sign)
        .arg(days)
        .arg(two(hours), two(minutes), two(secs));
  if (days != 0)
    return QStringLiteral("%1%2:%3:%4").arg(sign).arg(days).arg(two(hours), two(minutes));
  return QStringLiteral("%1%2:%3").arg(sign).arg(hours).arg(two(minutes));
}

QString describe(qint64 seconds) {
  if (seconds == 0)
    return QStringLiteral("no change");
  qint64 rest = std::llabs(seconds);
  const qint64 parts[] = {rest / 86400, rest / 3600 % 24, rest / 60 % 60, rest % 60};
  const char *units[] = {"day", "hour", "minute", "second"};
  QStringList words;
  for (int i = 0; i < 4; ++i)
    if (parts[i] != 0)
      words << QStringLiteral("%1 %2%3")
                   .arg(parts[i])
                   .arg(QLatin1String(units[i]))
                   .arg(parts[i] == 1 ? QString() : QStringLiteral("s"));
  words << (seconds > 0 ? QStringLiteral("later") : QStringLiteral("earlier"));
  return words.join(QLatin1Char(' '));
}

} // namespace DateShift

#include "platform/DateFormat.h"

#include <QStringView>
#include <QTimeZone>

#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <cstdlib>
#include <memory>
#include <unordered_map>

namespace platform::DateFormat {

namespace {

icu::UnicodeString toIcu(const QString &text) {
  return icu::UnicodeString(reinterpret_cast<const char16_t *>(text.utf16()),
                            static_cast<int32_t>(text.size()));
}

QString fromIcu(const icu::UnicodeString &text) {
  return QString(reinterpret_cast<const QChar *>(text.getBuffer()), text.length());
}

std::unique_ptr<icu::TimeZone> zoneNamed(const QString &id) {
  if (id.isEmpty())
    return nullptr;
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(toIcu(id)));
  if (!zone || *zone == icu::TimeZone::getUnknown())
    return nullptr;
  return zone;
}

// The zone named by TZ as it is now (the process may change TZ while running), else the
// system's zone. ICU's own default zone is fixed at first use, so it is not relied on.
// Null when TZ holds a rule ICU has no name for ("CET-1CEST,M3.5.0,M10.5.0/3"): the C
// library's local time is then followed instead.
std::unique_ptr<icu::TimeZone> currentZone() {
  const char *raw = std::getenv("TZ");
  if (raw && *raw) {
    QString tz = QString::fromLocal8Bit(raw);
    if (tz.startsWith(QLatin1Char(':')))
      tz.remove(0, 1);
    const qsizetype zoneinfo = tz.indexOf(QStringLiteral("zoneinfo/"));
    if (tz.startsWith(QLatin1Char('/')) && zoneinfo >= 0)
      tz = tz.mid(zoneinfo + 9);
    return zoneNamed(tz);
  }
  if (auto zone = zoneNamed(QString::fromUtf8(QTimeZone::systemTimeZoneId())))
    return zone;
  return std::unique_ptr<icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

// Whether the pattern, outside quoted literals, has a field that names a zone or offset.
bool patternHasZoneField(const QString &pattern) {
  bool quoted = false;
  for (const QChar c : pattern) {
    if (c == QLatin1Char('\''))
      quoted = !quoted;
    else if (!quoted && QStringView(u"zZOvVXx").contains(c))
      return true;
  }
  return false;
}

struct Formatter {
  std::unique_ptr<icu::SimpleDateFormat> format;
  bool followsLocalTime = false; // zone set per call from the C library's offsets
  bool patternHasZone = false;
};

std::unique_ptr<Formatter> makeFormatter(const QString &pattern) {
  UErrorCode status = U_ZERO_ERROR;
  auto result = std::make_unique<Formatter>();
  result->format =
      std::make_unique<icu::SimpleDateFormat>(toIcu(pattern), icu::Locale::getDefault(), status);
  if (U_FAILURE(status))
    return nullptr;
  if (auto zone = currentZone())
    result->format->adoptTimeZone(zone.release());
  else
    result->followsLocalTime = true;
  result->patternHasZone = patternHasZoneField(pattern);
  result->format->setLenient(false);
  return result;
}

// A fixed-offset zone with the local offset at the given instant.
icu::TimeZone *offsetZone(qint64 msecs) {
  const int seconds = QDateTime::fromMSecsSinceEpoch(msecs).offsetFromUtc();
  const int minutes = std::abs(seconds) / 60;
  const QString id = QStringLiteral("GMT%1%2:%3")
                         .arg(seconds < 0 ? QLatin1Char('-') : QLatin1Char('+'))
                         .arg(minutes / 60, 2, 10, QLatin1Char('0'))
                         .arg(minutes % 60, 2, 10, QLatin1Char('0'));
  return new icu::SimpleTimeZone(seconds * 1000, toIcu(id));
}

// Building a formatter costs far more than using one, and a batch formats the same few
// patterns for every photo. ICU formatters are not thread-safe, hence one cache a thread;
// the key holds TZ so a changed time zone gets new formatters.
Formatter *formatter(const QString &pattern) {
  thread_local std::unordered_map<QString, std::unique_ptr<Formatter>> cache;
  const QString key = QString::fromLocal8Bit(std::getenv("TZ")) + QChar(0) + pattern;
  if (auto found = cache.find(key); found != cache.end())
    return found->second.get();
  auto made = makeFormatter(pattern);
  if (!made)
    return nullptr;
  if (cache.size() >= 64)
    cache.clear();
  return cache.emplace(key, std::move(made)).first->second.get();
}

} // namespace

QString format(const QDateTime &date, const QString &pattern) {
  if (!date.isValid())
    return {};
  Formatter *cached = formatter(pattern);
  if (!cached)
    return {};
  const qint64 msecs = date.toMSecsSinceEpoch();
  if (cached->followsLocalTime)
    cached->format->adoptTimeZone(offsetZone(msecs));
  icu::UnicodeString out;
  cached->format->format(static_cast<UDate>(msecs), out);
  return fromIcu(out);
}

QDateTime parse(const QString &text, const QString &pattern) {
  Formatter *cached = formatter(pattern);
  if (!cached)
    return {};
  // Without a zone ICU knows, the fields are read as UTC and then taken as local time.
  const bool wallClock = cached->followsLocalTime && !cached->patternHasZone;
  if (cached->followsLocalTime)
    cached->format->adoptTimeZone(icu::TimeZone::getGMT()->clone());
  const icu::UnicodeString input = toIcu(text);
  icu::ParsePosition position(0);
  const UDate parsed = cached->format->parse(input, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != input.length())
    return {};
  if (wallClock) {
    const QDateTime fields =
        QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(parsed), QTimeZone::utc());
    const QDateTime local(fields.date(), fields.time());
    return local.isValid() ? local : QDateTime();
  }
  return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(parsed));
}

} // namespace platform::DateFormat

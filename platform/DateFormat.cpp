#include "platform/DateFormat.h"

#include <QTimeZone>

#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <cstdlib>
#include <memory>

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
std::unique_ptr<icu::TimeZone> currentZone() {
  QString tz = QString::fromLocal8Bit(std::getenv("TZ"));
  if (tz.startsWith(QLatin1Char(':')))
    tz.remove(0, 1);
  const qsizetype zoneinfo = tz.indexOf(QStringLiteral("zoneinfo/"));
  if (tz.startsWith(QLatin1Char('/')) && zoneinfo >= 0)
    tz = tz.mid(zoneinfo + 9);
  if (auto zone = zoneNamed(tz))
    return zone;
  if (auto zone = zoneNamed(QString::fromUtf8(QTimeZone::systemTimeZoneId())))
    return zone;
  return std::unique_ptr<icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

std::unique_ptr<icu::SimpleDateFormat> formatter(const QString &pattern) {
  UErrorCode status = U_ZERO_ERROR;
  auto result =
      std::make_unique<icu::SimpleDateFormat>(toIcu(pattern), icu::Locale::getDefault(), status);
  if (U_FAILURE(status))
    return nullptr;
  if (auto zone = currentZone())
    result->adoptTimeZone(zone.release());
  result->setLenient(false);
  return result;
}

} // namespace

QString format(const QDateTime &date, const QString &pattern) {
  if (!date.isValid())
    return {};
  auto dateFormat = formatter(pattern);
  if (!dateFormat)
    return {};
  icu::UnicodeString out;
  dateFormat->format(static_cast<UDate>(date.toMSecsSinceEpoch()), out);
  return fromIcu(out);
}

QDateTime parse(const QString &text, const QString &pattern) {
  auto dateFormat = formatter(pattern);
  if (!dateFormat)
    return {};
  const icu::UnicodeString input = toIcu(text);
  icu::ParsePosition position(0);
  const UDate parsed = dateFormat->parse(input, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != input.length())
    return {};
  return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(parsed));
}

} // namespace platform::DateFormat

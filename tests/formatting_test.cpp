#include "imaging/Utils.h"
#include "processing/CommonFunc.h"
#include "tests/support/TestEnv.h"

#include <gtest/gtest.h>

// Readable failures: QString printed as text.
inline void PrintTo(const QString &text, std::ostream *out) {
  *out << '"' << text.toStdString() << '"';
}

namespace {

QDateTime utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
  return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC);
}

// Tests that move the time zone put it back, so the rest run in UTC.
class FormattingInZone : public ::testing::Test {
protected:
  void TearDown() override { testenv::setTimeZone("UTC"); }
};

// ---- Size texts ----

// Just under a unit (above 993 of the smaller one) the text is 0.97 of the larger one, so
// 994 and 999 bytes both read "0.97 KB". 1,150,000 and 4,100,000 catch a truncation done
// in binary fractions (1.149999... MB would show "1.14 MB"). Past TB the number grows: no
// invented unit.
TEST(SizeText, UnitAndTwoDecimalsAcrossTheUnitBorders) {
  const struct {
    double bytes;
    const char *text;
  } rows[] = {
      {0, "0 bytes"},        {1, "1 bytes"},       {512, "512 bytes"},    {993, "993 bytes"},
      {993.5, "0.97 KB"},    {994, "0.97 KB"},     {999, "0.97 KB"},      {1000, "1.00 KB"},
      {1999, "1.99 KB"},     {999000, "0.97 MB"},  {993000, "993.00 KB"}, {993500, "0.97 MB"},
      {999500, "0.97 MB"},   {1000000, "1.00 MB"}, {1150000, "1.15 MB"},  {4100000, "4.10 MB"},
      {4109999, "4.10 MB"},  {1234567, "1.23 MB"}, {5e9, "5.00 GB"},      {999.5e9, "0.97 TB"},
      {1e12, "1.00 TB"},     {2.5e12, "2.50 TB"},  {995e12, "995.00 TB"}, {1e15, "1000.00 TB"},
      {1.5e15, "1500.00 TB"}};
  for (const auto &row : rows) // the flags argument is ignored
    EXPECT_EQ(Utils::sharedUtils().unitStringFromBytes(row.bytes, 7), QString::fromUtf8(row.text))
        << "bytes=" << row.bytes;
}

// ---- Duration texts ----

// Under an hour the text begins with a blank: the screens and the log rely on it.
TEST(DurationText, HoursMinutesSeconds) {
  const std::pair<qint64, const char *> rows[] = {{0, ""},
                                                  {1, " 1 second"},
                                                  {45, " 45 seconds"},
                                                  {59, " 59 seconds"},
                                                  {60, " 1 minute 0 seconds"},
                                                  {61, " 1 minute 1 second"},
                                                  {120, " 2 minutes 0 seconds"},
                                                  {3599, " 59 minutes 59 seconds"},
                                                  {3600, "1 hour 0 minutes 0 seconds"},
                                                  {3661, "1 hour 1 minute 1 second"},
                                                  {7322, "2 hours 2 minutes 2 seconds"},
                                                  {90061, "25 hours 1 minute 1 second"},
                                                  {-5, ""}};
  for (const auto &[seconds, text] : rows)
    EXPECT_EQ(Utils::sharedUtils().timeFormattedString(seconds), QString::fromUtf8(text))
        << "seconds=" << seconds;
}

TEST(Duration, BetweenDatesDropsTheFraction) {
  const QDateTime start = utc(2024, 3, 5, 10, 0, 0, 250);
  // An end before the start truncates towards zero, not downwards.
  const qint64 ms[] = {0, 999, 1000, 1999, 3661900, -1500, 172800000};
  const qint64 seconds[] = {0, 0, 1, 1, 3661, -1, 172800};
  for (size_t i = 0; i < std::size(ms); ++i)
    EXPECT_EQ(Utils::getDurationBetweenDate(start, start.addMSecs(ms[i])), seconds[i]) << ms[i];
  EXPECT_EQ(Utils::getDurationBetweenDate(QDateTime(), start), 0);
}

TEST_F(FormattingInZone, CompactStampUsesTheCurrentTimeZoneAndPads) {
  const QDateTime instant = utc(2024, 12, 31, 23, 30, 0);
  EXPECT_EQ(Utils::getDateInFormatNEW(instant), QStringLiteral("20241231T2330"));
  // Every field is padded.
  EXPECT_EQ(Utils::getDateInFormatNEW(utc(2024, 3, 5, 4, 7, 59)), QStringLiteral("20240305T0407"));
  EXPECT_EQ(Utils::getDateInFormatNEW(utc(987, 1, 2, 3, 4)), QStringLiteral("09870102T0304"));
  EXPECT_EQ(Utils::getDateInFormatNEW(QDateTime()), QString());
  testenv::setTimeZone("Asia/Tokyo");
  EXPECT_EQ(Utils::getDateInFormatNEW(instant), QStringLiteral("20250101T0830"));
}

// ---- CommonFunc dates ----

// The EXIF and twelve-hour patterns: what they accept and refuse (the parser itself, time
// zones included, is tested with DateFormat).
TEST(CommonFuncDates, ExifAndTwelveHourPatterns) {
  const QDateTime taken = CommonFunc::getDateFromString("2024:03:05 14:07:09");
  ASSERT_TRUE(taken.isValid());
  EXPECT_EQ(taken.toUTC(), utc(2024, 3, 5, 14, 7, 9));
  EXPECT_EQ(CommonFunc::getStringFromDate(taken), QStringLiteral("Mar 05, 2024"));
  EXPECT_EQ(CommonFunc::getDateTimeStringFromDate(taken),
            QStringLiteral("Mar 05, 2024 02:07:09 PM"));
  // The twelve-hour form without a marker is morning.
  EXPECT_EQ(CommonFunc::getDateFromString1("03/05/2024 02:07:09").toUTC(),
            utc(2024, 3, 5, 2, 7, 9));
  EXPECT_EQ(CommonFunc::getDateFromString1("12/31/2024 12:00:00").toUTC(), utc(2024, 12, 31));

  for (const char *text : {"2024-03-05 14:07:09", "0000:00:00 00:00:00", "2024:03:05 25:00:00"})
    EXPECT_FALSE(CommonFunc::getDateFromString(QString::fromUtf8(text)).isValid()) << text;
  for (const char *text : {"", "2024:03:05 14:07:09", "13/05/2024 02:07:09", "03/05/2024"})
    EXPECT_FALSE(CommonFunc::getDateFromString1(QString::fromUtf8(text)).isValid()) << text;
}

} // namespace

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

struct SizeRow {
  double bytes;
  const char *text;
};

void PrintTo(const SizeRow &row, std::ostream *out) {
  *out << QString::number(row.bytes, 'f', 1).toStdString() << " bytes -> " << row.text;
}

class SizeText : public ::testing::TestWithParam<SizeRow> {};

TEST_P(SizeText, UnitAndTwoDecimals) {
  const SizeRow row = GetParam();
  // The flags argument is ignored.
  EXPECT_EQ(Utils::sharedUtils().unitStringFromBytes(row.bytes, 7), QString::fromUtf8(row.text))
      << "bytes=" << row.bytes;
}

// Just under a unit (above 993 of the smaller one) the text is 0.97 of the larger one, so
// 994 and 999 bytes both read "0.97 KB". 1,150,000 and 4,100,000 catch a truncation done
// in binary fractions (1.149999... MB would show "1.14 MB").
INSTANTIATE_TEST_SUITE_P(
    UnitBorders, SizeText,
    ::testing::Values(
        SizeRow{0, "0 bytes"}, SizeRow{1, "1 bytes"}, SizeRow{512, "512 bytes"},
        SizeRow{993, "993 bytes"}, SizeRow{993.5, "0.97 KB"}, SizeRow{994, "0.97 KB"},
        SizeRow{999, "0.97 KB"}, SizeRow{1000, "1.00 KB"}, SizeRow{1999, "1.99 KB"},
        SizeRow{999000, "0.97 MB"}, SizeRow{993000, "993.00 KB"}, SizeRow{993500, "0.97 MB"},
        SizeRow{999500, "0.97 MB"}, SizeRow{1000000, "1.00 MB"}, SizeRow{1150000, "1.15 MB"},
        SizeRow{4100000, "4.10 MB"}, SizeRow{4109999, "4.10 MB"}, SizeRow{1234567, "1.23 MB"},
        SizeRow{5e9, "5.00 GB"}, SizeRow{999.5e9, "0.97 TB"}, SizeRow{1e12, "1.00 TB"},
        SizeRow{2.5e12, "2.50 TB"},
        // Past TB the number grows: no invented unit.
        SizeRow{995e12, "995.00 TB"}, SizeRow{1e15, "1000.00 TB"}, SizeRow{1.5e15, "1500.00 TB"}),
    [](const auto &info) { return testenv::testName(QString::number(info.param.bytes, 'f', 1)); });

// ---- Duration texts ----

struct DurationRow {
  qint64 seconds;
  const char *text;
};

void PrintTo(const DurationRow &row, std::ostream *out) {
  *out << row.seconds << " s -> \"" << row.text << '"';
}

class DurationText : public ::testing::TestWithParam<DurationRow> {};

TEST_P(DurationText, HoursMinutesSeconds) {
  const DurationRow row = GetParam();
  EXPECT_EQ(Utils::sharedUtils().timeFormattedString(row.seconds), QString::fromUtf8(row.text))
      << "seconds=" << row.seconds;
}

// Under an hour the text begins with a blank: the screens and the log rely on it.
INSTANTIATE_TEST_SUITE_P(
    Bands, DurationText,
    ::testing::Values(DurationRow{0, ""}, DurationRow{1, " 1 second"},
                      DurationRow{45, " 45 seconds"}, DurationRow{59, " 59 seconds"},
                      DurationRow{60, " 1 minute 0 seconds"}, DurationRow{61, " 1 minute 1 second"},
                      DurationRow{120, " 2 minutes 0 seconds"},
                      DurationRow{3599, " 59 minutes 59 seconds"},
                      DurationRow{3600, "1 hour 0 minutes 0 seconds"},
                      DurationRow{3661, "1 hour 1 minute 1 second"},
                      DurationRow{7322, "2 hours 2 minutes 2 seconds"},
                      DurationRow{90061, "25 hours 1 minute 1 second"}, DurationRow{-5, ""}),
    [](const auto &info) {
      const qint64 s = info.param.seconds;
      return (s < 0 ? "minus" : "") + std::to_string(std::abs(s)) + "s";
    });

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

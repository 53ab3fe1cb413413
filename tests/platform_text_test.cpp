// Dates and property lists: the text the application exchanges with the
// system, checked against values worked out by hand.
#include "platform/DateFormat.h"
#include "platform/PropertyList.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTimeZone>
#include <gtest/gtest.h>

#include <clocale>
#include <string>

using namespace platform;

namespace {

QDateTime utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  return QDateTime(QDate(y, mo, d), QTime(h, mi, s), QTimeZone::utc());
}

class DateFormatTest : public ::testing::Test {
protected:
  void TearDown() override { testenv::setTimeZone("UTC"); }
};

} // namespace

TEST_F(DateFormatTest, WeekBasedYearFollowsTheLocaleWeeks) {
  // en_US weeks start on Sunday and week 1 holds January 1st.
  EXPECT_EQ(DateFormat::format(utc(2024, 12, 30, 12), "YYYY"), "2025");
  EXPECT_EQ(DateFormat::format(utc(2024, 12, 30, 12), "yyyy"), "2024");
}

TEST_F(DateFormatTest, TwelveHourClockAndUnpaddedFields) {
  const QDateTime date = utc(2024, 3, 14, 15, 4, 5);
  EXPECT_EQ(DateFormat::format(date, "hh:mm:s a"), "03:04:5 PM");
  EXPECT_EQ(DateFormat::format(date, "yyyy-MM-dd HH.mm.ss"), "2024-03-14 15.04.05");
  EXPECT_EQ(DateFormat::format(utc(2024, 3, 14, 0, 0, 0), "h a"), "12 AM");
}

TEST_F(DateFormatTest, ParsesWholeTextOnlyAndInvalidInputGivesEmptyText) {
  const QString pattern = "yyyy:MM:dd HH:mm:ss";
  const QDateTime parsed = DateFormat::parse("2024:03:14 21:05:07", pattern);
  ASSERT_TRUE(parsed.isValid());
  EXPECT_EQ(parsed.toUTC(), utc(2024, 3, 14, 21, 5, 7));

  EXPECT_FALSE(DateFormat::parse("2024:03:14", pattern).isValid());
  EXPECT_FALSE(DateFormat::parse("2024:03:14 21:05:07 extra", pattern).isValid());
  EXPECT_FALSE(DateFormat::parse(QString(), pattern).isValid());
  EXPECT_EQ(DateFormat::format(QDateTime(), pattern), "");
  EXPECT_EQ(DateFormat::format(utc(2024, 1, 1), QString()), "");
}

TEST_F(DateFormatTest, FollowsTheTimeZoneOfTheMoment) {
  const QDateTime instant = utc(2024, 7, 1, 12, 0, 0);
  const QString pattern = "yyyy-MM-dd HH:mm";
  EXPECT_EQ(DateFormat::format(instant, pattern), "2024-07-01 12:00");

  testenv::setTimeZone("America/New_York");
  EXPECT_EQ(DateFormat::format(instant, pattern), "2024-07-01 08:00");
  EXPECT_EQ(DateFormat::parse("2024-07-01 08:00", pattern).toUTC(), instant);

  testenv::setTimeZone("Asia/Tokyo");
  EXPECT_EQ(DateFormat::format(utc(2024, 12, 31, 20), "yyyy"), "2025");

  testenv::setTimeZone(":Europe/Paris");
  EXPECT_EQ(DateFormat::format(instant, pattern), "2024-07-01 14:00");

  // A POSIX rule has no zone name; the C library's offsets are followed, summer and winter.
  testenv::setTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(DateFormat::format(instant, pattern), "2024-07-01 14:00");
  EXPECT_EQ(DateFormat::format(utc(2024, 1, 15, 12), pattern), "2024-01-15 13:00");
  EXPECT_EQ(DateFormat::parse("2024-07-01 14:00", pattern).toUTC(), instant);
  EXPECT_EQ(DateFormat::parse("2024-01-15 13:00", pattern).toUTC(), utc(2024, 1, 15, 12));
}

TEST(PropertyListTest, NestedDictionaryRoundTripKeepsValuesAndTypes) {
  QTemporaryDir dir;
  const QString path = dir.filePath("settings.plist");
  const QVariantMap dictionary{
      {"output", QVariantMap{{"quality", 0.85},
                             {"format", "JPEG"},
                             {"tags", QVariantList{"a", qlonglong(2), true}}}},
      {"count", qlonglong(42)},
      {"negative", qlonglong(-7)},
      {"enabled", false},
      {"name", "Été 東京 📷"},
      {"archive", QByteArray("\x00\x01\xff binary", 10)},
      {"when", utc(2023, 5, 6, 7, 8, 9)},
      {"empty list", QVariantList()},
      {"empty map", QVariantMap()}};

  QString error;
  testenv::setTimeZone("America/Los_Angeles");
  ASSERT_TRUE(PropertyList::writeDictionary(path, dictionary, &error)) << error.toStdString();
  testenv::setTimeZone("UTC");
  EXPECT_TRUE(PropertyList::toXml(dictionary).contains("<date>2023-05-06T07:08:09Z</date>"));
  QVariantMap read;
  ASSERT_TRUE(PropertyList::readDictionary(path, &read, &error)) << error.toStdString();
  EXPECT_EQ(read, dictionary);
  // Integers and flags come back as such, not as each other.
  const QVariantList tags = read.value("output").toMap().value("tags").toList();
  ASSERT_EQ(tags.size(), 3);
  EXPECT_EQ(tags[1].typeId(), QMetaType::LongLong);
  EXPECT_EQ(tags[2].typeId(), QMetaType::Bool);
  EXPECT_EQ(read.value("enabled").typeId(), QMetaType::Bool);
  EXPECT_EQ(read.value("empty map").typeId(), QMetaType::QVariantMap);
}

TEST(PropertyListTest, ReadsHandWrittenXml) {
  QVariantMap read;
  QString error;
  // Dates in the file are UTC whatever the local zone is.
  testenv::setTimeZone("Asia/Tokyo");
  const bool parsed = PropertyList::readDictionary(
      testenv::dataDir() + "/platform/handwritten.plist", &read, &error);
  testenv::setTimeZone("UTC");
  ASSERT_TRUE(parsed) << error.toStdString();
  EXPECT_EQ(read.value("CFBundleIdentifier").toString(), "org.quillmere.Quillmere");
  EXPECT_EQ(read.value("Width").toLongLong(), 4032);
  EXPECT_DOUBLE_EQ(read.value("Ratio").toDouble(), 1.5);
  EXPECT_TRUE(read.value("Enabled").toBool());
  EXPECT_EQ(read.value("Payload").toByteArray(), QByteArray("hello"));
  EXPECT_EQ(read.value("Taken").toDateTime(), utc(2019, 8, 17, 10, 30, 0));
  const QVariantList items = read.value("Items").toList();
  ASSERT_EQ(items.size(), 2);
  EXPECT_EQ(items[0].toMap().value("Name").toString(), "Ünïcode");
  EXPECT_EQ(items[1].toList().size(), 0);
}

TEST(PropertyListTest, RealsIgnoreADecimalCommaLocale) {
  const std::string previous = std::setlocale(LC_NUMERIC, nullptr);
  if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8") && !std::setlocale(LC_NUMERIC, "fr_FR.UTF-8"))
    GTEST_SKIP() << "no locale with a decimal comma is installed";
  QVariantMap read;
  const bool parsed = PropertyList::parseDictionary(
      PropertyList::toXml({{"quality", 0.85}, {"big", 1234.5}}), &read);
  std::setlocale(LC_NUMERIC, previous.c_str());
  ASSERT_TRUE(parsed);
  EXPECT_DOUBLE_EQ(read.value("quality").toDouble(), 0.85);
  EXPECT_DOUBLE_EQ(read.value("big").toDouble(), 1234.5);
}

TEST(PropertyListTest, BadInputIsAnErrorNotACrash) {
  QTemporaryDir dir;
  QVariantMap read{{"stale", 1}};
  QString error;
  EXPECT_FALSE(PropertyList::readDictionary(dir.filePath("missing.plist"), &read, &error));
  EXPECT_TRUE(read.isEmpty());
  EXPECT_FALSE(error.isEmpty());

  for (const QByteArray &bad :
       {QByteArray("not a plist at all"), QByteArray("<?xml version=\"1.0\"?><plist><dict><key>a"),
        QByteArray("<plist version=\"1.0\"><array><string>x</string></array></plist>"),
        QByteArray("bplist00\xff\xff\xff", 11), QByteArray()}) {
    error.clear();
    EXPECT_FALSE(PropertyList::parseDictionary(bad, &read, &error)) << bad.toStdString();
    EXPECT_TRUE(read.isEmpty());
    EXPECT_FALSE(error.isEmpty());
  }

  // A failed write leaves the old file in place.
  const QString target =
      testenv::writeFile(dir.filePath("keep.plist"), PropertyList::toXml({{"k", 1}}));
  EXPECT_FALSE(
      PropertyList::writeDictionary(dir.filePath("no/such/dir/x.plist"), {{"k", 2}}, &error));
  ASSERT_TRUE(PropertyList::readDictionary(target, &read));
  EXPECT_EQ(read.value("k").toLongLong(), 1);
}

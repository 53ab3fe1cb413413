// Correcting a camera's clock: the "Shift" of the date/time stamp, as typed and as named.
#include "tests/support/TestEnv.h"

#include "platform/MetadataCopy.h"
#include "rename/BatchRenameSetting.h"
#include "rename/DateShift.h"
#include "rename/RenameEngine.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TEST(DateShift, TypedFormsAndTheirShortestText) {
  const struct {
    const char *typed;
    qint64 seconds;
    const char *text;
    const char *words; // shown beside the window's field
  } rows[] = {
      {"+1:00", 3600, "+1:00", "1 hour later"},
      {"1:00", 3600, "+1:00", "1 hour later"},
      {"-0:30", -1800, "-0:30", "30 minutes earlier"},
      {"-2:00:00", -2 * 86400, "-2:00:00", "2 days earlier"},
      {"+1:02:03", 86400 + 2 * 3600 + 3 * 60, "+1:02:03", "1 day 2 hours 3 minutes later"},
      {"0:01:30:15", 3600 + 30 * 60 + 15, "+0:01:30:15", "1 hour 30 minutes 15 seconds later"},
      {"+36:00", 36 * 3600, "+1:12:00", "1 day 12 hours later"},
      {"-0:00", 0, "+0:00", "no change"},
  };
  for (const auto &row : rows) {
    qint64 seconds = 0;
    ASSERT_TRUE(DateShift::parse(row.typed, &seconds)) << row.typed;
    EXPECT_EQ(seconds, row.seconds) << row.typed;
    EXPECT_EQ(DateShift::text(seconds), row.text) << row.typed;
    EXPECT_EQ(DateShift::describe(seconds), row.words) << row.typed;
    qint64 again = 0;
    ASSERT_TRUE(DateShift::parse(DateShift::text(seconds), &again));
    EXPECT_EQ(again, seconds) << row.typed;
  }
  for (const char *bad :
       {"", "+", "1", "+1:60", "1:24:00", "1:00:00:60", "a:00", "+1:00:", "--1:00", "1:2:3:4:5"}) {
    qint64 seconds = 7;
    EXPECT_FALSE(DateShift::parse(bad, &seconds)) << bad;
    EXPECT_EQ(seconds, 7) << bad;
  }
}

// The name the engine gives a.jpg taken at `taken` with the stamp "dd-MM-YYYY hh:mm" (format
// 4; "YYYY" is the week-based year) and the given shift.
QString stampedName(const QDateTime &taken, const QString &shift) {
  std::shared_ptr<BatchRenameSetting> s =
      BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  s->flagRenamingMode = 1;
  s->dictDateTimeStamp.insert(RuleKey::State, true);
  s->dictDateTimeStamp.insert(RuleKey::Type, 0);
  s->dictDateTimeStamp.insert(RuleKey::Format, 4);
  if (!shift.isEmpty()) {
    qint64 seconds = 0;
    EXPECT_TRUE(DateShift::parse(shift, &seconds));
    s->dictDateTimeStamp.insert(RuleKey::Shift, seconds);
  }
  const QStringList formats =
      QStringLiteral("Keep original format,tif,bmp,gif,jpg,jpeg,png,jp2,pdf,webp,avif,heic,jxl")
          .split(',');
  RenameSubject subject{"a.jpg", "jpg", {}, {}, {}, [taken] { return taken; }};
  subject.fileCreationDate = QDateTime(QDate(2000, 6, 15), QTime(12, 0));
  return RenameEngine(*s, formats).newName(subject, 0);
}

TEST(DateShift, NamesFollowTheShiftedDate) {
  // "YYYY" is the week-based year of the locale (en_US under the tests: weeks start on
  // Sunday, week 1 holds 1 January), so a shift into another week can change the year.
  const QDateTime midsummer(QDate(2023, 6, 14), QTime(23, 30));
  EXPECT_EQ(stampedName(midsummer, {}), "14-06-2023 11:30a.JPG");
  EXPECT_EQ(stampedName(midsummer, "+1:00"), "15-06-2023 12:30a.JPG"); // across midnight

  // Across midnight into the week of 1 January: Sunday 26 December 2021 is in week 1 of 2022.
  const QDateTime christmas(QDate(2021, 12, 25), QTime(23, 30));
  EXPECT_EQ(stampedName(christmas, {}), "25-12-2021 11:30a.JPG");
  EXPECT_EQ(stampedName(christmas, "+1:00"), "26-12-2022 12:30a.JPG");

  // Across New Year.
  const QDateTime newYearsEve(QDate(2022, 12, 31), QTime(23, 30));
  EXPECT_EQ(stampedName(newYearsEve, {}), "31-12-2022 11:30a.JPG");
  EXPECT_EQ(stampedName(newYearsEve, "+1:00"), "01-01-2023 12:30a.JPG");

  // Two days back, out of the week of 1 January into the last week of the old year.
  const QDateTime newYearsDay(QDate(2023, 1, 1), QTime(10, 0));
  EXPECT_EQ(stampedName(newYearsDay, "-2:00:00"), "30-12-2022 10:00a.JPG");
  // The same name as a photo really taken at the shifted time.
  EXPECT_EQ(stampedName(newYearsDay, "-2:00:00"), stampedName(newYearsDay.addDays(-2), {}));

  // A photo without a capture date takes its file's date, which the shift does not touch.
  EXPECT_EQ(stampedName(QDateTime(), "+1:00"), stampedName(QDateTime(), {}));
}

TEST(DateShift, CommandLineTakesTheShiftAndRefusesABadOne) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const QString photo = testenv::copyPhoto("jpg/Nikon_D70.jpg", dir.path()); // 2008-03-15 09:52
  const QString out = dir.filePath("out");
  const testenv::ProcessResult shifted =
      testenv::runQuillmere({"preview", "--copy", out, "--date", "taken", "--date-format", "4",
                             "--date-shift", "-1:10:00", photo});
  EXPECT_EQ(shifted.exitCode, 0) << shifted.err.toStdString();
  // One day and ten hours back: 15 March 09:52 becomes 13 March 23:52 (11:52 on the
  // stamp's twelve-hour clock).
  EXPECT_TRUE(shifted.out.contains("/13-03-2008 11:52Nikon_D70.jpg")) << shifted.out.toStdString();

  const testenv::ProcessResult bad =
      testenv::runQuillmere({"preview", "--copy", out, "--date-shift", "+1:75", photo});
  EXPECT_EQ(bad.exitCode, 64);
  EXPECT_TRUE(bad.err.contains("--date-shift")) << bad.err.toStdString();
}

// The one file a run put in folder.
QString onlyOutput(const QString &folder) {
  const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files);
  EXPECT_EQ(files.size(), 1) << folder.toStdString();
  return files.isEmpty() ? QString() : files.first().filePath();
}

// The shifted date goes into the outputs when the flag or the settings file's "Write Shift"
// asks for it; otherwise the shift only renames. The source is never touched.
TEST(DateShift, RunWritesTheShiftedDateIntoOutputsOnlyWhenAsked) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  // Taken 2008:05:30 15:56:01 (DateTimeOriginal and DateTimeDigitized), modified 2008:07:31.
  const QString photo = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  const QByteArray before = testenv::readFile(photo);
  ASSERT_FALSE(before.isEmpty());
  // The dates of the one file a run into folder wrote, after the given arguments.
  const auto datesAfterRun = [&](const char *folder, const QStringList &args) {
    const QString out = dir.filePath(folder);
    const auto run =
        testenv::runQuillmere(QStringList{"run", "--copy", out} + args + QStringList{photo});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QString output = onlyOutput(out);
    QStringList dates;
    for (const char *key :
         {"Exif.Photo.DateTimeOriginal", "Exif.Photo.DateTimeDigitized", "Exif.Image.DateTime"})
      dates.append(platform::MetadataCopy::readValue(output, QLatin1String(key)));
    return dates;
  };
  // The modification date is not the taken date: it stays.
  EXPECT_EQ(datesAfterRun("written", {"--date-shift", "+1:00", "--write-date-shift"}),
            (QStringList{"2008:05:30 16:56:01", "2008:05:30 16:56:01", "2008:07:31 10:38:11"}));
  EXPECT_EQ(datesAfterRun("kept", {"--date-shift", "+1:00"}),
            (QStringList{"2008:05:30 15:56:01", "2008:05:30 15:56:01", "2008:07:31 10:38:11"}));

  // Two days back from the settings file; the stamp itself stays off.
  const QString settings = testenv::writeFile(
      dir.filePath("settings.plist"),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
      "<key>Date/Time Stamp</key><dict><key>State</key><false/>"
      "<key>Shift</key><integer>-172800</integer><key>Write Shift</key><true/></dict>"
      "</dict></plist>\n");
  EXPECT_EQ(datesAfterRun("fromfile", {"--settings", settings}).first(), "2008:05:28 15:56:01");
  EXPECT_TRUE(testenv::readFile(photo) == before);
}

} // namespace

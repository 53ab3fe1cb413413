// Where a photo's capture date came from, on real photos covering each source: EXIF
// DateTimeOriginal with and without its zone offset, EXIF CreateDate alone, XMP alone, an
// iPhone HEIC, a HEIF whose only date is its container's, and no date at all; and how `quillmere
// info` and `quillmere preview` show it.
#include "tests/support/TestEnv.h"

#include "metadata/ExifInfo.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vips/vips8>

namespace {

// Changes the copy's tags with exiftool (never a sample in place).
void exiftoolWrite(const QString &path, const QStringList &assignments) {
  QProcess process;
  process.start("exiftool",
                QStringList{"-q", "-overwrite_original"} + assignments + QStringList{path});
  ASSERT_TRUE(process.waitForFinished(60000));
  ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

class DateSource : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(dir.isValid()); }
  std::shared_ptr<ExifInfo> infoOf(const QString &path) { return ExifInfo::initWithFile(path); }
  QTemporaryDir dir;
};

TEST_F(DateSource, EachSourceIsRecordedWithItsOffset) {
  using S = ExifInfo::DateSource;

  // A camera JPEG: DateTimeOriginal, no offset.
  auto camera = infoOf(testenv::photo("jpg/Nikon_D70.jpg"));
  EXPECT_EQ(camera->captureDateSource, S::ExifDateTimeOriginal);
  EXPECT_TRUE(camera->captureZoneOffset.isEmpty());
  EXPECT_EQ(camera->dateSourceText(), "EXIF DateTimeOriginal");

  // The same with OffsetTimeOriginal.
  const QString withOffset = testenv::copyPhoto("jpg/Nikon_D70.jpg", dir.path(), "offset.jpg");
  ASSERT_NO_FATAL_FAILURE(exiftoolWrite(withOffset, {"-OffsetTimeOriginal=+02:00"}));
  auto offset = infoOf(withOffset);
  EXPECT_EQ(offset->captureDateSource, S::ExifDateTimeOriginal);
  EXPECT_EQ(offset->captureZoneOffset, "+02:00");
  EXPECT_EQ(offset->captureDate, camera->captureDate);
  EXPECT_EQ(offset->dateSourceText(), "EXIF DateTimeOriginal +02:00");

  // DateTimeOriginal removed: the digitised date (CreateDate) takes over.
  const QString createOnly = testenv::copyPhoto("jpg/Nikon_D70.jpg", dir.path(), "create.jpg");
  ASSERT_NO_FATAL_FAILURE(
      exiftoolWrite(createOnly, {"-DateTimeOriginal=", "-CreateDate=2010:01:02 03:04:05"}));
  auto create = infoOf(createOnly);
  EXPECT_EQ(create->captureDateSource, S::ExifCreateDate);
  EXPECT_EQ(create->captureDate, QDateTime(QDate(2010, 1, 2), QTime(3, 4, 5)));

  // XMP only: the wall-clock time as written, its offset kept aside.
  auto xmp = infoOf(testenv::photo("jpg/xmp/no_exif.jpg"));
  EXPECT_EQ(xmp->captureDateSource, S::XmpCreateDate);
  EXPECT_EQ(xmp->captureDate, QDateTime(QDate(2013, 9, 23), QTime(10, 9, 46)));
  EXPECT_EQ(xmp->captureZoneOffset, "+02:00");

  // photoshop:DateCreated comes before xmp:CreateDate.
  const QString both = testenv::copyPhoto("jpg/xmp/no_exif.jpg", dir.path(), "both.jpg");
  ASSERT_NO_FATAL_FAILURE(exiftoolWrite(both, {"-XMP-photoshop:DateCreated=2012:05:06"}));
  auto photoshop = infoOf(both);
  EXPECT_EQ(photoshop->captureDateSource, S::XmpDateCreated);
  EXPECT_EQ(photoshop->captureDate, QDateTime(QDate(2012, 5, 6), QTime(0, 0)));

  // An iPhone HEIC: EXIF inside the HEIF container, with its offset.
  auto heic = infoOf(testenv::photo("heic/IMG_5195.HEIC"));
  EXPECT_EQ(heic->captureDateSource, S::ExifDateTimeOriginal);
  EXPECT_EQ(heic->captureZoneOffset, "-05:00");
  EXPECT_EQ(heic->captureDate, QDateTime(QDate(2021, 4, 11), QTime(15, 47, 53)));

  // HEIF files whose only date is in their boxes: the movie header (UTC, shown in local time,
  // here UTC), and QuickTime's creation-date key with its zone, which comes first.
  auto movie = infoOf(testenv::photo("heic/container-mvhd.heic"));
  EXPECT_EQ(movie->captureDateSource, S::HeifCreationDate);
  EXPECT_EQ(movie->captureDate, QDateTime(QDate(2023, 7, 1), QTime(8, 20, 30)));
  EXPECT_EQ(movie->dateSourceText(), "HEIF creation date");
  auto keys = infoOf(testenv::photo("heic/container-keys.heic"));
  EXPECT_EQ(keys->captureDateSource, S::QuickTimeCreationDate);
  EXPECT_EQ(keys->captureDate, QDateTime(QDate(2023, 7, 1), QTime(10, 20, 30)));
  EXPECT_EQ(keys->dateSourceText(), "QuickTime creation date +02:00");

  // A container cut short inside its movie box still reads as a photo, without that date.
  QFile whole(testenv::photo("heic/container-keys.heic"));
  ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
  const QByteArray bytes = whole.readAll();
  const QString cut = dir.filePath("cut.heic");
  QFile cutFile(cut);
  ASSERT_TRUE(cutFile.open(QIODevice::WriteOnly));
  cutFile.write(bytes.left(bytes.lastIndexOf("keys") + 6));
  cutFile.close();
  auto damaged = infoOf(cut);
  EXPECT_EQ(damaged->captureDateSource, S::HeifCreationDate); // the header before the cut
  EXPECT_EQ(damaged->captureDate, QDateTime(QDate(2020, 1, 1), QTime(0, 0)));

  // No date at all: the date stamp falls back to the file's creation date.
  const QString bare = dir.filePath("bare.png");
  vips::VImage::black(8, 8).pngsave(QFile::encodeName(bare).constData());
  auto none = infoOf(bare);
  EXPECT_EQ(none->captureDateSource, S::None);
  EXPECT_FALSE(none->captureDate.isValid());
  EXPECT_EQ(none->dateSourceText(), "File creation date");
}

TEST_F(DateSource, InfoAddsOneLastRowOnlyWhenAsked) {
  const QString photo = testenv::photo("heic/IMG_5195.HEIC");
  const testenv::ProcessResult plain = testenv::runQuillmere({"info", photo});
  const testenv::ProcessResult asked = testenv::runQuillmere({"info", "--date-source", photo});
  ASSERT_EQ(plain.exitCode, 0);
  ASSERT_EQ(asked.exitCode, 0) << asked.err.toStdString();
  const QStringList plainRows = plain.out.split('\n', Qt::SkipEmptyParts);
  const QStringList askedRows = asked.out.split('\n', Qt::SkipEmptyParts);
  EXPECT_EQ(plainRows.size(), 35);
  ASSERT_EQ(askedRows.size(), 36);
  EXPECT_EQ(askedRows.mid(0, 35), plainRows);
  EXPECT_EQ(askedRows.last(), "Date Source\tEXIF DateTimeOriginal -05:00");
}

TEST_F(DateSource, PreviewAddsAFourthColumnOnlyWhenAsked) {
  const QString in = dir.filePath("in");
  QDir().mkpath(in);
  testenv::copyPhoto("jpg/xmp/no_exif.jpg", in);
  testenv::copyPhoto("jpg/Nikon_D70.jpg", in);
  testenv::copyPhoto("heic/container-keys.heic", in);
  const QString out = dir.filePath("out");
  const testenv::ProcessResult plain = testenv::runQuillmere({"preview", "--copy", out, in});
  const testenv::ProcessResult asked =
      testenv::runQuillmere({"preview", "--date-source", "--copy", out, in});
  EXPECT_EQ(plain.exitCode, 0) << plain.err.toStdString();
  EXPECT_EQ(asked.exitCode, 0) << asked.err.toStdString();
  const QStringList plainRows = plain.out.split('\n', Qt::SkipEmptyParts);
  const QStringList askedRows = asked.out.split('\n', Qt::SkipEmptyParts);
  ASSERT_EQ(plainRows.size(), 4);
  ASSERT_EQ(askedRows.size(), 4);
  QStringList sources;
  for (int row = 0; row < 3; ++row) {
    EXPECT_EQ(plainRows[row].split('\t').size(), 3);
    const QStringList columns = askedRows[row].split('\t');
    ASSERT_EQ(columns.size(), 4);
    EXPECT_EQ(columns.mid(0, 3).join('\t'), plainRows[row]);
    sources.append(columns[3]);
  }
  sources.sort();
  EXPECT_EQ(sources, QStringList({"EXIF DateTimeOriginal", "QuickTime creation date +02:00",
                                  "XMP xmp:CreateDate +02:00"}));
  EXPECT_EQ(askedRows.last(), plainRows.last());
}

} // namespace

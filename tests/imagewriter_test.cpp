// The image writer on real photos: every format decodes, the bytes match the extension,
// EXIF date, GPS and IPTC keywords come back through Exiv2 with Orientation 1, PDFs gain
// pages, and the temporary-file, overwrite, date and trash rules hold.
#include "processing/ImageWriter.h"

#include "app/AppDelegate.h"
#include "imaging/Utils.h"
#include "intake/PhotoFile.h"
#include "platform/MetadataCopy.h"
#include "platform/PdfPages.h"
#include "platform/SafeWrite.h"
#include "platform/StandardFolders.h"

#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <exiv2/exiv2.hpp>
#include <gtest/gtest.h>

#include <sys/stat.h>

using vips::VImage;

namespace {

VImage load(const QString &path) {
  return VImage::new_from_file(QFile::encodeName(path).constData());
}

QByteArray head(const QString &path, int n) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    return {};
  return file.read(n);
}

// A copy of a GPS sample with IPTC keywords added and EXIF orientation 6.
QString preparedSource(const QString &folder) {
  const QString path = testenv::copyPhoto("jpg/gps/DSCN0010.jpg", folder, "source.jpg");
  auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
  image->readMetadata();
  Exiv2::IptcData iptc = image->iptcData();
  Exiv2::StringValue keyword("harbour");
  iptc.add(Exiv2::IptcKey("Iptc.Application2.Keywords"), &keyword);
  Exiv2::StringValue second("boats");
  iptc.add(Exiv2::IptcKey("Iptc.Application2.Keywords"), &second);
  image->setIptcData(iptc);
  Exiv2::ExifData exif = image->exifData();
  exif["Exif.Image.Orientation"] = uint16_t(6);
  image->setExifData(exif);
  image->writeMetadata();
  return path;
}

bool noPartialFiles(const QString &folder) {
  return QDir(folder).entryList({".quillmere-*"}, QDir::Files | QDir::Hidden).isEmpty();
}

struct FormatRow {
  const char *extension;
  int repType;
  QByteArray magic;
  bool carriesMetadata;
};

class WriterFormatTest : public ::testing::TestWithParam<FormatRow> {};

TEST_P(WriterFormatTest, WritesDecodableFileWithMatchingBytesAndCarriedProperties) {
  const FormatRow row = GetParam();
  QTemporaryDir dir;
  const QString source = preparedSource(dir.path());
  auto photo = PhotoFile::initWithFileUrl(source, false);
  std::optional<VImage> image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
  ASSERT_TRUE(image.has_value());

  ImageWriter writer;
  writer.settings.outputFormat = 6; // png: neither slider
  const QString out = dir.filePath(QStringLiteral("out.%1").arg(row.extension));
  const WriteReport report = writer.saveImgInDirectoryFilteredImg(*image, out, row.repType, *photo);
  EXPECT_EQ(report.status, 1);
  EXPECT_EQ(report.message, "File processed successfully");
  ASSERT_TRUE(report.produced) << report.reason.toStdString();
  EXPECT_TRUE(head(out, 64).contains(row.magic)) << row.extension;
  EXPECT_TRUE(noPartialFiles(dir.path()));

  const VImage written = load(out);
  EXPECT_EQ(written.width(), image->width());
  EXPECT_EQ(written.height(), image->height());

  struct stat info;
  ASSERT_EQ(::stat(QFile::encodeName(out).constData(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, platform::SafeWrite::newFileMode());

  using platform::MetadataCopy::readValue;
  if (row.carriesMetadata) {
    EXPECT_EQ(readValue(out, "Exif.Image.Orientation"), "1");
    EXPECT_EQ(readValue(out, "Exif.Photo.DateTimeOriginal"),
              readValue(source, "Exif.Photo.DateTimeOriginal"));
    EXPECT_FALSE(readValue(out, "Exif.GPSInfo.GPSLatitude").isEmpty());
    EXPECT_EQ(readValue(out, "Exif.GPSInfo.GPSLatitude"),
              readValue(source, "Exif.GPSInfo.GPSLatitude"));
    EXPECT_EQ(readValue(out, "Iptc.Application2.Keywords"), "harbour,boats");
  } else {
    EXPECT_TRUE(readValue(out, "Exif.Photo.DateTimeOriginal").isEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(
    EveryFormat, WriterFormatTest,
    ::testing::Values(FormatRow{"tif", 0, QByteArray("II*\0", 4), true},
                      FormatRow{"bmp", 1, "BM", false}, FormatRow{"gif", 2, "GIF8", false},
                      FormatRow{"jpg", 3, "\xFF\xD8\xFF", true},
                      FormatRow{"jpeg", 4, "\xFF\xD8\xFF", true},
                      FormatRow{"png", 5, "\x89PNG", true},
                      FormatRow{"jp2", 6, QByteArray("\0\0\0\x0CjP", 6), true}),
    [](const auto &info) { return std::string(info.param.extension); });

TEST(WriterQuality, FactorsOfTheQualityBranch) {
  RunSettings s;
  s.outputFormat = 5; // jpeg
  s.isSetQuality = true;
  s.qualityRatio = 1.0f;
  EXPECT_FLOAT_EQ(ImageWriter::qualityFactor(s), 0.98f);
  s.isSetQuality = false;
  EXPECT_FLOAT_EQ(ImageWriter::qualityFactor(s), 0.82f);
  EXPECT_EQ(std::lround(ImageWriter::qualityFactor(s) * 100), 82);
  s.outputFormat = 6; // png
  EXPECT_FLOAT_EQ(ImageWriter::qualityFactor(s), 0.98f);
  for (int format : {0, 1, 2, 3, 4, 5, 6, 7, 8}) {
    s.outputFormat = format;
    EXPECT_EQ(ImageWriter::usesQualityBranch(s),
              format == 0 || format == 4 || format == 5 || format == 7);
  }
  EXPECT_EQ(ImageWriter::pdfPageQuality(RunSettings{}), 82);
}

// A lower JPEG quality gives a smaller file of the same picture.
TEST(WriterQuality, QualityReachesTheEncoder) {
  QTemporaryDir dir;
  const QString source = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  auto photo = PhotoFile::initWithFileUrl(source, false);
  auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
  ASSERT_TRUE(image);
  ImageWriter writer;
  writer.settings.outputFormat = 5;
  writer.settings.isSetQuality = true;
  writer.settings.qualityRatio = 1.0f;
  ASSERT_TRUE(
      writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("high.jpeg"), 4, *photo).produced);
  writer.settings.isSetQuality = false;
  ASSERT_TRUE(
      writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("low.jpeg"), 4, *photo).produced);
  EXPECT_GT(QFileInfo(dir.filePath("high.jpeg")).size(),
            QFileInfo(dir.filePath("low.jpeg")).size() * 3 / 2);
}

TEST(WriterPdf, NewDocumentThenAPageAppended) {
  QTemporaryDir dir;
  const QString first = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  const QString second = testenv::copyPhoto("jpg/orientation/landscape_6.jpg", dir.path());
  ImageWriter writer;
  writer.settings.outputFormat = 8;
  writer.settings.owerwriteExistingFiles = true;
  const QString pdf = dir.filePath("album.pdf");
  for (const QString &source : {first, second}) {
    auto photo = PhotoFile::initWithFileUrl(source, false);
    auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
    ASSERT_TRUE(image);
    const WriteReport report = writer.saveImgInDirectoryFilteredImg(*image, pdf, 4, *photo);
    ASSERT_TRUE(report.produced) << report.reason.toStdString();
  }
  EXPECT_EQ(platform::PdfPages::pageCount(pdf), 2);
  EXPECT_TRUE(head(pdf, 5) == "%PDF-");
  // The unturned JPEG went in byte for byte.
  QFile whole(first);
  ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
  QFile document(pdf);
  ASSERT_TRUE(document.open(QIODevice::ReadOnly));
  EXPECT_TRUE(document.readAll().contains(whole.readAll()));
  EXPECT_TRUE(noPartialFiles(dir.path()));

  // Overwriting off: an existing document is left alone and the photo is skipped.
  writer.settings.owerwriteExistingFiles = false;
  auto photo = PhotoFile::initWithFileUrl(first, false);
  auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(first);
  const WriteReport skipped = writer.saveImgInDirectoryFilteredImg(*image, pdf, 4, *photo);
  EXPECT_EQ(skipped.status, 3);
  EXPECT_EQ(skipped.message, "File already exists in destination folder");
  EXPECT_FALSE(skipped.produced);
  EXPECT_EQ(platform::PdfPages::pageCount(pdf), 2);
}

TEST(WriterRules, KeepOriginalPngHoldsPngBytesAndCapitalExtensionsMatchToo) {
  QTemporaryDir dir;
  const QString source = testenv::copyPhoto("tiff/Arbitro.tiff", dir.path());
  auto photo = PhotoFile::initWithFileUrl(source, false);
  auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
  ASSERT_TRUE(image);
  ImageWriter writer;
  // The driver names the type "jpeg" for a format outside the list; the name decides.
  ASSERT_TRUE(writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("Arbitro.png"), 4, *photo)
                  .produced);
  EXPECT_TRUE(head(dir.filePath("Arbitro.png"), 4) == "\x89PNG");
  ASSERT_TRUE(writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("Arbitro.JPG"), 3, *photo)
                  .produced);
  EXPECT_TRUE(head(dir.filePath("Arbitro.JPG"), 3) == "\xFF\xD8\xFF");
}

TEST(WriterRules, OverwriteOffNeverReplacesAFileThatAppeared) {
  QTemporaryDir dir;
  const QString source = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  auto photo = PhotoFile::initWithFileUrl(source, false);
  auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
  const QString out = testenv::writeFile(dir.filePath("taken.jpg"), "someone else's");
  ImageWriter writer;
  writer.settings.moveAndRenameToDestinationFolder = true;
  const WriteReport report = writer.saveImgInDirectoryFilteredImg(*image, out, 3, *photo);
  EXPECT_EQ(report.status, 3);
  EXPECT_EQ(head(out, 100), "someone else's");
  EXPECT_TRUE(QFileInfo::exists(source));
  EXPECT_TRUE(noPartialFiles(dir.path()));

  writer.settings.owerwriteExistingFiles = true;
  writer.settings.moveAndRenameToDestinationFolder = false;
  EXPECT_EQ(writer.saveImgInDirectoryFilteredImg(*image, out, 3, *photo).status, 1);
  EXPECT_TRUE(head(out, 3) == "\xFF\xD8\xFF");
}

TEST(WriterRules, MoveTrashesTheSourceOnlyWhenTheOutputExists) {
  QTemporaryDir dir;
  const QString source = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  auto photo = PhotoFile::initWithFileUrl(source, false);
  auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
  ImageWriter writer;
  writer.settings.moveAndRenameToDestinationFolder = true;

  // A vanished destination folder: nothing written, the source stays.
  WriteReport failed =
      writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("gone/out.jpg"), 3, *photo);
  EXPECT_EQ(failed.status, 1);
  EXPECT_FALSE(failed.produced);
  EXPECT_FALSE(failed.reason.isEmpty());
  EXPECT_TRUE(QFileInfo::exists(source));

  // Written beside the source under its own name with overwrite on: that is the source.
  writer.settings.owerwriteExistingFiles = true;
  EXPECT_TRUE(writer.saveImgInDirectoryFilteredImg(*image, source, 3, *photo).produced);
  EXPECT_TRUE(QFileInfo::exists(source));

  writer.settings.owerwriteExistingFiles = false;
  const QString out = dir.filePath("moved.jpg");
  ASSERT_TRUE(writer.saveImgInDirectoryFilteredImg(*image, out, 3, *photo).produced);
  EXPECT_TRUE(QFileInfo::exists(out));
  EXPECT_FALSE(QFileInfo::exists(source));
  EXPECT_TRUE(QFileInfo::exists(platform::trashDirectory() + "/files/Canon_40D.jpg"));
}

TEST(WriterRules, DatesFromTheSource) {
  QTemporaryDir dir;
  const QString source = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  const QDateTime old = QDateTime::fromString("2019-05-04T03:02:01Z", Qt::ISODate);
  QFile file(source);
  ASSERT_TRUE(file.open(QIODevice::ReadWrite));
  ASSERT_TRUE(file.setFileTime(old, QFileDevice::FileModificationTime));
  file.close();
  auto photo = PhotoFile::initWithFileUrl(source, false);
  auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
  ImageWriter writer;
  writer.settings.setOutputDateTimeAsOriginal = true;
  const QString out = dir.filePath("dated.png");
  ASSERT_TRUE(writer.saveImgInDirectoryFilteredImg(*image, out, 5, *photo).produced);
  EXPECT_EQ(QFileInfo(out).lastModified().toSecsSinceEpoch(), old.toSecsSinceEpoch());
}

TEST(WriterCompression, EffortShrinksPngAndStopRemovesTheOutput) {
  QTemporaryDir dir;
  const QString source = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  auto photo = PhotoFile::initWithFileUrl(source, false);
  auto image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(source);
  ImageWriter writer;
  writer.settings.outputFormat = 6;
  writer.settings.isSetCompression = true;
  int inProgress = 0;
  bool stop = false;
  int stopped = 0;
  writer.setCompressionInProgress = [&](bool on) { inProgress += on ? 1 : -1; };
  writer.takeStopRequestWhileCompression = [&] { return std::exchange(stop, false); };
  writer.stopProcessAfterCompletionCompression = [&] { ++stopped; };
  writer.settings.compressionRatio = 0;
  ASSERT_TRUE(
      writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("c0.png"), 5, *photo).produced);
  writer.settings.compressionRatio = 9;
  ASSERT_TRUE(
      writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("c9.png"), 5, *photo).produced);
  EXPECT_GT(QFileInfo(dir.filePath("c0.png")).size(), QFileInfo(dir.filePath("c9.png")).size());
  EXPECT_EQ(inProgress, 0);
  EXPECT_EQ(platform::MetadataCopy::readValue(dir.filePath("c9.png"), "Exif.Image.Make"),
            platform::MetadataCopy::readValue(source, "Exif.Image.Make"));
  EXPECT_FALSE(QFileInfo::exists(platform::temporaryDirectory() + "/TempFile.png"));

  stop = true;
  const WriteReport report =
      writer.saveImgInDirectoryFilteredImg(*image, dir.filePath("stopped.png"), 5, *photo);
  EXPECT_EQ(report.status, 1);
  EXPECT_FALSE(report.produced);
  EXPECT_TRUE(report.removedOnStop);
  EXPECT_FALSE(QFileInfo::exists(dir.filePath("stopped.png")));
  EXPECT_EQ(stopped, 1);
}

TEST(SafeWrite, StaleTemporaryFilesOfDeadProcessesAreRemoved) {
  QTemporaryDir dir;
  testenv::writeFile(dir.filePath(".quillmere-999999999-3.part"), "half");
  const QString mine = platform::SafeWrite::createTemporaryFile(dir.path());
  ASSERT_FALSE(mine.isEmpty());
  testenv::writeFile(dir.filePath(".quillmere-other.part"), "not ours");
  EXPECT_EQ(platform::SafeWrite::removeStaleTemporaryFiles(dir.path()), 1);
  EXPECT_TRUE(QFileInfo::exists(mine));
  EXPECT_TRUE(QFileInfo::exists(dir.filePath(".quillmere-other.part")));
}

} // namespace

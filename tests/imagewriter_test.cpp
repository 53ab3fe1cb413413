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

#include "tests/support/Pictures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <exiv2/exiv2.hpp>
#include <gtest/gtest.h>

#include <sys/stat.h>

using platform::MetadataCopy::readValue;
using vips::VImage;

namespace {

QByteArray head(const QString &path, int n = -1) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    return {};
  return n < 0 ? file.readAll() : file.read(n);
}

bool noPartialFiles(const QString &folder) {
  return QDir(folder).entryList({".quillmere-*"}, QDir::Files | QDir::Hidden).isEmpty();
}

// A copy of a sample in a temporary folder, with its record and upright pixels, as the
// driver hands them to the writer.
struct Source {
  QTemporaryDir dir;
  QString path;
  std::shared_ptr<PhotoFile> photo;
  VImage image;
  ImageWriter writer;

  explicit Source(const char *sample = "jpg/Canon_40D.jpg")
      : path(testenv::copyPhoto(sample, dir.path())) {
    load();
  }
  void load() {
    photo = PhotoFile::initWithFileUrl(path, false);
    // value() throws, and so fails the test, when the photo cannot be read.
    image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(path).value();
  }
  WriteReport write(const QString &name, int repType) {
    return writer.saveImgInDirectoryFilteredImg(image, dir.filePath(name), repType, *photo);
  }
};

// The GPS sample with two IPTC keywords added and EXIF orientation 6.
void addKeywordsAndTurn(const QString &path) {
  auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
  image->readMetadata();
  Exiv2::IptcData iptc = image->iptcData();
  for (const char *word : {"harbour", "boats"}) {
    Exiv2::StringValue keyword(word);
    iptc.add(Exiv2::IptcKey("Iptc.Application2.Keywords"), &keyword);
  }
  image->setIptcData(iptc);
  Exiv2::ExifData exif = image->exifData();
  exif["Exif.Image.Orientation"] = uint16_t(6);
  image->setExifData(exif);
  image->writeMetadata();
}

// Every format: decodable bytes that match the extension, the new-file mode, and where the
// format holds metadata, EXIF date, GPS and IPTC keywords with Orientation 1.
TEST(WriterFormats, WritesDecodableFileWithMatchingBytesAndCarriedProperties) {
  const struct {
    const char *extension;
    int repType;
    QByteArray magic;
    bool carriesMetadata;
  } rows[] = {{"tif", 0, QByteArray("II*\0", 4), true},
              {"bmp", 1, "BM", false},
              {"gif", 2, "GIF8", false},
              {"jpg", 3, "\xFF\xD8\xFF", true},
              {"jpeg", 4, "\xFF\xD8\xFF", true},
              {"png", 5, "\x89PNG", true},
              {"jp2", 6, QByteArray("\0\0\0\x0CjP", 6), true}};
  Source s("jpg/gps/DSCN0010.jpg");
  addKeywordsAndTurn(s.path);
  s.load();
  s.writer.settings.outputFormat = 6; // png: neither slider
  for (const auto &row : rows) {
    SCOPED_TRACE(row.extension);
    const QString name = QStringLiteral("out.%1").arg(row.extension), out = s.dir.filePath(name);
    const WriteReport report = s.write(name, row.repType);
    EXPECT_EQ(report.status, 1);
    ASSERT_TRUE(report.produced) << report.reason.toStdString();
    EXPECT_TRUE(head(out, 64).contains(row.magic));
    EXPECT_TRUE(noPartialFiles(s.dir.path()));

    const VImage written = testenv::loadImage(out);
    EXPECT_EQ(written.width(), s.image.width());
    EXPECT_EQ(written.height(), s.image.height());

    struct stat info;
    ASSERT_EQ(::stat(QFile::encodeName(out).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, platform::SafeWrite::newFileMode());

    if (row.carriesMetadata) {
      EXPECT_EQ(readValue(out, "Exif.Image.Orientation"), "1");
      EXPECT_EQ(readValue(out, "Exif.Photo.DateTimeOriginal"),
                readValue(s.path, "Exif.Photo.DateTimeOriginal"));
      EXPECT_FALSE(readValue(out, "Exif.GPSInfo.GPSLatitude").isEmpty());
      EXPECT_EQ(readValue(out, "Exif.GPSInfo.GPSLatitude"),
                readValue(s.path, "Exif.GPSInfo.GPSLatitude"));
      EXPECT_EQ(readValue(out, "Iptc.Application2.Keywords"), "harbour,boats");
    } else {
      EXPECT_TRUE(readValue(out, "Exif.Photo.DateTimeOriginal").isEmpty());
    }
  }
}

// The default 0.82 must reach the encoder as 82, not 81.
TEST(WriterQuality, DefaultQualityRoundsTo82) {
  RunSettings s;
  s.outputFormat = 5; // jpeg
  EXPECT_EQ(std::lround(ImageWriter::qualityFactor(s) * 100), 82);
}

// A lower JPEG quality gives a smaller file of the same picture (one large enough that its
// pixels, not its metadata and profile, make most of the file).
TEST(WriterQuality, QualityReachesTheEncoder) {
  Source s("jpg/gps/DSCN0010.jpg");
  s.writer.settings.outputFormat = 5;
  s.writer.settings.isSetQuality = true;
  s.writer.settings.qualityRatio = 1.0f;
  ASSERT_TRUE(s.write("high.jpeg", 4).produced);
  s.writer.settings.isSetQuality = false;
  ASSERT_TRUE(s.write("low.jpeg", 4).produced);
  EXPECT_GT(QFileInfo(s.dir.filePath("high.jpeg")).size(),
            QFileInfo(s.dir.filePath("low.jpeg")).size() * 3 / 2);
}

TEST(WriterPdf, NewDocumentThenAPageAppended) {
  Source s;
  const QString pdf = s.dir.filePath("album.pdf");
  s.writer.settings.outputFormat = 8;
  s.writer.settings.owerwriteExistingFiles = true;
  ASSERT_TRUE(s.write("album.pdf", 4).produced);
  Source turned("jpg/orientation/landscape_6.jpg");
  const WriteReport second =
      s.writer.saveImgInDirectoryFilteredImg(turned.image, pdf, 4, *turned.photo);
  ASSERT_TRUE(second.produced) << second.reason.toStdString();
  EXPECT_EQ(platform::PdfPages::pageCount(pdf), 2);
  EXPECT_TRUE(head(pdf, 5) == "%PDF-");
  // The unturned JPEG went in byte for byte.
  EXPECT_TRUE(head(pdf).contains(head(s.path)));
  EXPECT_TRUE(noPartialFiles(s.dir.path()));

  // Overwriting off: an existing document is left alone and the photo is skipped.
  s.writer.settings.owerwriteExistingFiles = false;
  const WriteReport skipped = s.write("album.pdf", 4);
  EXPECT_EQ(skipped.status, 3);
  EXPECT_EQ(skipped.message, "File already exists in destination folder");
  EXPECT_FALSE(skipped.produced);
  EXPECT_EQ(platform::PdfPages::pageCount(pdf), 2);
}

TEST(WriterRules, KeepOriginalPngHoldsPngBytesAndCapitalExtensionsMatchToo) {
  Source s("tiff/Arbitro.tiff");
  // The driver names the type "jpeg" for a format outside the list; the name decides.
  ASSERT_TRUE(s.write("Arbitro.png", 4).produced);
  EXPECT_TRUE(head(s.dir.filePath("Arbitro.png"), 4) == "\x89PNG");
  ASSERT_TRUE(s.write("Arbitro.JPG", 3).produced);
  EXPECT_TRUE(head(s.dir.filePath("Arbitro.JPG"), 3) == "\xFF\xD8\xFF");
}

TEST(WriterRules, OverwriteOffNeverReplacesAFileThatAppeared) {
  Source s;
  const QString out = testenv::writeFile(s.dir.filePath("taken.jpg"), "someone else's");
  s.writer.settings.moveAndRenameToDestinationFolder = true;
  EXPECT_EQ(s.write("taken.jpg", 3).status, 3);
  EXPECT_EQ(head(out, 100), "someone else's");
  EXPECT_TRUE(QFileInfo::exists(s.path));
  EXPECT_TRUE(noPartialFiles(s.dir.path()));

  s.writer.settings.owerwriteExistingFiles = true;
  s.writer.settings.moveAndRenameToDestinationFolder = false;
  EXPECT_EQ(s.write("taken.jpg", 3).status, 1);
  EXPECT_TRUE(head(out, 3) == "\xFF\xD8\xFF");
}

TEST(WriterRules, MoveTrashesTheSourceOnlyWhenTheOutputExists) {
  Source s;
  s.writer.settings.moveAndRenameToDestinationFolder = true;

  // A vanished destination folder: nothing written, an error with the system's reason, and
  // the source stays.
  const WriteReport failed = s.write("gone/out.jpg", 3);
  EXPECT_EQ(failed.status, 2);
  EXPECT_EQ(failed.message, "The file could not be written: No such file or directory");
  EXPECT_FALSE(failed.produced);
  EXPECT_TRUE(QFileInfo::exists(s.path));

  // Written beside the source under its own name with overwrite on: that is the source.
  s.writer.settings.owerwriteExistingFiles = true;
  EXPECT_TRUE(s.write("Canon_40D.jpg", 3).produced);
  EXPECT_TRUE(QFileInfo::exists(s.path));

  s.writer.settings.owerwriteExistingFiles = false;
  ASSERT_TRUE(s.write("moved.jpg", 3).produced);
  EXPECT_TRUE(QFileInfo::exists(s.dir.filePath("moved.jpg")));
  EXPECT_FALSE(QFileInfo::exists(s.path));
  EXPECT_TRUE(QFileInfo::exists(platform::trashDirectory() + "/files/Canon_40D.jpg"));
}

TEST(WriterRules, DatesFromTheSource) {
  Source s;
  const QDateTime old = QDateTime::fromString("2019-05-04T03:02:01Z", Qt::ISODate);
  QFile file(s.path);
  ASSERT_TRUE(file.open(QIODevice::ReadWrite));
  ASSERT_TRUE(file.setFileTime(old, QFileDevice::FileModificationTime));
  file.close();
  s.writer.settings.setOutputDateTimeAsOriginal = true;
  ASSERT_TRUE(s.write("dated.png", 5).produced);
  EXPECT_EQ(QFileInfo(s.dir.filePath("dated.png")).lastModified().toSecsSinceEpoch(),
            old.toSecsSinceEpoch());
}

TEST(WriterCompression, EffortShrinksPngAndStopRemovesTheOutput) {
  Source s;
  ImageWriter &writer = s.writer;
  writer.settings.outputFormat = 6;
  writer.settings.isSetCompression = true;
  int inProgress = 0, stopped = 0;
  bool stop = false;
  writer.setCompressionInProgress = [&](bool on) { inProgress += on ? 1 : -1; };
  writer.takeStopRequestWhileCompression = [&] { return std::exchange(stop, false); };
  writer.stopProcessAfterCompletionCompression = [&] { ++stopped; };
  writer.settings.compressionRatio = 0;
  ASSERT_TRUE(s.write("c0.png", 5).produced);
  writer.settings.compressionRatio = 9;
  ASSERT_TRUE(s.write("c9.png", 5).produced);
  EXPECT_GT(QFileInfo(s.dir.filePath("c0.png")).size(), QFileInfo(s.dir.filePath("c9.png")).size());
  EXPECT_EQ(inProgress, 0);
  EXPECT_EQ(readValue(s.dir.filePath("c9.png"), "Exif.Image.Make"),
            readValue(s.path, "Exif.Image.Make"));
  // The intermediate PNG never became a file: only the outputs are there.
  QStringList files = QDir(s.dir.path()).entryList(QDir::Files | QDir::Hidden);
  files.sort();
  EXPECT_EQ(files, (QStringList{"Canon_40D.jpg", "c0.png", "c9.png"}));

  stop = true;
  const WriteReport report = s.write("stopped.png", 5);
  EXPECT_EQ(report.status, 1);
  EXPECT_FALSE(report.produced);
  EXPECT_TRUE(report.removedOnStop);
  EXPECT_FALSE(QFileInfo::exists(s.dir.filePath("stopped.png")));
  EXPECT_EQ(stopped, 1);
}

// An encoder that refuses the picture (JPEG holds at most 65500 pixels a side) makes the
// photo an error whose message gives the encoder's reason on one line; no file is made and,
// in move mode, the source stays.
TEST(WriterFailures, AnEncoderFailureIsAnErrorWithTheEncodersReason) {
  Source s;
  s.writer.settings.moveAndRenameToDestinationFolder = true;
  const VImage wide = VImage::black(70000, 2, VImage::option()->set("bands", 3));
  for (const bool compression : {false, true}) {
    s.writer.settings.outputFormat = compression ? 6 : 4;
    s.writer.settings.isSetCompression = compression;
    const WriteReport report =
        s.writer.saveImgInDirectoryFilteredImg(wide, s.dir.filePath("wide.jpg"), 3, *s.photo);
    EXPECT_EQ(report.status, 2);
    EXPECT_TRUE(report.message.startsWith("The encoder failed: ")) << qPrintable(report.message);
    EXPECT_GT(report.message.size(), QString("The encoder failed: ").size());
    EXPECT_FALSE(report.message.contains('\n'));
    EXPECT_FALSE(report.produced);
    EXPECT_FALSE(QFileInfo::exists(s.dir.filePath("wide.jpg")));
    EXPECT_TRUE(QFileInfo::exists(s.path));
    EXPECT_TRUE(noPartialFiles(s.dir.path()));
  }
}

// The one-page document keeps its name while it is free and never replaces another file.
TEST(WriterPdf, SinglePageDocumentsNeverShareAName) {
  Source s;
  const QString first = s.writer.createSinglePagePdfDocAtPath(s.dir.path(), s.image);
  const QString second = s.writer.createSinglePagePdfDocAtPath(s.dir.path(), s.image);
  EXPECT_EQ(first, s.dir.filePath("singlePagePdfDoc.pdf"));
  EXPECT_EQ(second, s.dir.filePath("singlePagePdfDoc 2.pdf"));
  EXPECT_EQ(platform::PdfPages::pageCount(first), 1);
  EXPECT_EQ(platform::PdfPages::pageCount(second), 1);
  EXPECT_TRUE(noPartialFiles(s.dir.path()));
}

// The last step of every still output: a name that is taken stays as it was unless replacing
// is asked for, and no file is left behind either way.
TEST(SafeWrite, WriteInPlaceNeverReplacesUnlessAskedAndLeavesNothingBehind) {
  QTemporaryDir dir;
  const QString taken = testenv::writeFile(dir.filePath("taken.jpg"), "someone else's");
  QString reason;
  bool alreadyExists = false;
  EXPECT_FALSE(platform::SafeWrite::writeInPlace(taken, "new", false, &reason, &alreadyExists));
  EXPECT_TRUE(alreadyExists);
  EXPECT_FALSE(reason.isEmpty());
  EXPECT_EQ(head(taken), "someone else's");

  EXPECT_TRUE(platform::SafeWrite::writeInPlace(taken, "new", true, &reason, &alreadyExists));
  EXPECT_FALSE(alreadyExists);
  EXPECT_EQ(head(taken), "new");

  const QString fresh = dir.filePath("fresh.jpg");
  EXPECT_TRUE(platform::SafeWrite::writeInPlace(fresh, QByteArray(300000, 'x'), false));
  EXPECT_EQ(head(fresh).size(), 300000);
  struct stat info;
  ASSERT_EQ(::stat(QFile::encodeName(fresh).constData(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, platform::SafeWrite::newFileMode());

  reason.clear();
  EXPECT_FALSE(platform::SafeWrite::writeInPlace(dir.filePath("gone/x.jpg"), "x", false, &reason));
  EXPECT_EQ(reason, "No such file or directory");

  // A name the file system cannot hold is refused as such, never as a name that is taken.
  for (const bool replace : {false, true}) {
    alreadyExists = true;
    EXPECT_FALSE(platform::SafeWrite::writeInPlace(dir.filePath(QString(256, 'n') + ".jpg"), "x",
                                                   replace, &reason, &alreadyExists));
    EXPECT_FALSE(alreadyExists);
    EXPECT_EQ(reason, "File name too long");
  }
  EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
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

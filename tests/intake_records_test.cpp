// Photo records and the iPhoto library reader, on copies of the sample photos.

#include "intake/DataFiller.h"
#include "intake/ImageFileInfo.h"
#include "intake/PhotoFile.h"
#include "intake/PhotoLibraryLayout.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSizeF>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

const char *kSmall = "jpg/Fujifilm_FinePix_E500.jpg"; // 59 x 100, orientation 1

class PhotoRecord : public ::testing::Test {
protected:
  QTemporaryDir dir;
  QString path(const QString &name) const { return dir.path() + QLatin1Char('/') + name; }
};

TEST_F(PhotoRecord, NamesPathsAndFileFacts) {
  const QString file =
      testenv::copyPhoto(kSmall, path(QStringLiteral("y")), QStringLiteral("z.jpg"));
  const auto photo = PhotoFile::initWithFileUrl(file, false);
  EXPECT_EQ(photo->fileName, "z.jpg");
  EXPECT_EQ(photo->fileExtension, "jpg");
  EXPECT_EQ(photo->fileContainerFolderName, "y");
  EXPECT_EQ(QSizeF(photo->width, photo->height), QSizeF(59, 100));
  EXPECT_EQ(photo->fileSizeInBytes, 2241);
  EXPECT_EQ(photo->fileSizeAsString, "2.24 KB");
  EXPECT_TRUE(photo->fileModifiedDate.isValid());
}

// The sample pictures are stored 600 x 450 (landscape) with each EXIF orientation.
TEST_F(PhotoRecord, QuarterTurnsSwapTheSize) {
  const std::pair<const char *, QSizeF> rows[] = {{"landscape_1.jpg", {600, 450}},
                                                  {"landscape_6.jpg", {600, 450}},
                                                  {"landscape_8.jpg", {600, 450}},
                                                  {"portrait_6.jpg", {450, 600}}};
  for (const auto &[name, size] : rows) {
    const QString file = testenv::copyPhoto(QStringLiteral("jpg/orientation/") + name, dir.path());
    const auto photo = PhotoFile::initWithFileUrl(file, false);
    EXPECT_EQ(QSizeF(photo->width, photo->height), size) << name;
  }
}

QByteArray epsText(const char *box) {
  return QByteArray("%!PS-Adobe-3.0 EPSF-3.0\n%%Creator: test\n") + box +
         "\n%%EndComments\nnewpath 0 0 moveto 10 10 lineto stroke\nshowpage\n%%EOF\n";
}

// The bounding box deferred to the trailer, past the first 300 KB.
QByteArray epsAtEnd() {
  return "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: (atend)\n%%EndComments\n" +
         QByteArray(300 * 1024, ' ') + "\n%%Trailer\n%%BoundingBox: 0 0 72 144\n%%EOF\n";
}

// The DOS binary header: magic, then the PostScript's offset and length, little-endian.
QByteArray epsInBinaryWrapper() {
  const QByteArray ps = epsText("%%BoundingBox: 0 0 40 30");
  QByteArray dos = QByteArray("\xC5\xD0\xD3\xC6", 4) + QByteArray(26, '\0');
  qToLittleEndian<quint32>(30, dos.data() + 4);
  qToLittleEndian<quint32>(ps.size(), dos.data() + 8);
  return dos + ps;
}

// An EPS size comes from its %%BoundingBox, for the exact-case extensions only: mixed case
// takes the image properties alone, which cannot read PostScript. Anything unreadable is 0 x 0.
TEST_F(PhotoRecord, SizeFromBytesComesFromTheRightReaderOrIsZero) {
  const QByteArray box = epsText("%%BoundingBox: 10 20 310 220");
  const struct {
    const char *name;
    QByteArray bytes;
    QSizeF size;
  } rows[] = {{"a.eps", box, {300, 200}},
              {"b.EPS", box, {300, 200}},
              {"c.Eps", box, {0, 0}},
              {"d.eps", epsAtEnd(), {72, 144}},
              {"e.eps", epsInBinaryWrapper(), {40, 30}},
              {"f.eps", "%!PS\nno box here\n", {0, 0}},
              {"empty.jpg", {}, {0, 0}},
              {"text.jpg", "not a photo", {0, 0}}};
  for (const auto &row : rows) {
    const auto photo =
        PhotoFile::initWithFileUrl(testenv::writeFile(path(row.name), row.bytes), false);
    EXPECT_EQ(QSizeF(photo->width, photo->height), row.size) << row.name;
  }
}

// The smallest PICT 2 picture: the 512-byte header, a 40 x 30 frame and the end opcode.
QByteArray minimalPict() {
  QByteArray pict(512, '\0');
  const quint16 words[] = {0x0000, 0,      0,      30, 40, // size, frame top, left, bottom, right
                           0x0011, 0x02FF,                 // version 2
                           0x0C00, 0xFFFF, 0xFFFF, 0,  0,  0,  0, 0, 0, 0, 0, 0, 0, // header
                           0x001E,                             // default highlight
                           0x0001, 10,     0,      0,  30, 40, // clip region
                           0x00FF};                            // end of picture
  for (quint16 w : words) {
    pict.append(char(w >> 8));
    pict.append(char(w & 0xFF));
  }
  return pict;
}

TEST_F(PhotoRecord, PictSizeFromThePictReader) {
  double w = 0, h = 0;
  if (!intake::pictSize(testenv::writeFile(path("probe.pict"), minimalPict()), &w, &h))
    GTEST_SKIP() << "no PICT reader here: the image properties' size stands";
  for (const char *name : {"frame.pict", "frame.PCT"}) {
    const auto photo =
        PhotoFile::initWithFileUrl(testenv::writeFile(path(name), minimalPict()), false);
    EXPECT_EQ(QSizeF(photo->width, photo->height), QSizeF(40, 30)) << name;
  }
}

TEST_F(PhotoRecord, UnreadableFilesGetNoSizeAndNeverBlock) {
  const auto missing = PhotoFile::initWithFileUrl(path("missing.jpg"), false);
  EXPECT_EQ(missing->width, 0);
  EXPECT_EQ(missing->fileSizeInBytes, 0);
  EXPECT_EQ(missing->fileSizeAsString, QStringLiteral("0 bytes"));
  EXPECT_FALSE(missing->fileCreationDate.isValid());

  const QString fifo = path("pipe.jpg");
  ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
  EXPECT_EQ(PhotoFile::initWithFileUrl(fifo, false)->width, 0); // would block if opened
  EXPECT_EQ(PhotoFile::initWithFileUrl(dir.path(), false)->width, 0);
}

TEST_F(PhotoRecord, ImageFileInfoTypeText) {
  const auto info = ImageFileInfo::initWithPathForFile(testenv::writeFile(path("shot.PNG"), "x"));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->fileType, "Portable Network Graphic");
  EXPECT_EQ(info->fileSize, 1u);
  EXPECT_EQ(ImageFileInfo::initWithPathForFile(path("noext"))->fileType, QString());
}

// --- iPhoto libraries ---

// A library as iPhoto 9 leaves it: AlbumData.xml at the top and the originals under Masters
// (the add run reads a whole one).
class IphotoLibrary : public ::testing::Test {
protected:
  void SetUp() override {
    library = dir.path() + QStringLiteral("/Pictures/iPhoto Library.photolibrary");
    QDir().mkpath(library);
    ASSERT_TRUE(QFile::copy(testenv::dataDir() + QStringLiteral("/intake/AlbumData.xml"),
                            library + QStringLiteral("/AlbumData.xml")));
    testenv::copyPhoto(kSmall, library + QStringLiteral("/Masters/2009/01/02"), "IMG_0012.JPG");
  }
  QTemporaryDir dir;
  QString library;
};

// A library holding a Photos database is a Photos library, whatever its name says.
TEST_F(IphotoLibrary, AnApdbDatabaseMakesItAPhotosLibrary) {
  const QString lower = library.toLower();
  EXPECT_FALSE(CommonFunc::isPhotosLib(lower));
  testenv::writeFile(library + QStringLiteral("/Database/apdb/Library.apdb"), "db");
  EXPECT_TRUE(CommonFunc::isPhotosLib(lower));
  DataFiller filler;
  filler.setLibPath(lower);
  EXPECT_TRUE(filler.checkValidLibAndUpdateIfAperture());
  EXPECT_EQ(filler.xmlPath(), library + QStringLiteral("/AlbumData.xml"));
}

TEST_F(IphotoLibrary, LibraryWithoutAlbumDataIsAnError) {
  QFile::remove(library + QStringLiteral("/AlbumData.xml"));
  DataFiller filler;
  filler.setLibPath(library.toLower());
  QString error;
  EXPECT_FALSE(filler.fetchImagesFromLib(&error));
  EXPECT_FALSE(error.isEmpty());
  EXPECT_TRUE(filler.arrImagePaths.isEmpty());
}

} // namespace

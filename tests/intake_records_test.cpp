// Photo records and the iPhoto library reader, on copies of the sample photos.

#include "intake/DataFiller.h"
#include "intake/ImageFileInfo.h"
#include "intake/PhotoFile.h"
#include "intake/PhotoLibraryLayout.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

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
  EXPECT_EQ(photo->filePath, file);
  EXPECT_EQ(photo->fileURL, photo->filePath);
  EXPECT_EQ(photo->fileName, QStringLiteral("z.jpg"));
  EXPECT_EQ(photo->fileExtension, QStringLiteral("jpg"));
  EXPECT_EQ(photo->fileContainerFolderName, QStringLiteral("y"));
  EXPECT_EQ(photo->width, 59);
  EXPECT_EQ(photo->height, 100);
  EXPECT_EQ(photo->fileSizeInBytes, 2241);
  EXPECT_EQ(photo->fileSizeAsString, QStringLiteral("2.24 KB"));
  EXPECT_TRUE(photo->fileCreationDate.isValid());
  EXPECT_TRUE(photo->fileModifiedDate.isValid());
  EXPECT_FALSE(photo->isIphotosNode);
  EXPECT_EQ(photo->processStatus, 0);
  EXPECT_TRUE(photo->processInfoMessage.isEmpty());
  EXPECT_EQ(photo->rep_width, 0);
  EXPECT_EQ(photo->rep_height, 0);
  EXPECT_TRUE(PhotoFile::initWithFileUrl(file, true)->isIphotosNode);
}

struct OrientationRow {
  const char *file;
  double width, height;
};

void PrintTo(const OrientationRow &row, std::ostream *out) {
  *out << row.file;
}

class Orientation : public PhotoRecord, public ::testing::WithParamInterface<OrientationRow> {};

// The sample pictures are stored 600 x 450 (landscape) with each EXIF orientation.
TEST_P(Orientation, QuarterTurnsSwapTheSize) {
  const OrientationRow row = GetParam();
  const QString file = testenv::copyPhoto(QString::fromLatin1(row.file), dir.path());
  const auto photo = PhotoFile::initWithFileUrl(file, false);
  EXPECT_EQ(photo->width, row.width) << row.file;
  EXPECT_EQ(photo->height, row.height) << row.file;
}

INSTANTIATE_TEST_SUITE_P(
    Stored, Orientation,
    ::testing::Values(OrientationRow{"jpg/orientation/landscape_1.jpg", 600, 450},
                      OrientationRow{"jpg/orientation/landscape_4.jpg", 600, 450},
                      OrientationRow{"jpg/orientation/landscape_5.jpg", 600, 450},
                      OrientationRow{"jpg/orientation/landscape_6.jpg", 600, 450},
                      OrientationRow{"jpg/orientation/landscape_8.jpg", 600, 450},
                      OrientationRow{"jpg/orientation/portrait_6.jpg", 450, 600}));

TEST(DisplayedSize, FourThousandByThreeThousandTurnedBySix) {
  double w = 0, h = 0;
  intake::displayedSize(6, 4000, 3000, &w, &h);
  EXPECT_EQ(w, 3000);
  EXPECT_EQ(h, 4000);
  intake::displayedSize(4, 4000, 3000, &w, &h);
  EXPECT_EQ(w, 4000);
  intake::displayedSize(0, 4000, 3000, &w, &h);
  EXPECT_EQ(w, 4000);
}

QByteArray epsText(const char *box) {
  return QByteArray("%!PS-Adobe-3.0 EPSF-3.0\n%%Creator: test\n") + box +
         "\n%%EndComments\nnewpath 0 0 moveto 10 10 lineto stroke\nshowpage\n%%EOF\n";
}

TEST_F(PhotoRecord, EpsSizeOnlyForExactCaseExtensions) {
  const QByteArray eps = epsText("%%BoundingBox: 10 20 310 220");
  const auto lower = PhotoFile::initWithFileUrl(testenv::writeFile(path("a.eps"), eps), false);
  EXPECT_EQ(lower->width, 300);
  EXPECT_EQ(lower->height, 200);
  const auto upper = PhotoFile::initWithFileUrl(testenv::writeFile(path("b.EPS"), eps), false);
  EXPECT_EQ(upper->width, 300);
  // Mixed case takes the image properties alone, which cannot read PostScript.
  const auto mixed = PhotoFile::initWithFileUrl(testenv::writeFile(path("c.Eps"), eps), false);
  EXPECT_EQ(mixed->width, 0);
  EXPECT_EQ(mixed->height, 0);
}

TEST_F(PhotoRecord, EpsBoundingBoxAtEndAndInsideBinaryWrapper) {
  double w = 0, h = 0;
  QByteArray deferred = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: (atend)\n%%EndComments\n";
  deferred += QByteArray(300 * 1024, ' ') + "\n%%Trailer\n%%BoundingBox: 0 0 72 144\n%%EOF\n";
  ASSERT_TRUE(
      intake::encapsulatedPostScriptSize(testenv::writeFile(path("d.eps"), deferred), &w, &h));
  EXPECT_EQ(w, 72);
  EXPECT_EQ(h, 144);

  const QByteArray ps = epsText("%%BoundingBox: 0 0 40 30");
  QByteArray dos(30, '\0');
  const uchar magic[] = {0xC5, 0xD0, 0xD3, 0xC6};
  for (int i = 0; i < 4; ++i)
    dos[i] = char(magic[i]);
  const quint32 offset = 30, length = quint32(ps.size());
  for (int i = 0; i < 4; ++i) {
    dos[4 + i] = char((offset >> (8 * i)) & 0xFF);
    dos[8 + i] = char((length >> (8 * i)) & 0xFF);
  }
  ASSERT_TRUE(
      intake::encapsulatedPostScriptSize(testenv::writeFile(path("e.eps"), dos + ps), &w, &h));
  EXPECT_EQ(w, 40);
  EXPECT_EQ(h, 30);
  EXPECT_FALSE(intake::encapsulatedPostScriptSize(
      testenv::writeFile(path("f.eps"), "%!PS\nno box here\n"), &w, &h));
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
  const QString pict = testenv::writeFile(path("frame.pict"), minimalPict());
  double w = 0, h = 0;
  if (!intake::pictSize(pict, &w, &h))
    GTEST_SKIP() << "no PICT reader here: the image properties' size stands";
  EXPECT_EQ(w, 40);
  EXPECT_EQ(h, 30);
  const auto photo = PhotoFile::initWithFileUrl(pict, false);
  EXPECT_EQ(photo->width, 40);
  EXPECT_EQ(photo->height, 30);
  const auto upper =
      PhotoFile::initWithFileUrl(testenv::writeFile(path("frame.PCT"), minimalPict()), false);
  EXPECT_EQ(upper->width, 40);
}

TEST_F(PhotoRecord, UnreadableFilesGetNoSizeAndNeverBlock) {
  const auto missing = PhotoFile::initWithFileUrl(path("missing.jpg"), false);
  EXPECT_EQ(missing->width, 0);
  EXPECT_EQ(missing->fileSizeInBytes, 0);
  EXPECT_EQ(missing->fileSizeAsString, QStringLiteral("0 bytes"));
  EXPECT_FALSE(missing->fileCreationDate.isValid());

  EXPECT_EQ(PhotoFile::initWithFileUrl(testenv::writeFile(path("empty.jpg"), {}), false)->width, 0);
  EXPECT_EQ(PhotoFile::initWithFileUrl(testenv::writeFile(path("text.jpg"), "not a photo"), false)
                ->height,
            0);
  const QString fifo = path("pipe.jpg");
  ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
  EXPECT_EQ(PhotoFile::initWithFileUrl(fifo, false)->width, 0); // would block if opened
  EXPECT_EQ(PhotoFile::initWithFileUrl(dir.path(), false)->width, 0);
}

TEST_F(PhotoRecord, ImageFileInfoTypeText) {
  const QString png = testenv::writeFile(path("shot.PNG"), "x");
  const auto info = ImageFileInfo::initWithPathForFile(png);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->fileType, QStringLiteral("Portable Network Graphic"));
  EXPECT_EQ(info->fileName, QStringLiteral("shot.PNG"));
  EXPECT_EQ(info->fileSize, 1u);
  EXPECT_EQ(ImageFileInfo::initWithPathForFile(path("a.jpeg"))->fileType, QStringLiteral("JPEG"));
  EXPECT_EQ(ImageFileInfo::initWithPathForFile(path("noext"))->fileType, QString());
}

// --- iPhoto libraries ---

// A library as iPhoto 9 leaves it: AlbumData.xml at the top and the originals under Masters,
// here with paths written by another machine.
class IphotoLibrary : public ::testing::Test {
protected:
  void SetUp() override {
    library = dir.path() + QStringLiteral("/Pictures/iPhoto Library.photolibrary");
    QDir().mkpath(library);
    ASSERT_TRUE(QFile::copy(testenv::dataDir() + QStringLiteral("/intake/AlbumData.xml"),
                            library + QStringLiteral("/AlbumData.xml")));
    const QString masters = library + QStringLiteral("/Masters");
    first = testenv::copyPhoto(kSmall, masters + QStringLiteral("/2009/01/02"),
                               QStringLiteral("IMG_0012.JPG"));
    second = testenv::copyPhoto("jpg/Olympus_C8080WZ.jpg", masters + QStringLiteral("/2010/03/15"),
                                QStringLiteral("IMG_0003.JPG"));
    third = testenv::copyPhoto("jpg/Sony_HDR-HC3.jpg", masters + QStringLiteral("/2011/Trip"),
                               QStringLiteral("DSC 0007.jpg"));
    fourth = testenv::copyPhoto("jpg/Ricoh_Caplio_RR330.jpg", masters + QStringLiteral("/2012"),
                                QStringLiteral("IMG_0015.jpg"));
  }
  QTemporaryDir dir;
  QString library, first, second, third, fourth;
};

TEST_F(IphotoLibrary, LayoutFunctions) {
  const QString lower = library.toLower();
  EXPECT_EQ(CommonFunc::getPhotoLibraryVersion(lower), QStringLiteral("9"));
  EXPECT_EQ(CommonFunc::getPhotoLibraryMajorVersion(QStringLiteral("8.1.2")), QStringLiteral("8"));
  EXPECT_EQ(CommonFunc::photoLibrary_MastersOrOriginal(lower), QStringLiteral("masters"));
  EXPECT_TRUE(CommonFunc::isPkgPhotoLib(lower));
  EXPECT_TRUE(CommonFunc::isiPhotoLibrary9AndAbove(lower));
  EXPECT_FALSE(CommonFunc::isPhotosLib(lower));
  EXPECT_TRUE(CommonFunc::getPhotoLibraryVersion(dir.path()).isNull());
  EXPECT_FALSE(CommonFunc::isiPhotoLibrary9AndAbove(dir.path()));

  testenv::writeFile(library + QStringLiteral("/Database/apdb/Library.apdb"), "db");
  EXPECT_TRUE(CommonFunc::isPhotosLib(lower));
  EXPECT_EQ(CommonFunc::getDataBasePathForPhotosLib(lower),
            library + QStringLiteral("/Database/apdb/Library.apdb"));
  DataFiller filler;
  filler.setLibPath(lower);
  EXPECT_TRUE(filler.checkValidLibAndUpdateIfAperture());
  EXPECT_EQ(filler.xmlPath(), library + QStringLiteral("/AlbumData.xml"));
  EXPECT_TRUE(filler.checkIfLibrary9X());
}

TEST_F(IphotoLibrary, ReaderRebasesRestoresCaseAndKeepsLibraryOrder) {
  DataFiller filler;
  filler.setLibPath(library.toLower());
  QString error;
  ASSERT_TRUE(filler.fetchImagesFromLib(&error)) << error.toStdString();
  // Master album order (12, 3, 7; 5 repeats 3), then the rest by number (15, 20). The
  // last one is gone from disk and keeps the case the XML gives it.
  const QStringList expected = {first, second, third, fourth,
                                library + QStringLiteral("/Masters/2012/gone.jpg")};
  EXPECT_EQ(filler.arrImagePaths, expected);
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

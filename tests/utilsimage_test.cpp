// The image utilities by invariants: exact sizes, upright pixels compared with the
// orientation-1 sample, and every colour model made 8-bit sRGB.
#include "imaging/Utils.h"
#include "platform/JpegLoad.h"

#include "tests/support/Pictures.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <exiv2/exiv2.hpp>
#include <gtest/gtest.h>

#include <vips/vips8>

using vips::VImage;

namespace {

double meanDifference(const VImage &a, const VImage &b);

// The orientation samples differ by their drawn digit and JPEG noise (about 15 apart even
// when upright), while a wrongly mirrored or turned picture is over 50 apart.
constexpr double kUpright = 25.0;

// The picture matches the reference and not its mirror images.
void expectUpright(const VImage &image, const VImage &reference) {
  ASSERT_EQ(image.width(), reference.width());
  ASSERT_EQ(image.height(), reference.height());
  const double upright = meanDifference(image, reference);
  EXPECT_LT(upright, kUpright);
  EXPECT_GT(meanDifference(image, reference.flip(VIPS_DIRECTION_HORIZONTAL)), upright + 20);
  EXPECT_GT(meanDifference(image, reference.flip(VIPS_DIRECTION_VERTICAL)), upright + 20);
}

// Mean absolute difference of two same-size images on a 0-255 scale.
double meanDifference(const VImage &a, const VImage &b) {
  VImage x = a.extract_band(0, VImage::option()->set("n", 3)).cast(VIPS_FORMAT_FLOAT);
  VImage y = b.extract_band(0, VImage::option()->set("n", 3)).cast(VIPS_FORMAT_FLOAT);
  return (x - y).abs().avg();
}

// Each of the eight orientations of both samples: loaded upright, and the stored bitmap
// turned by the table gives the same picture as orientation 1.
TEST(Orientation, LoadedUprightAndRotateWithExifMatchesOrientationOne) {
  QTemporaryDir dir;
  for (const QString shape : {"landscape", "portrait"}) {
    const VImage reference =
        testenv::loadImage(testenv::photo(QStringLiteral("jpg/orientation/%1_1.jpg").arg(shape)));
    for (int orientation = 1; orientation <= 8; ++orientation) {
      const QString name = QStringLiteral("jpg/orientation/%1_%2.jpg").arg(shape).arg(orientation);
      SCOPED_TRACE(name.toStdString());
      const QString path = testenv::copyPhoto(name, dir.path());
      std::optional<VImage> upright = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(path);
      ASSERT_TRUE(upright.has_value());
      EXPECT_EQ(upright->bands(), 3);
      EXPECT_EQ(upright->format(), VIPS_FORMAT_UCHAR);
      expectUpright(*upright, reference);
      expectUpright(Utils::RotateWithEXIF(testenv::loadImage(path), orientation), reference);
      EXPECT_EQ(Utils::sharedUtils().getImageOriginalSizeAtFilePathUrl(path),
                QSizeF(reference.width(), reference.height()));
    }
  }
}

TEST(RotateWithExif, OutsideTheTableUnchanged) {
  const VImage image = testenv::loadImage(testenv::photo("jpg/orientation/landscape_1.jpg"));
  for (int o : {-1, 0, 1, 9}) {
    const VImage same = Utils::RotateWithEXIF(image, o);
    EXPECT_EQ(same.width(), image.width());
    EXPECT_DOUBLE_EQ(meanDifference(same, image), 0.0);
  }
}

// Every colour model the encoders could refuse comes out as RGB of the same size: 8-bit sRGB,
// or 16-bit RGB for a 16-bit photo.
TEST(Loader, GreyCmykSixteenBitAndAlphaBecomeRgb) {
  QTemporaryDir dir;
  const VImage colour = testenv::loadImage(testenv::photo("jpg/Canon_40D.jpg"));
  const std::pair<const char *, VImage> made[] = {
      {"grey.jpg", colour.colourspace(VIPS_INTERPRETATION_B_W)},
      {"cmyk.jpg", colour.colourspace(VIPS_INTERPRETATION_CMYK)},
      {"rgb16.png", colour.colourspace(VIPS_INTERPRETATION_RGB16)},
      {"alpha.png", colour.bandjoin_const({128})},
      {"grey16.tif", colour.colourspace(VIPS_INTERPRETATION_GREY16)}};
  for (const auto &[name, picture] : made) {
    SCOPED_TRACE(name);
    const QString path = dir.filePath(name);
    picture.write_to_file(QFile::encodeName(path).constData());
    std::optional<VImage> image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(path);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->width(), colour.width());
    EXPECT_EQ(image->height(), colour.height());
    // 16-bit photos keep their depth, for the formats that can hold it.
    const bool deep = path.endsWith("16.png") || path.endsWith("16.tif");
    EXPECT_EQ(image->format(), deep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR);
    EXPECT_EQ(image->interpretation(), deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB);
    EXPECT_EQ(image->bands(), path.endsWith("alpha.png") ? 4 : 3);
    // The picture survives the conversion: its brightness stays close to the original's.
    EXPECT_NEAR(image->extract_band(0, VImage::option()->set("n", 3)).avg() / (deep ? 257 : 1),
                colour.colourspace(VIPS_INTERPRETATION_B_W).avg(), 25.0);
  }
}

TEST(Loader, DamagedAndMissingFilesGiveNothingOrAPicture) {
  QTemporaryDir dir;
  const QString corrupted = testenv::copyPhoto("jpg/corrupted.jpg", dir.path());
  std::optional<VImage> image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(corrupted);
  if (image) {
    EXPECT_GT(image->width(), 0);
  }
  const QString truncated = dir.filePath("truncated.jpg");
  QFile whole(testenv::photo("jpg/Canon_40D.jpg"));
  ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
  testenv::writeFile(truncated, whole.read(600));
  EXPECT_FALSE(Utils::sharedUtils().getImageWithFixedOrientionFromUrl(truncated).has_value());
  EXPECT_FALSE(
      Utils::sharedUtils().getImageWithFixedOrientionFromUrl(dir.filePath("none.jpg")).has_value());
  EXPECT_EQ(Utils::sharedUtils().getImageOriginalSizeAtFilePathUrl(dir.filePath("none.jpg")),
            QSizeF(0, 0));
}

// A JPEG reaches the decoder without its EXIF block, yet loads as libvips loads the whole
// file: same pixels, same resolution and unit (taken from the EXIF block when it states
// them), turned by the same orientation.
TEST(Loader, JpegWithoutItsExifBlockLoadsAsTheWholeFile) {
  QDir samples(testenv::photosDir() + "/jpg");
  QStringList paths;
  for (const QString &folder : {QString("."), QString("exif-org"), QString("orientation")})
    for (const QString &name : QDir(samples.filePath(folder)).entryList({"*.jpg"}, QDir::Files))
      paths << samples.filePath(folder + "/" + name);
  ASSERT_GT(paths.size(), 20);
  int compared = 0;
  for (const QString &path : paths) {
    SCOPED_TRACE(path.toStdString());
    VImage whole;
    try {
      whole = testenv::loadImage(path).autorot();
      whole.avg(); // damaged samples fail here and are left out
    } catch (const vips::VError &) {
      continue;
    }
    std::optional<VImage> ours = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(path);
    ASSERT_TRUE(ours.has_value());
    ASSERT_EQ(ours->width(), whole.width());
    ASSERT_EQ(ours->height(), whole.height());
    EXPECT_DOUBLE_EQ(ours->xres(), whole.xres());
    EXPECT_DOUBLE_EQ(ours->yres(), whole.yres());
    const auto unit = [](const VImage &image) {
      const char *text = nullptr;
      vips_image_get_string(image.get_image(), VIPS_META_RESOLUTION_UNIT, &text);
      return std::string(text ? text : "");
    };
    EXPECT_EQ(unit(*ours), unit(whole));
    if (whole.bands() == 3) {
      EXPECT_EQ(meanDifference(*ours, whole), 0.0);
    }
    ++compared;
  }
  EXPECT_GT(compared, 20);
}

// Only the EXIF segments go: the JFIF, comment, XMP and ICC segments and the scan stay, and
// anything that is not a JPEG header passes unchanged.
TEST(Loader, ExifSegmentsRemovedAndNothingElse) {
  QFile file(testenv::photo("jpg/Nikon_D70.jpg"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QByteArray original = file.readAll();
  const QByteArray stripped = platform::JpegLoad::withoutExifSegments(original);
  ASSERT_LT(stripped.size(), original.size());
  EXPECT_TRUE(original.endsWith(stripped.mid(stripped.indexOf("\xFF\xDB"))));
  EXPECT_EQ(stripped.indexOf(QByteArray("Exif\0\0", 6)), -1);
  EXPECT_NE(stripped.indexOf("http://ns.adobe.com/xap/1.0/"), -1);
  EXPECT_NE(stripped.indexOf("ICC_PROFILE"), -1);

  auto exifOf = [](const QByteArray &bytes) {
    auto image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(bytes.data()),
                                           long(bytes.size()));
    image->readMetadata();
    return std::make_pair(image->exifData().count(), image->xmpData().count());
  };
  EXPECT_GT(exifOf(original).first, 0);
  EXPECT_EQ(exifOf(stripped).first, 0);
  EXPECT_EQ(exifOf(stripped).second, exifOf(original).second);

  const VImage before = VImage::new_from_buffer(original.data(), size_t(original.size()), "");
  const VImage after = VImage::new_from_buffer(stripped.data(), size_t(stripped.size()), "");
  EXPECT_EQ(meanDifference(before, after), 0.0);
  EXPECT_TRUE(after.get_typeof(VIPS_META_ICC_NAME));
  EXPECT_FALSE(after.get_typeof(VIPS_META_EXIF_NAME));

  const QByteArray notJpeg("\x89PNG\r\n\x1a\nExif", 12);
  EXPECT_EQ(platform::JpegLoad::withoutExifSegments(notJpeg), notJpeg);
  // A segment whose length runs past the end is left alone, not cut.
  const QByteArray cut = original.left(40);
  EXPECT_EQ(platform::JpegLoad::withoutExifSegments(cut), cut);
}

// EPS is drawn by Ghostscript at 72 dpi within its bounding box: a red box of 100 x 50 points
// over a white page is a red picture of 100 x 50 pixels. A file that is not PostScript fails.
TEST(Loader, EpsDrawnWithinItsBoundingBox) {
  if (QStandardPaths::findExecutable("gs").isEmpty())
    GTEST_SKIP() << "Ghostscript is not installed";
  QTemporaryDir dir;
  const QString eps = testenv::writeFile(dir.filePath("box.eps"),
                                         "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 10 10 110 60\n"
                                         "1 0 0 setrgbcolor 10 10 100 50 rectfill\nshowpage\n");
  const std::optional<VImage> image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(eps);
  ASSERT_TRUE(image.has_value());
  EXPECT_EQ(image->width(), 100);
  EXPECT_EQ(image->height(), 50);
  EXPECT_EQ(image->bands(), 3);
  const std::vector<double> centre = image->getpoint(50, 25);
  EXPECT_EQ(centre, (std::vector<double>{255, 0, 0}));

  const QString notPostScript = testenv::writeFile(dir.filePath("fake.eps"), "GIF89a");
  EXPECT_FALSE(Utils::sharedUtils().getImageWithFixedOrientionFromUrl(notPostScript).has_value());
}

TEST(Sizes, ScaleFitThumbnailAndFill) {
  const VImage big = VImage::black(4000, 3000, VImage::option()->set("bands", 3)) + 100;
  std::optional<VImage> half = Utils::scaleImage(big, QSize(2000, 1500));
  ASSERT_TRUE(half.has_value());
  EXPECT_EQ(half->width(), 2000);
  EXPECT_EQ(half->height(), 1500);
  EXPECT_NEAR(half->avg(), 100.0, 0.5);
  EXPECT_FALSE(Utils::scaleImage(big, QSize(0, 10)).has_value());
  std::optional<VImage> odd = Utils::scaleImage(big, QSize(333, 777));
  ASSERT_TRUE(odd.has_value());
  EXPECT_EQ(odd->width(), 333);
  EXPECT_EQ(odd->height(), 777);

  EXPECT_EQ(Utils::aspectFitSizeWithMaxSize(QSizeF(400, 300), 200), QSizeF(200, 150));
  EXPECT_EQ(Utils::aspectFitSizeWithMaxSize(QSizeF(100, 50), 300), QSizeF(300, 150));

  const QString sample = testenv::photo("jpg/orientation/portrait_6.jpg");
  std::optional<VImage> thumbnail =
      Utils::sharedUtils().getThumbnailImageAtFilePath(sample, QSizeF(120, 120));
  ASSERT_TRUE(thumbnail.has_value());
  const QSizeF upright = Utils::sharedUtils().getImageOriginalSizeAtFilePathUrl(sample);
  EXPECT_EQ(thumbnail->width(), 120);
  EXPECT_NEAR(thumbnail->height(), 120.0 * upright.height() / upright.width(), 1.0);
  EXPECT_FALSE(Utils::sharedUtils().getThumbnailImageAtFilePath({}, QSizeF(10, 10)));

  // A left half black and a right half white: each crop mode keeps its own part.
  const VImage halves = (VImage::black(200, 100) + 0).insert(VImage::black(100, 100) + 255, 100, 0);
  for (auto [mode, mean] : {std::pair{Utils::CropModeStart, 0.0},
                            {Utils::CropModeEnd, 255.0},
                            {Utils::CropModeCenter, 127.5}}) {
    std::optional<VImage> filled =
        Utils::sharedUtils().getAspectFillImageFormImage(halves, QSize(50, 50), mode);
    ASSERT_TRUE(filled.has_value());
    EXPECT_EQ(filled->width(), 50);
    EXPECT_EQ(filled->height(), 50);
    EXPECT_NEAR(filled->avg(), mean, 8.0);
  }
}

} // namespace

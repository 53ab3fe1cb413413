// Image operations on libvips images, checked by invariants: exact sizes, orientation (where
// a marked corner ends up), mean colour.
#include "imaging/ImageProcessing.h"
#include "tests/support/Pictures.h"

#include <QFile>
#include <QRect>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <vips/vips8>

using vips::VImage;

namespace {

using testenv::photo;

// 40 x 20, mid grey, with a white 10 x 5 block in the top-left corner.
VImage markedImage() {
  VImage grey = VImage::black(40, 20, VImage::option()->set("bands", 3))
                    .new_from_image({128.0, 128.0, 128.0});
  VImage white =
      VImage::black(10, 5, VImage::option()->set("bands", 3)).new_from_image({255.0, 255.0, 255.0});
  return grey.insert(white, 0, 0)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

double meanAt(const VImage &image, int x, int y, int w, int h) {
  return image.extract_area(x, y, w, h).avg();
}

TEST(ImageProcessing, ResizeToExactWidthAndHeight) {
  const VImage image = markedImage();
  const auto wider = ImageProcessing::resizeImage(image, 101.0f, 7.0f);
  ASSERT_TRUE(wider.has_value());
  EXPECT_EQ(wider->width(), 101);
  EXPECT_EQ(wider->height(), 7);
  EXPECT_NEAR(wider->avg(), image.avg(), 6.0); // the whole picture, not a crop

  const auto half = ImageProcessing::resizeImage(image, 20.0f, 10.0f);
  ASSERT_TRUE(half.has_value());
  EXPECT_GT(meanAt(*half, 0, 0, 4, 2), 230.0); // the white corner stays top-left
  EXPECT_NEAR(meanAt(*half, 12, 6, 8, 4), 128.0, 2.0);

  EXPECT_FALSE(ImageProcessing::resizeImage(image, 0.0f, 10.0f).has_value());
  EXPECT_FALSE(ImageProcessing::resizeImage(image, 10.0f, -1.0f).has_value());
  EXPECT_FALSE(ImageProcessing::resizeImage(image, QSize(0, 5)).has_value());

  const auto atLeast = ImageProcessing::resizeImageMinWidthMinHeight(image, 10.0f, 15.0f);
  ASSERT_TRUE(atLeast.has_value());
  EXPECT_EQ(atLeast->width(), 30); // the height decides: 20 -> 15 needs 0.75
  EXPECT_EQ(atLeast->height(), 15);
}

TEST(ImageProcessing, FileImageUprightOrAtFullStoredSize) {
  // Orientation 1: decoded at its stored size whatever size is asked.
  const auto canon = ImageProcessing::getImageFromFile(photo("jpg/Canon_40D.jpg"), 10, 10);
  ASSERT_TRUE(canon.has_value());
  EXPECT_EQ(canon->width(), 100);
  EXPECT_EQ(canon->height(), 68);

  // Orientation 6: turned upright at the size fitted to the asked width.
  const VImage stored = testenv::loadImage(photo("jpg/orientation/landscape_6.jpg"));
  const VImage upright = testenv::loadImage(photo("jpg/orientation/landscape_1.jpg"));
  const int width = upright.width() / 2;
  const auto turned =
      ImageProcessing::getImageFromFile(photo("jpg/orientation/landscape_6.jpg"), float(width), 0);
  ASSERT_TRUE(turned.has_value());
  EXPECT_EQ(stored.width(), upright.height()); // stored turned a quarter
  EXPECT_EQ(turned->width(), width);
  EXPECT_NEAR(turned->height(), upright.height() * width / double(upright.width()), 1.0);
  // The picture matches the upright original (compared in coarse blocks), not a turned one
  auto coarse = [](const VImage &image) {
    return image.resize(16.0 / image.width(),
                        VImage::option()->set("vscale", 8.0 / image.height()));
  };
  // (The samples differ only in the digit drawn on them.)
  const VImage ours = coarse(*turned);
  const double same = (ours - coarse(upright)).abs().avg();
  EXPECT_LT(same, 15.0);
  EXPECT_LT(same * 2, (ours - coarse(upright.rot(VIPS_ANGLE_D180))).abs().avg());
  EXPECT_LT(same * 2, (ours - coarse(upright.flip(VIPS_DIRECTION_HORIZONTAL))).abs().avg());

  EXPECT_FALSE(ImageProcessing::getImageFromFile(photo("README.md"), 10, 10).has_value());
  EXPECT_FALSE(ImageProcessing::getImageFromFile(QString(), 10, 10).has_value());
}

// Flips, solid colours, crops, blurs and the grey conversion only forward to libvips; the
// turn and the crop's bounds are decided here.
TEST(ImageProcessing, TurnsClockwiseAndCropsInsideTheImage) {
  const VImage image = markedImage();
  const auto quarter = ImageProcessing::rotateImagedByDegrees(90, image);
  ASSERT_TRUE(quarter.has_value());
  EXPECT_EQ(quarter->width(), 20);
  EXPECT_EQ(quarter->height(), 40);
  EXPECT_GT(meanAt(*quarter, 15, 0, 5, 10), 250.0); // top-left goes top-right, clockwise
  EXPECT_EQ(ImageProcessing::rotateImagedByDegrees(-270, image)->width(), 20);

  const auto crop = ImageProcessing::imageWithCIImage(image, QRect(-5, -5, 15, 10));
  ASSERT_TRUE(crop.has_value());
  EXPECT_EQ(crop->width(), 10); // cut to the image
  EXPECT_DOUBLE_EQ(crop->avg(), 255.0);
  EXPECT_FALSE(ImageProcessing::imageWithCIImage(image, QRect(100, 100, 5, 5)).has_value());
}

TEST(ImageProcessing, HistogramsAndSaving) {
  const VImage image = markedImage();
  std::vector<std::vector<quint64>> histograms;
  ASSERT_TRUE(ImageProcessing::computeHistogramForImage(image, &histograms));
  ASSERT_EQ(histograms.size(), 3u);
  EXPECT_EQ(histograms[0][255], 50u);
  EXPECT_EQ(histograms[0][128], 750u);
  EXPECT_NEAR(*ImageProcessing::compareHistogramsForImage(image, image), 1.0, 1e-9);
  const VImage black =
      VImage::black(40, 20, VImage::option()->set("bands", 3)).cast(VIPS_FORMAT_UCHAR);
  EXPECT_LT(*ImageProcessing::compareHistogramsForImage(image, black), 0.5);

  QTemporaryDir dir;
  const QString path = dir.path() + "/equalised.png";
  ASSERT_TRUE(ImageProcessing::equalizeAndSaveImage(image, path));
  EXPECT_EQ(ImageProcessing::sizeOfImageAtURL(path), QSize(40, 20));
  EXPECT_FALSE(ImageProcessing::saveImage(image, dir.path() + "/no/such/folder/x.png"));
  EXPECT_FALSE(ImageProcessing::sizeOfImageAtURL(dir.path() + "/none.png").isValid());

  const auto date = ImageProcessing::getCreationTimeForExif(
      QVariantMap{{"{Exif}", QVariantMap{{"DateTimeOriginal", "2021:04:11 15:47:53"}}}});
  ASSERT_TRUE(date.has_value());
  EXPECT_EQ(*date, QDateTime(QDate(2021, 4, 11), QTime(15, 47, 53)));
  EXPECT_FALSE(ImageProcessing::getCreationTimeForExif(QVariantMap{}).has_value());
}

TEST(ImageProcessing, ThumbnailsAreUprightAndBounded) {
  const auto square = ImageProcessing::resizeImage(photo("jpg/orientation/portrait_6.jpg"), 50);
  ASSERT_TRUE(square.has_value());
  EXPECT_LE(std::max(square->width(), square->height()), 50);
  EXPECT_GT(square->height(), square->width()); // portrait, turned upright
  const auto thumb = ImageProcessing::getThumbnailForFile(photo("jpg/Canon_40D.jpg"), 50, 50);
  ASSERT_TRUE(thumb.has_value());
  EXPECT_EQ(thumb->width(), 50);
  EXPECT_FALSE(ImageProcessing::resizeImage(photo("README.md"), 50).has_value());

  const QString saved =
      ImageProcessing::saveThumbnailForFile(photo("jpg/orientation/portrait_6.jpg"), 40, 40);
  ASSERT_FALSE(saved.isEmpty());
  EXPECT_FALSE(saved.startsWith(testenv::photosDir())); // never beside the sample
  const vips::VImage reread = testenv::loadImage(saved);
  EXPECT_EQ(std::max(reread.width(), reread.height()), 40);
  EXPECT_GT(reread.height(), reread.width());
  QFile::remove(saved);
  EXPECT_TRUE(ImageProcessing::saveThumbnailForFile(photo("README.md"), 40, 40).isEmpty());
}

} // namespace

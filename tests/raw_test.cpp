// Camera RAW photos, end to end, on small DNGs made here: a Bayer mosaic of four colour
// patches behind an 8-bit preview, laid out as cameras write them. They must be added to the
// batch, developed upright at the sensor's size with the patches' colours, named by the
// RAW rule of the new-name engine, and written to every output format.

#include "imaging/Utils.h"
#include "intake/PhotoFile.h"
#include "intake/PhotoIntake.h"
#include "platform/ImageProperties.h"
#include "platform/RawDecoder.h"
#include "rename/BatchRenameSetting.h"
#include "rename/RenameEngine.h"
#include "tests/support/Pictures.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <vips/vips8>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr int kPreviewWidth = 16;
constexpr int kPreviewHeight = 12;

// The quadrants in linear camera values (the camera's space is linear sRGB), top left,
// top right, bottom left, bottom right, with their hues in degrees.
struct Patch {
  const char *name;
  std::array<double, 3> rgb;
  double hue;
};
const Patch kPatches[4] = {
    {"red", {0.60, 0.05, 0.05}, 0},
    {"green", {0.05, 0.50, 0.05}, 120},
    {"blue", {0.05, 0.05, 0.60}, 240},
    {"yellow", {0.45, 0.40, 0.03}, 57},
};

// A little-endian TIFF with a main IFD and one sub-IFD, each with its pixels in one strip.
class TiffWriter {
public:
  enum Type : uint16_t { Byte = 1, Ascii = 2, Short = 3, Long = 4, Rational = 5, SRational = 10 };
  struct Entry {
    uint16_t tag;
    Type type;
    uint32_t count;
    QByteArray value; // count items of type, little-endian
  };

  // The values little-endian, each in `bytes` bytes.
  static QByteArray bytesOf(std::initializer_list<uint32_t> values, int bytes) {
    QByteArray b;
    for (uint32_t v : values)
      for (int i = 0; i < bytes; ++i)
        b.append(char((v >> (8 * i)) & 0xff));
    return b;
  }
  static QByteArray shorts(std::initializer_list<uint32_t> v) { return bytesOf(v, 2); }
  static QByteArray longs(std::initializer_list<uint32_t> v) { return bytesOf(v, 4); }
  static Entry shortEntry(uint16_t tag, std::initializer_list<uint32_t> v) {
    return {tag, Short, uint32_t(v.size()), shorts(v)};
  }
  static Entry longEntry(uint16_t tag, std::initializer_list<uint32_t> v) {
    return {tag, Long, uint32_t(v.size()), longs(v)};
  }
  static Entry byteEntry(uint16_t tag, std::initializer_list<uint32_t> v) {
    return {tag, Byte, uint32_t(v.size()), bytesOf(v, 1)};
  }
  static Entry text(uint16_t tag, const char *v) {
    const QByteArray b = QByteArray(v) + '\0';
    return {tag, Ascii, uint32_t(b.size()), b};
  }
  static Entry rationals(uint16_t tag, std::initializer_list<double> v, bool isSigned) {
    QByteArray b;
    for (double x : v)
      b += longs({uint32_t(int32_t(std::lround(x * 10000))), 10000});
    return {tag, isSigned ? SRational : Rational, uint32_t(v.size()), b};
  }

  QByteArray file = QByteArray("II*\0", 4) + longs({0});

  // Appends an IFD (strip entries added here) with its values and pixels; its offset.
  uint32_t addIfd(std::vector<Entry> entries, const QByteArray &pixels) {
    entries.push_back(longEntry(273, {append(pixels)}));
    entries.push_back(longEntry(279, {uint32_t(pixels.size())}));
    std::sort(entries.begin(), entries.end(),
              [](const Entry &a, const Entry &b) { return a.tag < b.tag; });
    QByteArray ifd = shorts({uint16_t(entries.size())});
    for (const Entry &e : entries) {
      const QByteArray value = e.value.size() > 4 ? longs({append(e.value)}) : e.value;
      ifd += shorts({e.tag, e.type}) + longs({e.count}) + value.leftJustified(4, '\0');
    }
    return append(ifd + longs({0}));
  }
  void setFirstIfd(uint32_t offset) { file.replace(4, 4, longs({offset})); }

private:
  uint32_t append(const QByteArray &bytes) {
    if (file.size() % 2)
      file.append('\0');
    const auto at = uint32_t(file.size());
    file += bytes;
    return at;
  }
};

int quadrantOf(int x, int y) {
  return (y < kHeight / 2 ? 0 : 2) + (x < kWidth / 2 ? 0 : 1);
}

// A DNG 1.4 of kWidth x kHeight: a 16-bit RGGB mosaic in a sub-IFD, a kPreviewWidth x
// kPreviewHeight RGB preview in IFD0 with the given orientation.
QByteArray makeDng(int orientation) {
  using T = TiffWriter;
  T tiff;
  QByteArray mosaic;
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      // R G / G B
      const int channel = (y % 2) + (x % 2);
      const double value = kPatches[quadrantOf(x, y)].rgb[size_t(channel)];
      mosaic += T::shorts({uint16_t(std::lround(value * 65535))});
    }
  const uint32_t raw = tiff.addIfd(
      {T::longEntry(254, {0}), T::longEntry(256, {kWidth}), T::longEntry(257, {kHeight}),
       T::shortEntry(258, {16}), T::shortEntry(259, {1}), T::shortEntry(262, {32803}),
       T::shortEntry(277, {1}), T::longEntry(278, {kHeight}), T::shortEntry(284, {1}),
       T::shortEntry(33421, {2, 2}), T::byteEntry(33422, {0, 1, 1, 2}), T::longEntry(50714, {0}),
       T::longEntry(50717, {65535})},
      mosaic);

  QByteArray preview;
  for (int y = 0; y < kPreviewHeight; ++y)
    for (int x = 0; x < kPreviewWidth; ++x)
      for (double v : kPatches[quadrantOf(x * 4, y * 4)].rgb)
        preview.append(char(std::lround(std::pow(v, 1 / 2.2) * 255)));
  // ColorMatrix1 takes XYZ to the camera's space: here the XYZ to linear sRGB matrix (D65).
  tiff.setFirstIfd(tiff.addIfd(
      {T::longEntry(254, {1}), T::longEntry(256, {kPreviewWidth}),
       T::longEntry(257, {kPreviewHeight}), T::shortEntry(258, {8, 8, 8}), T::shortEntry(259, {1}),
       T::shortEntry(262, {2}), T::text(271, "Quillmere"), T::text(272, "Mosaic"),
       T::shortEntry(274, {uint16_t(orientation)}), T::shortEntry(277, {3}),
       T::longEntry(278, {kPreviewHeight}), T::shortEntry(284, {1}), T::longEntry(330, {raw}),
       T::byteEntry(50706, {1, 4, 0, 0}), T::byteEntry(50707, {1, 1, 0, 0}),
       T::text(50708, "Quillmere Mosaic"),
       T::rationals(50721,
                    {3.2406, -1.5372, -0.4986, -0.9689, 1.8758, 0.0415, 0.0557, -0.2040, 1.0570},
                    true),
       T::rationals(50728, {1, 1, 1}, false), T::shortEntry(50778, {21})},
      preview));
  return tiff.file;
}

// Hue in degrees and chroma (0-255) of an 8-bit RGB mean.
struct Colour {
  double hue = 0;
  double chroma = 0;
};
Colour colourOf(double r, double g, double b) {
  const double top = std::max({r, g, b});
  const double chroma = top - std::min({r, g, b});
  double hue = 0;
  if (chroma > 0) {
    if (top == r)
      hue = 60 * std::fmod((g - b) / chroma + 6, 6);
    else if (top == g)
      hue = 60 * ((b - r) / chroma + 2);
    else
      hue = 60 * ((r - g) / chroma + 4);
  }
  return {hue, chroma};
}

double hueDistance(double a, double b) {
  const double d = std::fabs(a - b);
  return std::min(d, 360 - d);
}

// The middle of each quadrant of a developed (or written and read back) picture has the hue
// of the patch that lies there once upright; `turned` for a picture turned a quarter
// clockwise, whose top right holds the mosaic's top left.
void expectPatches(const vips::VImage &picture, bool turned, const std::string &what) {
  SCOPED_TRACE(what);
  vips::VImage rgb = picture;
  if (rgb.bands() == 4 || rgb.bands() == 2)
    rgb = rgb.flatten();
  if (rgb.bands() == 1)
    rgb = rgb.bandjoin({rgb, rgb});
  rgb = rgb.cast(VIPS_FORMAT_UCHAR);
  const int w = rgb.width(), h = rgb.height();
  // Upright quadrant (left/right, top/bottom) -> mosaic quadrant.
  const int fromTurned[4] = {2, 0, 3, 1};
  for (int q = 0; q < 4; ++q) {
    const int left = (q % 2) * w / 2 + w / 8, top = (q / 2) * h / 2 + h / 8;
    const vips::VImage middle = rgb.extract_area(left, top, w / 4, h / 4);
    const Patch &patch = kPatches[turned ? fromTurned[q] : q];
    const Colour c = colourOf(middle.extract_band(0).avg(), middle.extract_band(1).avg(),
                              middle.extract_band(2).avg());
    EXPECT_GT(c.chroma, 60) << patch.name;
    EXPECT_LT(hueDistance(c.hue, patch.hue), 25) << patch.name << " hue " << c.hue;
  }
}

class Raw : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    ASSERT_TRUE(QDir().mkpath(in()));
    straight = testenv::writeFile(in() + "/shot.dng", makeDng(1));
    turned = testenv::writeFile(in() + "/turned.DNG", makeDng(6));
  }
  QString in() const { return dir.filePath("in"); }

  QTemporaryDir dir;
  QString straight;
  QString turned;
};

TEST_F(Raw, AddedWithTheSensorsSizeTurnedByItsOrientation) {
  PhotoIntake::Batch batch;
  AddPhotosListener quiet;
  PhotoIntake engine(&batch, &quiet);
  ASSERT_TRUE(engine.btnAddPhotosTappedWithIndex(0, {straight, turned}).started());
  engine.waitForFinished();
  ASSERT_EQ(batch.size(), 2);
  EXPECT_EQ(batch[0]->filePath, straight);
  EXPECT_EQ(batch[0]->width, kWidth);
  EXPECT_EQ(batch[0]->height, kHeight);
  EXPECT_EQ(batch[1]->width, kHeight);
  EXPECT_EQ(batch[1]->height, kWidth);
}

TEST_F(Raw, DevelopedUprightAtFullSizeWithThePatchesColours) {
  const auto upright = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(straight);
  ASSERT_TRUE(upright);
  EXPECT_EQ(upright->width(), kWidth);
  EXPECT_EQ(upright->height(), kHeight);
  EXPECT_EQ(upright->bands(), 3);
  expectPatches(*upright, false, "orientation 1");

  const auto quarter = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(turned);
  ASSERT_TRUE(quarter);
  EXPECT_EQ(quarter->width(), kHeight);
  EXPECT_EQ(quarter->height(), kWidth);
  expectPatches(*quarter, true, "orientation 6");
}

// The properties reader and the decoder go by one list: under every RAW extension, in
// either case, the file is read by the RAW reader (the sensor's size, not the preview that
// its TIFF structure shows first) and developed.
TEST_F(Raw, EveryRawExtensionIsReadAndDevelopedAsRaw) {
  const QByteArray dng = makeDng(1);
  const auto tiffRead =
      platform::ImageProperties::readFile(testenv::writeFile(dir.filePath("control.tif"), dng));
  ASSERT_TRUE(tiffRead);
  EXPECT_EQ(tiffRead->value("PixelWidth").toInt(), kPreviewWidth); // not RAW by name
  for (const QString &extension : platform::RawDecoder::rawExtensions()) {
    for (const QString &spelt : {extension, extension.toUpper()}) {
      const QString path = testenv::writeFile(dir.filePath("x." + spelt), dng);
      SCOPED_TRACE(path.toStdString());
      const auto dict = platform::ImageProperties::readFile(path);
      ASSERT_TRUE(dict);
      EXPECT_EQ(dict->value("PixelWidth").toInt(), kWidth);
      EXPECT_EQ(dict->value("PixelHeight").toInt(), kHeight);
      const auto developed = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(path);
      ASSERT_TRUE(developed);
      EXPECT_EQ(developed->width(), kWidth);
      QFile::remove(path);
    }
  }
}

TEST_F(Raw, KeepOriginalFormatNamesThemPngAndSetsTheRawFlag) {
  const QStringList formats =
      QStringLiteral("Keep original format,tif,bmp,gif,jpg,jpeg,png,jp2,pdf").split(',');
  std::shared_ptr<BatchRenameSetting> setting =
      BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  setting->flagRenamingMode = 0;
  const auto photo = PhotoFile::initWithFileUrl(turned, false);
  ASSERT_TRUE(photo);
  const auto jpeg =
      PhotoFile::initWithFileUrl(testenv::writeFile(dir.filePath("a.JPG"), "x"), false);
  setting->outputFormat = 0;
  RenameEngine keep(*setting, formats);
  EXPECT_EQ(keep.getUpdatedRenameStringForPhotoFile(*photo, 0), "turned.png");
  EXPECT_TRUE(keep.isRawFormatExist);
  EXPECT_EQ(keep.getUpdatedRenameStringForPhotoFile(*jpeg, 1), "a.JPG");
  EXPECT_FALSE(keep.isRawFormatExist);
  setting->outputFormat = 4;
  RenameEngine toJpeg(*setting, formats);
  EXPECT_EQ(toJpeg.getUpdatedRenameStringForPhotoFile(*photo, 0), "turned.jpg");
  EXPECT_FALSE(toJpeg.isRawFormatExist);
}

// `quillmere run` writes both photos in every format, upright, at full size, in colour.
TEST_F(Raw, RunWritesEveryOutputFormat) {
  const QStringList formats = {"keep", "tif", "bmp", "gif", "jpg", "jpeg", "png", "jp2", "pdf"};
  for (const QString &format : formats) {
    SCOPED_TRACE(format.toStdString());
    const QString out = dir.filePath("out-" + format);
    const auto result = testenv::runQuillmere(
        {"run", "--yes", "--copy", out, "--format", format, straight, turned});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString() << result.out.toStdString();
    const QString extension = format == "keep" ? "png" : format;
    EXPECT_EQ(QDir(out).entryList(QDir::Files, QDir::Name),
              (QStringList{"shot." + extension, "turned." + extension}));
    for (const bool quarter : {false, true}) {
      const QString path = out + (quarter ? "/turned." : "/shot.") + extension;
      const vips::VImage written = testenv::loadImage(path).copy_memory();
      // A PDF page is drawn at its size in points, one point a pixel.
      EXPECT_EQ(written.width(), quarter ? kHeight : kWidth) << path.toStdString();
      EXPECT_EQ(written.height(), quarter ? kWidth : kHeight) << path.toStdString();
      expectPatches(written, quarter, path.toStdString());
    }
  }
}

} // namespace

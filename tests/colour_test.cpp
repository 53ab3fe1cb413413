// Outputs look like their sources, through `quillmere run`: the photo's ICC profile goes into
// every format that can hold one with the pixels untouched, GIF and BMP get their pixels
// converted to sRGB, a PDF page gets an ICC-based colour space, and 16-bit photos stay 16-bit
// in TIFF and PNG.
#include "tests/support/Pictures.h"

#include "platform/MetadataCopy.h"
#include "platform/PdfPages.h"

using namespace testenv;
using vips::VImage;

namespace {

const char kP3Photo[] = "heic/IMG_5195.HEIC";

// The mean difference of two pictures of the same size, in 8-bit levels, once both are
// averaged over blocks of 16 x 16 pixels: a GIF's dithering evens out, a colour shift stays.
double blockDifference(const VImage &a, const VImage &b) {
  const auto blocks = [](const VImage &image) {
    return image.extract_band(0, VImage::option()->set("n", 3))
        .cast(VIPS_FORMAT_FLOAT)
        .shrink(16, 16);
  };
  return (blocks(a) - blocks(b)).abs().avg();
}

// Text inside a profile's 'desc' or 'mluc' tag, which version 4 profiles store in UTF-16.
bool profileNames(const QByteArray &profile, const QString &name) {
  QByteArray utf16;
  for (const QChar c : name) {
    utf16.append(char(c.unicode() >> 8));
    utf16.append(char(c.unicode() & 0xFF));
  }
  return profile.contains(utf16) || profile.contains(name.toLatin1());
}

// Runs `quillmere run` over the photos in `in`, written as format into `out`; the one output.
QString convert(const QString &in, const QString &out, const QString &format) {
  return convertOne(in, out, {"--format", format});
}

// The P3 sample decoded once for every case.
struct P3Source {
  // libvips 8.14's HEIF loader keeps the profile in the file's own image: it stays open.
  VImage file;
  QByteArray profile;
  VImage pixels; // the P3 numbers as they stand
  VImage srgb;   // the same colours as sRGB numbers
  std::vector<double> means;
  std::vector<double> srgbMeans;
};

const P3Source &p3Source() {
  static const P3Source source = [] {
    P3Source s;
    s.file = loadImage(testenv::photosDir() + "/" + kP3Photo);
    s.pixels = s.file.copy_memory();
    s.profile = attachedProfile(s.pixels);
    s.means = colourMeans(s.pixels);
    s.srgb =
        s.pixels.icc_transform("srgb", VImage::option()->set("embedded", true)->set("depth", 8));
    s.srgbMeans = colourMeans(s.srgb);
    return s;
  }();
  return source;
}

class ColourTest : public testenv::InOutTest {};

TEST_F(ColourTest, TheSampleIsDisplayP3AndFarFromSrgb) {
  const P3Source &source = p3Source();
  ASSERT_FALSE(source.profile.isEmpty());
  EXPECT_TRUE(profileNames(source.profile, "Display P3"));
  // Otherwise the cases below could not tell converted pixels from untouched ones.
  EXPECT_GT(blockDifference(source.pixels, source.srgb), 2.0);
}

// --- Formats that hold a profile: the profile travels, the pixels stay the source's ---

TEST_F(ColourTest, OutputCarriesDisplayP3AndTheSourcePixels) {
  ASSERT_FALSE(copyPhoto(kP3Photo, in).isEmpty());
  const P3Source &source = p3Source();
  for (const char *format : {"jpg", "png", "tif", "jp2"}) {
    SCOPED_TRACE(format);
    const QString output = convert(in, out + "/" + format, format);
    ASSERT_FALSE(output.isEmpty());
    EXPECT_EQ(platform::MetadataCopy::readColourProfile(output), source.profile);
    const VImage written = loadImage(output);
    // libvips reads the profile back too, except from JPEG 2000 where it leaves it unread.
    if (!output.endsWith(".jp2")) {
      EXPECT_EQ(attachedProfile(written), source.profile);
    }
    EXPECT_EQ(written.format(), VIPS_FORMAT_UCHAR);
    EXPECT_LE(largestDifference(colourMeans(written), source.means), 1.0);
    EXPECT_LT(blockDifference(written, source.pixels), 1.0);
  }
}

// --- Formats without a profile: the colours are brought to sRGB ---

TEST_F(ColourTest, GifAndBmpMeanColourIsTheSourcesInSrgb) {
  ASSERT_FALSE(copyPhoto(kP3Photo, in).isEmpty());
  for (const char *format : {"gif", "bmp"}) {
    SCOPED_TRACE(format);
    const QString output = convert(in, out + "/" + format, format);
    ASSERT_FALSE(output.isEmpty());
    VImage written = loadImage(output);
    if (written.bands() < 3)
      written = written.colourspace(VIPS_INTERPRETATION_sRGB);
    EXPECT_LE(largestDifference(colourMeans(written), p3Source().srgbMeans), 2.0);
    EXPECT_LT(blockDifference(written, p3Source().srgb), 1.5);
    EXPECT_TRUE(platform::MetadataCopy::readColourProfile(output).isEmpty());
  }
}

TEST_F(ColourTest, PdfPagePictureHasAnIccBasedColourSpace) {
  ASSERT_FALSE(testenv::copyPhoto(kP3Photo, in).isEmpty());
  const QString output = convert(in, out, "pdf");
  ASSERT_TRUE(output.endsWith(".pdf")) << output.toStdString();
  EXPECT_EQ(platform::PdfPages::pagePictureProfile(output, 0), p3Source().profile);
}

// A JPEG in P3, as phones write them: the JPEG keeps the profile, and so does the PDF page,
// which takes the JPEG's own bytes.
TEST_F(ColourTest, JpegWithProfileKeepsItInJpegAndPdf) {
  VImage photo = loadImage(testenv::photosDir() + "/jpg/Canon_PowerShot_S40.jpg").copy();
  const QByteArray &profile = p3Source().profile;
  photo.set(VIPS_META_ICC_NAME, nullptr, const_cast<char *>(profile.constData()),
            size_t(profile.size()));
  photo.jpegsave(QFile::encodeName(in + "/phone.jpg").data());
  for (const char *format : {"jpg", "pdf"}) {
    SCOPED_TRACE(format);
    const QString output = convert(in, out + "/" + format, format);
    ASSERT_FALSE(output.isEmpty());
    if (output.endsWith(".pdf"))
      EXPECT_EQ(platform::PdfPages::pagePictureProfile(output, 0), profile);
    else
      EXPECT_EQ(platform::MetadataCopy::readColourProfile(output), profile);
  }
}

// A photo without a profile is sRGB: nothing is embedded and nothing converted.
TEST_F(ColourTest, PhotoWithoutProfileGetsNoneAndKeepsItsColours) {
  const QString source = testenv::copyPhoto("jpg/Canon_PowerShot_S40.jpg", in);
  ASSERT_FALSE(source.isEmpty());
  ASSERT_TRUE(attachedProfile(loadImage(source)).isEmpty());
  const std::vector<double> means = colourMeans(loadImage(source));
  for (const char *format : {"png", "gif"}) {
    SCOPED_TRACE(format);
    const QString output = convert(in, out + "/" + format, format);
    ASSERT_FALSE(output.isEmpty());
    EXPECT_TRUE(platform::MetadataCopy::readColourProfile(output).isEmpty());
    EXPECT_LE(largestDifference(colourMeans(loadImage(output)), means), 2.0);
  }
}

// --- 16-bit photos ---

// A 16-bit RGB photo in the P3 space whose low bytes matter: a trip through 8 bits would change
// every pixel.
VImage makeSixteenBitPhoto(const QString &path) {
  const VImage photo = loadImage(testenv::photosDir() + "/jpg/Canon_PowerShot_S40.jpg");
  VImage sixteen = (photo.cast(VIPS_FORMAT_USHORT) * 257 + 77)
                       .cast(VIPS_FORMAT_USHORT)
                       .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
  const QByteArray &profile = p3Source().profile;
  sixteen.set(VIPS_META_ICC_NAME, nullptr, const_cast<char *>(profile.constData()),
              size_t(profile.size()));
  sixteen.write_to_file(QFile::encodeName(path).constData());
  return loadImage(path);
}

// In TIFF and PNG, from either, every 16-bit pixel and the profile come through unchanged.
TEST_F(ColourTest, SixteenBitStaysSixteenBitWithItsProfile) {
  for (const auto &[from, to] :
       {std::pair{"tif", "tif"}, {"tif", "png"}, {"png", "tif"}, {"png", "png"}}) {
    const QString name = QStringLiteral("%1_to_%2").arg(from, to);
    SCOPED_TRACE(name.toStdString());
    ASSERT_TRUE(QDir(in).mkdir(name));
    const VImage source = makeSixteenBitPhoto(in + "/" + name + "/scan." + from);
    ASSERT_EQ(source.format(), VIPS_FORMAT_USHORT);
    const QString output = convert(in + "/" + name, out + "/" + name, to);
    ASSERT_FALSE(output.isEmpty());
    const VImage written = loadImage(output);
    EXPECT_EQ(written.format(), VIPS_FORMAT_USHORT);
    ASSERT_EQ(written.bands(), 3);
    EXPECT_EQ((written - source).abs().max(), 0.0);
    EXPECT_EQ(platform::MetadataCopy::readColourProfile(output), p3Source().profile);
  }
}

TEST_F(ColourTest, SixteenBitPhotoGetsEightBitsOfTheSameColoursInJpeg) {
  const VImage source = makeSixteenBitPhoto(in + "/scan.tif");
  const QString output = convert(in, out, "jpg");
  ASSERT_FALSE(output.isEmpty());
  const VImage written = loadImage(output);
  EXPECT_EQ(written.format(), VIPS_FORMAT_UCHAR);
  EXPECT_LE(largestDifference(colourMeans(written), colourMeans(source)), 1.0);
  EXPECT_EQ(platform::MetadataCopy::readColourProfile(output), p3Source().profile);
}

} // namespace

// WebP, AVIF, HEIC and JPEG XL through `quillmere run`, read back by libvips and exiftool:
// upright at the right size, the source's colours, its capture date, GPS position and
// colour profile carried, and the quality setting reaching the encoder. Photos in those
// formats are taken as sources too and converted to every output format.
#include "tests/support/Pictures.h"

#include "app/BatchOptions.h"
#include "platform/EncoderSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

using namespace testenv;
using vips::VImage;

namespace {

const auto formatName = [](const auto &info) { return std::string(info.param); };

// The colours as sRGB numbers, through the profile the image carries.
VImage inSrgb(const VImage &image) {
  return image.icc_transform("srgb", VImage::option()->set("embedded", true)->set("depth", 8));
}

// exiftool's values (-n: numbers as numbers) of the tags, "Tag: value" per line.
QMap<QString, QString> exiftool(const QString &path, const QStringList &tags) {
  QStringList args = {"-s", "-n"};
  for (const QString &tag : tags)
    args.append("-" + tag);
  args.append(path);
  QProcess process;
  process.start("exiftool", args);
  process.waitForFinished(60000);
  QMap<QString, QString> values;
  const QStringList lines = QString::fromUtf8(process.readAllStandardOutput()).split('\n');
  for (const QString &line : lines) {
    const qsizetype colon = line.indexOf(':');
    if (colon > 0)
      values.insert(line.left(colon).trimmed(), line.mid(colon + 1).trimmed());
  }
  return values;
}

// The test's source: a camera JPEG (date and GPS in its EXIF) given the Display P3 profile of
// the HEIC sample and stored turned (EXIF orientation 6), so the outputs must turn it upright
// and carry a profile that is not sRGB's.
struct Source {
  QString path;
  int uprightWidth = 0;
  int uprightHeight = 0;
  std::vector<double> means;
  std::vector<double> srgbMeans;
  QByteArray profile;
};

Source makeSource(const QString &folder) {
  Source s;
  // libvips 8.14's HEIF loader keeps the profile in the file's own image, open meanwhile.
  const VImage p3 = loadImage(testenv::photo("heic/IMG_5195.HEIC"));
  s.profile = attachedProfile(p3);
  VImage camera = loadImage(testenv::photo("jpg/gps/DSCN0010.jpg")).copy_memory();
  vips_image_set_blob_copy(camera.get_image(), VIPS_META_ICC_NAME, s.profile.constData(),
                           size_t(s.profile.size()));
  camera.set(VIPS_META_ORIENTATION, 6);
  s.path = folder + "/DSCN0010.jpg";
  camera.jpegsave(QFile::encodeName(s.path).constData(), VImage::option()->set("Q", 95));
  const VImage upright = loadImage(s.path).autorot();
  s.uprightWidth = upright.width();
  s.uprightHeight = upright.height();
  s.means = colourMeans(upright);
  s.srgbMeans = colourMeans(inSrgb(upright));
  return s;
}

class ModernOutput : public InOutTest, public ::testing::WithParamInterface<const char *> {
protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(InOutTest::SetUp());
    if (!platform::EncoderSupport::canEncode(GetParam()))
      GTEST_SKIP() << "this system's libvips has no " << GetParam() << " encoder";
    source = makeSource(in);
  }
  Source source;
};

TEST_P(ModernOutput, ReadsBackUprightWithColoursDateGpsAndProfile) {
  const QString format = GetParam();
  const QString written = convertOne(in, out, {"--format", format, "--quality", "0.9"});
  ASSERT_FALSE(written.isEmpty());
  EXPECT_EQ(QFileInfo(written).suffix(), format);

  const VImage image = loadImage(written);
  EXPECT_EQ(image.width(), source.uprightWidth);
  EXPECT_EQ(image.height(), source.uprightHeight);
  EXPECT_LE(largestDifference(colourMeans(image), source.means), 3.0);
  // The profile travels with the untouched pixels: libvips reads it from every container
  // (libjxl stores Display P3 as its own colour encoding and gives back an equivalent
  // profile, so the colours are compared through it).
  const QByteArray profile = attachedProfile(image);
  ASSERT_FALSE(profile.isEmpty());
  if (format != "jxl") {
    EXPECT_EQ(profile, source.profile);
  }
  EXPECT_LE(largestDifference(colourMeans(inSrgb(image)), source.srgbMeans), 3.0);

  const auto tags = exiftool(written, {"DateTimeOriginal", "GPSLatitude", "GPSLongitude",
                                       "Orientation", "ProfileDescription", "FileType"});
  EXPECT_EQ(tags.value("DateTimeOriginal"), "2008:10:22 16:28:39");
  EXPECT_NEAR(tags.value("GPSLatitude").toDouble(), 43.467, 0.01);
  EXPECT_NEAR(tags.value("GPSLongitude").toDouble(), 11.885, 0.01);
  // Upright pixels: a kept orientation would turn them a second time in a viewer.
  EXPECT_TRUE(tags.value("Orientation").isEmpty() || tags.value("Orientation") == "1")
      << tags.value("Orientation").toStdString();
  // exiftool 12.57 does not decode a JPEG XL codestream's profile; libvips did above.
  if (format != "jxl") {
    EXPECT_TRUE(tags.value("ProfileDescription").contains("P3"))
        << tags.value("ProfileDescription").toStdString();
  }
  // The source is never touched.
  EXPECT_EQ(exiftool(source.path, {"Orientation"}).value("Orientation"), "6");
}

TEST_P(ModernOutput, LowerQualityGivesSmallerFile) {
  const QString format = GetParam();
  const qint64 highSize =
      QFileInfo(convertOne(in, out + "/high", {"--format", format, "--quality", "0.9"})).size();
  const qint64 lowSize =
      QFileInfo(convertOne(in, out + "/low", {"--format", format, "--quality", "0.5"})).size();
  EXPECT_GT(lowSize, 0);
  EXPECT_LT(lowSize, highSize);
}

INSTANTIATE_TEST_SUITE_P(Formats, ModernOutput, ::testing::Values("webp", "avif", "heic", "jxl"),
                         formatName);

// Photos in the newer formats as sources: one of each, made from a camera JPEG by the run
// itself (so each carries its EXIF the way this application writes it).
class ModernInput : public ::testing::TestWithParam<const char *> {
protected:
  static void SetUpTestSuite() {
    folder = new QTemporaryDir;
    const QString made = folder->filePath("made");
    sources = folder->filePath("sources");
    QDir().mkpath(sources);
    const QString camera = testenv::photo("jpg/gps/DSCN0010.jpg");
    cameraMeans = colourMeans(loadImage(camera));
    for (const QString &format : platform::EncoderSupport::modernFormats()) {
      if (!platform::EncoderSupport::canEncode(format))
        continue;
      const QString out = made + "/" + format;
      ASSERT_TRUE(runCopy(camera, out, {"--format", format}));
      // Each under its own name, so the converted photos do not meet in one folder.
      ASSERT_TRUE(QFile::rename(onlyOutput(out), sources + "/from_" + format + "." + format));
    }
  }
  static void TearDownTestSuite() {
    delete folder;
    folder = nullptr;
  }
  static QTemporaryDir *folder;
  static QString sources;
  static std::vector<double> cameraMeans;
};

QTemporaryDir *ModernInput::folder = nullptr;
QString ModernInput::sources;
std::vector<double> ModernInput::cameraMeans;

TEST_F(ModernInput, InformationTableReadsEachFormat) {
  const QStringList files = QDir(sources).entryList(QDir::Files);
  ASSERT_EQ(files.size(), platform::EncoderSupport::modernFormats().size());
  for (const QString &file : files) {
    const testenv::ProcessResult result = testenv::runQuillmere({"info", sources + "/" + file});
    ASSERT_EQ(result.exitCode, 0) << file.toStdString() << result.err.toStdString();
    const QStringList rows = result.out.split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(rows.size(), 35) << file.toStdString();
    EXPECT_TRUE(rows.contains("Image Size\t640 x 480")) << file.toStdString();
    EXPECT_TRUE(rows.contains("Capture Date\tOct 22, 2008 04:28:39 PM")) << file.toStdString();
    EXPECT_TRUE(rows.contains("Camera Model\tCOOLPIX P6000")) << file.toStdString();
  }
}

TEST_P(ModernInput, EachIsConvertedToTheFormat) {
  const QString format = GetParam();
  if (!platform::EncoderSupport::canEncode(format))
    GTEST_SKIP() << "this system's libvips has no " << GetParam() << " encoder";
  const QString out = folder->filePath(QStringLiteral("to_") + format);
  ASSERT_TRUE(runCopy(sources, out, {"--format", format}));
  const QStringList written = QDir(out).entryList(QDir::Files);
  ASSERT_EQ(written.size(), QDir(sources).entryList(QDir::Files).size());
  for (const QString &file : written) {
    EXPECT_EQ(QFileInfo(file).suffix(), format == QLatin1String("jpeg") ? "jpeg" : format);
    const QString path = out + "/" + file;
    if (format == QLatin1String("pdf")) {
      QFile pdf(path);
      ASSERT_TRUE(pdf.open(QIODevice::ReadOnly));
      EXPECT_TRUE(pdf.read(5) == "%PDF-") << file.toStdString();
      continue;
    }
    const VImage image = loadImage(path);
    EXPECT_EQ(image.width(), 640) << file.toStdString();
    EXPECT_EQ(image.height(), 480) << file.toStdString();
    // Two lossy generations (GIF's palette among them) keep the mean colour.
    EXPECT_LE(largestDifference(colourMeans(image), cameraMeans), 4.0) << file.toStdString();
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, ModernInput,
                         ::testing::Values("tif", "bmp", "gif", "jpg", "jpeg", "png", "jp2", "pdf",
                                           "webp", "avif", "heic", "jxl"),
                         formatName);

TEST(ModernFormats, EveryEncoderIsThereOnThisSystem) {
  // Debian 12's libvips 8.14 writes all four (libwebp, libheif with aom and x265, libjxl):
  // a missing one here means a broken install, not a missing feature.
  for (const QString &format : platform::EncoderSupport::modernFormats())
    EXPECT_TRUE(platform::EncoderSupport::canEncode(format)) << format.toStdString();
}

TEST(ModernFormats, MissingEncoderRefusesTheSettingBeforeAnythingRuns) {
  platform::EncoderSupport::setMissingForTesting({"heic"});
  app::BatchOptions::Parsed parsed;
  QString error;
  EXPECT_FALSE(app::BatchOptions::parse({"--format", "heic", "photo.jpg"}, {}, &parsed, &error));
  EXPECT_TRUE(error.contains("cannot write HEIC")) << error.toStdString();
  error.clear();
  EXPECT_TRUE(app::BatchOptions::parse({"--format", "avif", "photo.jpg"}, {}, &parsed, &error))
      << error.toStdString();
  platform::EncoderSupport::setMissingForTesting({});
}

TEST(ModernFormats, CommandLineRefusesAnUnknownFormatWithUsageStatus) {
  const testenv::ProcessResult result =
      testenv::runQuillmere({"preview", "--format", "jpegxl", testenv::photo("jpg/Nikon_D70.jpg")});
  EXPECT_EQ(result.exitCode, 64);
  EXPECT_TRUE(result.err.contains("jxl")) << result.err.toStdString();
}

} // namespace

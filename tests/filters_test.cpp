#include "platform/ImageFilterRegistry.h"
#include "tests/support/TestEnv.h"

#include <QPointF>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using platform::ImageFilterRegistry;
using vips::VImage;

namespace {

const QString kSample = QStringLiteral("jpg/orientation/landscape_1.jpg"); // 600 x 450 sRGB

// The sample photo, decoded once (read in place: nothing is written there).
const VImage &sample() {
  static const VImage image =
      VImage::new_from_file(testenv::photo(kSample).toUtf8().constData()).copy_memory();
  return image;
}

VImage toFloat(const VImage &image) {
  return image.cast(VIPS_FORMAT_FLOAT);
}

// Mean absolute Laplacian: the energy of fine detail.
double highFrequency(const VImage &image) {
  const VImage laplacian =
      VImage::new_matrixv(3, 3, 0.0, -1.0, 0.0, -1.0, 4.0, -1.0, 0.0, -1.0, 0.0);
  return toFloat(image)
      .conv(laplacian, VImage::option()->set("precision", VIPS_PRECISION_FLOAT))
      .abs()
      .avg();
}

// Mean absolute difference between horizontally (dx = 1) or vertically adjacent pixels.
double gradient(const VImage &image, bool horizontal) {
  const int dx = horizontal ? 1 : 0, dy = horizontal ? 0 : 1;
  const int w = image.width() - dx, h = image.height() - dy;
  return (toFloat(image.crop(0, 0, w, h)) - image.crop(dx, dy, w, h)).abs().avg();
}

// Share of pixels whose every band equals the pixel to their right.
double equalNeighbourShare(const VImage &image) {
  const int w = image.width() - 1, h = image.height();
  return (image.crop(0, 0, w, h) == image.crop(1, 0, w, h)).bandand().avg() / 255.0;
}

double meanAbsDiff(const VImage &a, const VImage &b) {
  return (toFloat(a) - b).abs().avg();
}

double maxAbsDiff(const VImage &a, const VImage &b) {
  return (toFloat(a) - b).abs().max();
}

// The filtered image; a refusal is a failure, and the input comes back so checks can go on.
VImage run(const char *name, const VImage &image, const QVariantMap &parameters = {}) {
  const auto result =
      ImageFilterRegistry::builtIn().apply(QString::fromLatin1(name), image, parameters);
  if (!result.ok)
    ADD_FAILURE() << name << ": " << result.message.toStdString();
  return result.ok ? result.image.copy_memory() : image;
}

// The four 40 x 40 corners, out of reach of a centred radius of 300 on the sample.
double cornerChange(const VImage &source, const VImage &out) {
  const int w = source.width(), h = source.height(), s = 40;
  double worst = 0;
  for (const auto &[x, y] : {std::pair{0, 0}, {w - s, 0}, {0, h - s}, {w - s, h - s}})
    worst = std::max(worst, maxAbsDiff(source.crop(x, y, s, s), out.crop(x, y, s, s)));
  return worst;
}

using Check = std::function<void(const VImage &source, const VImage &out)>;

struct FilterCase {
  const char *name;
  Check check;
  QVariantMap parameters = {};
};

// Zooming towards the centre enlarges the middle of the picture, which moves the mean a
// little: hence the wider tolerance there.
void blurs(const VImage &source, const VImage &out, double ratio, double meanTolerance = 2.0) {
  EXPECT_LT(highFrequency(out), ratio * highFrequency(source));
  EXPECT_NEAR(out.avg(), source.avg(), meanTolerance);
}

void distortsCentreOnly(const VImage &source, const VImage &out) {
  EXPECT_EQ(cornerChange(source, out), 0.0);
  // A 120 x 120 box around the centre moves.
  const int x = source.width() / 2 - 60, y = source.height() / 2 - 60;
  EXPECT_GT(meanAbsDiff(source.crop(x, y, 120, 120), out.crop(x, y, 120, 120)), 4.0);
}

const std::vector<FilterCase> &cases() {
  static const std::vector<FilterCase> table = {
      {"CIGaussianBlur", [](auto &s, auto &o) { blurs(s, o, 0.2); }},
      {"CIBoxBlur", [](auto &s, auto &o) { blurs(s, o, 0.2); }},
      {"CIDiscBlur", [](auto &s, auto &o) { blurs(s, o, 0.2); }},
      {"CIMedianFilter", [](auto &s, auto &o) { blurs(s, o, 0.9); }},
      {"CIMotionBlur",
       [](auto &s, auto &o) {
         // Angle 0 smears along x: horizontal detail goes, vertical detail largely stays.
         const double alongX = gradient(o, true) / gradient(s, true);
         const double alongY = gradient(o, false) / gradient(s, false);
         EXPECT_LT(alongX, 0.3);
         EXPECT_GT(alongY, 2 * alongX);
         EXPECT_NEAR(o.avg(), s.avg(), 2.0);
       }},
      {"CIZoomBlur",
       [](auto &s, auto &o) {
         blurs(s, o, 0.7, 4.0);
         // Streaks grow with the distance from the centre: the middle keeps its detail best.
         const auto kept = [&](int x, int y) {
           return highFrequency(o.crop(x, y, 80, 80)) / highFrequency(s.crop(x, y, 80, 80));
         };
         EXPECT_GT(kept(260, 185), 2 * kept(0, 0));
         EXPECT_GT(kept(260, 185), 2 * kept(520, 370));
       },
       {{"inputAmount", 40}}},
      {"CIPixellate",
       [](auto &s, auto &o) {
         // A block centred on (4, 4) puts block edges on multiples of 8; each block is flat
         // and holds its area's mean.
         const VImage aligned = o.crop(0, 0, 600, 448);
         EXPECT_EQ(maxAbsDiff(aligned, aligned.shrink(8, 8).zoom(8, 8)), 0.0);
         EXPECT_LE(maxAbsDiff(aligned.shrink(8, 8), s.crop(0, 0, 600, 448).shrink(8, 8)), 1.0);
       },
       {{"inputCenter", QPointF(4, 4)}, {"inputScale", 8}}},
      {"CICrystallize",
       [](auto &s, auto &o) {
         EXPECT_LT(equalNeighbourShare(s), 0.5);
         EXPECT_GT(equalNeighbourShare(o), 0.85);
         EXPECT_NEAR(o.avg(), s.avg(), 10.0);
       }},
      {"CIPointillize",
       [](auto &s, auto &o) {
         const double paper = (o == 255).bandand().avg() / 255.0;
         EXPECT_GT(paper, 0.1);
         EXPECT_LT(paper, 0.45);
         EXPECT_GT(paper, (s == 255).bandand().avg() / 255.0 + 0.1);
         EXPECT_GT(equalNeighbourShare(o), 0.85);
       }},
      {"CIEdges",
       [](auto &s, auto &o) {
         EXPECT_LT(o.avg(), 0.5 * s.avg());
         // Where the photo has detail, the edges are lighter than where it is smooth.
         const VImage detail = toFloat(s).colourspace(VIPS_INTERPRETATION_B_W).sobel() > 40;
         const double onDetail = detail.ifthenelse(o.colourspace(VIPS_INTERPRETATION_B_W), 0).avg();
         EXPECT_GT(onDetail / std::max(detail.avg(), 1.0),
                   o.colourspace(VIPS_INTERPRETATION_B_W).avg() / 255.0);
       }},
      {"CIBloom",
       [](auto &s, auto &o) {
         EXPECT_GE((toFloat(o) - s).min(), -1.0);
         EXPECT_GT(o.avg(), s.avg() + 2);
         EXPECT_LT(highFrequency(o), highFrequency(s));
       }},
      {"CIGloom",
       [](auto &s, auto &o) {
         EXPECT_LE((toFloat(o) - s).max(), 1.0);
         EXPECT_LT(o.avg(), s.avg() - 2);
       }},
      {"CIBumpDistortion", distortsCentreOnly},
      {"CIPinchDistortion", distortsCentreOnly},
      {"CITwirlDistortion", distortsCentreOnly},
      {"CIVortexDistortion", distortsCentreOnly},
      {"CICircleSplashDistortion",
       [](auto &s, auto &o) {
         // Inside the circle nothing moves; outside, the rim is stretched to the corners.
         const int x = 300 - 100, y = 225 - 100;
         EXPECT_EQ(maxAbsDiff(s.crop(x, y, 200, 200), o.crop(x, y, 200, 200)), 0.0);
         EXPECT_GT(meanAbsDiff(s.crop(0, 0, 60, 60), o.crop(0, 0, 60, 60)), 4.0);
       }},
      {"CIColorControls",
       [](auto &s, auto &o) { EXPECT_NEAR(o.avg() - s.avg(), 0.2 * 255, 8.0); },
       {{"inputBrightness", 0.2}}},
      {"CISepiaTone",
       [](auto &, auto &o) {
         const auto bands = o.bandsplit();
         EXPECT_GT(bands[0].avg(), bands[1].avg());
         EXPECT_GT(bands[1].avg(), bands[2].avg());
       }},
      {"CIColorInvert",
       [](auto &s, auto &o) {
         EXPECT_EQ((toFloat(o) + s).min(), 255.0);
         EXPECT_EQ((toFloat(o) + s).max(), 255.0);
       }},
      {"CIUnsharpMask",
       [](auto &s, auto &o) {
         EXPECT_GT(highFrequency(o), 1.2 * highFrequency(s));
         EXPECT_NEAR(o.avg(), s.avg(), 2.0);
       }},
  };
  return table;
}

void PrintTo(const FilterCase &c, std::ostream *out) {
  *out << c.name;
}

class FilterOnPhoto : public ::testing::TestWithParam<FilterCase> {};

TEST_P(FilterOnPhoto, ChangesThePhotoAsItsNameSays) {
  const FilterCase &c = GetParam();
  const VImage out = run(c.name, sample(), c.parameters);
  EXPECT_EQ(out.width(), sample().width());
  EXPECT_EQ(out.height(), sample().height());
  EXPECT_EQ(out.bands(), sample().bands());
  EXPECT_EQ(out.format(), sample().format());
  c.check(sample(), out);
}

INSTANTIATE_TEST_SUITE_P(BuiltIn, FilterOnPhoto, ::testing::ValuesIn(cases()),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(FilterLibrary, EveryListedFilterHasAPhotoCheckAndSaneAttributes) {
  const auto &library = ImageFilterRegistry::builtIn();
  for (const QString &name : library.filterNames()) {
    SCOPED_TRACE(name.toStdString());
    EXPECT_TRUE(std::any_of(cases().begin(), cases().end(),
                            [&](const FilterCase &c) { return name == QLatin1String(c.name); }));
    EXPECT_FALSE(library.attributes(name)
                     .value(platform::kCIAttributeFilterDisplayName)
                     .toString()
                     .isEmpty());
    for (const auto &parameter : library.definition(name)->parameters) {
      if (parameter.type == platform::kCIAttributeTypePosition)
        continue;
      const double value = parameter.defaultValue.toDouble();
      EXPECT_GE(value, parameter.minimum) << parameter.name.toStdString();
      EXPECT_LE(value, parameter.maximum) << parameter.name.toStdString();
    }
  }
  EXPECT_EQ(library.filterNames().size(), qsizetype(cases().size()));
}

TEST(FilterLibrary, BadRequestsFailWithAMessage) {
  const auto &library = ImageFilterRegistry::builtIn();
  EXPECT_TRUE(library.filterNamesInCategory(QStringLiteral("CICategoryNoSuchThing")).isEmpty());
  EXPECT_TRUE(library.attributes(QStringLiteral("CINoSuchFilter")).isEmpty());
  const auto noImage = library.apply(QStringLiteral("CIGaussianBlur"), VImage(), {});
  EXPECT_FALSE(noImage.ok || noImage.message.isEmpty());
  const VImage small = sample().crop(0, 0, 32, 32);
  const std::pair<const char *, QVariantMap> bad[] = {
      {"CINoSuchFilter", {}},
      {"CIGaussianBlur", {{"inputRadiu", 3}}},
      {"CIGaussianBlur", {{"inputRadius", "3"}}},
      {"CIGaussianBlur", {{"inputRadius", qQNaN()}}},
      {"CITwirlDistortion", {{"inputCenter", 5}}},
      {"CITwirlDistortion", {{"inputCenter", QVariantList{1, "x"}}}}};
  for (const auto &[name, parameters] : bad) {
    SCOPED_TRACE(name);
    const auto result = library.apply(QString::fromLatin1(name), small, parameters);
    EXPECT_FALSE(result.ok);
    EXPECT_FALSE(result.message.isEmpty());
  }
}

TEST(FilterLibrary, PositionsAsListsAndOutOfRangeValuesAreAccepted) {
  EXPECT_EQ(maxAbsDiff(run("CIPixellate", sample(), {{"inputCenter", QVariantList{4, 4}}}),
                       run("CIPixellate", sample(), {{"inputCenter", QPointF(4, 4)}})),
            0.0);
  // A radius above the maximum is clamped to it, not refused.
  const VImage corner = sample().crop(0, 0, 64, 64);
  EXPECT_EQ(maxAbsDiff(run("CIGaussianBlur", corner, {{"inputRadius", 1e6}}),
                       run("CIGaussianBlur", corner, {{"inputRadius", 100}})),
            0.0);
}

TEST(FilterLibrary, AlphaAndSixteenBitImagesKeepTheirShape) {
  const VImage small = sample().crop(100, 100, 120, 90);
  const VImage alpha = small.bandjoin(small.new_from_image({128}).extract_band(0));
  for (const char *name : {"CIGaussianBlur", "CIEdges", "CIColorControls", "CITwirlDistortion"}) {
    const VImage out = run(name, alpha);
    EXPECT_EQ(out.bands(), 4) << name;
    EXPECT_EQ(out.format(), VIPS_FORMAT_UCHAR) << name;
  }
  // Colour filters leave the alpha band exactly as it was.
  const VImage inverted = run("CIColorInvert", alpha);
  ASSERT_EQ(inverted.bands(), 4);
  EXPECT_EQ(maxAbsDiff(inverted[3], alpha[3]), 0.0);

  const VImage deep = small.cast(VIPS_FORMAT_USHORT, VImage::option()->set("shift", true))
                          .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
  const VImage blurred = run("CIGaussianBlur", deep);
  EXPECT_EQ(blurred.format(), VIPS_FORMAT_USHORT);
  EXPECT_NEAR(blurred.avg(), deep.avg(), deep.avg() * 0.01);
}

TEST(FilterLibrary, MovingAndAveragingFiltersKeepAFlatImageFlat) {
  // Every sample of a flat image, inside the picture or clamped at its edge, has its colour.
  const VImage flat = sample().new_from_image({90, 140, 200});
  for (const char *name :
       {"CIGaussianBlur", "CIBoxBlur", "CIDiscBlur", "CIMedianFilter", "CIMotionBlur", "CIZoomBlur",
        "CIPixellate", "CICrystallize", "CIBumpDistortion", "CIPinchDistortion",
        "CITwirlDistortion", "CIVortexDistortion", "CICircleSplashDistortion", "CIUnsharpMask"})
    EXPECT_EQ(maxAbsDiff(run(name, flat), flat), 0.0) << name;
  EXPECT_EQ(run("CIEdges", flat).max(), 0.0);
}

TEST(ColorControls, NeutralValuesOnARealGreyJpegGiveThePlainConversionToRgb) {
  // A real grey JPEG, as a scanner or camera in monochrome mode would write it.
  QTemporaryDir dir;
  const QByteArray path = dir.filePath(QStringLiteral("grey.jpg")).toUtf8();
  sample().colourspace(VIPS_INTERPRETATION_B_W).jpegsave(path.constData());
  const VImage grey = VImage::new_from_file(path.constData()).copy_memory();
  ASSERT_EQ(grey.bands(), 1);
  ASSERT_EQ(grey.interpretation(), VIPS_INTERPRETATION_B_W);
  for (const QVariantMap &parameters :
       {QVariantMap{},
        QVariantMap{{"inputBrightness", 0.0}, {"inputContrast", 1.0}, {"inputSaturation", 1.0}}}) {
    const VImage out = run("CIColorControls", grey, parameters);
    EXPECT_EQ(out.interpretation(), VIPS_INTERPRETATION_sRGB);
    EXPECT_EQ(out.bands(), 3);
    EXPECT_EQ(maxAbsDiff(out, grey.colourspace(VIPS_INTERPRETATION_sRGB)), 0.0);
  }
}

TEST(ColorControls, SaturationZeroGivesEqualChannelsAndContrastSpreadsValues) {
  const VImage grey = run("CIColorControls", sample(), {{"inputSaturation", 0}});
  const auto bands = grey.bandsplit();
  EXPECT_EQ(maxAbsDiff(bands[0], bands[1]), 0.0);
  EXPECT_EQ(maxAbsDiff(bands[1], bands[2]), 0.0);
  EXPECT_NEAR(grey.avg(), sample().avg(), 10.0);
  EXPECT_EQ(maxAbsDiff(run("CIColorControls", sample()), sample()), 0.0);
  EXPECT_GT(run("CIColorControls", sample(), {{"inputContrast", 1.5}}).deviate(),
            1.2 * sample().deviate());
}

} // namespace

#include "platform/ImageFilterRegistry.h"

#include "platform/ImageFilterOps.h"

#include <QPointF>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace platform {

namespace {

namespace ops = filterops;

FilterParameter number(const QString &name, const QString &displayName, const QString &type,
                       double defaultValue, double minimum, double maximum,
                       QVariant identity = {}) {
  return FilterParameter{name, displayName, type, defaultValue, identity, minimum, maximum};
}

FilterParameter distance(const QString &name, const QString &displayName, double defaultValue,
                         double minimum, double maximum) {
  return number(name, displayName, kCIAttributeTypeDistance, defaultValue, minimum, maximum, 0.0);
}

FilterParameter scalar(const QString &name, const QString &displayName, double defaultValue,
                       double minimum, double maximum, QVariant identity = {}) {
  return number(name, displayName, kCIAttributeTypeScalar, defaultValue, minimum, maximum,
                identity);
}

FilterParameter angle(double defaultValue, double minimum, double maximum) {
  return number(QStringLiteral("inputAngle"), QStringLiteral("Angle"), kCIAttributeTypeAngle,
                defaultValue, minimum, maximum, 0.0);
}

FilterParameter center() {
  return FilterParameter{QStringLiteral("inputCenter"),
                         QStringLiteral("Center"),
                         kCIAttributeTypePosition,
                         {},
                         {},
                         0,
                         0};
}

FilterParameter radius(double defaultValue, double minimum, double maximum) {
  return distance(QStringLiteral("inputRadius"), QStringLiteral("Radius"), defaultValue, minimum,
                  maximum);
}

double num(const FilterValues &values, const char *name) {
  return values.value(QLatin1String(name)).toDouble();
}

QPointF point(const FilterValues &values) {
  return values.value(QStringLiteral("inputCenter")).toPointF();
}

QStringList categories(std::initializer_list<QString> own) {
  QStringList list(own);
  list << kCICategoryVideo << kCICategoryStillImage << kCICategoryBuiltIn;
  return list;
}

void addBuiltIns(ImageFilterRegistry &r) {
  const auto blur = categories({kCICategoryBlur});
  const auto stylize = categories({kCICategoryStylize});
  const auto distortion = categories({kCICategoryDistortionEffect});
  const QString kIntensity = QStringLiteral("inputIntensity");
  const QString kScale = QStringLiteral("inputScale");

  // Blurs.
  r.addFilter({QStringLiteral("CIGaussianBlur"),
               QStringLiteral("Gaussian Blur"),
               blur + QStringList{kCICategoryHighDynamicRange},
               {radius(10, 0, 100)},
               [](const auto &image, const auto &v) {
                 return ops::gaussianBlur(image, num(v, "inputRadius"));
               }});
  r.addFilter({QStringLiteral("CIBoxBlur"),
               QStringLiteral("Box Blur"),
               blur,
               {radius(10, 1, 100)},
               [](const auto &image, const auto &v) {
                 return ops::boxBlur(image, num(v, "inputRadius"));
               }});
  r.addFilter({QStringLiteral("CIDiscBlur"),
               QStringLiteral("Disc Blur"),
               blur,
               {radius(8, 0, 100)},
               [](const auto &image, const auto &v) {
                 return ops::discBlur(image, num(v, "inputRadius"));
               }});
  r.addFilter({QStringLiteral("CIMedianFilter"),
               QStringLiteral("Median"),
               blur,
               {},
               [](const auto &image, const auto &) { return ops::medianFilter(image); }});
  r.addFilter({QStringLiteral("CIMotionBlur"),
               QStringLiteral("Motion Blur"),
               blur,
               {radius(20, 0, 100), angle(0, -std::numbers::pi, std::numbers::pi)},
               [](const auto &image, const auto &v) {
                 return ops::motionBlur(image, num(v, "inputRadius"), num(v, "inputAngle"));
               }});
  r.addFilter(
      {QStringLiteral("CIZoomBlur"),
       QStringLiteral("Zoom Blur"),
       blur,
       {center(), distance(QStringLiteral("inputAmount"), QStringLiteral("Amount"), 20, 0, 180)},
       [](const auto &image, const auto &v) {
         return ops::zoomBlur(image, point(v), num(v, "inputAmount"));
       }});

  // Stylize.
  r.addFilter({QStringLiteral("CIPixellate"),
               QStringLiteral("Pixellate"),
               stylize,
               {center(), scalar(kScale, QStringLiteral("Scale"), 8, 1, 100, 1.0)},
               [](const auto &image, const auto &v) {
                 return ops::pixellate(image, point(v), num(v, "inputScale"));
               }});
  r.addFilter({QStringLiteral("CICrystallize"),
               QStringLiteral("Crystallize"),
               stylize,
               {radius(20, 1, 100), center()},
               [](const auto &image, const auto &v) {
                 return ops::crystallize(image, point(v), num(v, "inputRadius"));
               }});
  r.addFilter({QStringLiteral("CIPointillize"),
               QStringLiteral("Pointillize"),
               stylize,
               {radius(20, 1, 100), center()},
               [](const auto &image, const auto &v) {
                 return ops::pointillize(image, point(v), num(v, "inputRadius"));
               }});
  r.addFilter({QStringLiteral("CIEdges"),
               QStringLiteral("Edges"),
               stylize,
               {scalar(kIntensity, QStringLiteral("Intensity"), 1, 0, 10)},
               [](const auto &image, const auto &v) {
                 return ops::edges(image, num(v, "inputIntensity"));
               }});
  r.addFilter(
      {QStringLiteral("CIBloom"),
       QStringLiteral("Bloom"),
       stylize,
       {radius(10, 0, 100), scalar(kIntensity, QStringLiteral("Intensity"), 0.5, 0, 1, 0.0)},
       [](const auto &image, const auto &v) {
         return ops::bloom(image, num(v, "inputRadius"), num(v, "inputIntensity"));
       }});
  r.addFilter(
      {QStringLiteral("CIGloom"),
       QStringLiteral("Gloom"),
       stylize,
       {radius(10, 0, 100), scalar(kIntensity, QStringLiteral("Intensity"), 0.5, 0, 1, 0.0)},
       [](const auto &image, const auto &v) {
         return ops::gloom(image, num(v, "inputRadius"), num(v, "inputIntensity"));
       }});

  // Distortions.
  r.addFilter(
      {QStringLiteral("CIBumpDistortion"),
       QStringLiteral("Bump Distortion"),
       distortion,
       {center(), radius(300, 0, 600), scalar(kScale, QStringLiteral("Scale"), 0.5, -1, 1, 0.0)},
       [](const auto &image, const auto &v) {
         return ops::bumpDistortion(image, point(v), num(v, "inputRadius"), num(v, "inputScale"));
       }});
  r.addFilter(
      {QStringLiteral("CIPinchDistortion"),
       QStringLiteral("Pinch Distortion"),
       distortion,
       {center(), radius(300, 0, 1000), scalar(kScale, QStringLiteral("Scale"), 0.5, 0, 2, 0.0)},
       [](const auto &image, const auto &v) {
         return ops::pinchDistortion(image, point(v), num(v, "inputRadius"), num(v, "inputScale"));
       }});
  r.addFilter({QStringLiteral("CITwirlDistortion"),
               QStringLiteral("Twirl Distortion"),
               distortion,
               {center(), radius(300, 0, 500), angle(3.14, -12.57, 12.57)},
               [](const auto &image, const auto &v) {
                 return ops::twirlDistortion(image, point(v), num(v, "inputRadius"),
                                             num(v, "inputAngle"));
               }});
  r.addFilter({QStringLiteral("CIVortexDistortion"),
               QStringLiteral("Vortex Distortion"),
               distortion,
               {center(), radius(300, 0, 800), angle(56.55, -94.25, 94.25)},
               [](const auto &image, const auto &v) {
                 return ops::vortexDistortion(image, point(v), num(v, "inputRadius"),
                                              num(v, "inputAngle"));
               }});
  r.addFilter({QStringLiteral("CICircleSplashDistortion"),
               QStringLiteral("Circle Splash Distortion"),
               distortion,
               {center(), radius(150, 0, 1000)},
               [](const auto &image, const auto &v) {
                 return ops::circleSplashDistortion(image, point(v), num(v, "inputRadius"));
               }});

  // Colour.
  r.addFilter(
      {QStringLiteral("CIColorControls"),
       QStringLiteral("Color Controls"),
       {kCICategoryColorAdjustment, kCICategoryVideo, kCICategoryStillImage, kCICategoryInterlaced,
        kCICategoryNonSquarePixels, kCICategoryBuiltIn},
       {scalar(QStringLiteral("inputSaturation"), QStringLiteral("Saturation"), 1, 0, 2, 1.0),
        scalar(QStringLiteral("inputBrightness"), QStringLiteral("Brightness"), 0, -1, 1, 0.0),
        scalar(QStringLiteral("inputContrast"), QStringLiteral("Contrast"), 1, 0.25, 4, 1.0)},
       [](const auto &image, const auto &v) {
         return ops::colorControls(image, num(v, "inputBrightness"), num(v, "inputContrast"),
                                   num(v, "inputSaturation"));
       }});
  r.addFilter(
      {QStringLiteral("CISepiaTone"),
       QStringLiteral("Sepia Tone"),
       categories({kCICategoryColorEffect, kCICategoryInterlaced, kCICategoryNonSquarePixels}),
       {scalar(kIntensity, QStringLiteral("Intensity"), 1, 0, 1, 0.0)},
       [](const auto &image, const auto &v) {
         return ops::sepiaTone(image, num(v, "inputIntensity"));
       }});
  r.addFilter(
      {QStringLiteral("CIColorInvert"),
       QStringLiteral("Color Invert"),
       categories({kCICategoryColorEffect, kCICategoryInterlaced, kCICategoryNonSquarePixels}),
       {},
       [](const auto &image, const auto &) { return ops::colorInvert(image); }});

  // Sharpen.
  r.addFilter(
      {QStringLiteral("CIUnsharpMask"),
       QStringLiteral("Unsharp Mask"),
       categories({kCICategorySharpen}),
       {radius(2.5, 0, 100), scalar(kIntensity, QStringLiteral("Intensity"), 0.5, 0, 1, 0.0)},
       [](const auto &image, const auto &v) {
         return ops::unsharpMask(image, num(v, "inputRadius"), num(v, "inputIntensity"));
       }});
}

// A position given as a point or as a list of two numbers.
bool toPoint(const QVariant &value, QPointF *out) {
  if (value.canConvert<QPointF>() &&
      (value.typeId() == QMetaType::QPointF || value.typeId() == QMetaType::QPoint)) {
    *out = value.toPointF();
    return std::isfinite(out->x()) && std::isfinite(out->y());
  }
  const QVariantList list = value.toList();
  if (value.typeId() != QMetaType::QVariantList || list.size() != 2)
    return false;
  bool okX = false, okY = false;
  const double x = list[0].toDouble(&okX);
  const double y = list[1].toDouble(&okY);
  if (!okX || !okY || !std::isfinite(x) || !std::isfinite(y))
    return false;
  *out = QPointF(x, y);
  return true;
}

bool toNumber(const QVariant &value, double *out) {
  switch (value.typeId()) {
  case QMetaType::Double:
  case QMetaType::Float:
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
  case QMetaType::Long:
  case QMetaType::ULong:
  case QMetaType::Short:
  case QMetaType::UShort: {
    bool ok = false;
    *out = value.toDouble(&ok);
    return ok && std::isfinite(*out);
  }
  default:
    return false;
  }
}

} // namespace

const ImageFilterRegistry &ImageFilterRegistry::builtIn() {
  static const ImageFilterRegistry registry = [] {
    ImageFilterRegistry r;
    addBuiltIns(r);
    return r;
  }();
  return registry;
}

bool ImageFilterRegistry::addFilter(FilterDefinition definition) {
  if (definition.name.isEmpty() || index_.contains(definition.name) || !definition.kernel)
    return false;
  index_.insert(definition.name, filters_.size());
  filters_.append(std::move(definition));
  return true;
}

QStringList ImageFilterRegistry::filterNames() const {
  QStringList names = index_.keys();
  names.sort();
  return names;
}

QStringList ImageFilterRegistry::filterNamesInCategory(const QString &category) const {
  QStringList names;
  for (const FilterDefinition &filter : filters_)
    if (filter.categories.contains(category))
      names << filter.name;
  names.sort();
  return names;
}

const FilterDefinition *ImageFilterRegistry::definition(const QString &name) const {
  const auto it = index_.constFind(name);
  return it == index_.cend() ? nullptr : &filters_[*it];
}

QVariantMap ImageFilterRegistry::attributes(const QString &name) const {
  const FilterDefinition *filter = definition(name);
  if (!filter)
    return {};
  QVariantMap attributes;
  attributes.insert(kCIAttributeFilterName, filter->name);
  attributes.insert(kCIAttributeFilterDisplayName, filter->displayName);
  attributes.insert(kCIAttributeFilterCategories, filter->categories);
  for (const FilterParameter &parameter : filter->parameters) {
    QVariantMap entry;
    entry.insert(kCIAttributeDisplayName, parameter.displayName);
    entry.insert(kCIAttributeType, parameter.type);
    if (parameter.type == kCIAttributeTypePosition) {
      entry.insert(kCIAttributeDescription,
                   QStringLiteral("A point in pixels from the top-left corner; "
                                  "the centre of the image when not given."));
    } else {
      entry.insert(kCIAttributeDefault, parameter.defaultValue);
      entry.insert(kCIAttributeMin, parameter.minimum);
      entry.insert(kCIAttributeMax, parameter.maximum);
    }
    if (parameter.identity.isValid())
      entry.insert(kCIAttributeIdentity, parameter.identity);
    attributes.insert(parameter.name, entry);
  }
  return attributes;
}

FilterResult ImageFilterRegistry::apply(const QString &name, const vips::VImage &image,
                                        const QVariantMap &parameters) const {
  FilterResult result;
  const FilterDefinition *filter = definition(name);
  if (!filter) {
    result.message = QStringLiteral("No image filter named \"%1\".").arg(name);
    return result;
  }
  if (image.is_null() || image.width() < 1 || image.height() < 1) {
    result.message = QStringLiteral("Filter \"%1\" was given no image.").arg(name);
    return result;
  }
  for (auto it = parameters.cbegin(); it != parameters.cend(); ++it) {
    const bool known = std::any_of(filter->parameters.cbegin(), filter->parameters.cend(),
                                   [&](const FilterParameter &p) { return p.name == it.key(); });
    if (!known) {
      result.message = QStringLiteral("Filter \"%1\" has no parameter \"%2\".").arg(name, it.key());
      return result;
    }
  }

  FilterValues values;
  for (const FilterParameter &parameter : filter->parameters) {
    const QVariant given = parameters.value(parameter.name);
    if (parameter.type == kCIAttributeTypePosition) {
      QPointF position(image.width() / 2.0, image.height() / 2.0);
      if (given.isValid() && !toPoint(given, &position)) {
        result.message = QStringLiteral("Parameter \"%1\" of filter \"%2\" must be a point.")
                             .arg(parameter.name, name);
        return result;
      }
      values.insert(parameter.name, position);
      continue;
    }
    double value = parameter.defaultValue.toDouble();
    if (given.isValid() && !toNumber(given, &value)) {
      result.message = QStringLiteral("Parameter \"%1\" of filter \"%2\" must be a number.")
                           .arg(parameter.name, name);
      return result;
    }
    values.insert(parameter.name, std::clamp(value, parameter.minimum, parameter.maximum));
  }

  try {
    result.image = filter->kernel(image, values);
    result.ok = true;
  } catch (const vips::VError &error) {
    result.message = QStringLiteral("Filter \"%1\" failed: %2")
                         .arg(name, QString::fromUtf8(error.what()).trimmed());
  }
  return result;
}

} // namespace platform

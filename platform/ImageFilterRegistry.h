#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <functional>

#include <vips/vips8>

// A small library of named image filters on libvips images. Filters, categories and
// attribute keys carry the names that photo software on other systems gives them, so a
// filter chosen there (or stored in a setting) means the same thing here.
namespace platform {

// Categories a filter belongs to.
inline const QString kCICategoryDistortionEffect = QStringLiteral("CICategoryDistortionEffect");
inline const QString kCICategoryColorAdjustment = QStringLiteral("CICategoryColorAdjustment");
inline const QString kCICategoryColorEffect = QStringLiteral("CICategoryColorEffect");
inline const QString kCICategoryStylize = QStringLiteral("CICategoryStylize");
inline const QString kCICategorySharpen = QStringLiteral("CICategorySharpen");
inline const QString kCICategoryBlur = QStringLiteral("CICategoryBlur");
inline const QString kCICategoryVideo = QStringLiteral("CICategoryVideo");
inline const QString kCICategoryStillImage = QStringLiteral("CICategoryStillImage");
inline const QString kCICategoryInterlaced = QStringLiteral("CICategoryInterlaced");
inline const QString kCICategoryNonSquarePixels = QStringLiteral("CICategoryNonSquarePixels");
inline const QString kCICategoryHighDynamicRange = QStringLiteral("CICategoryHighDynamicRange");
inline const QString kCICategoryBuiltIn = QStringLiteral("CICategoryBuiltIn");

// Keys of a filter's attribute dictionary.
inline const QString kCIAttributeFilterName = QStringLiteral("CIAttributeFilterName");
inline const QString kCIAttributeFilterDisplayName = QStringLiteral("CIAttributeFilterDisplayName");
inline const QString kCIAttributeFilterCategories = QStringLiteral("CIAttributeFilterCategories");
// Keys of one parameter's dictionary (the value under the parameter's name).
inline const QString kCIAttributeDisplayName = QStringLiteral("CIAttributeDisplayName");
inline const QString kCIAttributeDescription = QStringLiteral("CIAttributeDescription");
inline const QString kCIAttributeType = QStringLiteral("CIAttributeType");
inline const QString kCIAttributeDefault = QStringLiteral("CIAttributeDefault");
inline const QString kCIAttributeMin = QStringLiteral("CIAttributeMin");
inline const QString kCIAttributeMax = QStringLiteral("CIAttributeMax");
inline const QString kCIAttributeIdentity = QStringLiteral("CIAttributeIdentity");
// Parameter types.
inline const QString kCIAttributeTypeScalar = QStringLiteral("CIAttributeTypeScalar");
inline const QString kCIAttributeTypeDistance = QStringLiteral("CIAttributeTypeDistance");
inline const QString kCIAttributeTypeAngle = QStringLiteral("CIAttributeTypeAngle");
// A point in pixels, x to the right and y down from the top-left corner; given as a QPointF
// or a list of two numbers.
inline const QString kCIAttributeTypePosition = QStringLiteral("CIAttributeTypePosition");

struct FilterParameter {
  QString name;        // "inputRadius"
  QString displayName; // "Radius"
  QString type;        // one of the kCIAttributeType... values
  // A number for scalars, distances and angles (radians). A position has no default: it
  // stands for the centre of the image being filtered.
  QVariant defaultValue;
  // The value that leaves the image as it is, where there is one.
  QVariant identity;
  // Values outside [minimum, maximum] are clamped; unused for positions.
  double minimum = 0;
  double maximum = 0;
};

// A filter's parameters after defaults, clamping and centre resolution: numbers are
// doubles, positions QPointF.
using FilterValues = QVariantMap;
// Builds the filtered image. May throw vips::VError; apply() turns that into a result.
using FilterKernel = std::function<vips::VImage(const vips::VImage &, const FilterValues &)>;

struct FilterDefinition {
  QString name;
  QString displayName;
  QStringList categories;
  QList<FilterParameter> parameters;
  FilterKernel kernel;
};

struct FilterResult {
  bool ok = false;
  QString message; // why it failed; empty on success
  vips::VImage image;
};

class ImageFilterRegistry {
public:
  // An empty library, for callers that assemble their own.
  ImageFilterRegistry() = default;

  // Every filter this system implements; built on first use.
  static const ImageFilterRegistry &builtIn();

  // False (nothing added) for an empty or already used name, or a missing kernel.
  bool addFilter(FilterDefinition definition);

  bool hasFilter(const QString &name) const { return index_.contains(name); }
  // All names, sorted.
  QStringList filterNames() const;
  // The names of the filters that list category, sorted; empty for an unknown category.
  QStringList filterNamesInCategory(const QString &category) const;
  // The filter's name, display name, categories and one dictionary per parameter (keyed by
  // the parameter's name); empty for an unknown filter.
  QVariantMap attributes(const QString &name) const;
  const FilterDefinition *definition(const QString &name) const;

  // Filters image with the given parameters; a missing parameter takes its default. The
  // result keeps the image's size and band format. Fails (never throws) for an unknown
  // filter or parameter, a non-numeric value, or an empty image. The returned image is
  // lazy: libvips computes its pixels when they are read.
  FilterResult apply(const QString &name, const vips::VImage &image,
                     const QVariantMap &parameters = {}) const;

private:
  QList<FilterDefinition> filters_;
  QHash<QString, qsizetype> index_;
};

} // namespace platform

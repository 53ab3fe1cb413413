#include "imaging/FiltersList.h"

#include "app/Resources.h"
#include "platform/ImageFilterRegistry.h"
#include "platform/PropertyList.h"

#include <QDebug>

#include <algorithm>

namespace {

const QString kAllApplied = QStringLiteral("birds_all_applied");

std::shared_ptr<FilterCategoryInfo> makeCategory(const QString &name, const QString &displayName,
                                                 const QString &image) {
  auto category = std::make_shared<FilterCategoryInfo>();
  category->categoryName = name;
  category->categoryDisplayName = displayName;
  category->categoryImage = image;
  return category;
}

// The text (or number, for the flag) a record shows under key; an invalid QVariant for an
// unknown key.
QVariant recordValue(const FilterRecord &record, const QString &key) {
  if (key == QLatin1String("filterName"))
    return record.filterName;
  if (key == QLatin1String("filterDisplayName"))
    return record.filterDisplayName;
  if (key == QLatin1String("filterImageName"))
    return record.filterImageName;
  if (key == QLatin1String("filterIsDuplicate"))
    return int(record.filterIsDuplicate);
  return {};
}

QVariant categoryValue(const FilterCategoryInfo &category, const QString &key) {
  if (key == QLatin1String("categoryName"))
    return category.categoryName;
  if (key == QLatin1String("categoryDisplayName"))
    return category.categoryDisplayName;
  if (key == QLatin1String("categoryImage"))
    return category.categoryImage;
  return {};
}

// Plain comparison (not locale-aware), so the order is the same on every machine.
bool lessThan(const QVariant &a, const QVariant &b) {
  if (a.typeId() == QMetaType::Int)
    return a.toInt() < b.toInt();
  return QString::compare(a.toString(), b.toString(), Qt::CaseSensitive) < 0;
}

template <typename T, typename Value>
QList<std::shared_ptr<T>> sortedBy(const QList<std::shared_ptr<T>> &arr, const QString &key,
                                   Value value) {
  QList<std::shared_ptr<T>> sorted = arr;
  if (arr.isEmpty() || !value(T{}, key).isValid())
    return sorted;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [&](const std::shared_ptr<T> &a, const std::shared_ptr<T> &b) {
                     if (!a || !b)
                       return bool(b) && !a; // missing records first
                     return lessThan(value(*a, key), value(*b, key));
                   });
  return sorted;
}

} // namespace

const QStringList &FiltersList::excludedFilterNames() {
  // "CiRippleTransition" (small i) stands beside "CIRippleTransition" on purpose: both
  // spellings have been seen for that filter.
  static const QStringList names = {
      QStringLiteral("CIDiscBlur"),
      QStringLiteral("CIBoxBlur"),
      QStringLiteral("CIComicEffect"),
      QStringLiteral("CIVignetteEffect"),
      QStringLiteral("CISepiaTone"),
      QStringLiteral("CIVibrance"),
      QStringLiteral("CIGammaAdjust"),
      QStringLiteral("CIExposureAdjust"),
      QStringLiteral("CIColorControls"),
      QStringLiteral("CICMYKHalftone"),
      QStringLiteral("CICircularScreen"),
      QStringLiteral("CIMaximumComponent"),
      QStringLiteral("CIMinimumComponent"),
      QStringLiteral("CIFalseColor"),
      QStringLiteral("CINoiseReduction"),
      QStringLiteral("CIMedianFilter"),
      QStringLiteral("CIHoleDistortion"),
      QStringLiteral("CIHexagonalPixellate"),
      QStringLiteral("CISpotColor"),
      QStringLiteral("CILineScreen"),
      QStringLiteral("CIHighlightShadowAdjust"),
      QStringLiteral("CIHeightFieldFromMask"),
      QStringLiteral("CIHatchedScreen"),
      QStringLiteral("CIGloom"),
      QStringLiteral("CIDotScreen"),
      QStringLiteral("CIVignette"),
      QStringLiteral("CIPhotoEffectTransfer"),
      QStringLiteral("CIPhotoEffectTonal"),
      QStringLiteral("CIPhotoEffectProcess"),
      QStringLiteral("CIPhotoEffectNoir"),
      QStringLiteral("CIPhotoEffectMono"),
      QStringLiteral("CIPhotoEffectInstant"),
      QStringLiteral("CIPhotoEffectFade"),
      QStringLiteral("CIColorInvert"),
      QStringLiteral("CIWhitePointAdjust"),
      QStringLiteral("CISpotLight"),
      QStringLiteral("CILineOverlay"),
      QStringLiteral("CIStraightenFilter"),
      QStringLiteral("CILinearToSRGBToneCurve"),
      QStringLiteral("CISRGBToneCurveToLinear"),
      QStringLiteral("CIDisintegrateWithMaskTransition"),
      QStringLiteral("CILanczosScaleTransform"),
      QStringLiteral("CIMaskToAlpha"),
      QStringLiteral("CIEdgeWork"),
      QStringLiteral("CIGlassLozenge"),
      QStringLiteral("CICircularWrap"),
      QStringLiteral("CIDepthOfField"),
      QStringLiteral("CIRippleTransition"),
      QStringLiteral("CIMaskedVariableBlur"),
      QStringLiteral("CIShadedMaterial"),
      QStringLiteral("CIConvolution9Vertical"),
      QStringLiteral("CIConvolution9Horizontal"),
      QStringLiteral("CIConvolution7X7"),
      QStringLiteral("CIConvolution5X5"),
      QStringLiteral("CIConvolution3X3"),
      QStringLiteral("CIBlendWithMask"),
      QStringLiteral("CIBlendWithAlphaMask"),
      QStringLiteral("CIRowAverage"),
      QStringLiteral("CIHistogramDisplayFilter"),
      QStringLiteral("CIColumnAverage"),
      QStringLiteral("CIAreaMinimumAlpha"),
      QStringLiteral("CIAreaMinimum"),
      QStringLiteral("CIAreaMaximumAlpha"),
      QStringLiteral("CIAreaMaximum"),
      QStringLiteral("CIAreaHistogram"),
      QStringLiteral("CIAreaAverage"),
      QStringLiteral("CISunbeamsGenerator"),
      QStringLiteral("CIRandomGenerator"),
      QStringLiteral("CIQRCodeGenerator"),
      QStringLiteral("CILenticularHaloGenerator"),
      QStringLiteral("CICode128BarcodeGenerator"),
      QStringLiteral("CIAztecCodeGenerator"),
      QStringLiteral("CITwelvefoldReflectedTile"),
      QStringLiteral("CITriangleTile"),
      QStringLiteral("CISixfoldRotatedTile"),
      QStringLiteral("CISixfoldReflectedTile"),
      QStringLiteral("CIPerspectiveTile"),
      QStringLiteral("CIParallelogramTile"),
      QStringLiteral("CIGlideReflectedTile"),
      QStringLiteral("CIFourfoldTranslatedTile"),
      QStringLiteral("CIFourfoldRotatedTile"),
      QStringLiteral("CIFourfoldReflectedTile"),
      QStringLiteral("CIEightfoldReflectedTile"),
      QStringLiteral("CiRippleTransition"),
      QStringLiteral("CIPageCurlTransition"),
      QStringLiteral("CIColorCubeWithColorSpace"),
      QStringLiteral("CIColorCube"),
      QStringLiteral("CIColorMap"),
      QStringLiteral("CIColorCrossPolynomial"),
      QStringLiteral("CIToneCurve"),
      QStringLiteral("CITemperatureAndTint"),
      QStringLiteral("CIColorPolynomial"),
      QStringLiteral("CIColorMatrix"),
      QStringLiteral("CIColorClamp"),
      QStringLiteral("CIMultiplyCompositing"),
      QStringLiteral("CISourceInCompositing"),
      QStringLiteral("CISourceAtopCompositing"),
      QStringLiteral("CISourceOutCompositing"),
      QStringLiteral("CIPerspectiveTransform"),
      QStringLiteral("CIPerspectiveCorrection"),
      QStringLiteral("CIAffineTransform"),
      QStringLiteral("CIStretchCrop"),
      QStringLiteral("CIGlassDistortion"),
      QStringLiteral("CIDroste"),
      QStringLiteral("CIDisplacementDistortion"),
      QStringLiteral("CISourceOverCompositing"),
  };
  return names;
}

QList<QVariantMap> FiltersList::sourceCategories() {
  const auto entry = [](const QString &name, const char *displayName, const char *imageName) {
    return QVariantMap{{QStringLiteral("name"), name},
                       {QStringLiteral("displayName"), QString::fromUtf8(displayName)},
                       {QStringLiteral("imageName"), QString::fromUtf8(imageName)}};
  };
  return {entry(platform::kCICategoryStylize, "Stylize", "birds_Edges"),
          entry(platform::kCICategoryDistortionEffect, "Distortion Effect", "birds_Circle_Space"),
          entry(platform::kCICategoryBlur, "Blur", "birds_ZoomBlur")};
}

QVariantMap FiltersList::loadFilterImages() {
  const QString path =
      Resources::pathForResource(QStringLiteral("FilterImages"), QStringLiteral("plist"));
  QVariantMap images;
  QString error;
  if (path.isEmpty())
    qWarning().noquote() << "Filter preview list FilterImages.plist not found.";
  else if (!platform::PropertyList::readDictionary(path, &images, &error))
    qWarning().noquote() << "Filter preview list" << path << "unreadable:" << error;
  return images;
}

FiltersList &FiltersList::sharedFiltersList() {
  static const std::unique_ptr<FiltersList> shared =
      initWithFilterLibrary(platform::ImageFilterRegistry::builtIn(), loadFilterImages());
  return *shared;
}

std::unique_ptr<FiltersList>
FiltersList::initWithFilterLibrary(const platform::ImageFilterRegistry &library,
                                   const QVariantMap &filterImages) {
  std::unique_ptr<FiltersList> list(new FiltersList);
  list->build(library, filterImages);
  return list;
}

void FiltersList::build(const platform::ImageFilterRegistry &library,
                        const QVariantMap &filterImages) {
  const QList<QVariantMap> sources = sourceCategories();
  filterCategories.clear();
  filterCategories.reserve(sources.size());
  filterCategoriesExcludingDupes.clear();
  filterCategoriesExcludingDupes.reserve(sources.size());
  for (const QVariantMap &source : sources)
    sourceCategoryNames << source.value(QStringLiteral("name")).toString();

  const QStringList &excluded = excludedFilterNames();
  for (qsizetype index = 0; index < sources.size(); ++index) {
    const QVariantMap &source = sources[index];
    auto category = makeCategory(source.value(QStringLiteral("name")).toString(),
                                 source.value(QStringLiteral("displayName")).toString(),
                                 source.value(QStringLiteral("imageName")).toString());

    for (const QString &name : library.filterNamesInCategory(category->categoryName)) {
      const QVariantMap attributes = library.attributes(name);
      auto record = std::make_shared<FilterRecord>();
      record->filterName = name;
      record->filterDisplayName =
          attributes.value(platform::kCIAttributeFilterDisplayName).toString();
      if (index == 0) {
        const QStringList also =
            attributes.value(platform::kCIAttributeFilterCategories).toStringList();
        for (const QString &other : also)
          if (!sourceCategoryNames.contains(other) && !otherCategoryNames.contains(other))
            otherCategoryNames << other;
      }
      // A filter keeps its place under the first category that lists it.
      if (uniqueFilterNames.contains(name)) {
        ++duplicateFilterCount;
        record->filterIsDuplicate = true;
      } else {
        uniqueFilterNames << name;
      }
      if (!excluded.contains(name))
        category->filterRecords << record;
    }

    // Only filters with a preview picture are offered, each once.
    for (const auto &record : std::as_const(category->filterRecords)) {
      if (record->filterIsDuplicate || !filterImages.contains(record->filterName))
        continue;
      record->filterImageName = filterImages.value(record->filterName).toString();
      allAvailableFilters << record;
      category->filterRecordsWithNoDuplicates << record;
    }

    filterCategories << category;
    if (!category->filterRecordsWithNoDuplicates.isEmpty())
      filterCategoriesExcludingDupes << category;
  }

  loadRenameAndFormatCategory();
}

void FiltersList::loadRenameAndFormatCategory() {
  const QString header = QStringLiteral("RenameAndFormat");
  const QString conversion = QStringLiteral("Batch Conversion");
  arrRenameAndFormatCat.clear();
  arrRenameAndFormatCat << makeCategory(header, header, kAllApplied);

  auto category = makeCategory(conversion, conversion, kAllApplied);
  auto record = std::make_shared<FilterRecord>();
  record->filterName = conversion;
  record->filterDisplayName = conversion;
  record->filterImageName = kAllApplied;
  category->filterRecords << record;
  category->filterRecordsWithNoDuplicates << record;
  arrRenameAndFormatCat << category;
  allAvailableFilters << record;
}

void FiltersList::loadFxCategory() {
  const QString header = QStringLiteral("FX");
  arrFXCategory.clear();
  arrFXCategory << makeCategory(header, header, kAllApplied);

  auto category = makeCategory({}, {}, kAllApplied);
  for (int i = 0; i < 9; ++i) {
    auto record = std::make_shared<FilterRecord>();
    record->filterImageName = kAllApplied;
    category->filterRecords << record;
    category->filterRecordsWithNoDuplicates << record;
    allAvailableFilters << record;
  }
  arrFXCategory << category;
  arrFXCategory << filterCategoriesExcludingDupes;
}

FilterRecordList FiltersList::sortArr(const FilterRecordList &arr, const QString &key) {
  return sortedBy(arr, key, recordValue);
}

FilterCategoryList FiltersList::sortArr(const FilterCategoryList &arr, const QString &key) {
  return sortedBy(arr, key, categoryValue);
}

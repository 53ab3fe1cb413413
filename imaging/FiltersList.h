#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>

namespace platform {
class ImageFilterRegistry;
}

// One filter as the catalogue offers it.
struct FilterRecord {
  QString filterName;             // the filter library's name
  QString filterDisplayName;      // its display name
  QString filterImageName;        // preview picture; set only on offered records
  bool filterIsDuplicate = false; // already listed under an earlier category
};

// One category of the catalogue.
struct FilterCategoryInfo {
  QString categoryName;        // the library's category name
  QString categoryDisplayName; // e.g. "Stylize"
  QString categoryImage;       // preview picture
  // Every filter of the category that is not excluded, in the library's order.
  QList<std::shared_ptr<FilterRecord>> filterRecords;
  // The records offered: first occurrences that have a preview picture.
  QList<std::shared_ptr<FilterRecord>> filterRecordsWithNoDuplicates;
};

using FilterRecordList = QList<std::shared_ptr<FilterRecord>>;
using FilterCategoryList = QList<std::shared_ptr<FilterCategoryInfo>>;

// The catalogue of image filters, grouped into categories, built from the filter library
// and a dictionary of preview pictures (filter name -> picture name).
class FiltersList {
public:
  // The application's catalogue: the built-in filter library and the "FilterImages" plist
  // resource. Built on first use.
  static FiltersList &sharedFiltersList();

  // A catalogue of the given library and preview dictionary (the shared one is this with
  // the built-in library and the resource).
  static std::unique_ptr<FiltersList>
  initWithFilterLibrary(const platform::ImageFilterRegistry &library,
                        const QVariantMap &filterImages);

  // The "FilterImages" resource; empty (with a console line) when it is missing or unreadable.
  static QVariantMap loadFilterImages();

  // Names never offered, whatever the library lists.
  static const QStringList &excludedFilterNames();

  // The categories read from the library, in order: dictionaries with "name",
  // "displayName" and "imageName".
  static QList<QVariantMap> sourceCategories();

  // A header category "RenameAndFormat" and the "Batch Conversion" category.
  void loadRenameAndFormatCategory();
  // A header category "FX", a category of nine picture-only records, then the offered
  // categories. Not part of the build.
  void loadFxCategory();

  // Sorted by the named property ("filterName", "filterDisplayName", "filterImageName",
  // "filterIsDuplicate"; for categories "categoryName", "categoryDisplayName",
  // "categoryImage"), ascending and stable. An unknown key leaves the order as it is.
  static FilterRecordList sortArr(const FilterRecordList &arr, const QString &key);
  static FilterCategoryList sortArr(const FilterCategoryList &arr, const QString &key);

  FilterCategoryList filterCategories;
  FilterCategoryList filterCategoriesExcludingDupes;
  QStringList uniqueFilterNames;
  FilterRecordList arrBasicFilters;
  FilterCategoryList arrMostPopulerCategory;
  FilterCategoryList arrFXCategory;
  FilterCategoryList arrRenameAndFormatCat;
  FilterRecordList allAvailableFilters;
  QString cellIdentfier;

  // How many filters were listed again under a later category.
  int duplicateFilterCount = 0;
  // The names of the categories read, and the other categories that the first category's
  // filters also belong to (collected while it is read; nothing reads them back yet).
  QStringList sourceCategoryNames;
  QStringList otherCategoryNames;

private:
  FiltersList() = default;
  void build(const platform::ImageFilterRegistry &library, const QVariantMap &filterImages);
};

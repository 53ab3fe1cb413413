#include "app/Resources.h"
#include "imaging/FiltersList.h"
#include "platform/ImageFilterRegistry.h"
#include "platform/PropertyList.h"
#include "tests/support/Pictures.h"

#include <QSet>

#include <gtest/gtest.h>

using platform::ImageFilterRegistry;

namespace {

const QString kStylize = platform::kCICategoryStylize;
const QString kDistortion = platform::kCICategoryDistortionEffect;
const QString kBlur = platform::kCICategoryBlur;

// A library with exactly the shapes the catalogue must handle.
ImageFilterRegistry testLibrary() {
  ImageFilterRegistry library;
  const auto add = [&](const char *name, const char *displayName, QStringList categories) {
    const auto same = [](const vips::VImage &image, const platform::FilterValues &) {
      return image;
    };
    library.addFilter({QLatin1String(name), QLatin1String(displayName), categories, {}, same});
  };
  // Listed under Stylize and Blur.
  add("CITwice", "Twice", {kStylize, kBlur, platform::kCICategoryVideo});
  // Listed once, but no preview picture.
  add("CIUnpictured", "Unpictured", {kStylize, QStringLiteral("CICategoryExtraA")});
  add("CIPictured", "Pictured", {kStylize, platform::kCICategoryBuiltIn});
  // The only distortion, without a picture: its category is never offered.
  add("CIBend", "Bend", {kDistortion});
  // Excluded, though pictured.
  add("CIBoxBlur", "Box Blur", {kBlur});
  add("CiRippleTransition", "Ripple", {kBlur});
  // Categories of filters outside the first category are not collected.
  add("CISoft", "Soft", {kBlur, QStringLiteral("CICategoryExtraB")});
  return library;
}

QVariantMap testPictures() {
  return {{"CITwice", "pic_twice"},
          {"CIPictured", "pic_pictured"},
          {"CIBoxBlur", "pic_box"},
          {"CiRippleTransition", "pic_ripple"},
          {"CISoft", "pic_soft"}};
}

QStringList names(const FilterRecordList &records) {
  QStringList list;
  for (const auto &record : records)
    list << record->filterName;
  return list;
}

QStringList names(const FilterCategoryList &categories) {
  QStringList list;
  for (const auto &category : categories)
    list << category->categoryName;
  return list;
}

class Catalogue : public ::testing::Test {
protected:
  ImageFilterRegistry library = testLibrary();
  std::unique_ptr<FiltersList> list = FiltersList::initWithFilterLibrary(library, testPictures());

  std::shared_ptr<FilterCategoryInfo> category(int index) const {
    return list->filterCategories.at(index);
  }
};

TEST_F(Catalogue, RecordsEveryListedFilterButOffersOnlyPicturedOnes) {
  ASSERT_EQ(names(list->filterCategories), (QStringList{kStylize, kDistortion, kBlur}));
  QStringList shown;
  for (const auto &category : list->filterCategories)
    shown << category->categoryDisplayName << category->categoryImage;
  EXPECT_EQ(shown, (QStringList{"Stylize", "birds_Edges", "Distortion Effect", "birds_Circle_Space",
                                "Blur", "birds_ZoomBlur"}));
  // Recorded, sorted by display name: every listed filter but the excluded ones, even those
  // with a picture. Offered: only pictured ones, each once.
  const std::pair<QStringList, QStringList> expected[] = {
      {{"CIPictured", "CITwice", "CIUnpictured"}, {"CIPictured", "CITwice"}},
      {{"CIBend"}, {}},
      {{"CISoft", "CITwice"}, {"CISoft"}}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(names(category(i)->filterRecords), expected[i].first) << i;
    EXPECT_EQ(names(category(i)->filterRecordsWithNoDuplicates), expected[i].second) << i;
  }
  EXPECT_EQ(category(0)->filterRecords.at(0)->filterDisplayName, QStringLiteral("Pictured"));
  EXPECT_EQ(category(0)->filterRecords.at(0)->filterImageName, QStringLiteral("pic_pictured"));
  // A category with nothing to offer is left out; the others are the same objects.
  EXPECT_EQ(names(list->filterCategoriesExcludingDupes), (QStringList{kStylize, kBlur}));
  EXPECT_EQ(list->filterCategoriesExcludingDupes.at(0), category(0));
  // Excluded names still count as met.
  EXPECT_TRUE(list->uniqueFilterNames.contains(QStringLiteral("CIBoxBlur")));
  EXPECT_TRUE(list->uniqueFilterNames.contains(QStringLiteral("CiRippleTransition")));
}

TEST_F(Catalogue, AFilterUnderTwoCategoriesIsRecordedInBothButOfferedOnce) {
  const auto stylize = category(0);
  const auto blur = category(2);
  const qsizetype inStylize = names(stylize->filterRecords).indexOf(QStringLiteral("CITwice"));
  const qsizetype inBlur = names(blur->filterRecords).indexOf(QStringLiteral("CITwice"));
  ASSERT_GE(inStylize, 0);
  ASSERT_GE(inBlur, 0);
  const auto first = stylize->filterRecords.at(inStylize), second = blur->filterRecords.at(inBlur);
  EXPECT_NE(first, second);
  EXPECT_FALSE(first->filterIsDuplicate);
  EXPECT_TRUE(second->filterIsDuplicate);
  EXPECT_EQ(first->filterImageName, QStringLiteral("pic_twice"));
  EXPECT_TRUE(second->filterImageName.isEmpty());
  EXPECT_EQ(list->duplicateFilterCount, 1);
  EXPECT_EQ(list->uniqueFilterNames.count(QStringLiteral("CITwice")), 1);
}

TEST_F(Catalogue, OfferedFiltersAndTheBatchConversionEntryAreAvailable) {
  EXPECT_EQ(names(list->allAvailableFilters),
            (QStringList{"CIPictured", "CITwice", "CISoft", "Batch Conversion"}));
  ASSERT_EQ(names(list->arrRenameAndFormatCat),
            (QStringList{"RenameAndFormat", "Batch Conversion"}));
  const auto conversion = list->arrRenameAndFormatCat.at(1);
  ASSERT_EQ(conversion->filterRecords.size(), 1);
  EXPECT_EQ(conversion->filterRecords.at(0), list->allAvailableFilters.last());
  EXPECT_EQ(conversion->filterRecords.at(0)->filterImageName, QStringLiteral("birds_all_applied"));
}

TEST_F(Catalogue, CollectsTheOtherCategoriesOfTheFirstCategorysFilters) {
  EXPECT_EQ(list->sourceCategoryNames, (QStringList{kStylize, kDistortion, kBlur}));
  const QSet<QString> others(list->otherCategoryNames.cbegin(), list->otherCategoryNames.cend());
  EXPECT_EQ(others, (QSet<QString>{platform::kCICategoryVideo, QStringLiteral("CICategoryExtraA"),
                                   platform::kCICategoryBuiltIn}));
  EXPECT_EQ(others.size(), list->otherCategoryNames.size());
}

TEST_F(Catalogue, FxCategoryHasAHeaderNinePicturedRecordsAndTheOfferedCategories) {
  const qsizetype before = list->allAvailableFilters.size();
  list->loadFxCategory();
  ASSERT_EQ(list->arrFXCategory.size(), 2 + list->filterCategoriesExcludingDupes.size());
  EXPECT_EQ(list->arrFXCategory.at(0)->categoryName, QStringLiteral("FX"));
  EXPECT_TRUE(list->arrFXCategory.at(0)->filterRecords.isEmpty());
  const auto fx = list->arrFXCategory.at(1);
  ASSERT_EQ(fx->filterRecords.size(), 9);
  EXPECT_TRUE(fx->filterRecords.at(0)->filterName.isEmpty());
  EXPECT_EQ(list->arrFXCategory.at(2), list->filterCategoriesExcludingDupes.at(0));
  EXPECT_EQ(list->allAvailableFilters.size(), before + 9);
}

TEST_F(Catalogue, WithoutPicturesNothingButBatchConversionIsOffered) {
  const auto bare = FiltersList::initWithFilterLibrary(library, {});
  EXPECT_TRUE(bare->filterCategoriesExcludingDupes.isEmpty());
  EXPECT_EQ(names(bare->allAvailableFilters), QStringList{"Batch Conversion"});
  // An empty library gives three empty categories.
  const auto empty = FiltersList::initWithFilterLibrary(ImageFilterRegistry(), testPictures());
  EXPECT_EQ(empty->filterCategories.size(), 3);
  EXPECT_TRUE(empty->uniqueFilterNames.isEmpty());
}

TEST(SharedCatalogue, OffersWorkingFiltersWithPicturesFromTheResource) {
  const QString path =
      Resources::pathForResource(QStringLiteral("FilterImages"), QStringLiteral("plist"));
  ASSERT_FALSE(path.isEmpty());
  QVariantMap pictures;
  ASSERT_TRUE(platform::PropertyList::readDictionary(path, &pictures));
  const auto &library = ImageFilterRegistry::builtIn();
  // Every picture names a filter the library has.
  for (auto it = pictures.cbegin(); it != pictures.cend(); ++it)
    EXPECT_TRUE(library.hasFilter(it.key())) << it.key().toStdString();

  const FiltersList &shared = FiltersList::sharedFiltersList();
  EXPECT_EQ(names(shared.filterCategoriesExcludingDupes),
            (QStringList{kStylize, kDistortion, kBlur}));

  const vips::VImage photo = testenv::loadImage(testenv::photo("jpg/orientation/landscape_1.jpg"))
                                 .crop(200, 150, 160, 120);
  for (const auto &record : shared.allAvailableFilters) {
    if (record->filterName == QStringLiteral("Batch Conversion"))
      continue;
    SCOPED_TRACE(record->filterName.toStdString());
    EXPECT_FALSE(FiltersList::excludedFilterNames().contains(record->filterName));
    EXPECT_EQ(record->filterImageName, pictures.value(record->filterName).toString());
    const auto result = library.apply(record->filterName, photo);
    ASSERT_TRUE(result.ok) << result.message.toStdString();
    EXPECT_EQ(result.image.copy_memory().width(), 160);
  }
}

} // namespace

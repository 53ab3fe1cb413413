// ExifInfo, the information table and its labels, MetaDataObject: from crafted dictionaries
// (the rules) and from real photos (the texts a user sees).
#include "imaging/ImageProcessing.h"
#include "metadata/ExifInfo.h"
#include "metadata/InformationTable.h"
#include "metadata/LocalizedStrings.h"
#include "metadata/MetaDataObject.h"
#include "tests/support/TestEnv.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <vips/vips8>

namespace {

using testenv::photo;

// The rows as title -> value, for lookups by label.
QMap<QString, QString> rowsByTitle(const QList<QVariantMap> &rows) {
  QMap<QString, QString> out;
  for (const QVariantMap &row : rows)
    out.insert(row.value("title").toString(), row.value("value").toString());
  return out;
}

QVariantMap withExif(const QVariantMap &exif) {
  return QVariantMap{{"PixelWidth", 4000}, {"PixelHeight", 3000}, {"{Exif}", exif}};
}

TEST(ExifInfo, SizesOrientationAndCrosswiseResolution) {
  const QVariantMap dict{{"PixelWidth", 4000}, {"PixelHeight", 3000},
                         {"Orientation", 6},   {"DPIWidth", 300.0},
                         {"DPIHeight", 72.0},  {"{TIFF}", QVariantMap{{"Orientation", 6}}}};
  const auto info = ExifInfo::initWithDict(dict);
  EXPECT_EQ(info->imageSize, "4000 x 3000");
  EXPECT_EQ(info->imageSizeToDisplay, "3000 x 4000"); // shown turned a quarter
  EXPECT_EQ(info->orientation, 6);
  // Each resolution field takes the other key; the text keeps the dictionary's order.
  EXPECT_DOUBLE_EQ(info->dpiHeight, 300.0);
  EXPECT_DOUBLE_EQ(info->dpiWidth, 72.0);
  EXPECT_EQ(info->imageDPI, "300.0 x 72.0");

  const auto upright = ExifInfo::initWithDict(QVariantMap{
      {"PixelWidth", 4000}, {"PixelHeight", 3000}, {"Orientation", 3}, {"DPIWidth", 72.0}});
  EXPECT_EQ(upright->imageSizeToDisplay, "4000 x 3000");
  EXPECT_TRUE(upright->imageDPI.isNull()); // one of the two resolutions is not enough
  EXPECT_EQ(upright->orientation, 0);      // no {TIFF}: never set
}

TEST(ExifInfo, ExifValuesAndTheirTexts) {
  const auto info = ExifInfo::initWithDict(withExif({{"DateTimeOriginal", "2008:05:30 15:56:01"},
                                                     {"FocalLength", 4.25},
                                                     {"ExposureBiasValue", -0.3333333},
                                                     {"ISOSpeedRatings", QVariantList{100, 200}},
                                                     {"Flash", 0}}));
  EXPECT_EQ(info->captureDate, QDateTime(QDate(2008, 5, 30), QTime(15, 56, 1)));
  EXPECT_EQ(info->folcalLength, "4.25 mm");
  EXPECT_EQ(info->exposureBias, "-0.33 EV");
  EXPECT_EQ(info->isoSpeedRating, "100,200");
  EXPECT_FALSE(info->flashFired);
  EXPECT_DOUBLE_EQ(info->exposureMode.toDouble(), -0.3333333); // the bias, on purpose

  const auto whole = ExifInfo::initWithDict(withExif({{"FocalLength", 135.0}, {"Flash", 16}}));
  EXPECT_EQ(whole->folcalLength, "135 mm");
  EXPECT_TRUE(whole->flashFired);
  EXPECT_TRUE(whole->exposureBias.isNull());
  EXPECT_TRUE(whole->isoSpeedRating.isNull());
}

TEST(ExifInfo, NoneLeavesTheRecordAsItWas) {
  ExifInfo info;
  info.commmonInit();
  info.resetAllWithDict(std::nullopt);
  EXPECT_EQ(info.orientation, -1);
  EXPECT_TRUE(info.flashFired);

  const auto unread = ExifInfo::initWithFile(QStringLiteral("/no/such/file.jpg"));
  EXPECT_TRUE(unread->imageSize.isNull());
  EXPECT_EQ(unread->orientation, 0);
}

TEST(ExifInfo, FromRealPhotos) {
  const auto portrait = ExifInfo::initWithFile(photo("jpg/orientation/portrait_6.jpg"));
  EXPECT_EQ(portrait->orientation, 6);
  EXPECT_EQ(portrait->imageSizeToDisplay,
            QStringLiteral("%1 x %2").arg(portrait->pixelHeight).arg(portrait->pixelWidth));

  const auto keywords = ExifInfo::initWithFile(photo("jpg/xmp/no_exif.jpg"));
  EXPECT_EQ(keywords->keywords, "tag");

  const auto iphone = ExifInfo::initWithFile(photo("heic/IMG_5195.HEIC"));
  EXPECT_EQ(iphone->cameraLensModel, "iPhone 11 Pro Max back triple camera 4.25mm f/1.8");
  EXPECT_EQ(iphone->gpsLongitudeRef, "W");
}

// Codes at the edges of their tables, and the exposure mode read from the bias: its integer
// part picks the text.
TEST(CommonFunc, CodeTextsAtTheEdgesOfTheirTables) {
  const struct {
    QString (*convert)(const QVariant &);
    QVariant code;
    const char *text;
  } rows[] = {{CommonFunc::getExposureModeType, 0.7, "Auto exposure"},
              {CommonFunc::getExposureModeType, -0.7, "Auto exposure"},
              {CommonFunc::getExposureModeType, 2, "Auto bracket"},
              {CommonFunc::getExposureModeType, -1.0, "---"},
              {CommonFunc::getExposureModeType, QVariant(), "---"},
              {CommonFunc::getExposureProgramType, 9, "---"},
              {CommonFunc::getMeteringModeType, 255, "other"},
              {CommonFunc::getMeteringModeType, 7, "---"},
              {CommonFunc::getLightSourceType, 16, "---"},
              {CommonFunc::getLightSourceType, 255, "Other light source"},
              {CommonFunc::getColorSensingType, 0, "---"},
              {CommonFunc::getScenceCaptureType, QStringLiteral("1"), "Landscape"}};
  for (const auto &row : rows)
    EXPECT_EQ(row.convert(row.code), QString::fromUtf8(row.text))
        << row.text << " from " << CommonFunc::objectDescription(row.code).toStdString();
}

// A negative degree shows its size; a missing reference shows nothing.
TEST(InformationTable, CoordinateTextsOfEdgeValues) {
  using InformationTable::getPositioninlatitudelongitude;
  EXPECT_EQ(getPositioninlatitudelongitude("W", -122.4194), QString::fromUtf8("122° 25' 9'' W"));
  EXPECT_EQ(getPositioninlatitudelongitude(QString(), 48.8584), "---");
}

TEST(LocalizedStrings, LabelsAndPlaceholders) {
  EXPECT_EQ(CommonFunc::getLocalizedStringForKey("ID_NO_SUCH_LABEL"), "(null)");
  EXPECT_EQ(CommonFunc::localizedFormatFromEntry(
                "DONOT_TRANSLATE_INTEGER_VALUE photos in DONOT_TRANSLATE_STRING_VALUE"),
            "%d photos in %@");
}

TEST(InformationTable, ThirtyFiveRowsOfACameraPhoto) {
  const QList<QVariantMap> rows =
      InformationTable::createArrayToUpdateMetaDataWithNode(photo("jpg/gps/DSCN0010.jpg"));
  ASSERT_EQ(rows.size(), 35);
  EXPECT_EQ(rows.first().value("title").toString(), "File Name");
  EXPECT_EQ(rows.last().value("title").toString(), "GPS Longitude");
  for (const QVariantMap &row : rows) {
    EXPECT_NE(row.value("title").toString(), "(null)"); // every row key has a label
    EXPECT_FALSE(row.value("value").toString().isNull());
  }
  const auto values = rowsByTitle(rows);
  EXPECT_EQ(values["File Size"], "161.71 KB");
  EXPECT_EQ(values["Image Size"], "640 x 480");
  EXPECT_EQ(values["Orientation"], "1 (Normal)");
  EXPECT_EQ(values["Capture Date"], "Oct 22, 2008 04:28:39 PM");
  EXPECT_EQ(values["Focal Length"], "24 mm");
  EXPECT_EQ(values["Exposure Bias"], "0.00 EV");
  EXPECT_EQ(values["ISO Speed Rating"], "64");
  EXPECT_EQ(values["GPS Altitude"], "0.00 m");
  EXPECT_EQ(values["GPS Latitude"], QString::fromUtf8("43° 28' 2'' N"));
  EXPECT_EQ(values["GPS Longitude"], QString::fromUtf8("11° 53' 6'' E"));

  const auto kodak = rowsByTitle(
      InformationTable::createArrayToUpdateMetaDataWithNode(photo("jpg/Kodak_CX7530.jpg")));
  EXPECT_EQ(kodak["GPS Latitude"], QString::fromUtf8("0° 22' 16'' S"));
  EXPECT_EQ(kodak["GPS Longitude"], QString::fromUtf8("36° 3' 23'' E"));

  const auto iphone = rowsByTitle(
      InformationTable::createArrayToUpdateMetaDataWithNode(photo("heic/IMG_5195.HEIC")));
  EXPECT_EQ(iphone["GPS Altitude"], "260.56 m");
  EXPECT_EQ(iphone["Profile Name"], "Display P3");
  EXPECT_EQ(iphone["Sensing Method"], "One-chip color area sensor");
}

TEST(InformationTable, PhotoWithoutExifShowsDashesAndZeroAltitude) {
  QTemporaryDir dir;
  const QString path = dir.path() + "/plain.png";
  vips::VImage::black(30, 20).write_to_file(path.toUtf8().constData());
  const auto values = rowsByTitle(InformationTable::createArrayToUpdateMetaDataWithNode(path));
  // Every camera, lens and position row of a picture without EXIF.
  for (const QString &title :
       QStringLiteral("Camera Maker,Camera Model,Lens Model,Capture Date,Focal Length,Exposure "
                      "Bias,ISO Speed Rating,Exposure Mode,Exposure Program,Metering Mode,Light "
                      "Source,Sensing Method,Scene Capture Type,Digital Zoom Ratio,Editing "
                      "Software,Orientation,Rating,Keywords,GPS Latitude,GPS Longitude")
           .split(QLatin1Char(',')))
    EXPECT_EQ(values[title], "---") << title.toStdString();
  EXPECT_EQ(values["GPS Altitude"], "0.00 m");
  EXPECT_EQ(values["Image Size"], "30 x 20");
  EXPECT_EQ(values["Color Model"], "Gray");
  EXPECT_NE(values["File Created"], "(null)");
}

TEST(MetaDataObject, EmptyDictionaryLeavesOnlyTheAlwaysEmptyFields) {
  const auto record = MetaDataObject::initWithDict(QVariantMap{{"PixelWidth", 10}});
  EXPECT_EQ(record->XMP_Lens, QVariant(QStringLiteral("")));
  EXPECT_EQ(record->AdvCamSetting_MateringMode, QVariant(QStringLiteral("")));
  EXPECT_FALSE(record->Cam_Make.isValid());
  EXPECT_FALSE(record->IPTC_Keywords.isValid());

  const auto unread = MetaDataObject::initWithFile(QStringLiteral("/no/such/file.jpg"));
  EXPECT_FALSE(unread->XMP_Lens.isValid());
  EXPECT_FALSE(unread->Artist.isValid());
}

TEST(MetaDataObject, FieldsKeepTheirQuirks) {
  const QVariantMap dict{
      {"{TIFF}", QVariantMap{{"Make", "Canon"}, {"Orientation", 6}}},
      {"{Exif}", QVariantMap{{"ISOSpeedRatings", QVariantList{100, 200}},
                             {"FocalLength", 135.0},
                             {"FocalPlaneResolutionUnit", 2},
                             {"LensModel", "EF 70-200"}}},
      {"{GPS}",
       QVariantMap{{"Latitude", 48.8584}, {"LatitudeRef", "N"}, {"DateStamp", "2020:01:02"}}},
      {"{IPTC}", QVariantMap{{"Keywords", QVariantList{"a", "b"}}, {"City", "Paris"}}}};
  const auto record = MetaDataObject::initWithDict(dict);
  EXPECT_EQ(record->Cam_Make.toString(), "Canon");
  EXPECT_FALSE(record->Artist.isValid()); // absent key under a present group
  EXPECT_EQ(record->CamSetting_ISO.toString(), "100,200");
  EXPECT_EQ(record->CamSetting_FocalLength.typeId(), QMetaType::Double); // unchanged
  EXPECT_EQ(record->Lens_Lens, QVariant(QStringLiteral("")));
  EXPECT_EQ(record->DimResolution_XResolution, QVariant(QStringLiteral("")));
  EXPECT_EQ(record->Lens_LensModel.toString(), "EF 70-200");
  EXPECT_DOUBLE_EQ(record->GPS_Lattitude.toDouble(), 48.8584);
  EXPECT_FALSE(record->GPS_DateStamp.isValid()); // looked up at the top level only
  EXPECT_EQ(record->IPTC_Keywords.toString(), "a,b");
  EXPECT_FALSE(record->IPTC_ByLine.isValid());

  QVariantMap topLevel = dict;
  topLevel.insert("DateStamp", "2020:01:02");
  EXPECT_EQ(MetaDataObject::initWithDict(topLevel)->GPS_DateStamp.toString(), "2020:01:02");

  const auto file = MetaDataObject::initWithFile(photo("jpg/xmp/no_exif.jpg"));
  EXPECT_EQ(file->IPTC_ByLine.toString(), "CREDIT");
  EXPECT_EQ(file->IPTC_CaptionAbstract.toString(), "Der Goalie bin ig");
  EXPECT_EQ(file->Artist.toString(), "CREDIT");
}

TEST(InfoCommand, PrintsTheTableOfEachFile) {
  const auto ok =
      testenv::runQuillmere({"info", photo("jpg/Canon_40D.jpg"), photo("heic/IMG_5195.HEIC")});
  EXPECT_EQ(ok.exitCode, 0) << ok.err.toStdString();
  const QStringList files = ok.out.split("\n\n");
  ASSERT_EQ(files.size(), 2);
  const QStringList canon = files[0].trimmed().split('\n');
  ASSERT_EQ(canon.size(), 35);
  EXPECT_EQ(canon[0], "File Name\tCanon_40D.jpg");
  EXPECT_TRUE(canon.contains("Camera Model\tCanon EOS 40D"));
  EXPECT_TRUE(canon.contains("Exposure Mode\tAuto exposure"));
  EXPECT_TRUE(canon.contains("Lens Model\t---"));
  EXPECT_TRUE(files[1].contains("Image Size\t2566 x 3313"));
  EXPECT_TRUE(files[1].contains("Camera Model\tiPhone 11 Pro Max"));
}

TEST(InfoCommand, MissingAndNonImageFilesPrintZeroBytesAndUnknownDatesAndFail) {
  QTemporaryDir dir;
  const QString text = testenv::writeFile(dir.path() + "/notes.txt", "hello\n");
  const auto result = testenv::runQuillmere(
      {"info", dir.path() + "/gone.jpg", text, photo("jpg/tests/67-0_length_string.jpg")});
  EXPECT_EQ(result.exitCode, 1);
  const QStringList files = result.out.split("\n\n");
  ASSERT_EQ(files.size(), 3);
  EXPECT_TRUE(files[0].contains("File Size\t0 bytes"));
  EXPECT_TRUE(files[0].contains("File Created\t(null)"));
  EXPECT_TRUE(files[0].contains("File Modified\t(null)"));
  EXPECT_TRUE(files[0].contains("Capture Date\t---"));
  EXPECT_TRUE(files[0].contains("Camera Maker\t---"));
  EXPECT_TRUE(files[1].contains("File Size\t6 bytes"));
  EXPECT_EQ(files[2].trimmed().split('\n').size(), 35);
  EXPECT_TRUE(result.err.contains("no such file: " + dir.path() + "/gone.jpg"));
  EXPECT_TRUE(result.err.contains("not an image: " + text));

  const auto usage = testenv::runQuillmere({"info"});
  EXPECT_EQ(usage.exitCode, 64);
}

} // namespace

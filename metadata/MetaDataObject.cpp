#include "metadata/MetaDataObject.h"

#include "imaging/ImageProcessing.h"
#include "metadata/ExifInfo.h"

namespace {

// A list's elements in their text form joined with ","; anything else in its text form.
QVariant joined(const QVariant &value) {
  if (!value.isValid() || value.isNull())
    return {};
  return CommonFunc::objectDescription(value);
}

} // namespace

std::shared_ptr<MetaDataObject>
MetaDataObject::initWithDict(const std::optional<QVariantMap> &dict) {
  auto record = std::make_shared<MetaDataObject>();
  record->resetAllWithDict(dict);
  return record;
}

std::shared_ptr<MetaDataObject> MetaDataObject::initWithFile(const QString &path) {
  auto record = std::make_shared<MetaDataObject>();
  record->resetAllWithDict(ImageProcessing::exifForFile(path));
  return record;
}

void MetaDataObject::commmonInit() {
  const QVariant empty = QStringLiteral("");
  Artist = empty;
  ImageDescription = empty;
  Copyright = empty;
  Software = empty;
  UserComment = empty;
  Cam_Make = empty;
  Cam_ModelName = empty;
  Cam_OwnerName = empty;
  Cam_SerialNumber = empty;
  Date_Original = empty;
  Date_Creation = empty;
  Date_Modify = empty;
  CamSetting_ISO = empty;
  CamSetting_FNumber = empty;
  CamSetting_Aperture = empty;
  CamSetting_ShutterSpeed = empty;
  CamSetting_FocalLength = empty;
  CamSetting_FocalLengthIn35mmFormat = empty;
  CamSetting_ExposureCompensation = empty;
  CamSetting_Flash = empty;
  CamSetting_Orientation = empty;
  AdvCamSetting_ColorSpace = empty;
  AdvCamSetting_ComponentsConfiguration = empty;
  AdvCamSetting_ExposureMode = empty;
  AdvCamSetting_ExposureProgram = empty;
  AdvCamSetting_ExposureTime = empty;
  AdvCamSetting_MateringMode = empty;
  AdvCamSetting_SceneCaptureType = empty;
  AdvCamSetting_WhiteBalance = empty;
  AdvCamSetting_Saturation = empty;
  AdvCamSetting_SensingMethod = empty;
  AdvCamSetting_Sharpness = empty;
  AdvCamSetting_SubjectDistanceRange = empty;
  Lens_LensMake = empty;
  Lens_Lens = empty;
  Lens_LensModel = empty;
  Lens_LensSerialNumber = empty;
  DimResolution_ExifImageWidth = empty;
  DimResolution_ExifImageHeight = empty;
  DimResolution_XResolution = empty;
  DimResolution_YResolution = empty;
  DimResolution_ResolutionUnit = empty;
  GPS_Lattitude = empty;
  GPS_LattitudeRef = empty;
  GPS_Longitude = empty;
  GPS_LongitudeRef = empty;
  GPS_Altitude = empty;
  GPS_AltitudeRef = empty;
  GPS_ImgDirection = empty;
  GPS_ImgDirectionRef = empty;
  GPS_DateStamp = empty;
  IPTC_ByLine = empty;
  IPTC_ByLineTitle = empty;
  IPTC_CopyrightNotice = empty;
  IPTC_Contact = empty;
  IPTC_Headline = empty;
  IPTC_CaptionAbstract = empty;
  IPTC_WriterEditor = empty;
  IPTC_ObjectName = empty;
  IPTC_Category = empty;
  IPTC_SupplementalCategories = empty;
  IPTC_DateCreated = empty;
  IPTC_Keywords = empty;
  IPTC_SubLocation = empty;
  IPTC_City = empty;
  IPTC_ProvinceState = empty;
  IPTC_CountryPrimaryLocationName = empty;
  IPTC_CountryPrimaryLocationCode = empty;
  IPTC_OriginalTransmissionRef = empty;
  IPTC_SpecialInstructions = empty;
  IPTC_Credit = empty;
  IPTC_Source = empty;
  XMP_SerialNumber = empty;
  XMP_Lens = empty;
  XMP_CreationDate = empty;
  XMP_ModifyDate = empty;
  XMP_Latitude = empty;
  XMP_Longitude = empty;
  XMP_PhotoshopDateCreated = empty;
}

void MetaDataObject::resetAllWithDict(const std::optional<QVariantMap> &dict) {
  if (!dict)
    return;
  const QVariantMap &d = *dict;
  const QVariant empty = QStringLiteral("");

  if (d.contains(QStringLiteral("{TIFF}"))) {
    const QVariantMap tiff = d.value(QStringLiteral("{TIFF}")).toMap();
    Artist = tiff.value(QStringLiteral("Artist"));
    ImageDescription = tiff.value(QStringLiteral("ImageDescription"));
    Copyright = tiff.value(QStringLiteral("Copyright"));
    Software = tiff.value(QStringLiteral("Software"));
    Cam_Make = tiff.value(QStringLiteral("Make"));
    Cam_ModelName = tiff.value(QStringLiteral("Model"));
    Date_Modify = tiff.value(QStringLiteral("DateTime"));
    CamSetting_Orientation = tiff.value(QStringLiteral("Orientation"));
  }

  if (d.contains(QStringLiteral("{Exif}"))) {
    const QVariantMap exif = d.value(QStringLiteral("{Exif}")).toMap();
    UserComment = exif.value(QStringLiteral("UserComment"));
    Date_Original = exif.value(QStringLiteral("DateTimeOriginal"));
    Date_Creation = exif.value(QStringLiteral("DateTimeDigitized"));
    if (exif.contains(QStringLiteral("ISOSpeedRatings")))
      CamSetting_ISO = joined(exif.value(QStringLiteral("ISOSpeedRatings")));
    CamSetting_FNumber = exif.value(QStringLiteral("FNumber"));
    CamSetting_Aperture = exif.value(QStringLiteral("MaxAperture"));
    CamSetting_ShutterSpeed = exif.value(QStringLiteral("ShutterSpeedValue"));
    CamSetting_FocalLength = exif.value(QStringLiteral("FocalLength"));
    CamSetting_FocalLengthIn35mmFormat = exif.value(QStringLiteral("FocalLenIn35mmFilm"));
    CamSetting_ExposureCompensation = exif.value(QStringLiteral("ExposureBiasValue"));
    CamSetting_Flash = exif.value(QStringLiteral("Flash"));
    Lens_LensMake = exif.value(QStringLiteral("LensMake"));
    Lens_Lens = empty;
    Lens_LensModel = exif.value(QStringLiteral("LensModel"));
    Lens_LensSerialNumber = exif.value(QStringLiteral("LensSerialNumber"));
    DimResolution_ExifImageWidth = exif.value(QStringLiteral("PixelXDimension"));
    DimResolution_ExifImageHeight = exif.value(QStringLiteral("PixelYDimension"));
    DimResolution_XResolution = empty;
    DimResolution_YResolution = empty;
    // The focal-plane unit, as the record has always taken it.
    DimResolution_ResolutionUnit = exif.value(QStringLiteral("FocalPlaneResolutionUnit"));
  }

  if (d.contains(QStringLiteral("{ExifAux}"))) {
    const QVariantMap aux = d.value(QStringLiteral("{ExifAux}")).toMap();
    Cam_OwnerName = aux.value(QStringLiteral("OwnerName"));
    Cam_SerialNumber = aux.value(QStringLiteral("SerialNumber"));
  }

  if (d.contains(QStringLiteral("{GPS}"))) {
    const QVariantMap gps = d.value(QStringLiteral("{GPS}")).toMap();
    GPS_Lattitude = gps.value(QStringLiteral("Latitude"));
    GPS_Longitude = gps.value(QStringLiteral("Longitude"));
    GPS_LattitudeRef = gps.value(QStringLiteral("LatitudeRef"));
    GPS_LongitudeRef = gps.value(QStringLiteral("LongitudeRef"));
    GPS_Altitude = gps.value(QStringLiteral("Altitude"));
    GPS_AltitudeRef = gps.value(QStringLiteral("AltitudeRef"));
    GPS_ImgDirection = gps.value(QStringLiteral("ImgDirection"));
    GPS_ImgDirectionRef = gps.value(QStringLiteral("ImgDirectionRef"));
    // Looked up at the top level, where the reader never puts it: the field stays unset
    // for files; kept so for the records built from such dictionaries.
    if (d.contains(QStringLiteral("DateStamp")))
      GPS_DateStamp = CommonFunc::objectDescription(d.value(QStringLiteral("DateStamp")));
  }

  if (d.contains(QStringLiteral("{IPTC}"))) {
    const QVariantMap iptc = d.value(QStringLiteral("{IPTC}")).toMap();
    auto list = [&iptc](const char *key, QVariant &field) {
      if (iptc.contains(QLatin1String(key)))
        field = joined(iptc.value(QLatin1String(key)));
    };
    list("Byline", IPTC_ByLine);
    list("BylineTitle", IPTC_ByLineTitle);
    IPTC_CopyrightNotice = iptc.value(QStringLiteral("CopyrightNotice"));
    list("Contact", IPTC_Contact);
    IPTC_Headline = iptc.value(QStringLiteral("Headline"));
    IPTC_CaptionAbstract = iptc.value(QStringLiteral("Caption/Abstract"));
    list("Writer/Editor", IPTC_WriterEditor);
    IPTC_ObjectName = iptc.value(QStringLiteral("ObjectName"));
    IPTC_Category = iptc.value(QStringLiteral("Category"));
    list("SupplementalCategory", IPTC_SupplementalCategories);
    IPTC_DateCreated = iptc.value(QStringLiteral("DateCreated"));
    list("Keywords", IPTC_Keywords);
    IPTC_SubLocation = iptc.value(QStringLiteral("SubLocation"));
    IPTC_City = iptc.value(QStringLiteral("City"));
    IPTC_ProvinceState = iptc.value(QStringLiteral("Province/State"));
    IPTC_CountryPrimaryLocationName = iptc.value(QStringLiteral("Country/PrimaryLocationName"));
    IPTC_CountryPrimaryLocationCode = iptc.value(QStringLiteral("Country/PrimaryLocationCode"));
    IPTC_OriginalTransmissionRef = iptc.value(QStringLiteral("OriginalTransmissionReference"));
    IPTC_SpecialInstructions = iptc.value(QStringLiteral("SpecialInstructions"));
    IPTC_Credit = iptc.value(QStringLiteral("Credit"));
    IPTC_Source = iptc.value(QStringLiteral("Source"));
  }

  for (QVariant *field :
       {&XMP_SerialNumber, &XMP_Lens, &XMP_CreationDate, &XMP_ModifyDate, &XMP_Latitude,
        &XMP_Longitude, &XMP_PhotoshopDateCreated, &AdvCamSetting_ColorSpace,
        &AdvCamSetting_ComponentsConfiguration, &AdvCamSetting_ExposureMode,
        &AdvCamSetting_ExposureProgram, &AdvCamSetting_ExposureTime, &AdvCamSetting_MateringMode,
        &AdvCamSetting_SceneCaptureType, &AdvCamSetting_WhiteBalance, &AdvCamSetting_Saturation,
        &AdvCamSetting_SensingMethod, &AdvCamSetting_Sharpness,
        &AdvCamSetting_SubjectDistanceRange})
    *field = empty;
}

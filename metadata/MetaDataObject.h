#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>
#include <optional>

// A flat record of one photo's descriptive metadata, named by group (Cam_, Date_,
// CamSetting_, AdvCamSetting_, Lens_, DimResolution_, GPS_, IPTC_, XMP_). Each field holds
// the dictionary's value unchanged (a number stays a number), a list joined into a text, an
// empty text, or nothing (an invalid QVariant) when it was never set.
class MetaDataObject {
public:
  static std::shared_ptr<MetaDataObject> initWithDict(const std::optional<QVariantMap> &dict);
  // Reads the file's properties dictionary; a file that is not an image leaves every field
  // unset.
  static std::shared_ptr<MetaDataObject> initWithFile(const QString &path);

  void resetAllWithDict(const std::optional<QVariantMap> &dict);
  // Every field := the empty text. The initialisers do not call it.
  void commmonInit();

  QVariant Artist;
  QVariant ImageDescription;
  QVariant Copyright;
  QVariant Software;
  QVariant UserComment;
  QVariant Cam_Make;
  QVariant Cam_ModelName;
  QVariant Cam_OwnerName;
  QVariant Cam_SerialNumber;
  QVariant Date_Original;
  QVariant Date_Creation;
  QVariant Date_Modify;
  QVariant CamSetting_ISO;
  QVariant CamSetting_FNumber;
  QVariant CamSetting_Aperture;
  QVariant CamSetting_ShutterSpeed;
  QVariant CamSetting_FocalLength;
  QVariant CamSetting_FocalLengthIn35mmFormat;
  QVariant CamSetting_ExposureCompensation;
  QVariant CamSetting_Flash;
  QVariant CamSetting_Orientation;
  QVariant AdvCamSetting_ColorSpace;
  QVariant AdvCamSetting_ComponentsConfiguration;
  QVariant AdvCamSetting_ExposureMode;
  QVariant AdvCamSetting_ExposureProgram;
  QVariant AdvCamSetting_ExposureTime;
  QVariant AdvCamSetting_MateringMode;
  QVariant AdvCamSetting_SceneCaptureType;
  QVariant AdvCamSetting_WhiteBalance;
  QVariant AdvCamSetting_Saturation;
  QVariant AdvCamSetting_SensingMethod;
  QVariant AdvCamSetting_Sharpness;
  QVariant AdvCamSetting_SubjectDistanceRange;
  QVariant Lens_LensMake;
  QVariant Lens_Lens;
  QVariant Lens_LensModel;
  QVariant Lens_LensSerialNumber;
  QVariant DimResolution_ExifImageWidth;
  QVariant DimResolution_ExifImageHeight;
  QVariant DimResolution_XResolution;
  QVariant DimResolution_YResolution;
  QVariant DimResolution_ResolutionUnit;
  QVariant GPS_Lattitude;
  QVariant GPS_LattitudeRef;
  QVariant GPS_Longitude;
  QVariant GPS_LongitudeRef;
  QVariant GPS_Altitude;
  QVariant GPS_AltitudeRef;
  QVariant GPS_ImgDirection;
  QVariant GPS_ImgDirectionRef;
  QVariant GPS_DateStamp;
  QVariant IPTC_ByLine;
  QVariant IPTC_ByLineTitle;
  QVariant IPTC_CopyrightNotice;
  QVariant IPTC_Contact;
  QVariant IPTC_Headline;
  QVariant IPTC_CaptionAbstract;
  QVariant IPTC_WriterEditor;
  QVariant IPTC_ObjectName;
  QVariant IPTC_Category;
  QVariant IPTC_SupplementalCategories;
  QVariant IPTC_DateCreated;
  QVariant IPTC_Keywords;
  QVariant IPTC_SubLocation;
  QVariant IPTC_City;
  QVariant IPTC_ProvinceState;
  QVariant IPTC_CountryPrimaryLocationName;
  QVariant IPTC_CountryPrimaryLocationCode;
  QVariant IPTC_OriginalTransmissionRef;
  QVariant IPTC_SpecialInstructions;
  QVariant IPTC_Credit;
  QVariant IPTC_Source;
  QVariant XMP_SerialNumber;
  QVariant XMP_Lens;
  QVariant XMP_CreationDate;
  QVariant XMP_ModifyDate;
  QVariant XMP_Latitude;
  QVariant XMP_Longitude;
  QVariant XMP_PhotoshopDateCreated;
};

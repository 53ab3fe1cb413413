#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>
#include <optional>

// A photo's image and camera properties, taken from its properties dictionary. Values that
// are shown through a converter (the code fields, rating, colour space, zoom ratio) keep
// the dictionary's value unchanged; a null QString or invalid QVariant means "no value".
class ExifInfo {
public:
  // Plain initialisation, then resetAllWithDict with what ImageProcessing::exifForFile reads.
  static std::shared_ptr<ExifInfo> initWithFile(const QString &path);
  static std::shared_ptr<ExifInfo> initWithDict(const std::optional<QVariantMap> &dict);

  // Fills the fields from dict; nothing changes when dict is none.
  void resetAllWithDict(const std::optional<QVariantMap> &dict);
  // captureDate, its source and zone offset from dict's EXIF and XMP dates.
  void readCaptureDate(const QVariantMap &dict);
  // Empty texts, zero numbers, no capture date and metering mode, flash fired, orientation -1.
  void commmonInit();

  QString profileName;
  int pixelWidth = 0;
  int pixelHeight = 0;
  QString imageSize;
  QString colorModel;
  double dpiWidth = 0;
  double dpiHeight = 0;
  QString imageDPI;
  QString imageSizeToDisplay;
  QDateTime captureDate;
  // Which of the photo's dates gave captureDate, first found first: EXIF DateTimeOriginal,
  // EXIF CreateDate, XMP photoshop:DateCreated, XMP xmp:CreateDate, the HEIF container's or
  // QuickTime metadata's creation date. None when the photo has no capture date (the date
  // stamp then takes the file's creation date).
  enum class DateSource {
    None,
    ExifDateTimeOriginal,
    ExifCreateDate,
    XmpDateCreated,
    XmpCreateDate,
    HeifCreationDate,
    QuickTimeCreationDate
  };
  DateSource captureDateSource = DateSource::None;
  // The zone offset the photo gives with that date ("+02:00"), empty when it gives none.
  QString captureZoneOffset;
  // The source as shown ("EXIF DateTimeOriginal +02:00", "File creation date" when none).
  QString dateSourceText() const;
  static QString dateSourceName(DateSource source);
  QVariant rating;
  QString folcalLength;
  QString exposureBias;
  QString isoSpeedRating;
  QVariant exposureMode; // the exposure bias, on purpose: the mode shown derives from it
  QVariant exposureProgram;
  QVariant meteringMode;
  QVariant lightSource;
  QVariant sensingMethod;
  QVariant sceneCaptureType;
  QVariant digitalZoomRatio;
  QVariant colorSpace;
  bool flashFired = false;
  QString userComment;
  QString cameraMaker;
  QString cameraModel;
  int orientation = 0;
  QString editingSoftware;
  double gpsLatitude = 0;
  double gpsLongitude = 0;
  double gpsAltitude = 0;
  QString gpsLatitudeRef;
  QString gpsLongitudeRef;
  QString keywords;
  QString cameraLensModel;

  // Kept for the file record; nothing fills them here.
  QString fileName;
  QString fileType;
  QString fileLabel;
  QString folderName;
  QString exposure;
  QString cameraFirmware;
  QDateTime fileCreated;
  QDateTime fileModified;
  quint64 fileSize = 0;
  float imgWidth = 0;
  float imgHeight = 0;
};

namespace CommonFunc {

// The text a dictionary value shows as: numbers in their shortest form, lists as their
// elements joined with ",", "(null)" for no value.
QString objectDescription(const QVariant &value);

// Display texts of EXIF codes; "---" for no value and for codes not listed.
QString getOrientationType(int orientation);
QString getExposureModeType(const QVariant &value);
QString getExposureProgramType(const QVariant &value);
QString getMeteringModeType(const QVariant &value);
QString getLightSourceType(const QVariant &value);
QString getColorSensingType(const QVariant &value);
QString getScenceCaptureType(const QVariant &value);

} // namespace CommonFunc

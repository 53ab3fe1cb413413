#include "metadata/InformationTable.h"

#include "metadata/ExifInfo.h"
#include "metadata/LocalizedStrings.h"
#include "platform/Files.h"
#include "processing/CommonFunc.h"

#include <QFileInfo>

#include <cmath>
#include <limits>

namespace InformationTable {

namespace {

// "%@" of a date text: an unknown date shows as "(null)".
QString wrappedDate(const QDateTime &date) {
  if (!date.isValid())
    return QStringLiteral("(null)");
  return CommonFunc::getDateTimeStringFromDate(date);
}

// A value object's text, or null for none (shown as "---").
QString objectText(const QVariant &value) {
  if (!value.isValid() || value.isNull())
    return {};
  return CommonFunc::objectDescription(value);
}

} // namespace

FileFacts FileFacts::forPath(const QString &path) {
  FileFacts facts;
  facts.filePath = path;
  facts.fileName = QFileInfo(path).fileName();
  const platform::Files::Attributes attributes = platform::Files::attributesOfItem(path);
  if (attributes.exists) {
    facts.fileSize = quint64(std::max<qint64>(attributes.size, 0));
    facts.createDate = attributes.creationDate;
    facts.modDate = attributes.modificationDate;
  }
  return facts;
}

void createArrayToUpdateMetaData(QList<QVariantMap> &rows, const QString &label,
                                 const QString &value) {
  QVariantMap row;
  row.insert(QStringLiteral("title"), label);
  row.insert(QStringLiteral("value"), value.isNull() ? QStringLiteral("---") : value);
  rows.append(row);
}

QString getPositioninlatitudelongitude(const QString &reference, double degrees) {
  if (reference.isNull())
    return QStringLiteral("---");
  double scaled = std::trunc(degrees * 3600.0);
  if (!std::isfinite(scaled) || std::fabs(scaled) > double(std::numeric_limits<int>::max()))
    scaled = 0;
  const int seconds = std::abs(int(scaled));
  return QStringLiteral("%1° %2' %3'' %4")
      .arg(seconds / 3600)
      .arg((seconds % 3600) / 60)
      .arg(seconds % 60)
      .arg(reference);
}

QList<QVariantMap> createArrayToUpdateMetaDataWithNode(const FileFacts &file,
                                                       const ExifInfo *exif) {
  const ExifInfo empty;
  const ExifInfo &e = exif ? *exif : empty;
  QList<QVariantMap> rows;
  auto add = [&rows](const char *key, const QString &value) {
    createArrayToUpdateMetaData(rows, CommonFunc::getLocalizedStringForKey(QLatin1String(key)),
                                value);
  };
  add("ID_FILE_NAME", file.fileName);
  add("ID_FILE_PATH", file.filePath);
  add("ID_FILE_SIZE", CommonFunc::getSizeInUnits(double(file.fileSize)));
  add("ID_FILE_LABEL", e.fileLabel);
  add("ID_FILE_CREATED", wrappedDate(file.createDate));
  add("ID_FILE_MODIFIED", wrappedDate(file.modDate));
  add("ID_FOLDER_NAME", QFileInfo(QFileInfo(file.filePath).path()).fileName());
  add("ID_RATING", objectText(e.rating));
  add("ID_KEYWORDS", e.keywords);
  add("ID_IMAGE_SIZE", e.imageSizeToDisplay);
  add("ID_IMAGE_DPI", e.imageDPI);
  add("ID_ORIENTATION",
      e.orientation != 0 ? CommonFunc::getOrientationType(e.orientation) : QStringLiteral("---"));
  add("ID_DIGITAL_ZOOM_RATIO", e.digitalZoomRatio.isValid() && !e.digitalZoomRatio.isNull()
                                   ? QString::asprintf("%.2f", e.digitalZoomRatio.toDouble())
                                   : QStringLiteral("---"));
  add("ID_CAPTURE_DATE",
      e.captureDate.isValid() ? CommonFunc::getDateTimeStringFromDate(e.captureDate) : QString());
  add("ID_EDITING_SOFTWARE", e.editingSoftware);
  add("ID_EXPOSURE", e.exposure);
  add("ID_FOCAL_LENGTH", e.folcalLength);
  add("ID_EXPOSURE_BIAS", e.exposureBias);
  add("ID_ISO_SPEED_RATING", e.isoSpeedRating);
  add("ID_EXPOSURE_MODE", CommonFunc::getExposureModeType(e.exposureMode));
  add("ID_EXPOSURE_PROGRAM", CommonFunc::getExposureProgramType(e.exposureProgram));
  add("ID_METERING", CommonFunc::getMeteringModeType(e.meteringMode));
  add("ID_LIGHT_SOURCE", CommonFunc::getLightSourceType(e.lightSource));
  add("ID_SENSING_METHOD", CommonFunc::getColorSensingType(e.sensingMethod));
  add("ID_SCENCE_CAPTURE_TYPE", CommonFunc::getScenceCaptureType(e.sceneCaptureType));
  add("ID_CAMERA_MAKER", e.cameraMaker);
  add("ID_CAMERA_MODEL", e.cameraModel);
  add("ID_CAMERA_LENS_MODEL", e.cameraLensModel);
  add("ID_CAMERA_FIRMWARE", e.cameraFirmware);
  add("ID_COLOR_MODEL", e.colorModel);
  add("ID_COLOR_SPACE", objectText(e.colorSpace));
  add("ID_PROFILE_NAME", e.profileName);
  add("ID_GPS_ALTITUDE", QString::asprintf("%.2f m", e.gpsAltitude));
  add("ID_GPS_LATITUDE", getPositioninlatitudelongitude(e.gpsLatitudeRef, e.gpsLatitude));
  add("ID_GPS_LONGITUDE", getPositioninlatitudelongitude(e.gpsLongitudeRef, e.gpsLongitude));
  return rows;
}

QList<QVariantMap> createArrayToUpdateMetaDataWithNode(const QString &path) {
  const FileFacts facts = FileFacts::forPath(path);
  const std::shared_ptr<ExifInfo> exif = ExifInfo::initWithFile(path);
  return createArrayToUpdateMetaDataWithNode(facts, exif.get());
}

} // namespace InformationTable

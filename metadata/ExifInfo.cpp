#include "metadata/ExifInfo.h"

#include "imaging/ImageProcessing.h"
#include "processing/CommonFunc.h"

#include <QRegularExpression>
#include <QStringList>

#include <cmath>

namespace CommonFunc {

QString objectDescription(const QVariant &value) {
  if (!value.isValid() || value.isNull())
    return QStringLiteral("(null)");
  switch (value.typeId()) {
  case QMetaType::Double:
  case QMetaType::Float:
    return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
  case QMetaType::QVariantList: {
    QStringList parts;
    for (const QVariant &element : value.toList())
      parts.append(objectDescription(element));
    return parts.join(QLatin1Char(','));
  }
  case QMetaType::QStringList:
    return value.toStringList().join(QLatin1Char(','));
  case QMetaType::Bool:
    return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
  default:
    return value.toString();
  }
}

namespace {

// A value object read as an integer, as the converters take it; none when there is none.
std::optional<int> codeOf(const QVariant &value) {
  if (!value.isValid() || value.isNull())
    return std::nullopt;
  if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float) {
    const double d = value.toDouble();
    if (!std::isfinite(d) || std::fabs(d) > 2e9)
      return std::nullopt;
    return int(d); // truncated toward zero
  }
  bool ok = false;
  const int code = value.toString().trimmed().toInt(&ok);
  if (ok)
    return code;
  const double d = value.toString().trimmed().toDouble(&ok);
  if (ok && std::isfinite(d) && std::fabs(d) < 2e9)
    return int(d);
  return 0; // a text that is not a number reads as 0
}

struct CodeText {
  int code;
  const char *text;
};

template <size_t N> QString lookup(const QVariant &value, const CodeText (&table)[N]) {
  const std::optional<int> code = codeOf(value);
  if (!code)
    return QStringLiteral("---");
  for (const CodeText &entry : table) {
    if (entry.code == *code)
      return QString::fromUtf8(entry.text);
  }
  return QStringLiteral("---");
}

} // namespace

QString getOrientationType(int orientation) {
  static const char *const texts[] = {
      "%1 (Normal)",
      "%1 (Flipped horizontally)",
      "%1 (Rotated 180° CW)",
      "%1 (Flipped vertically)",
      "%1 (Rotated 90° CCW and flipped vertically)",
      "%1 (Rotated 90° CCW)",
      "%1 (Rotated 90° CW and flipped vertically)",
      "%1 (Rotated 90° CW)",
  };
  if (orientation < 1 || orientation > 8)
    return QStringLiteral("---");
  return QString::fromUtf8(texts[orientation - 1]).arg(orientation);
}

QString getExposureModeType(const QVariant &value) {
  static const CodeText table[] = {
      {0, "Auto exposure"}, {1, "Manual exposure"}, {2, "Auto bracket"}};
  return lookup(value, table);
}

QString getExposureProgramType(const QVariant &value) {
  static const CodeText table[] = {
      {0, "Not defined"},
      {1, "Manual"},
      {2, "Normal program"},
      {3, "Aperture priority"},
      {4, "Shutter priority"},
      {5, "Creative program (biased toward depth of field)"},
      {6, "Action program (biased toward fast shutter speed)"},
      {7, "Portrait mode (for closeup photos with the background out of focus)"},
      {8, "Landscape mode (for landscape photos with the background in focus)"},
  };
  return lookup(value, table);
}

QString getMeteringModeType(const QVariant &value) {
  static const CodeText table[] = {
      {0, "Unknown"}, {1, "Average"},   {2, "CenterWeightedAverage"},
      {3, "Spot"},    {4, "MultiSpot"}, {5, "Pattern"},
      {6, "Partial"}, {255, "other"},
  };
  return lookup(value, table);
}

QString getLightSourceType(const QVariant &value) {
  static const CodeText table[] = {
      {0, "Unknown"},
      {1, "Daylight"},
      {2, "Fluorescent"},
      {3, "Tungsten (incandescent light)"},
      {4, "Flash"},
      {9, "Fine weather"},
      {10, "Cloudy weather"},
      {11, "Shade"},
      {12, "Daylight fluorescent (D 5700 - 7100K)"},
      {13, "Day white fluorescent (N 4600 - 5400K)"},
      {14, "Cool white fluorescent (W 3900 - 4500K)"},
      {15, "White fluorescent (WW 3200 - 3700K)"},
      {17, "Standard light A"},
      {18, "Standard light B"},
      {19, "Standard light C"},
      {20, "D55"},
      {21, "D65"},
      {22, "D75"},
      {23, "D50"},
      {24, "ISO studio tungsten"},
      {255, "Other light source"},
  };
  return lookup(value, table);
}

QString getColorSensingType(const QVariant &value) {
  static const CodeText table[] = {
      {1, "Not defined"},
      {2, "One-chip color area sensor"},
      {3, "Two-chip color area sensor"},
      {4, "Three-chip color area sensor"},
      {5, "Color sequential area sensor"},
      {6, "Trilinear sensor"},
      {7, "Color sequential linear sensor"},
  };
  return lookup(value, table);
}

QString getScenceCaptureType(const QVariant &value) {
  static const CodeText table[] = {
      {0, "Standard"}, {1, "Landscape"}, {2, "Portrait"}, {3, "Night scene"}};
  return lookup(value, table);
}

} // namespace CommonFunc

namespace {

// A text field from a dictionary value: null when absent.
QString textOf(const QVariant &value) {
  if (!value.isValid() || value.isNull())
    return {};
  return CommonFunc::objectDescription(value);
}

QString joinedList(const QVariant &value) {
  if (value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList)
    return CommonFunc::objectDescription(value);
  return textOf(value);
}

} // namespace

std::shared_ptr<ExifInfo> ExifInfo::initWithFile(const QString &path) {
  auto info = std::make_shared<ExifInfo>();
  info->resetAllWithDict(ImageProcessing::exifForFile(path));
  return info;
}

std::shared_ptr<ExifInfo> ExifInfo::initWithDict(const std::optional<QVariantMap> &dict) {
  auto info = std::make_shared<ExifInfo>();
  info->resetAllWithDict(dict);
  return info;
}

void ExifInfo::commmonInit() {
  profileName = imageSize = colorModel = imageDPI = imageSizeToDisplay = QStringLiteral("");
  folcalLength = exposureBias = isoSpeedRating = userComment = QStringLiteral("");
  cameraMaker = cameraModel = editingSoftware = gpsLatitudeRef = gpsLongitudeRef =
      QStringLiteral("");
  keywords = cameraLensModel = fileName = fileType = fileLabel = folderName = exposure =
      cameraFirmware = QStringLiteral("");
  rating = exposureMode = exposureProgram = lightSource = sensingMethod = sceneCaptureType =
      digitalZoomRatio = colorSpace = QStringLiteral("");
  pixelWidth = pixelHeight = 0;
  dpiWidth = dpiHeight = gpsLatitude = gpsLongitude = gpsAltitude = 0;
  fileSize = 0;
  imgWidth = imgHeight = 0;
  captureDate = QDateTime();
  captureDateSource = DateSource::None;
  captureZoneOffset.clear();
  meteringMode = QVariant();
  flashFired = true;
  orientation = -1;
}

namespace {

// An XMP date ("2013-09-23T10:09:46+02:00", "2013-09-23T10:09", "2013-09-23") as the camera's
// wall-clock time, like EXIF's, and its zone offset when it has one.
QDateTime xmpDate(const QString &text, QString *offset) {
  static const QRegularExpression pattern(QStringLiteral(
      R"(^(\d{4})-(\d{2})-(\d{2})(?:T(\d{2}):(\d{2})(?::(\d{2}))?(?:\.\d+)?(Z|[+-]\d{2}:\d{2})?)?$)"));
  const QRegularExpressionMatch m = pattern.match(text.trimmed());
  if (!m.hasMatch())
    return QDateTime();
  const QDate date(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
  const QTime time(m.captured(4).toInt(), m.captured(5).toInt(), m.captured(6).toInt());
  if (!date.isValid() || !time.isValid())
    return QDateTime();
  const QString zone = m.captured(7);
  *offset = zone == QLatin1String("Z") ? QStringLiteral("+00:00") : zone;
  return QDateTime(date, time);
}

} // namespace

QString ExifInfo::dateSourceName(DateSource source) {
  switch (source) {
  case DateSource::ExifDateTimeOriginal:
    return QStringLiteral("EXIF DateTimeOriginal");
  case DateSource::ExifCreateDate:
    return QStringLiteral("EXIF CreateDate");
  case DateSource::XmpDateCreated:
    return QStringLiteral("XMP photoshop:DateCreated");
  case DateSource::XmpCreateDate:
    return QStringLiteral("XMP xmp:CreateDate");
  case DateSource::HeifCreationDate:
    return QStringLiteral("HEIF creation date");
  case DateSource::QuickTimeCreationDate:
    return QStringLiteral("QuickTime creation date");
  case DateSource::None:
    break;
  }
  return QStringLiteral("File creation date");
}

QString ExifInfo::dateSourceText() const {
  const QString name = dateSourceName(captureDateSource);
  return captureZoneOffset.isEmpty() ? name : name + QLatin1Char(' ') + captureZoneOffset;
}

void ExifInfo::readCaptureDate(const QVariantMap &d) {
  const QVariantMap exif = d.value(QStringLiteral("{Exif}")).toMap();
  const QVariantMap xmp = d.value(QStringLiteral("{XMP}")).toMap();
  const struct {
    const char *key;
    const char *offsetKey;
    DateSource source;
  } exifDates[] = {{"DateTimeOriginal", "OffsetTimeOriginal", DateSource::ExifDateTimeOriginal},
                   {"DateTimeDigitized", "OffsetTimeDigitized", DateSource::ExifCreateDate}};
  for (const auto &candidate : exifDates) {
    const QDateTime date =
        CommonFunc::getDateFromString(exif.value(QLatin1String(candidate.key)).toString());
    if (date.isValid()) {
      captureDate = date;
      captureDateSource = candidate.source;
      captureZoneOffset = exif.value(QLatin1String(candidate.offsetKey)).toString().trimmed();
      return;
    }
  }
  const struct {
    const char *key;
    DateSource source;
  } xmpDates[] = {{"DateCreated", DateSource::XmpDateCreated},
                  {"CreateDate", DateSource::XmpCreateDate}};
  for (const auto &candidate : xmpDates) {
    QString offset;
    const QDateTime date = xmpDate(xmp.value(QLatin1String(candidate.key)).toString(), &offset);
    if (date.isValid()) {
      captureDate = date;
      captureDateSource = candidate.source;
      captureZoneOffset = offset;
      return;
    }
  }
  const QVariantMap container = d.value(QStringLiteral("{Container}")).toMap();
  const QDateTime date =
      CommonFunc::getDateFromString(container.value(QStringLiteral("CreationDate")).toString());
  if (date.isValid()) {
    captureDate = date;
    captureDateSource =
        container.value(QStringLiteral("Source")).toString() == QLatin1String("QuickTime")
            ? DateSource::QuickTimeCreationDate
            : DateSource::HeifCreationDate;
    captureZoneOffset = container.value(QStringLiteral("OffsetTime")).toString();
  }
}

void ExifInfo::resetAllWithDict(const std::optional<QVariantMap> &dict) {
  if (!dict)
    return;
  const QVariantMap &d = *dict;
  const QVariant width = d.value(QStringLiteral("PixelWidth"));
  const QVariant height = d.value(QStringLiteral("PixelHeight"));
  profileName = textOf(d.value(QStringLiteral("ProfileName")));
  pixelWidth = width.toInt();
  pixelHeight = height.toInt();
  imageSize = QStringLiteral("%1 x %2").arg(CommonFunc::objectDescription(width),
                                            CommonFunc::objectDescription(height));
  colorModel = textOf(d.value(QStringLiteral("ColorModel")));
  dpiHeight = 0;
  dpiWidth = 0;

  const int o = d.value(QStringLiteral("Orientation")).toInt();
  const int w = int(width.toFloat());
  const int h = int(height.toFloat());
  if (o >= 5 && o <= 8)
    imageSizeToDisplay = QStringLiteral("%1 x %2").arg(h).arg(w);
  else
    imageSizeToDisplay = QStringLiteral("%1 x %2").arg(w).arg(h);

  if (d.contains(QStringLiteral("DPIWidth")) && d.contains(QStringLiteral("DPIHeight"))) {
    const double x = d.value(QStringLiteral("DPIWidth")).toDouble();
    const double y = d.value(QStringLiteral("DPIHeight")).toDouble();
    // Crosswise on purpose: each takes the other key.
    dpiHeight = x;
    dpiWidth = y;
    imageDPI = QString::asprintf("%.1f x %.1f", x, y);
  }

  readCaptureDate(d);
  if (d.contains(QStringLiteral("{Exif}"))) {
    const QVariantMap exif = d.value(QStringLiteral("{Exif}")).toMap();
    rating = exif.value(QStringLiteral("Rating"));
    const QVariant focal = exif.value(QStringLiteral("FocalLength"));
    folcalLength = focal.isValid() ? QStringLiteral("%1 mm").arg(textOf(focal)) : QString();
    const QVariant bias = exif.value(QStringLiteral("ExposureBiasValue"));
    exposureBias = bias.isValid() ? QString::asprintf("%.2f EV", bias.toDouble()) : QString();
    if (exif.contains(QStringLiteral("ISOSpeedRatings")))
      isoSpeedRating = joinedList(exif.value(QStringLiteral("ISOSpeedRatings")));
    exposureMode = bias;
    exposureProgram = exif.value(QStringLiteral("ExposureProgram"));
    meteringMode = exif.value(QStringLiteral("MeteringMode"));
    lightSource = exif.value(QStringLiteral("LightSource"));
    sensingMethod = exif.value(QStringLiteral("SensingMethod"));
    sceneCaptureType = exif.value(QStringLiteral("SceneCaptureType"));
    digitalZoomRatio = exif.value(QStringLiteral("DigitalZoomRatio"));
    colorSpace = exif.value(QStringLiteral("ColorSpace"));
    flashFired = exif.value(QStringLiteral("Flash")).toInt() != 0;
    userComment = textOf(exif.value(QStringLiteral("UserComment")));
  }

  if (d.contains(QStringLiteral("{TIFF}"))) {
    const QVariantMap tiff = d.value(QStringLiteral("{TIFF}")).toMap();
    cameraMaker = textOf(tiff.value(QStringLiteral("Make")));
    cameraModel = textOf(tiff.value(QStringLiteral("Model")));
    orientation = tiff.value(QStringLiteral("Orientation")).toInt();
    editingSoftware = textOf(tiff.value(QStringLiteral("Software")));
  }

  if (d.contains(QStringLiteral("{GPS}"))) {
    const QVariantMap gps = d.value(QStringLiteral("{GPS}")).toMap();
    gpsLatitude = gps.value(QStringLiteral("Latitude")).toDouble();
    gpsLongitude = gps.value(QStringLiteral("Longitude")).toDouble();
    gpsLatitudeRef = textOf(gps.value(QStringLiteral("LatitudeRef")));
    gpsLongitudeRef = textOf(gps.value(QStringLiteral("LongitudeRef")));
    gpsAltitude = gps.value(QStringLiteral("Altitude")).toDouble();
  }

  if (d.contains(QStringLiteral("{IPTC}"))) {
    const QVariantMap iptc = d.value(QStringLiteral("{IPTC}")).toMap();
    if (iptc.contains(QStringLiteral("Keywords")))
      keywords = joinedList(iptc.value(QStringLiteral("Keywords")));
  }

  if (d.contains(QStringLiteral("{ExifAux}")))
    cameraLensModel =
        textOf(d.value(QStringLiteral("{ExifAux}")).toMap().value(QStringLiteral("LensModel")));
}

#include "platform/ImageProperties.h"

// Exiv2 0.27 hands out std::auto_ptr everywhere.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

#include "platform/ContainerDate.h"
#include "platform/Exiv2Compat.h"
#include "platform/Exiv2Setup.h"
#include "platform/RawDecoder.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QVariantList>

#include <exiv2/exiv2.hpp>
#include <libraw/libraw.h>
#include <vips/vips.h>

#include <cmath>
#include <cstring>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace platform::ImageProperties {

namespace {

// Hostile files may claim millions of entries; nothing the system shows needs more.
constexpr long kMaxListEntries = 256;
constexpr size_t kMaxTextBytes = 64 * 1024;

// Where one EXIF tag goes in the dictionary and how its value is read.
enum class Kind { Auto, List, Text, Comment };

struct Mapping {
  std::string_view group; // Exiv2's group name ("Image", "Photo", ...)
  uint16_t tag;
  const char *dictGroup;
  const char *key;
  Kind kind = Kind::Auto;
};

constexpr const char *kTIFF = "{TIFF}";
constexpr const char *kExif = "{Exif}";
constexpr const char *kExifAux = "{ExifAux}";

const Mapping kMappings[] = {
    {"Image", 0x010f, kTIFF, "Make", Kind::Text},
    {"Image", 0x0110, kTIFF, "Model", Kind::Text},
    {"Image", 0x0112, kTIFF, "Orientation"},
    {"Image", 0x0131, kTIFF, "Software", Kind::Text},
    {"Image", 0x0132, kTIFF, "DateTime", Kind::Text},
    {"Image", 0x013b, kTIFF, "Artist", Kind::Text},
    {"Image", 0x010e, kTIFF, "ImageDescription", Kind::Text},
    {"Image", 0x8298, kTIFF, "Copyright", Kind::Text},
    {"Image", 0x011a, kTIFF, "XResolution"},
    {"Image", 0x011b, kTIFF, "YResolution"},
    {"Image", 0x0128, kTIFF, "ResolutionUnit"},
    {"Image", 0x0103, kTIFF, "Compression"},
    {"Image", 0x0106, kTIFF, "PhotometricInterpretation"},
    {"Image", 0x4746, kExif, "Rating"},
    {"Photo", 0x829a, kExif, "ExposureTime"},
    {"Photo", 0x829d, kExif, "FNumber"},
    {"Photo", 0x8822, kExif, "ExposureProgram"},
    {"Photo", 0x8827, kExif, "ISOSpeedRatings", Kind::List},
    {"Photo", 0x9003, kExif, "DateTimeOriginal", Kind::Text},
    {"Photo", 0x9004, kExif, "DateTimeDigitized", Kind::Text},
    {"Photo", 0x9010, kExif, "OffsetTime", Kind::Text},
    {"Photo", 0x9011, kExif, "OffsetTimeOriginal", Kind::Text},
    {"Photo", 0x9012, kExif, "OffsetTimeDigitized", Kind::Text},
    {"Photo", 0x9201, kExif, "ShutterSpeedValue"},
    {"Photo", 0x9202, kExif, "ApertureValue"},
    {"Photo", 0x9203, kExif, "BrightnessValue"},
    {"Photo", 0x9204, kExif, "ExposureBiasValue"},
    {"Photo", 0x9205, kExif, "MaxAperture"},
    {"Photo", 0x9206, kExif, "SubjectDistance"},
    {"Photo", 0x9207, kExif, "MeteringMode"},
    {"Photo", 0x9208, kExif, "LightSource"},
    {"Photo", 0x9209, kExif, "Flash"},
    {"Photo", 0x920a, kExif, "FocalLength"},
    {"Photo", 0x9286, kExif, "UserComment", Kind::Comment},
    {"Photo", 0x9290, kExif, "SubsecTime", Kind::Text},
    {"Photo", 0x9291, kExif, "SubsecTimeOriginal", Kind::Text},
    {"Photo", 0x9292, kExif, "SubsecTimeDigitized", Kind::Text},
    {"Photo", 0xa001, kExif, "ColorSpace"},
    {"Photo", 0xa002, kExif, "PixelXDimension"},
    {"Photo", 0xa003, kExif, "PixelYDimension"},
    {"Photo", 0xa20e, kExif, "FocalPlaneXResolution"},
    {"Photo", 0xa20f, kExif, "FocalPlaneYResolution"},
    {"Photo", 0xa210, kExif, "FocalPlaneResolutionUnit"},
    {"Photo", 0xa217, kExif, "SensingMethod"},
    {"Photo", 0xa401, kExif, "CustomRendered"},
    {"Photo", 0xa402, kExif, "ExposureMode"},
    {"Photo", 0xa403, kExif, "WhiteBalance"},
    {"Photo", 0xa404, kExif, "DigitalZoomRatio"},
    {"Photo", 0xa405, kExif, "FocalLenIn35mmFilm"},
    {"Photo", 0xa406, kExif, "SceneCaptureType"},
    {"Photo", 0xa407, kExif, "GainControl"},
    {"Photo", 0xa408, kExif, "Contrast"},
    {"Photo", 0xa409, kExif, "Saturation"},
    {"Photo", 0xa40a, kExif, "Sharpness"},
    {"Photo", 0xa40c, kExif, "SubjectDistRange"},
    {"Photo", 0xa420, kExif, "ImageUniqueID", Kind::Text},
    {"Photo", 0xa430, kExifAux, "OwnerName", Kind::Text},
    {"Photo", 0xa431, kExifAux, "SerialNumber", Kind::Text},
    {"Photo", 0xa431, kExif, "BodySerialNumber", Kind::Text},
    {"Photo", 0xa432, kExif, "LensSpecification", Kind::List},
    {"Photo", 0xa433, kExif, "LensMake", Kind::Text},
    {"Photo", 0xa434, kExif, "LensModel", Kind::Text},
    {"Photo", 0xa434, kExifAux, "LensModel", Kind::Text},
    {"Photo", 0xa435, kExif, "LensSerialNumber", Kind::Text},
    // Camera makers' own notes, for the auxiliary group when the standard tags are absent.
    {"Canon", 0x0009, kExifAux, "OwnerName", Kind::Text},
    {"Canon", 0x0095, kExifAux, "LensModel", Kind::Text},
    {"Nikon3", 0x001d, kExifAux, "SerialNumber", Kind::Text},
    {"Olympus", 0x0404, kExifAux, "SerialNumber", Kind::Text},
    {"Pentax", 0x0229, kExifAux, "SerialNumber", Kind::Text},
    {"Fujifilm", 0x0010, kExifAux, "SerialNumber", Kind::Text},
};

// IPTC datasets of the application record: dataset number, key, repeatable (a list).
struct IptcMapping {
  uint16_t dataset;
  const char *key;
  bool list;
};

const IptcMapping kIptcMappings[] = {
    {5, "ObjectName", false},
    {7, "EditStatus", false},
    {10, "Urgency", false},
    {15, "Category", false},
    {20, "SupplementalCategory", true},
    {25, "Keywords", true},
    {40, "SpecialInstructions", false},
    {55, "DateCreated", false},
    {60, "TimeCreated", false},
    {65, "OriginatingProgram", false},
    {70, "ProgramVersion", false},
    {80, "Byline", true},
    {85, "BylineTitle", true},
    {90, "City", false},
    {92, "SubLocation", false},
    {95, "Province/State", false},
    {100, "Country/PrimaryLocationCode", false},
    {101, "Country/PrimaryLocationName", false},
    {103, "OriginalTransmissionReference", false},
    {105, "Headline", false},
    {110, "Credit", false},
    {115, "Source", false},
    {116, "CopyrightNotice", false},
    {118, "Contact", true},
    {120, "Caption/Abstract", false},
    {122, "Writer/Editor", true},
    {135, "LanguageIdentifier", false},
};

QString cleanText(std::string text) {
  if (text.size() > kMaxTextBytes)
    text.resize(kMaxTextBytes);
  // ASCII tags are NUL-terminated and often padded with NULs or blanks.
  const size_t nul = text.find('\0');
  if (nul != std::string::npos)
    text.resize(nul);
  return QString::fromUtf8(text.data(), qsizetype(text.size())).trimmed();
}

bool isRational(Exiv2::TypeId type) {
  return type == Exiv2::unsignedRational || type == Exiv2::signedRational ||
         type == Exiv2::tiffFloat || type == Exiv2::tiffDouble;
}

bool isInteger(Exiv2::TypeId type) {
  switch (type) {
  case Exiv2::unsignedByte:
  case Exiv2::unsignedShort:
  case Exiv2::unsignedLong:
  case Exiv2::signedByte:
  case Exiv2::signedShort:
  case Exiv2::signedLong:
  case Exiv2::tiffIfd:
    return true;
  default:
    return false;
  }
}

double rationalAt(const Exiv2::Value &value, long n) {
  const Exiv2::TypeId type = value.typeId();
  if (type == Exiv2::tiffFloat || type == Exiv2::tiffDouble) {
    const double result = value.toFloat(n);
    return std::isfinite(result) ? result : 0.0;
  }
  const Exiv2::Rational r = value.toRational(n);
  if (r.second == 0)
    return 0.0;
  return double(r.first) / double(r.second);
}

QVariant numberAt(const Exiv2::Value &value, long n) {
  const Exiv2::TypeId type = value.typeId();
  if (isRational(type))
    return rationalAt(value, n);
  const int64_t number = Exiv2Compat::integerAt(value, n);
  if (number >= INT_MIN && number <= INT_MAX)
    return int(number);
  return qlonglong(number);
}

// A tag's value as the dictionary holds it, or an invalid QVariant when it has none.
QVariant convert(const Exiv2::Value &value, Kind kind) {
  const long count = value.count();
  const Exiv2::TypeId type = value.typeId();
  if (kind == Kind::Comment) {
    if (const auto *comment = dynamic_cast<const Exiv2::CommentValue *>(&value)) {
      const QString text = cleanText(comment->comment());
      return text.isEmpty() ? QVariant() : QVariant(text);
    }
    return cleanText(value.toString());
  }
  if (kind == Kind::Text || type == Exiv2::asciiString || type == Exiv2::string) {
    if (isInteger(type) || isRational(type))
      return count > 0 ? numberAt(value, 0) : QVariant();
    if (type == Exiv2::undefined || type == Exiv2::unsignedByte)
      return QVariant(); // binary blobs are not texts
    return cleanText(value.toString());
  }
  if (!isInteger(type) && !isRational(type))
    return QVariant();
  if (count <= 0)
    return QVariant();
  if (kind == Kind::List || count > 1) {
    QVariantList list;
    const long n = std::min(count, kMaxListEntries);
    for (long i = 0; i < n; ++i)
      list.append(numberAt(value, i));
    return list;
  }
  return numberAt(value, 0);
}

// Degrees from the GPS triple (degrees, minutes, seconds); unsigned, the reference apart.
QVariant degrees(const Exiv2::Value &value) {
  if (!isRational(value.typeId()) || value.count() < 1)
    return {};
  double result = rationalAt(value, 0);
  if (value.count() > 1)
    result += rationalAt(value, 1) / 60.0;
  if (value.count() > 2)
    result += rationalAt(value, 2) / 3600.0;
  return std::fabs(result);
}

void putIn(QVariantMap &dict, const char *group, const QString &key, const QVariant &value,
           bool keepExisting) {
  if (!value.isValid())
    return;
  QVariantMap sub = dict.value(QLatin1String(group)).toMap();
  if (keepExisting && sub.contains(key))
    return;
  sub.insert(key, value);
  dict.insert(QLatin1String(group), sub);
}

// The mappings of each (IFD, tag), found by Exiv2's own IFD numbers.
struct MappingIndex {
  int gpsIfd = -1;
  std::unordered_map<uint32_t, std::vector<const Mapping *>> byKey;
};

uint32_t indexKey(int ifd, uint16_t tag) {
  return uint32_t(ifd) << 16 | tag;
}

const MappingIndex &mappingIndex() {
  static const MappingIndex index = [] {
    MappingIndex built;
    try {
      built.gpsIfd = int(Exiv2::ExifKey(0x0001, "GPSInfo").ifdId());
      for (const Mapping &mapping : kMappings) {
        const int ifd = int(Exiv2::ExifKey(mapping.tag, std::string(mapping.group)).ifdId());
        built.byKey[indexKey(ifd, mapping.tag)].push_back(&mapping);
      }
    } catch (...) {
    }
    return built;
  }();
  return index;
}

void insertText(QVariantMap &group, const QString &key, const QString &text) {
  if (!text.isEmpty())
    group.insert(key, text);
}

void readGps(const Exiv2::Exifdatum &datum, QVariantMap &gps) {
  const Exiv2::Value &value = datum.value();
  switch (datum.tag()) {
  case 0x0001:
    insertText(gps, QStringLiteral("LatitudeRef"), cleanText(value.toString()));
    break;
  case 0x0002:
    if (QVariant v = degrees(value); v.isValid())
      gps.insert(QStringLiteral("Latitude"), v);
    break;
  case 0x0003:
    insertText(gps, QStringLiteral("LongitudeRef"), cleanText(value.toString()));
    break;
  case 0x0004:
    if (QVariant v = degrees(value); v.isValid())
      gps.insert(QStringLiteral("Longitude"), v);
    break;
  case 0x0005:
    if (value.count() > 0 && isInteger(value.typeId()))
      gps.insert(QStringLiteral("AltitudeRef"), numberAt(value, 0));
    break;
  case 0x0006:
    if (value.count() > 0 && isRational(value.typeId()))
      gps.insert(QStringLiteral("Altitude"), rationalAt(value, 0));
    break;
  case 0x0007:
    if (value.count() >= 3 && isRational(value.typeId())) {
      const double seconds = rationalAt(value, 2);
      gps.insert(QStringLiteral("TimeStamp"),
                 QString::asprintf("%02d:%02d:%05.2f", int(rationalAt(value, 0)),
                                   int(rationalAt(value, 1)), seconds));
    }
    break;
  case 0x0010:
    insertText(gps, QStringLiteral("ImgDirectionRef"), cleanText(value.toString()));
    break;
  case 0x0011:
    if (value.count() > 0 && isRational(value.typeId()))
      gps.insert(QStringLiteral("ImgDirection"), rationalAt(value, 0));
    break;
  case 0x000c:
    insertText(gps, QStringLiteral("SpeedRef"), cleanText(value.toString()));
    break;
  case 0x000d:
    if (value.count() > 0 && isRational(value.typeId()))
      gps.insert(QStringLiteral("Speed"), rationalAt(value, 0));
    break;
  case 0x0012:
    insertText(gps, QStringLiteral("MapDatum"), cleanText(value.toString()));
    break;
  case 0x001d:
    insertText(gps, QStringLiteral("DateStamp"), cleanText(value.toString()));
    break;
  default:
    break;
  }
}

void readExif(const Exiv2::ExifData &exif, QVariantMap &dict) {
  const MappingIndex &index = mappingIndex();
  QVariantMap groups[3] = {dict.value(QLatin1String(kTIFF)).toMap(),
                           dict.value(QLatin1String(kExif)).toMap(),
                           dict.value(QLatin1String(kExifAux)).toMap()};
  QVariantMap gps = dict.value(QStringLiteral("{GPS}")).toMap();
  for (const Exiv2::Exifdatum &datum : exif) {
    const int ifd = int(datum.ifdId());
    if (ifd == index.gpsIfd) {
      readGps(datum, gps);
      continue;
    }
    const auto found = index.byKey.find(indexKey(ifd, datum.tag()));
    if (found == index.byKey.end())
      continue;
    for (const Mapping *mapping : found->second) {
      QVariantMap &group = groups[mapping->dictGroup == kTIFF   ? 0
                                  : mapping->dictGroup == kExif ? 1
                                                                : 2];
      const QString key = QLatin1String(mapping->key);
      // The makers' notes only fill what the standard tags left open.
      const bool keepExisting = mapping->group != "Image" && mapping->group != "Photo";
      if (keepExisting && group.contains(key))
        continue;
      const QVariant value = convert(datum.value(), mapping->kind);
      if (value.isValid())
        group.insert(key, value);
    }
  }
  const char *names[3] = {kTIFF, kExif, kExifAux};
  for (int i = 0; i < 3; ++i)
    if (!groups[i].isEmpty())
      dict.insert(QLatin1String(names[i]), groups[i]);
  if (!gps.isEmpty())
    dict.insert(QStringLiteral("{GPS}"), gps);
}

void readIptc(const Exiv2::IptcData &iptc, QVariantMap &dict) {
  QVariantMap group;
  for (const Exiv2::Iptcdatum &datum : iptc) {
    if (datum.record() != Exiv2::IptcDataSets::application2)
      continue;
    const uint16_t dataset = datum.tag();
    for (const IptcMapping &mapping : kIptcMappings) {
      if (mapping.dataset != dataset)
        continue;
      const QString key = QLatin1String(mapping.key);
      const QString text = cleanText(datum.value().toString());
      if (mapping.list) {
        QVariantList list = group.value(key).toList();
        if (list.size() < kMaxListEntries)
          list.append(text);
        group.insert(key, list);
      } else if (!group.contains(key)) {
        group.insert(key, text);
      }
    }
  }
  if (!group.isEmpty())
    dict.insert(QStringLiteral("{IPTC}"), group);
}

void readXmp(const Exiv2::XmpData &xmp, QVariantMap &dict) {
  for (const Exiv2::Xmpdatum &datum : xmp) {
    const std::string key = datum.key();
    if (key == "Xmp.xmp.Rating") {
      bool ok = false;
      const int rating = cleanText(datum.value().toString()).toInt(&ok);
      if (ok)
        putIn(dict, kExif, QStringLiteral("Rating"), rating, true);
    } else if (key == "Xmp.photoshop.DateCreated" || key == "Xmp.xmp.CreateDate") {
      // Where an edited or scanned photo keeps its taken date when its EXIF has none.
      putIn(dict, "{XMP}", QString::fromStdString(key.substr(key.rfind('.') + 1)),
            cleanText(datum.value().toString()), true);
    } else if (key == "Xmp.aux.Lens") {
      putIn(dict, kExifAux, QStringLiteral("LensModel"), cleanText(datum.value().toString()), true);
    } else if (key == "Xmp.aux.SerialNumber") {
      putIn(dict, kExifAux, QStringLiteral("SerialNumber"), cleanText(datum.value().toString()),
            true);
    }
  }
}

uint32_t bigEndian32(const unsigned char *p) {
  return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

// The description of an ICC profile: a 'desc' text (version 2) or 'mluc' record (version 4).
QString iccDescription(const unsigned char *data, size_t size) {
  if (size < 132)
    return {};
  const uint32_t count = bigEndian32(data + 128);
  for (uint32_t i = 0; i < count && 132 + size_t(i + 1) * 12 <= size; ++i) {
    const unsigned char *entry = data + 132 + size_t(i) * 12;
    if (std::memcmp(entry, "desc", 4) != 0)
      continue;
    const size_t offset = bigEndian32(entry + 4);
    const size_t length = bigEndian32(entry + 8);
    if (offset >= size || length > size - offset || length < 12)
      return {};
    const unsigned char *tag = data + offset;
    if (std::memcmp(tag, "desc", 4) == 0) {
      const size_t textLength = bigEndian32(tag + 8);
      if (textLength > length - 12)
        return {};
      return cleanText(std::string(reinterpret_cast<const char *>(tag + 12), textLength));
    }
    if (std::memcmp(tag, "mluc", 4) == 0 && length >= 28) {
      const size_t records = bigEndian32(tag + 8);
      const size_t recordSize = bigEndian32(tag + 12);
      if (records == 0 || recordSize < 12)
        return {};
      const size_t textLength = bigEndian32(tag + 20);
      const size_t textOffset = bigEndian32(tag + 24);
      if (textOffset > length || textLength > length - textOffset)
        return {};
      QString text;
      for (size_t k = 0; k + 1 < textLength; k += 2)
        text.append(QChar(char16_t(tag[textOffset + k] << 8 | tag[textOffset + k + 1])));
      return text.trimmed();
    }
    return {};
  }
  return {};
}

// What a JPEG's markers say before its scan: frame size, precision and components, and the
// JFIF header. Read directly, as libvips' loader would also decode the EXIF block again.
struct JpegFacts {
  bool valid = false;
  int width = 0;
  int height = 0;
  int precision = 8;
  int components = 0;
  bool jfif = false;
  int jfifMajor = 1, jfifMinor = 1, densityUnit = 0, xDensity = 0, yDensity = 0;
};

JpegFacts readJpegFacts(Exiv2::BasicIo &io) {
  JpegFacts facts;
  if (io.open() != 0)
    return facts;
  const long size = long(io.size());
  Exiv2::byte head[2] = {};
  if (io.read(head, 2) != 2 || head[0] != 0xff || head[1] != 0xd8) {
    io.close();
    return facts;
  }
  long pos = 2;
  // A frame header comes within a few segments; the cap keeps hostile files short.
  for (int segments = 0; segments < 1024 && pos + 4 <= size; ++segments) {
    Exiv2::byte marker[4] = {};
    if (io.seek(pos, Exiv2::BasicIo::beg) != 0 || io.read(marker, 4) != 4)
      break;
    if (marker[0] != 0xff)
      break;
    const int code = marker[1];
    if (code == 0xff) { // fill byte
      pos += 1;
      continue;
    }
    if (code == 0x01 || (code >= 0xd0 && code <= 0xd7)) { // markers without a length
      pos += 2;
      continue;
    }
    if (code == 0xd9 || code == 0xda) // end of image, start of scan
      break;
    const long length = long(marker[2]) << 8 | marker[3];
    if (length < 2)
      break;
    const bool frame = code >= 0xc0 && code <= 0xcf && code != 0xc4 && code != 0xc8 && code != 0xcc;
    if (frame || code == 0xe0) {
      Exiv2::byte body[16] = {};
      const long want = std::min<long>(length - 2, long(sizeof body));
      if (long(io.read(body, size_t(want))) != want)
        break;
      if (frame && want >= 6) {
        facts.precision = body[0];
        facts.height = int(body[1]) << 8 | body[2];
        facts.width = int(body[3]) << 8 | body[4];
        facts.components = body[5];
        facts.valid = facts.width > 0 && facts.height > 0 && facts.components > 0;
        break;
      }
      if (code == 0xe0 && !facts.jfif && want >= 12 && std::memcmp(body, "JFIF", 5) == 0) {
        facts.jfif = true;
        facts.jfifMajor = body[5];
        facts.jfifMinor = body[6];
        facts.densityUnit = body[7];
        facts.xDensity = int(body[8]) << 8 | body[9];
        facts.yDensity = int(body[10]) << 8 | body[11];
      }
    }
    pos += 2 + length;
  }
  io.close();
  return facts;
}

struct ExivResult {
  bool opened = false;
  bool hadExif = false;
  int pixelWidth = 0;
  int pixelHeight = 0;
  JpegFacts jpeg;
  QString profileName;
};

ExivResult readMetadata(Exiv2::Image *image, QVariantMap &dict) {
  ExivResult result;
  if (!image)
    return result;
  result.opened = true;
  // Exiv2 0.27's maker-note decoders (the Nikon lens table among them) keep shared state:
  // two threads decoding at once can read an empty lens name, so Exiv2 work is serialised.
  static std::mutex exivMutex;
  const std::lock_guard<std::mutex> lock(exivMutex);
  try {
    image->readMetadata();
  } catch (...) {
    // Damaged metadata: keep whatever was decoded before the failure.
  }
  try {
    result.pixelWidth = image->pixelWidth();
    result.pixelHeight = image->pixelHeight();
    result.hadExif = !image->exifData().empty();
    readExif(image->exifData(), dict);
    readIptc(image->iptcData(), dict);
    readXmp(image->xmpData(), dict);
    if (image->imageType() == Exiv2::ImageType::jpeg) {
      result.jpeg = readJpegFacts(image->io());
      const QByteArray icc = Exiv2Compat::iccProfile(*image);
      if (!icc.isEmpty())
        result.profileName = iccDescription(
            reinterpret_cast<const unsigned char *>(icc.constData()), size_t(icc.size()));
    }
  } catch (...) {
  }
  return result;
}

// What libvips' header gives: size, bands, sample format, interpretation, resolution, ICC.
void readHeader(VipsImage *image, QVariantMap &dict, bool resolutionStated) {
  dict.insert(QStringLiteral("PixelWidth"), vips_image_get_width(image));
  dict.insert(QStringLiteral("PixelHeight"), vips_image_get_height(image));
  int depth = 8;
  switch (vips_image_get_format(image)) {
  case VIPS_FORMAT_USHORT:
  case VIPS_FORMAT_SHORT:
    depth = 16;
    break;
  case VIPS_FORMAT_UINT:
  case VIPS_FORMAT_INT:
  case VIPS_FORMAT_FLOAT:
  case VIPS_FORMAT_COMPLEX:
    depth = 32;
    break;
  case VIPS_FORMAT_DOUBLE:
  case VIPS_FORMAT_DPCOMPLEX:
    depth = 64;
    break;
  default:
    break;
  }
  dict.insert(QStringLiteral("Depth"), depth);
  const int bands = vips_image_get_bands(image);
  QString model = QStringLiteral("RGB");
  switch (vips_image_get_interpretation(image)) {
  case VIPS_INTERPRETATION_B_W:
  case VIPS_INTERPRETATION_GREY16:
    model = QStringLiteral("Gray");
    break;
  case VIPS_INTERPRETATION_CMYK:
    model = QStringLiteral("CMYK");
    break;
  case VIPS_INTERPRETATION_LAB:
  case VIPS_INTERPRETATION_LABQ:
  case VIPS_INTERPRETATION_LABS:
  case VIPS_INTERPRETATION_LCH:
    model = QStringLiteral("Lab");
    break;
  default:
    if (bands <= 2)
      model = QStringLiteral("Gray");
    break;
  }
  dict.insert(QStringLiteral("ColorModel"), model);
  dict.insert(QStringLiteral("HasAlpha"), bool(vips_image_hasalpha(image)));

  // libvips reports 1 pixel/mm when a file states nothing.
  const double xres = vips_image_get_xres(image);
  const double yres = vips_image_get_yres(image);
  const bool stated = resolutionStated || vips_image_get_typeof(image, "resolution-unit") != 0 ||
                      std::fabs(xres - 1.0) > 1e-9 || std::fabs(yres - 1.0) > 1e-9;
  if (stated && xres > 0 && yres > 0 && !dict.contains(QStringLiteral("DPIWidth"))) {
    dict.insert(QStringLiteral("DPIWidth"), std::round(xres * 25.4 * 1000.0) / 1000.0);
    dict.insert(QStringLiteral("DPIHeight"), std::round(yres * 25.4 * 1000.0) / 1000.0);
  }

  if (vips_image_get_typeof(image, VIPS_META_ICC_NAME)) {
    const void *data = nullptr;
    size_t length = 0;
    if (vips_image_get_blob(image, VIPS_META_ICC_NAME, &data, &length) == 0 && data) {
      const QString name = iccDescription(static_cast<const unsigned char *>(data), length);
      if (!name.isEmpty())
        dict.insert(QStringLiteral("ProfileName"), name);
    }
  }
}

// The resolution the EXIF block states, in dots per inch.
void exifResolution(QVariantMap &dict) {
  const QVariantMap tiff = dict.value(QLatin1String(kTIFF)).toMap();
  const QVariant x = tiff.value(QStringLiteral("XResolution"));
  const QVariant y = tiff.value(QStringLiteral("YResolution"));
  if (!x.isValid() || !y.isValid() || x.toDouble() <= 0 || y.toDouble() <= 0)
    return;
  const int unit = tiff.value(QStringLiteral("ResolutionUnit"), 2).toInt();
  const double factor = unit == 3 ? 2.54 : 1.0;
  dict.insert(QStringLiteral("DPIWidth"), x.toDouble() * factor);
  dict.insert(QStringLiteral("DPIHeight"), y.toDouble() * factor);
}

// The EXIF block libvips found, for containers Exiv2 0.27 does not read (libheif's HEIF
// files keep it behind an offset Exiv2 does not follow).
void readExifBlob(VipsImage *image, QVariantMap &dict) {
  if (!vips_image_get_typeof(image, VIPS_META_EXIF_NAME))
    return;
  const void *data = nullptr;
  size_t length = 0;
  if (vips_image_get_blob(image, VIPS_META_EXIF_NAME, &data, &length) != 0 || !data)
    return;
  const auto *bytes = static_cast<const Exiv2::byte *>(data);
  // The TIFF header may follow an "Exif\0\0" marker or a 4-byte offset.
  size_t start = 0;
  while (start + 4 <= length && start < 16 && std::memcmp(bytes + start, "II*", 4) != 0 &&
         std::memcmp(bytes + start, "MM\0*", 4) != 0)
    ++start;
  if (start + 8 > length || start >= 16)
    return;
  try {
    Exiv2::ExifData exif;
    Exiv2::ExifParser::decode(exif, bytes + start, uint32_t(length - start));
    readExif(exif, dict);
  } catch (...) {
  }
}

// The date a HEIF file keeps in its own boxes, as the group "{Container}": "CreationDate"
// (EXIF's form, local time), "OffsetTime" when the file gives a zone, "Source" ("QuickTime"
// for QuickTime's metadata keys, "HEIF" for the movie header).
void readContainerDate(const QString *path, const QByteArray *bytes, QVariantMap &dict) {
  const std::optional<ContainerDate::Found> found =
      path ? ContainerDate::readFile(*path) : ContainerDate::readBuffer(*bytes);
  if (!found)
    return;
  QVariantMap group;
  group.insert(QStringLiteral("CreationDate"),
               found->wallClock.toString(QStringLiteral("yyyy:MM:dd HH:mm:ss")));
  if (!found->zoneOffset.isEmpty())
    group.insert(QStringLiteral("OffsetTime"), found->zoneOffset);
  group.insert(QStringLiteral("Source"),
               found->fromQuickTimeKeys ? QStringLiteral("QuickTime") : QStringLiteral("HEIF"));
  dict.insert(QStringLiteral("{Container}"), group);
}

bool usableLoader(const char *loader) {
  // ImageMagick would decode whole camera files (and more) just to answer for a header.
  return loader && std::strncmp(loader, "VipsForeignLoadMagick", 21) != 0;
}

struct VipsUnref {
  void operator()(VipsImage *image) const {
    if (image)
      g_object_unref(image);
  }
};
using VipsHandle = std::unique_ptr<VipsImage, VipsUnref>;

// Camera RAW files: LibRaw knows their sensor's picture size.
bool rawHeader(const QString *path, const QByteArray *bytes, QVariantMap &dict) {
  LibRaw raw;
  int status = LIBRAW_SUCCESS;
  if (path)
    status = raw.open_file(QFile::encodeName(*path).constData());
  else
    status = raw.open_buffer(const_cast<char *>(bytes->constData()), size_t(bytes->size()));
  if (status != LIBRAW_SUCCESS || raw.imgdata.sizes.width == 0 || raw.imgdata.sizes.height == 0)
    return false;
  dict.insert(QStringLiteral("PixelWidth"), int(raw.imgdata.sizes.width));
  dict.insert(QStringLiteral("PixelHeight"), int(raw.imgdata.sizes.height));
  dict.insert(QStringLiteral("ColorModel"), QStringLiteral("RGB"));
  dict.insert(QStringLiteral("Depth"), 16);
  dict.insert(QStringLiteral("HasAlpha"), false);
  return true;
}

bool isCameraRawName(const QString &path) {
  const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
  if (dot < 0 || path.indexOf(QLatin1Char('/'), dot) >= 0)
    return false;
  return RawDecoder::isRawExtension(path.mid(dot + 1));
}

// The PNG group: interlacing, the text chunks under their usual names, the pixel density.
void readPngGroup(VipsImage *image, QVariantMap &dict) {
  QVariantMap png;
  png.insert(QStringLiteral("InterlaceType"), vips_image_get_typeof(image, "interlaced") ? 1 : 0);
  if (gchar **fields = vips_image_get_fields(image)) {
    for (gchar **field = fields; *field; ++field) {
      // libvips names text chunks "png-comment-N-KEY".
      const QString name = QString::fromUtf8(*field);
      if (!name.startsWith(QLatin1String("png-comment-")))
        continue;
      const qsizetype dash = name.indexOf(QLatin1Char('-'), 12);
      if (dash < 0)
        continue;
      QString key = name.mid(dash + 1);
      key.remove(QLatin1Char(' '));
      const char *text = nullptr;
      if (vips_image_get_string(image, *field, &text) == 0 && text && !key.isEmpty() &&
          !png.contains(key))
        png.insert(key, cleanText(text));
    }
    g_strfreev(fields);
  }
  if (dict.contains(QStringLiteral("DPIWidth"))) {
    png.insert(QStringLiteral("XPixelsPerMeter"), qRound(vips_image_get_xres(image) * 1000.0));
    png.insert(QStringLiteral("YPixelsPerMeter"), qRound(vips_image_get_yres(image) * 1000.0));
  }
  dict.insert(QStringLiteral("{PNG}"), png);
}

// The top-level keys of a JPEG from its own markers, as libvips would report them.
void jpegHeader(const ExivResult &exiv, QVariantMap &dict) {
  const JpegFacts &jpeg = exiv.jpeg;
  dict.insert(QStringLiteral("PixelWidth"), jpeg.width);
  dict.insert(QStringLiteral("PixelHeight"), jpeg.height);
  dict.insert(QStringLiteral("Depth"), jpeg.precision > 8 ? 16 : 8);
  dict.insert(QStringLiteral("ColorModel"), jpeg.components == 4   ? QStringLiteral("CMYK")
                                            : jpeg.components <= 2 ? QStringLiteral("Gray")
                                                                   : QStringLiteral("RGB"));
  dict.insert(QStringLiteral("HasAlpha"), false);
  if (!exiv.profileName.isEmpty())
    dict.insert(QStringLiteral("ProfileName"), exiv.profileName);
  if (jpeg.jfif) {
    QVariantMap jfif;
    jfif.insert(QStringLiteral("JFIFVersion"), QVariantList{jpeg.jfifMajor, 0, jpeg.jfifMinor});
    jfif.insert(QStringLiteral("DensityUnit"), jpeg.densityUnit);
    jfif.insert(QStringLiteral("XDensity"), jpeg.xDensity);
    jfif.insert(QStringLiteral("YDensity"), jpeg.yDensity);
    dict.insert(QStringLiteral("{JFIF}"), jfif);
    // Densities per inch or per centimetre; unit 0 gives only the aspect ratio.
    if ((jpeg.densityUnit == 1 || jpeg.densityUnit == 2) && jpeg.xDensity > 0 &&
        jpeg.yDensity > 0) {
      const double factor = jpeg.densityUnit == 2 ? 2.54 : 1.0;
      dict.insert(QStringLiteral("DPIWidth"), jpeg.xDensity * factor);
      dict.insert(QStringLiteral("DPIHeight"), jpeg.yDensity * factor);
    }
  }
}

void finishOrientation(QVariantMap &dict, bool decodedTurned) {
  if (decodedTurned) {
    // libheif applies the file's own rotation when decoding: report what is decoded.
    dict.insert(QStringLiteral("Orientation"), 1);
    QVariantMap tiff = dict.value(QLatin1String(kTIFF)).toMap();
    tiff.insert(QStringLiteral("Orientation"), 1);
    dict.insert(QLatin1String(kTIFF), tiff);
    return;
  }
  const QVariant tiffOrientation =
      dict.value(QLatin1String(kTIFF)).toMap().value(QStringLiteral("Orientation"));
  if (tiffOrientation.isValid()) {
    const int o = tiffOrientation.toInt();
    if (o >= 1 && o <= 8)
      dict.insert(QStringLiteral("Orientation"), o);
  }
}

std::optional<QVariantMap> read(const QString *path, const QByteArray *bytes) {
  ensureExiv2Initialized();
  QVariantMap dict;
  ExivResult exiv;
  try {
    Exiv2Compat::ImagePtr image;
    if (path) {
      Exiv2Compat::IoPtr io(new Exiv2::FileIo(QFile::encodeName(*path).toStdString()));
      image = Exiv2::ImageFactory::open(std::move(io));
    } else {
      image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(bytes->constData()),
                                        long(bytes->size()));
    }
    exiv = readMetadata(image.get(), dict);
  } catch (const Exiv2Compat::Error &) {
  } catch (const std::exception &) {
  } catch (...) {
  }

  bool haveHeader = false;
  bool decodedTurned = false;
  const char *loader = nullptr;
  bool triedRaw = false;
  if (exiv.jpeg.valid) {
    jpegHeader(exiv, dict);
    haveHeader = true;
  } else if (path && isCameraRawName(*path)) {
    // libvips would read such a file's TIFF structure and report its embedded preview.
    triedRaw = true;
    haveHeader = rawHeader(path, bytes, dict);
  }
  if (!haveHeader) {
    VipsHandle image;
    if (path) {
      const QByteArray name = QFile::encodeName(*path);
      loader = vips_foreign_find_load(name.constData());
      if (usableLoader(loader))
        image.reset(vips_image_new_from_file(name.constData(), nullptr));
    } else {
      loader = vips_foreign_find_load_buffer(bytes->constData(), size_t(bytes->size()));
      if (usableLoader(loader))
        image.reset(
            vips_image_new_from_buffer(bytes->constData(), size_t(bytes->size()), "", nullptr));
    }
    if (image) {
      readHeader(image.get(), dict, false);
      haveHeader = true;
      if (std::strstr(loader, "Png"))
        readPngGroup(image.get(), dict);
      decodedTurned = std::strstr(loader, "Heif") != nullptr;
      if (decodedTurned && !exiv.hadExif)
        readExifBlob(image.get(), dict);
      if (decodedTurned)
        readContainerDate(path, bytes, dict);
    }
  }
  vips_error_clear();
  exifResolution(dict);

  if (!haveHeader && exiv.opened && !triedRaw)
    haveHeader = rawHeader(path, bytes, dict);
  if (!haveHeader && exiv.opened && exiv.pixelWidth > 0 && exiv.pixelHeight > 0) {
    dict.insert(QStringLiteral("PixelWidth"), exiv.pixelWidth);
    dict.insert(QStringLiteral("PixelHeight"), exiv.pixelHeight);
    haveHeader = true;
  }
  if (!haveHeader)
    return std::nullopt; // not an image either library can read
  finishOrientation(dict, decodedTurned);
  return dict;
}

} // namespace

std::optional<QVariantMap> readFile(const QString &path) {
  // Only regular files: a FIFO or a device would block or never end.
  if (path.isEmpty() || !QFileInfo(path).isFile())
    return std::nullopt;
  return read(&path, nullptr);
}

std::optional<QVariantMap> readBuffer(const QByteArray &bytes) {
  if (bytes.isEmpty())
    return std::nullopt;
  return read(nullptr, &bytes);
}

} // namespace platform::ImageProperties

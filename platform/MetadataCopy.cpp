#include "platform/MetadataCopy.h"

#include "platform/Exiv2Compat.h"
#include "platform/Exiv2Setup.h"

#include <QFile>

#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

#include <exiv2/exiv2.hpp>

namespace platform::MetadataCopy {

namespace {

std::string nativePath(const QString &path) {
  return QFile::encodeName(path).toStdString();
}

// Tags that describe the stored pixels of the source (its strips, tiles, sample layout)
// and would lie about the output's.
bool describesSourcePixels(const Exiv2::Exifdatum &datum) {
  static const char *const kKeys[] = {"Exif.Image.ImageWidth",
                                      "Exif.Image.ImageLength",
                                      "Exif.Image.BitsPerSample",
                                      "Exif.Image.Compression",
                                      "Exif.Image.PhotometricInterpretation",
                                      "Exif.Image.StripOffsets",
                                      "Exif.Image.SamplesPerPixel",
                                      "Exif.Image.RowsPerStrip",
                                      "Exif.Image.StripByteCounts",
                                      "Exif.Image.PlanarConfiguration",
                                      "Exif.Image.TileWidth",
                                      "Exif.Image.TileLength",
                                      "Exif.Image.TileOffsets",
                                      "Exif.Image.TileByteCounts",
                                      "Exif.Image.SampleFormat",
                                      "Exif.Image.ExtraSamples",
                                      "Exif.Image.Predictor",
                                      "Exif.Image.FillOrder",
                                      "Exif.Image.NewSubfileType",
                                      "Exif.Image.SubIFDs"};
  const std::string key = datum.key();
  for (const char *k : kKeys) {
    if (key == k)
      return true;
  }
  // Sub-images (the old thumbnail's IFD1, preview IFDs) belong to the source.
  const std::string group = datum.groupName();
  return group == "Thumbnail" || group.rfind("SubImage", 0) == 0 ||
         (group.rfind("Image", 0) == 0 && group != "Image");
}

// The source's metadata made fit for an output of the given size; false when the source has
// none that Exiv2 can read. Other Exiv2 failures are thrown.
bool carriedMetadata(const QString &source, const Options &options, Exiv2::ExifData *exif,
                     Exiv2::IptcData *iptc, Exiv2::XmpData *xmp) {
  try {
    Exiv2Compat::ImagePtr in = Exiv2::ImageFactory::open(nativePath(source));
    in->readMetadata();
    *exif = in->exifData();
    *iptc = in->iptcData();
    *xmp = in->xmpData();
  } catch (const std::exception &) {
    return false;
  }
  Exiv2::ExifThumb(*exif).erase();
  // A TIFF source's profile: the output's own is embedded only where it fits its pixels.
  const auto profileTag = exif->findKey(Exiv2::ExifKey("Exif.Image.InterColorProfile"));
  if (profileTag != exif->end())
    exif->erase(profileTag);
  for (auto it = exif->begin(); it != exif->end();) {
    if (describesSourcePixels(*it))
      it = exif->erase(it);
    else
      ++it;
  }
  if (options.resetOrientation) {
    (*exif)["Exif.Image.Orientation"] = uint16_t(1);
    if (!xmp->empty())
      (*xmp)["Xmp.tiff.Orientation"] = "1";
  }
  if (options.pixelWidth > 0 && options.pixelHeight > 0) {
    if (exif->findKey(Exiv2::ExifKey("Exif.Photo.PixelXDimension")) != exif->end() ||
        exif->findKey(Exiv2::ExifKey("Exif.Photo.PixelYDimension")) != exif->end()) {
      (*exif)["Exif.Photo.PixelXDimension"] = uint32_t(options.pixelWidth);
      (*exif)["Exif.Photo.PixelYDimension"] = uint32_t(options.pixelHeight);
    }
    if (xmp->findKey(Exiv2::XmpKey("Xmp.exif.PixelXDimension")) != xmp->end()) {
      (*xmp)["Xmp.exif.PixelXDimension"] = std::to_string(options.pixelWidth);
      (*xmp)["Xmp.exif.PixelYDimension"] = std::to_string(options.pixelHeight);
    }
    if (xmp->findKey(Exiv2::XmpKey("Xmp.tiff.ImageWidth")) != xmp->end()) {
      (*xmp)["Xmp.tiff.ImageWidth"] = std::to_string(options.pixelWidth);
      (*xmp)["Xmp.tiff.ImageLength"] = std::to_string(options.pixelHeight);
    }
  }
  if (!options.takenDate.isEmpty()) {
    const std::string date = options.takenDate.toStdString();
    (*exif)["Exif.Photo.DateTimeOriginal"] = date;
    (*exif)["Exif.Photo.DateTimeDigitized"] = date;
    // The XMP copies other tools prefer, in their ISO form, only where the source had them.
    const std::string iso =
        options.takenDate.left(10).replace(QLatin1Char(':'), QLatin1Char('-')).toStdString() + "T" +
        options.takenDate.mid(11).toStdString();
    for (const char *key :
         {"Xmp.exif.DateTimeOriginal", "Xmp.xmp.CreateDate", "Xmp.photoshop.DateCreated"}) {
      if (xmp->findKey(Exiv2::XmpKey(key)) != xmp->end())
        (*xmp)[key] = iso;
    }
  }
  return true;
}

void replaceMetadata(Exiv2::Image &out, const Exiv2::ExifData &exif, const Exiv2::IptcData &iptc,
                     const Exiv2::XmpData &xmp, const QByteArray &profile) {
  out.readMetadata();
  out.setExifData(exif);
  out.setIptcData(iptc);
  out.setXmpData(xmp);
  if (!profile.isEmpty()) {
    Exiv2::DataBuf bytes(reinterpret_cast<const Exiv2::byte *>(profile.constData()),
                         profile.size());
#if EXIV2_TEST_VERSION(0, 28, 0)
    out.setIccProfile(std::move(bytes));
#else
    out.setIccProfile(bytes);
#endif
  }
  out.writeMetadata();
}

} // namespace

namespace {

// Replaces the encoded output with the same file rewritten by Exiv2 with the given metadata
// and profile. Throws when Exiv2 cannot rewrite it; *encoded is then unchanged.
void rewrite(EncodedFile *encoded, const Exiv2::ExifData &exif, const Exiv2::IptcData &iptc,
             const Exiv2::XmpData &xmp, const QByteArray &profile) {
  const QByteArrayView bytes = encoded->bytes();
  std::shared_ptr<Exiv2::Image> out(
      Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(bytes.data()),
                                long(bytes.size()))
          .release());
  replaceMetadata(*out, exif, iptc, xmp, profile);
  // The rewritten file stays in the writer's memory, which the result keeps alive. A
  // rewrite made in place (Exiv2 patches a TIFF whose tags fit) is still in the encoder's
  // bytes, which are then kept too.
  Exiv2::BasicIo &io = out->io();
  const long size = io.size();
  const char *data = reinterpret_cast<const char *>(io.mmap());
  if (!data && size > 0)
    throw std::runtime_error("the rewritten file cannot be read back");
  const bool inPlace = std::greater_equal<>()(data, bytes.data()) &&
                       std::less<>()(data, bytes.data() + bytes.size());
  auto owner = std::make_shared<std::pair<std::shared_ptr<Exiv2::Image>, EncodedFile>>(
      std::move(out), inPlace ? *encoded : EncodedFile());
  *encoded = EncodedFile(owner, data, qsizetype(size));
}

} // namespace

bool copyIntoEncoded(const QString &source, EncodedFile *encoded, const Options &options,
                     QString *reason) {
  ensureExiv2Initialized();
  Exiv2::ExifData exif;
  Exiv2::IptcData iptc;
  Exiv2::XmpData xmp;
  bool carried = false;
  try {
    carried = options.carryMetadata && carriedMetadata(source, options, &exif, &iptc, &xmp);
    if (!carried && options.colourProfile.isEmpty())
      return true;
    rewrite(encoded, exif, iptc, xmp, options.colourProfile);
    return true;
  } catch (const std::exception &error) {
    if (reason)
      *reason = QString::fromLocal8Bit(error.what());
  }
  // Metadata the output's format cannot take does not cost the photo its colours.
  if (carried && !options.colourProfile.isEmpty()) {
    try {
      rewrite(encoded, Exiv2::ExifData(), Exiv2::IptcData(), Exiv2::XmpData(),
              options.colourProfile);
    } catch (const std::exception &) {
    }
  }
  return false;
}

bool metadataBlobs(const QString &source, const Options &options, QByteArray *exifTiff,
                   QByteArray *xmpPacket, QString *reason) {
  ensureExiv2Initialized();
  exifTiff->clear();
  xmpPacket->clear();
  Exiv2::ExifData exif;
  Exiv2::IptcData iptc;
  Exiv2::XmpData xmp;
  try {
    if (!options.carryMetadata || !carriedMetadata(source, options, &exif, &iptc, &xmp))
      return true;
    if (!exif.empty()) {
      Exiv2::Blob blob;
      Exiv2::ExifParser::encode(blob, Exiv2::littleEndian, exif);
      exifTiff->append(reinterpret_cast<const char *>(blob.data()), qsizetype(blob.size()));
    }
    if (!xmp.empty()) {
      std::string packet;
      if (Exiv2::XmpParser::encode(packet, xmp) == 0)
        *xmpPacket = QByteArray::fromStdString(packet);
    }
    return true;
  } catch (const std::exception &error) {
    if (reason)
      *reason = QString::fromLocal8Bit(error.what());
    return false;
  }
}

QString readValue(const QString &path, const QString &key) {
  ensureExiv2Initialized();
  try {
    Exiv2Compat::ImagePtr image = Exiv2::ImageFactory::open(nativePath(path));
    image->readMetadata();
    const std::string k = key.toStdString();
    if (key.startsWith(QLatin1String("Exif."))) {
      auto it = image->exifData().findKey(Exiv2::ExifKey(k));
      return it == image->exifData().end() ? QString() : QString::fromStdString(it->toString());
    }
    if (key.startsWith(QLatin1String("Iptc."))) {
      QStringList values;
      for (const auto &datum : image->iptcData()) {
        if (datum.key() == k)
          values << QString::fromStdString(datum.toString());
      }
      return values.join(QLatin1Char(','));
    }
    if (key.startsWith(QLatin1String("Xmp."))) {
      auto it = image->xmpData().findKey(Exiv2::XmpKey(k));
      return it == image->xmpData().end() ? QString() : QString::fromStdString(it->toString());
    }
  } catch (const std::exception &) {
  }
  return {};
}

QByteArray readColourProfile(const QString &path) {
  ensureExiv2Initialized();
  try {
    auto image = Exiv2::ImageFactory::open(nativePath(path));
    image->readMetadata();
    return Exiv2Compat::iccProfile(*image);
  } catch (const std::exception &) {
    return {};
  }
}

} // namespace platform::MetadataCopy

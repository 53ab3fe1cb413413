#include "platform/EncoderSupport.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QtEndian>

#include <cstring>

#include <vips/vips8>

namespace platform::EncoderSupport {

namespace {

QMutex &lock() {
  static QMutex mutex;
  return mutex;
}

QHash<QString, bool> &answers() {
  static QHash<QString, bool> known;
  return known;
}

QStringList &missingForTesting() {
  static QStringList formats;
  return formats;
}

// Writes a small grey picture in the format; false when the encoder is missing or fails.
bool probe(const QString &format) {
  try {
    // Three bands marked sRGB: libvips 8.14's JPEG XL saver fails hard on fewer bands so marked.
    const vips::VImage rgb =
        (vips::VImage::black(16, 16, vips::VImage::option()->set("bands", 3)) + 128)
            .cast(VIPS_FORMAT_UCHAR)
            .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    VipsBlob *blob = nullptr;
    if (format == QLatin1String("webp"))
      blob = rgb.webpsave_buffer();
    else if (format == QLatin1String("avif"))
      blob = rgb.heifsave_buffer(
          vips::VImage::option()->set("compression", VIPS_FOREIGN_HEIF_COMPRESSION_AV1));
    else if (format == QLatin1String("heic"))
      blob = rgb.heifsave_buffer(
          vips::VImage::option()->set("compression", VIPS_FOREIGN_HEIF_COMPRESSION_HEVC));
    else if (format == QLatin1String("jxl"))
      blob = rgb.jxlsave_buffer();
    if (!blob)
      return false;
    size_t size = 0;
    vips_blob_get(blob, &size);
    vips_area_unref(reinterpret_cast<VipsArea *>(blob));
    return size > 0;
  } catch (const vips::VError &) {
    vips_error_clear();
    return false;
  }
}

QByteArray box(const char type[4], QByteArrayView payload) {
  QByteArray out;
  out.reserve(8 + payload.size());
  const quint32 size = quint32(8 + payload.size());
  char header[8];
  qToBigEndian(size, header);
  std::memcpy(header + 4, type, 4);
  out.append(header, 8);
  out.append(payload.data(), payload.size());
  return out;
}

} // namespace

const QStringList &modernFormats() {
  static const QStringList formats = {QStringLiteral("webp"), QStringLiteral("avif"),
                                      QStringLiteral("heic"), QStringLiteral("jxl")};
  return formats;
}

bool canEncode(const QString &format) {
  const QString name = format.toLower();
  if (!modernFormats().contains(name))
    return true;
  QMutexLocker locker(&lock());
  if (missingForTesting().contains(name))
    return false;
  auto known = answers().constFind(name);
  if (known != answers().cend())
    return known.value();
  const bool can = probe(name);
  answers().insert(name, can);
  return can;
}

QString unavailableMessage(const QString &format) {
  static const QHash<QString, QString> names = {{QStringLiteral("webp"), QStringLiteral("WebP")},
                                                {QStringLiteral("avif"), QStringLiteral("AVIF")},
                                                {QStringLiteral("heic"), QStringLiteral("HEIC")},
                                                {QStringLiteral("jxl"), QStringLiteral("JPEG XL")}};
  const QString name = names.value(format.toLower(), format);
  return QStringLiteral("This system cannot write %1 files: its image library has no %1 "
                        "encoder. Choose another output format.")
      .arg(name);
}

void setMissingForTesting(const QStringList &formats) {
  QMutexLocker locker(&lock());
  missingForTesting() = formats;
}

QByteArray jxlContainer(QByteArrayView codestream, QByteArrayView exifTiff, QByteArrayView xmp) {
  static const char kSignature[] = {0,   0,   0,    0x0C, 'J',        'X',
                                    'L', ' ', 0x0D, 0x0A, char(0x87), 0x0A};
  static const char kBrand[] = {'j', 'x', 'l', ' ', 0, 0, 0, 0, 'j', 'x', 'l', ' '};
  QByteArray out(kSignature, sizeof kSignature);
  out += box("ftyp", QByteArrayView(kBrand, sizeof kBrand));
  if (!exifTiff.isEmpty()) {
    // The Exif box starts with the offset of the TIFF header within it: 0, it comes first.
    QByteArray exif(4, '\0');
    exif.append(exifTiff.data(), exifTiff.size());
    out += box("Exif", exif);
  }
  if (!xmp.isEmpty())
    out += box("xml ", xmp);
  out += box("jxlc", codestream);
  return out;
}

} // namespace platform::EncoderSupport

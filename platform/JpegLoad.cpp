#include "platform/JpegLoad.h"

#include <QFile>

#include <cstring>

namespace platform::JpegLoad {

namespace {

unsigned char byteAt(const QByteArray &bytes, qsizetype i) {
  return static_cast<unsigned char>(bytes.at(i));
}

bool isExifSegment(const QByteArray &stream, qsizetype payload, qsizetype length) {
  static const char tag[] = "Exif\0";
  return length >= qsizetype(sizeof tag) &&
         std::memcmp(stream.constData() + payload, tag, sizeof tag) == 0;
}

// The blob's bytes belong to the QByteArray it was made from, kept as its client.
int freeStream(void *, void *area) {
  delete static_cast<QByteArray *>(static_cast<VipsArea *>(area)->client);
  return 0;
}

} // namespace

bool hasJpegSignature(const QByteArray &head) {
  return head.size() >= 3 && byteAt(head, 0) == 0xFF && byteAt(head, 1) == 0xD8 &&
         byteAt(head, 2) == 0xFF;
}

QByteArray withoutExifSegments(QByteArray stream) {
  if (!hasJpegSignature(stream))
    return stream;
  qsizetype at = 2;
  while (at + 4 <= stream.size() && byteAt(stream, at) == 0xFF) {
    const unsigned char marker = byteAt(stream, at + 1);
    if (marker == 0xFF) { // fill byte before a marker
      ++at;
      continue;
    }
    // Start of scan, or a marker without a length: the header ends here.
    if (marker == 0xDA || marker == 0xD8 || marker == 0xD9 || marker == 0x01 ||
        (marker >= 0xD0 && marker <= 0xD7))
      break;
    const qsizetype length = (qsizetype(byteAt(stream, at + 2)) << 8) | byteAt(stream, at + 3);
    if (length < 2 || at + 2 + length > stream.size())
      break;
    if (marker == 0xE1 && isExifSegment(stream, at + 4, length - 2))
      stream.remove(at, 2 + length);
    else
      at += 2 + length;
  }
  return stream;
}

std::optional<vips::VImage> openSequential(const QString &path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    return std::nullopt;
  // Only a JPEG is read whole here; anything else is left for the caller's loader.
  if (!hasJpegSignature(file.peek(3)))
    return std::nullopt;
  auto *stream = new QByteArray(withoutExifSegments(file.readAll()));
  // The blob owns the bytes; libvips keeps it for as long as the image reads from it.
  VipsBlob *blob = vips_blob_new(freeStream, stream->constData(), size_t(stream->size()));
  VIPS_AREA(blob)->client = stream;
  try {
    vips::VImage image = vips::VImage::jpegload_buffer(
        blob, vips::VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
    vips_area_unref(VIPS_AREA(blob));
    return image;
  } catch (const vips::VError &) {
    vips_area_unref(VIPS_AREA(blob));
    throw;
  }
}

} // namespace platform::JpegLoad

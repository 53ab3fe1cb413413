#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vips/vips8>

namespace platform::JpegLoad {

// True when the bytes begin as every JPEG stream does (SOI, then a marker).
bool hasJpegSignature(const QByteArray &head);

// The stream without its EXIF segments (APP1 "Exif"); every other segment, and the scan
// data, are kept as they are. Anything that does not parse as a JPEG header is returned
// unchanged from the point where it stops parsing.
QByteArray withoutExifSegments(QByteArray stream);

// Opens a JPEG for one pass from top to bottom, the file read once into memory and libvips
// given the stream without its EXIF. libvips would otherwise turn every EXIF tag into an
// image field, which on a small photo costs about a quarter of decoding it, for properties
// the caller already has: so the result carries no orientation and only the JFIF density.
// nullopt when the file cannot be read or is not a JPEG.
std::optional<vips::VImage> openSequential(const QString &path);

} // namespace platform::JpegLoad

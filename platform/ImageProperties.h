#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <optional>

// The properties dictionary of image 0 of a file, in the shape the rest of the system reads:
// top-level "PixelWidth", "PixelHeight" (stored pixels), "Orientation" (1-8, only when the
// file states one), "ColorModel", "Depth", "DPIWidth"/"DPIHeight" (when the file states a
// resolution), "HasAlpha", "ProfileName", and the groups "{TIFF}", "{Exif}", "{ExifAux}",
// "{GPS}", "{IPTC}", "{JFIF}", "{PNG}" where the file has them. Integers are ints,
// rationals doubles, texts strings, EXIF dates stay "yyyy:MM:dd HH:mm:ss", GPS latitude
// and longitude are unsigned degrees with their reference letters apart.
//
// HEIF files are decoded already turned by their own rotation, so they report the turned
// size and Orientation 1. A HEIF file's own creation date, when its boxes keep one, is the
// group "{Container}" ("CreationDate", "OffsetTime", "Source": "HEIF" or "QuickTime").
//
// Safe to call from several threads at once. Nothing throws; a file that cannot be read
// as an image gives std::nullopt, damaged metadata gives what could be read.
namespace platform::ImageProperties {

std::optional<QVariantMap> readFile(const QString &path);
std::optional<QVariantMap> readBuffer(const QByteArray &bytes);

} // namespace platform::ImageProperties

#pragma once

#include <QString>

#include <optional>

#include <vips/vips8>

// Camera RAW files developed with LibRaw: the camera's white balance, sRGB, 8 bits a
// sample, already turned upright by the camera's orientation flag.
namespace platform::RawDecoder {

// True for the extensions of camera RAW formats (compared case-insensitively).
bool isRawExtension(const QString &extension);

// The developed picture, or none when LibRaw cannot open or develop the file.
std::optional<vips::VImage> decode(const QString &path);

} // namespace platform::RawDecoder

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

#include <vips/vips8>

// Camera RAW files developed with LibRaw: the camera's white balance, sRGB, 8 bits a
// sample, already turned upright by the camera's orientation flag.
namespace platform::RawDecoder {

// The extensions of camera RAW formats, in lower case: the one list that both the
// properties reader and the decoder go by, so a file read as RAW is also decoded as RAW.
const QStringList &rawExtensions();

// True for those extensions, compared case-insensitively.
bool isRawExtension(const QString &extension);

// The developed picture, or none when LibRaw cannot open or develop the file.
std::optional<vips::VImage> decode(const QString &path);

} // namespace platform::RawDecoder

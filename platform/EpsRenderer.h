#pragma once

#include <QString>

#include <optional>

#include <vips/vips8>

// Encapsulated PostScript drawn by Ghostscript, where it is installed: libvips reads EPS only
// through ImageMagick, whose Debian policy refuses PostScript.
namespace platform::EpsRenderer {

// True for "eps", "epsf" and "epsi" in any case.
bool isEpsExtension(const QString &extension);

// The picture at 72 dots per inch, cut to the bounding box (so a box of 100 x 50 points gives
// 100 x 50 pixels), as 8-bit sRGB. None without Ghostscript, or when it cannot draw the file
// within a minute.
std::optional<vips::VImage> render(const QString &path);

} // namespace platform::EpsRenderer

#pragma once

#include <QString>

#include <optional>
#include <vips/vips8>

// The desktop's shared thumbnail cache (freedesktop.org Thumbnail Managing Standard), which
// file managers and image viewers fill and read: $XDG_CACHE_HOME/thumbnails/normal (128 px)
// and large (256 px), one PNG per file named by the MD5 of the file's URI, carrying the
// text keys Thumb::URI and Thumb::MTime. A folder another program has already shown opens
// at once, and ours help them in turn.
namespace platform::SharedThumbnailCache {

enum class Size { Normal = 128, Large = 256 };

// $XDG_CACHE_HOME/thumbnails, or ~/.cache/thumbnails when the variable is unset or relative.
QString cacheRoot();
// "file:///a/b%20c.jpg": the absolute path escaped as GLib escapes it, so that the names
// match those other desktop programs compute.
QString fileUri(const QString &path);
// Where the thumbnail of the file at path lives, whether or not it exists.
QString thumbnailPath(const QString &path, Size size);

// The cached thumbnail of the file, decoded; none when there is none, when it was made for
// another file (URI) or an older version of it (MTime), or cannot be read.
std::optional<vips::VImage> read(const QString &path, Size size);

// Stores thumbnail (already no larger than size on either side) for the file at path. The
// PNG is written under a temporary name and renamed, so a reader never sees half a file;
// folders are made private (0700) and files 0600. False when the file has gone, has no
// modification time, or the cache cannot be written. Files inside the cache itself are never
// thumbnailed.
bool write(const QString &path, const vips::VImage &thumbnail, Size size);

} // namespace platform::SharedThumbnailCache

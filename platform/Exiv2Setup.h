#pragma once

namespace platform {

// Exiv2 0.27 sets up its XMP toolkit lazily and not thread-safely: every reader and writer
// calls this first. It also mutes Exiv2's console warnings about damaged files and turns
// on its HEIF/AVIF (BMFF) support.
void ensureExiv2Initialized();

} // namespace platform

// Feeds arbitrary bytes to the image-properties reader: it must neither crash, hang nor
// throw, whatever the file holds.
#include "platform/ImageProperties.h"

#include <vips/vips.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *, char ***argv) {
  if (VIPS_INIT((*argv)[0]) != 0)
    return 1;
  vips_cache_set_max(0);
  vips_cache_set_max_mem(0);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const QByteArray bytes =
      QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
  const std::optional<QVariantMap> properties = platform::ImageProperties::readBuffer(bytes);
  if (properties) {
    // Touch what the callers read, so a bad value surfaces here.
    (void)properties->value(QStringLiteral("PixelWidth")).toInt();
    (void)properties->value(QStringLiteral("{Exif}")).toMap().size();
  }
  return 0;
}

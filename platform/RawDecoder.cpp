#include "platform/RawDecoder.h"

#include <QFile>
#include <QSet>

#include <libraw/libraw.h>

#include <memory>

namespace platform::RawDecoder {

const QStringList &rawExtensions() {
  static const QStringList extensions = {
      QStringLiteral("3fr"), QStringLiteral("ari"), QStringLiteral("arw"), QStringLiteral("bay"),
      QStringLiteral("cr2"), QStringLiteral("cr3"), QStringLiteral("crw"), QStringLiteral("dcr"),
      QStringLiteral("dng"), QStringLiteral("erf"), QStringLiteral("fff"), QStringLiteral("iiq"),
      QStringLiteral("k25"), QStringLiteral("kdc"), QStringLiteral("mef"), QStringLiteral("mos"),
      QStringLiteral("mrw"), QStringLiteral("nef"), QStringLiteral("nrw"), QStringLiteral("orf"),
      QStringLiteral("pef"), QStringLiteral("raf"), QStringLiteral("raw"), QStringLiteral("rw2"),
      QStringLiteral("rwl"), QStringLiteral("sr2"), QStringLiteral("srf"), QStringLiteral("srw"),
      QStringLiteral("x3f")};
  return extensions;
}

bool isRawExtension(const QString &extension) {
  static const QSet<QString> lookup(rawExtensions().cbegin(), rawExtensions().cend());
  return lookup.contains(extension.toLower());
}

std::optional<vips::VImage> decode(const QString &path) {
  auto raw = std::make_unique<LibRaw>();
  const QByteArray name = QFile::encodeName(path);
  raw->imgdata.params.output_bps = 8;
  raw->imgdata.params.output_color = 1; // sRGB
  raw->imgdata.params.use_camera_wb = 1;
  if (raw->open_file(name.constData()) != LIBRAW_SUCCESS || raw->unpack() != LIBRAW_SUCCESS ||
      raw->dcraw_process() != LIBRAW_SUCCESS)
    return std::nullopt;
  int error = 0;
  libraw_processed_image_t *picture = raw->dcraw_make_mem_image(&error);
  if (!picture)
    return std::nullopt;
  std::optional<vips::VImage> result;
  if (picture->type == LIBRAW_IMAGE_BITMAP && picture->bits == 8 &&
      (picture->colors == 3 || picture->colors == 1) && picture->width > 0 && picture->height > 0) {
    try {
      VipsImage *copied =
          vips_image_new_from_memory_copy(picture->data, picture->data_size, picture->width,
                                          picture->height, picture->colors, VIPS_FORMAT_UCHAR);
      if (!copied)
        throw vips::VError();
      vips::VImage image(copied);
      result = image.copy(vips::VImage::option()->set(
          "interpretation",
          picture->colors == 3 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_B_W));
    } catch (const vips::VError &) {
    }
  }
  LibRaw::dcraw_clear_mem(picture);
  return result;
}

} // namespace platform::RawDecoder

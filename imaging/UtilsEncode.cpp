#include "imaging/Utils.h"

#include "app/AppDelegate.h"
#include "imaging/ImageProcessing.h"
#include "platform/EncoderSupport.h"
#include "platform/MetadataCopy.h"
#include "platform/SafeWrite.h"
#include "processing/ProcessingLog.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

using vips::VImage;

namespace {

// Formats without an alpha channel get the picture laid on white, as a viewer shows it.
VImage flattened(const VImage &image) {
  if (!image.has_alpha())
    return image;
  return image.flatten(VImage::option()->set("background", std::vector<double>{255, 255, 255}));
}

} // namespace

vips::VImage Utils::getCgiImageRef(const vips::VImage &image) {
  if (std::optional<VImage> rgb = toEightBitRgb(image))
    return *rgb;
  return image;
}

QVariantMap Utils::getImageeExifDict(const QString &path) {
  return ImageProcessing::exifForFile(path).value_or(QVariantMap());
}

namespace {

// The bytes of an encoder's blob, left where the encoder put them.
EncodedFile takeBlob(VipsBlob *blob) {
  std::shared_ptr<VipsBlob> owner(
      blob, [](VipsBlob *b) { vips_area_unref(reinterpret_cast<VipsArea *>(b)); });
  size_t size = 0;
  const void *data = vips_blob_get(blob, &size);
  return EncodedFile(owner, static_cast<const char *>(data), qsizetype(size));
}

} // namespace

namespace {

// GIF and BMP hold no colour profile: pixels in another space are brought to sRGB first, so
// they show the same colours. A photo without a profile is sRGB already and pays nothing.
VImage inSrgbForProfileLessFormat(const VImage &image) {
  if (Utils::embeddedProfile(image).isEmpty())
    return image;
  try {
    return image.icc_transform("srgb", VImage::option()->set("embedded", true)->set("depth", 8));
  } catch (const vips::VError &) {
    return image; // a profile lcms cannot use: the pixels are taken as they are, as before
  }
}

// The pixels as repType's encoder takes them: RGB at the photo's depth for TIFF and PNG,
// 8-bit sRGB for the rest.
VImage pixelsFor(const VImage &input, int repType) {
  if (repType == 0 || repType == 5)
    return Utils::toRgbKeepingDepth(input).value_or(input);
  const VImage picture = repType == 1 || repType == 2 ? inSrgbForProfileLessFormat(input) : input;
  return Utils::toEightBitRgb(picture).value_or(picture);
}

// The image with its ICC profile as its only metadata, for an encoder told to keep it: every
// other field (EXIF, XMP, comments) is left for the metadata writer.
VImage withProfileOnly(const VImage &image) {
  VImage bare = image.copy();
  char **fields = vips_image_get_fields(bare.get_image());
  for (char **field = fields; field && *field; ++field) {
    if (std::strcmp(*field, VIPS_META_ICC_NAME) != 0 &&
        std::strcmp(*field, VIPS_META_RESOLUTION_UNIT) != 0)
      bare.remove(*field); // the header's own fields are not removable and stay
  }
  g_strfreev(fields);
  return bare;
}

// withProfile: the encoder embeds the image's profile itself (PNG, whose profile chunk the
// metadata writer would name wrongly).
std::optional<EncodedFile> encodePixels(const VImage &image, int repType, float factor,
                                        int compressionLevel, QString *reason,
                                        bool withProfile = false) {
  const int quality = std::clamp(int(std::lround(factor * 100)), 1, 100);
  const int level = std::clamp(compressionLevel, -1, 9);
  try {
    switch (repType) {
    case 0: {
      auto *options = VImage::option()->set("strip", true);
      if (level >= 1) {
        options
            ->set("compression", level <= 4 ? VIPS_FOREIGN_TIFF_COMPRESSION_LZW
                                            : VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE)
            ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL);
      }
      return takeBlob(image.tiffsave_buffer(options));
    }
    case 1:
      return takeBlob(
          image.magicksave_buffer(VImage::option()->set("format", "bmp")->set("strip", true)));
    case 2: {
      auto *options = VImage::option()->set("strip", true);
      if (level >= 0)
        options->set("effort", level + 1);
      return takeBlob(image.gifsave_buffer(options));
    }
    case 3:
    case 4:
      return takeBlob(flattened(image).jpegsave_buffer(
          VImage::option()->set("Q", quality)->set("strip", true)));
    case 5: {
      // The plain form: a fast deflate after the "up" filter, which on photos is both quicker
      // and smaller than libvips' default (level 6, no filter). The compressor's levels try
      // every filter for the smallest file.
      auto *options = VImage::option()->set("strip", !withProfile);
      if (level >= 0)
        options->set("compression", level)->set("filter", VIPS_FOREIGN_PNG_FILTER_ALL);
      else
        options->set("compression", 2)->set("filter", VIPS_FOREIGN_PNG_FILTER_UP);
      return takeBlob((withProfile ? withProfileOnly(image) : image).pngsave_buffer(options));
    }
    case 6:
      return takeBlob(
          image.jp2ksave_buffer(VImage::option()->set("Q", quality)->set("strip", true)));
    // The newer formats take their metadata as blobs attached to the image (see
    // withModernMetadata): their savers are told to keep it.
    case 7:
      return takeBlob(
          image.webpsave_buffer(VImage::option()->set("Q", quality)->set("strip", true)));
    case 8:
    case 9:
      return takeBlob(image.heifsave_buffer(
          VImage::option()
              ->set("Q", quality)
              ->set("compression", repType == 8 ? VIPS_FOREIGN_HEIF_COMPRESSION_AV1
                                                : VIPS_FOREIGN_HEIF_COMPRESSION_HEVC)
              ->set("strip", !withProfile)));
    case 10:
      return takeBlob(
          image.jxlsave_buffer(VImage::option()->set("Q", quality)->set("strip", !withProfile)));
    default:
      if (reason)
        *reason = QStringLiteral("unknown representation type %1").arg(repType);
      return std::nullopt;
    }
  } catch (const vips::VError &error) {
    if (reason)
      *reason = QString::fromUtf8(error.what()).trimmed();
    return std::nullopt;
  }
}

// The formats libvips writes through libheif and libjxl, whose containers Exiv2 cannot
// rewrite: the metadata goes in through the encoder instead.
bool takesMetadataFromEncoder(int repType) {
  return repType >= 8 && repType <= 10;
}

const char *formatName(int repType) {
  switch (repType) {
  case 7:
    return "webp";
  case 8:
    return "avif";
  case 9:
    return "heic";
  case 10:
    return "jxl";
  default:
    return "";
  }
}

// AVIF, HEIC and JPEG XL: the pixels with their profile and the source's EXIF and XMP
// (fitted to the output by the metadata writer) encoded in one pass; JPEG XL's codestream
// then goes into the container that holds the EXIF and XMP boxes.
std::optional<EncodedFile> encodeWithMetadataBlobs(const VImage &pixels, int repType, float factor,
                                                   const QString &sourcePath,
                                                   const platform::MetadataCopy::Options &options,
                                                   QString *reason) {
  QByteArray exifTiff;
  QByteArray xmp;
  QString why;
  if (options.carryMetadata &&
      !platform::MetadataCopy::metadataBlobs(sourcePath, options, &exifTiff, &xmp, &why))
    qCInfo(lcProcessing).noquote()
        << QStringLiteral("metadata of %1 not carried: %2").arg(sourcePath, why);
  VImage image = withProfileOnly(pixels);
  if (repType != 10) {
    if (!exifTiff.isEmpty()) {
      // libvips' blobs hold the EXIF with its "Exif" header, as JPEG's APP1 does.
      const QByteArray exif = QByteArrayLiteral("Exif\0\0") + exifTiff;
      vips_image_set_blob_copy(image.get_image(), VIPS_META_EXIF_NAME, exif.constData(),
                               size_t(exif.size()));
    }
    if (!xmp.isEmpty())
      vips_image_set_blob_copy(image.get_image(), VIPS_META_XMP_NAME, xmp.constData(),
                               size_t(xmp.size()));
  }
  std::optional<EncodedFile> bytes = encodePixels(image, repType, factor, -1, reason, true);
  if (!bytes || repType != 10)
    return bytes;
  auto container = std::make_shared<QByteArray>(
      platform::EncoderSupport::jxlContainer(bytes->bytes(), exifTiff, xmp));
  return EncodedFile(container, container->constData(), container->size());
}

} // namespace

std::optional<EncodedFile> Utils::encodeImageToBuffer(const VImage &input, int repType,
                                                      float factor, int compressionLevel,
                                                      QString *reason) {
  return encodePixels(pixelsFor(input, repType), repType, factor, compressionLevel, reason);
}

std::optional<EncodedFile> Utils::encodeWithProperties(int repType, const VImage &bitmap,
                                                       const QVariantMap &exifDict, float factor,
                                                       int compressionLevel,
                                                       const QString &sourcePath, QString *reason,
                                                       const QString &takenDate) {
  if (repType >= 7 && !platform::EncoderSupport::canEncode(QLatin1String(formatName(repType)))) {
    if (reason)
      *reason = platform::EncoderSupport::unavailableMessage(QLatin1String(formatName(repType)));
    return std::nullopt;
  }
  const VImage pixels = pixelsFor(bitmap, repType);
  if (takesMetadataFromEncoder(repType)) {
    platform::MetadataCopy::Options options;
    options.carryMetadata = !exifDict.isEmpty();
    options.resetOrientation = AppDelegate::shared()->isAUTO_CORRECT_ORIENTATION;
    options.pixelWidth = bitmap.width();
    options.pixelHeight = bitmap.height();
    options.takenDate = takenDate;
    return encodeWithMetadataBlobs(pixels, repType, factor, sourcePath, options, reason);
  }
  QByteArray profile = embeddedProfile(pixels);
  const bool png = repType == 5;
  std::optional<EncodedFile> bytes =
      encodePixels(pixels, repType, factor, compressionLevel, reason, png && !profile.isEmpty());
  // GIF and BMP hold neither EXIF nor a profile; every other type gets the source's properties
  // back, and the profile its pixels are in (the encoders strip it with the rest; PNG's keeps
  // it, and the metadata writer keeps it there).
  if (!bytes || repType == 1 || repType == 2)
    return bytes;
  if (png)
    profile.clear();
  platform::MetadataCopy::Options options;
  options.colourProfile = profile;
  if (exifDict.isEmpty() && options.colourProfile.isEmpty())
    return bytes;
  options.carryMetadata = !exifDict.isEmpty();
  options.resetOrientation = AppDelegate::shared()->isAUTO_CORRECT_ORIENTATION;
  options.pixelWidth = bitmap.width();
  options.pixelHeight = bitmap.height();
  options.takenDate = takenDate;
  QString why;
  if (!platform::MetadataCopy::copyIntoEncoded(sourcePath, &*bytes, options, &why))
    qCInfo(lcProcessing).noquote()
        << QStringLiteral("metadata of %1 not carried: %2").arg(sourcePath, why);
  return bytes;
}

bool Utils::saveImageInSelectedFormat(int repType, const QString &path, const VImage &image,
                                      const VImage &bitmap, const QVariantMap &exifDict,
                                      float factor, int orientation, const QString &sourcePath,
                                      QString *reason) {
  Q_UNUSED(image);
  Q_UNUSED(orientation);
  qCInfo(lcProcessing).noquote() << QStringLiteral("save image at path %1").arg(path);
  if (repType < 0 || repType > 10) {
    if (reason)
      *reason = QStringLiteral("unknown representation type %1").arg(repType);
    return false;
  }
  const std::optional<EncodedFile> encoded =
      encodeWithProperties(repType, bitmap, exifDict, factor, -1, sourcePath, reason);
  return encoded && platform::SafeWrite::writeFile(path, encoded->bytes(), reason);
}

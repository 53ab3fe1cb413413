#include "imaging/Utils.h"

#include "app/AppDelegate.h"
#include "imaging/ImageProcessing.h"
#include "platform/MetadataCopy.h"
#include "processing/ProcessingLog.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstdio>

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

bool Utils::encodeImage(const VImage &input, const QString &path, int repType, float factor,
                        int compressionLevel, QString *reason) {
  const QByteArray name = QFile::encodeName(path);
  const int quality = std::clamp(int(std::lround(factor * 100)), 1, 100);
  const int level = std::clamp(compressionLevel, -1, 9);
  try {
    VImage image = toEightBitRgb(input).value_or(input);
    switch (repType) {
    case 0: {
      auto *options = VImage::option()->set("strip", true);
      if (level >= 1) {
        options
            ->set("compression", level <= 4 ? VIPS_FOREIGN_TIFF_COMPRESSION_LZW
                                            : VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE)
            ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL);
      }
      image.tiffsave(name.data(), options);
      break;
    }
    case 1:
      image.magicksave(name.data(), VImage::option()->set("format", "bmp")->set("strip", true));
      break;
    case 2: {
      auto *options = VImage::option()->set("strip", true);
      if (level >= 0)
        options->set("effort", level + 1);
      image.gifsave(name.data(), options);
      break;
    }
    case 3:
    case 4:
      flattened(image).jpegsave(name.data(),
                                VImage::option()->set("Q", quality)->set("strip", true));
      break;
    case 5:
      image.pngsave(
          name.data(),
          VImage::option()->set("compression", level >= 0 ? level : 6)->set("strip", true));
      break;
    case 6:
      image.jp2ksave(name.data(), VImage::option()->set("Q", quality)->set("strip", true));
      break;
    default:
      if (reason)
        *reason = QStringLiteral("unknown representation type %1").arg(repType);
      return false;
    }
    return true;
  } catch (const vips::VError &error) {
    if (reason)
      *reason = QString::fromUtf8(error.what()).trimmed();
    return false;
  }
}

bool Utils::saveImageInSelectedFormat(int repType, const QString &path, const VImage &image,
                                      const VImage &bitmap, const QVariantMap &exifDict,
                                      float factor, int orientation, const QString &sourcePath,
                                      QString *reason) {
  Q_UNUSED(image);
  Q_UNUSED(orientation);
  qCInfo(lcProcessing).noquote() << QStringLiteral("save image at path %1").arg(path);
  if (repType < 0 || repType > 6) {
    if (reason)
      *reason = QStringLiteral("unknown representation type %1").arg(repType);
    return false;
  }
  const bool autoCorrect = AppDelegate::shared()->isAUTO_CORRECT_ORIENTATION;
  if (!encodeImage(bitmap, path, repType, factor, -1, reason))
    return false;
  // GIF and BMP hold no EXIF; every other type gets the source's properties back.
  if (repType != 1 && repType != 2 && !exifDict.isEmpty()) {
    platform::MetadataCopy::Options options;
    options.resetOrientation = autoCorrect;
    options.pixelWidth = bitmap.width();
    options.pixelHeight = bitmap.height();
    QString why;
    if (!platform::MetadataCopy::copy(sourcePath, path, options, &why))
      qCInfo(lcProcessing).noquote()
          << QStringLiteral("metadata not carried into %1: %2").arg(path, why);
  }
  return true;
}

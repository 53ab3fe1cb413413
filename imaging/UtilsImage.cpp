#include "imaging/Utils.h"

#include "app/AppDelegate.h"
#include "imaging/AppliedFilter.h"
#include "imaging/ImageProcessing.h"
#include "intake/ImageFileInfo.h"
#include "intake/PhotoFile.h"
#include "metadata/ExifInfo.h"
#include "platform/EpsRenderer.h"
#include "platform/JpegLoad.h"
#include "platform/RawDecoder.h"
#include "processing/ProcessingLog.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <cstdio>
#include <cstring>

using vips::VImage;

namespace {

QByteArray fileName(const QString &path) {
  return QFile::encodeName(path);
}

} // namespace

namespace {

// libvips takes a JPEG's resolution from its EXIF block when the block states all of it. The
// block is not given to libvips, so the same rule is applied here from the properties.
// tiff is the properties' "{TIFF}" dictionary.
void applyExifResolution(VImage &image, const QVariantMap &tiff) {
  const QVariant x = tiff.value(QStringLiteral("XResolution"));
  const QVariant y = tiff.value(QStringLiteral("YResolution"));
  const QVariant unit = tiff.value(QStringLiteral("ResolutionUnit"));
  if (!x.isValid() || !y.isValid() || !unit.isValid() || x.toDouble() <= 0 || y.toDouble() <= 0)
    return;
  double perMillimetre = 0;
  switch (unit.toInt()) {
  case 2:
    perMillimetre = 25.4;
    image.set(VIPS_META_RESOLUTION_UNIT, "in");
    break;
  case 3:
    perMillimetre = 10.0;
    image.set(VIPS_META_RESOLUTION_UNIT, "cm");
    break;
  default: // 1 gives only the pixels' aspect ratio
    return;
  }
  image.get_image()->Xres = x.toDouble() / perMillimetre;
  image.get_image()->Yres = y.toDouble() / perMillimetre;
}

bool isEightBitRgb(const VImage &image) {
  return image.format() == VIPS_FORMAT_UCHAR &&
         image.interpretation() == VIPS_INTERPRETATION_sRGB &&
         (image.bands() == 3 || image.bands() == 4);
}

// libvips' HEIF loader attaches the profile as memory that lives only as long as the file's
// own image, so images made from it would point at freed memory once that one is closed. A
// copy owned by the field lives as long as any image that carries it.
VImage withOwnedProfile(const VImage &image) {
  if (image.get_typeof(VIPS_META_ICC_NAME) == 0)
    return image;
  const void *data = nullptr;
  size_t size = 0;
  if (vips_image_get_blob(image.get_image(), VIPS_META_ICC_NAME, &data, &size) != 0 || !data)
    return image;
  VImage owned = image.copy();
  vips_image_set_blob_copy(owned.get_image(), VIPS_META_ICC_NAME, data, size);
  return owned;
}

// Three or four bands of 16-bit RGB (or grey, made RGB), kept at their depth for the formats
// that can hold it.
bool isSixteenBit(const VImage &image) {
  if (image.format() != VIPS_FORMAT_USHORT)
    return false;
  const VipsInterpretation interpretation = image.guess_interpretation();
  return (interpretation == VIPS_INTERPRETATION_RGB16 &&
          (image.bands() == 3 || image.bands() == 4)) ||
         (interpretation == VIPS_INTERPRETATION_GREY16 &&
          (image.bands() == 1 || image.bands() == 2));
}

} // namespace

QByteArray Utils::embeddedProfile(const VImage &image) {
  if (image.bands() != 3 && image.bands() != 4)
    return {};
  if (image.get_typeof(VIPS_META_ICC_NAME) == 0)
    return {};
  const void *data = nullptr;
  size_t size = 0;
  if (vips_image_get_blob(image.get_image(), VIPS_META_ICC_NAME, &data, &size) != 0 || !data)
    return {};
  // The header's colour space (bytes 16-19) must be RGB: a grey photo made RGB, or Lab and
  // CMYK numbers converted to sRGB, still carry a profile that no longer fits their pixels.
  if (size < 128 || std::memcmp(static_cast<const char *>(data) + 16, "RGB ", 4) != 0)
    return {};
  return QByteArray(static_cast<const char *>(data), qsizetype(size));
}

std::optional<VImage> Utils::toRgbKeepingDepth(const VImage &image) {
  if (!isSixteenBit(image))
    return toEightBitRgb(image);
  try {
    if (image.bands() >= 3)
      return image.interpretation() == VIPS_INTERPRETATION_RGB16
                 ? image
                 : image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
    return image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_GREY16))
        .colourspace(VIPS_INTERPRETATION_RGB16);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> Utils::toEightBitRgb(const VImage &image) {
  // Most photos already are: no conversion, and no copy of their pixels.
  if (isEightBitRgb(image))
    return image;
  try {
    VImage in = image;
    const int bands = in.bands();
    if (bands < 1)
      return std::nullopt;
    VipsInterpretation interpretation = in.guess_interpretation();
    VImage out;
    // An embedded profile says best what CMYK numbers mean; without one libvips' own CMYK
    // profile is used.
    if (interpretation == VIPS_INTERPRETATION_CMYK && bands >= 4) {
      try {
        out = in.icc_transform("srgb", VImage::option()
                                           ->set("embedded", true)
                                           ->set("input_profile", "cmyk")
                                           ->set("intent", VIPS_INTENT_PERCEPTUAL));
      } catch (const vips::VError &) {
        out = in.colourspace(VIPS_INTERPRETATION_sRGB);
      }
    } else {
      switch (interpretation) {
      case VIPS_INTERPRETATION_B_W:
      case VIPS_INTERPRETATION_GREY16:
      case VIPS_INTERPRETATION_RGB16:
      case VIPS_INTERPRETATION_sRGB:
      case VIPS_INTERPRETATION_scRGB:
      case VIPS_INTERPRETATION_LAB:
      case VIPS_INTERPRETATION_LABS:
      case VIPS_INTERPRETATION_LCH:
      case VIPS_INTERPRETATION_XYZ:
      case VIPS_INTERPRETATION_YXY:
      case VIPS_INTERPRETATION_HSV:
      case VIPS_INTERPRETATION_CMC:
        out = in.colourspace(VIPS_INTERPRETATION_sRGB);
        break;
      default: {
        // Bands of no known meaning: the first one or three taken as grey or RGB, scaled
        // from the format's range.
        VImage picture =
            bands >= 3 ? in.extract_band(0, VImage::option()->set("n", 3)) : in.extract_band(0);
        if (picture.format() == VIPS_FORMAT_USHORT)
          picture = picture / 257;
        else if (picture.format() == VIPS_FORMAT_FLOAT || picture.format() == VIPS_FORMAT_DOUBLE)
          picture = picture * 255;
        picture = picture.cast(VIPS_FORMAT_UCHAR);
        if (picture.bands() == 1)
          picture = picture.bandjoin({picture, picture});
        if (bands == 2 || bands >= 4) {
          VImage alpha = in.extract_band(bands == 2 ? 1 : 3);
          if (alpha.format() == VIPS_FORMAT_USHORT)
            alpha = alpha / 257;
          picture = picture.bandjoin(alpha.cast(VIPS_FORMAT_UCHAR));
        }
        out = picture.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
        break;
      }
      }
    }
    if (out.format() != VIPS_FORMAT_UCHAR)
      out = out.cast(VIPS_FORMAT_UCHAR);
    if (out.bands() > 4)
      out = out.extract_band(0, VImage::option()->set("n", 4));
    if (out.bands() == 1)
      out = out.bandjoin({out, out});
    else if (out.bands() == 2)
      out = out.extract_band(0).bandjoin(
          {out.extract_band(0), out.extract_band(0), out.extract_band(1)});
    return out.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> Utils::getImageWithFixedOrientionFromUrl(const QString &path) {
  std::optional<VImage> image = uprightImageFromUrl(path);
  if (!image)
    return std::nullopt;
  // Decoded now, so a damaged file fails here rather than inside an encoder, and a photo
  // decoded ahead is really decoded.
  try {
    return image->copy_memory();
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> Utils::uprightImageFromUrl(const QString &path) {
  return uprightImageFromUrl(path, ImageProcessing::exifForFile(path));
}

std::optional<VImage> Utils::uprightImageFromUrl(const QString &path,
                                                 const std::optional<QVariantMap> &properties) {
  // One reading of the file's properties serves every step. The photo is decoded at its full
  // upright size, which is the width-fitted size the properties give, so the file's size
  // need not be looked up again. The few properties needed are read straight from the
  // dictionary: the full record also parses every date, a noticeable share of a small
  // photo's time.
  const QVariantMap none;
  const QVariantMap &dict = properties ? *properties : none;
  const QVariantMap tiff = dict.value(QStringLiteral("{TIFF}")).toMap();
  const int fileOrientation =
      tiff.isEmpty() ? -1 : tiff.value(QStringLiteral("Orientation")).toInt();
  const bool grey = dict.value(QStringLiteral("ColorModel")).toString() == QLatin1String("Gray");
  VImage image;
  try {
    const QString extension = QFileInfo(path).suffix();
    const bool raw = platform::RawDecoder::isRawExtension(extension);
    if (raw || platform::EpsRenderer::isEpsExtension(extension)) {
      std::optional<VImage> drawn =
          raw ? platform::RawDecoder::decode(path) : platform::EpsRenderer::render(path);
      if (!drawn)
        return std::nullopt;
      image = *drawn;
    } else {
      // Read once from start to end, straight into whatever takes the pixels; a photo to be
      // turned needs all of them first.
      int orientation = 1;
      if (std::optional<VImage> jpeg = platform::JpegLoad::openSequential(path)) {
        image = *jpeg;
        applyExifResolution(image, tiff);
        if (fileOrientation >= 2 && fileOrientation <= 8) {
          orientation = fileOrientation;
          image.set(VIPS_META_ORIENTATION, orientation);
        }
      } else {
        image = withOwnedProfile(VImage::new_from_file(
            fileName(path).constData(), VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)));
        orientation = vips_image_get_orientation(image.get_image());
      }
      if (fileOrientation != 1 && orientation > 1)
        image = image.copy_memory().autorot();
    }
  } catch (const vips::VError &) {
    std::fputs("Image source is NULL.\n", stderr);
    return std::nullopt;
  }
  if (grey) {
    if (auto rgb = convertGraycolorModelToRgb(image))
      image = *rgb;
  }
  return toRgbKeepingDepth(image);
}

std::optional<VImage> Utils::convertGraycolorModelToRgb(const VImage &image) {
  if (image.width() <= 0 || image.height() <= 0)
    return std::nullopt;
  try {
    VImage grey = image;
    if (grey.bands() >= 3)
      return toEightBitRgb(grey);
    const VipsInterpretation to =
        grey.format() == VIPS_FORMAT_USHORT ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB;
    grey = grey.copy(VImage::option()->set("interpretation", grey.format() == VIPS_FORMAT_USHORT
                                                                 ? VIPS_INTERPRETATION_GREY16
                                                                 : VIPS_INTERPRETATION_B_W));
    return grey.colourspace(to);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

QSizeF Utils::getImageOriginalSizeAtFilePathUrl(const QString &path) {
  std::shared_ptr<ImageFileInfo> fileInfo = ImageFileInfo::initWithPathForFile(path);
  std::shared_ptr<ExifInfo> info = fileInfo ? fileInfo->exifInfo() : nullptr;
  if (!info)
    info = ExifInfo::initWithFile(path);
  if (!info)
    return QSizeF(0, 0);
  double w = info->pixelWidth;
  double h = info->pixelHeight;
  const int o = info->orientation;
  const QString extension = QFileInfo(path).suffix();
  double wPrime = w;
  double hPrime = h;
  if (extension == QLatin1String("eps") || extension == QLatin1String("EPS")) {
    double ew = 0, eh = 0;
    if (intake::encapsulatedPostScriptSize(path, &ew, &eh)) {
      qCInfo(lcProcessing).noquote() << QStringLiteral("epsDict = %1 x %2").arg(ew).arg(eh);
      wPrime = ew > 0 ? ew : w;
      hPrime = eh > 0 ? eh : h;
    }
  } else if (extension == QLatin1String("pict") || extension == QLatin1String("PICT")) {
    double pw = 0, ph = 0;
    if (intake::pictSize(path, &pw, &ph)) {
      qCInfo(lcProcessing).noquote() << QStringLiteral("epsDict = %1 x %2").arg(pw).arg(ph);
      wPrime = pw > 0 ? pw : w;
      hPrime = ph > 0 ? ph : h;
    }
  }
  if (o >= 5 && o <= 8)
    return QSizeF(h, w);
  return QSizeF(wPrime, hPrime);
}

std::optional<VImage> Utils::scaleImage(const VImage &image, QSize newSize) {
  if (newSize.width() <= 0 || newSize.height() <= 0 || image.width() <= 0 || image.height() <= 0)
    return std::nullopt;
  try {
    const double hscale = double(newSize.width()) / image.width();
    const double vscale = double(newSize.height()) / image.height();
    VImage out = image.resize(hscale, VImage::option()->set("vscale", vscale));
    // Rounding inside resize can leave a pixel over or under: pin the exact size.
    if (out.width() != newSize.width() || out.height() != newSize.height())
      out = out.embed(0, 0, newSize.width(), newSize.height(),
                      VImage::option()->set("extend", VIPS_EXTEND_COPY));
    return out;
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

VImage Utils::RotateWithEXIF(const VImage &bitmap, int orientation) {
  if (orientation < 2 || orientation > 8)
    return bitmap;
  struct Step {
    bool flipHorizontally;
    bool flipVertically;
    bool turn;
  };
  static const Step kSteps[9] = {{},
                                 {},
                                 {true, false, false},
                                 {true, true, false},
                                 {false, true, false},
                                 {false, true, true},
                                 {false, false, true},
                                 {true, false, true},
                                 {true, true, true}};
  const Step step = kSteps[orientation];
  VImage out = bitmap;
  if (step.flipHorizontally)
    out = out.flip(VIPS_DIRECTION_HORIZONTAL);
  if (step.flipVertically)
    out = out.flip(VIPS_DIRECTION_VERTICAL);
  if (step.turn)
    out = out.rot(VIPS_ANGLE_D90);
  return out;
}

qint32 Utils::totalBatchStepsApplied() {
  qint32 count = 0;
  for (const auto &filter : AppDelegate::shared()->arrayAppliedFilters) {
    if (filter && filter->isApplied)
      ++count;
  }
  return count;
}

QSizeF Utils::aspectFitSizeWithMaxSize(QSizeF size, float maxWidth) {
  const float w = float(size.width());
  const float factor = maxWidth / w;
  return QSizeF(w * factor, float(size.height() * factor));
}

std::optional<VImage> Utils::getThumbnailImageAtFilePath(const QString &path, QSizeF size) {
  if (path.isEmpty())
    return std::nullopt;
  const QSizeF original = getImageOriginalSizeAtFilePathUrl(path);
  if (original.width() > 0 && original.height() > 0 && size.width() > 0) {
    const QSizeF fitted = aspectFitSizeWithMaxSize(original, float(size.width()));
    const int w = std::max(1, int(std::lround(fitted.width())));
    const int h = std::max(1, int(std::lround(fitted.height())));
    try {
      return VImage::thumbnail(fileName(path).constData(), w,
                               VImage::option()->set("height", h)->set("size", VIPS_SIZE_FORCE))
          .copy_memory();
    } catch (const vips::VError &) {
    }
  }
  return ImageProcessing::getImageFromFile(path, float(size.width()), float(size.height()));
}

std::optional<VImage> Utils::getAspectFillImageFormImage(const VImage &image, QSize size,
                                                         CropMode cropMode) {
  if (size.width() <= 0 || size.height() <= 0 || image.width() <= 0 || image.height() <= 0)
    return std::nullopt;
  const double factor =
      std::max(double(size.width()) / image.width(), double(size.height()) / image.height());
  const QSize covered(std::max(size.width(), int(std::ceil(image.width() * factor - 1e-9))),
                      std::max(size.height(), int(std::ceil(image.height() * factor - 1e-9))));
  std::optional<VImage> scaled = scaleImage(image, covered);
  if (!scaled)
    return std::nullopt;
  const int spareX = covered.width() - size.width();
  const int spareY = covered.height() - size.height();
  int left = 0, top = 0;
  switch (cropMode) {
  case CropModeCenter:
    left = spareX / 2;
    top = spareY / 2;
    break;
  case CropModeStart:
    break;
  case CropModeEnd:
    left = spareX;
    top = spareY;
    break;
  }
  try {
    return scaled->crop(left, top, size.width(), size.height());
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

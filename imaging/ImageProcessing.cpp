#include "imaging/ImageProcessing.h"

#include "metadata/ExifInfo.h"
#include "platform/ImageProperties.h"
#include "platform/PathText.h"
#include "platform/StandardFolders.h"
#include "processing/CommonFunc.h"

#include <QDebug>
#include <QFile>
#include <QRect>
#include <QTemporaryFile>

#include <cmath>
#include <cstdio>

using vips::VImage;

namespace {

QByteArray fileName(const QString &path) {
  return QFile::encodeName(path);
}

// Exactly width by height: libvips rounds scaled sizes, so trim or extend the last pixel.
VImage exactSize(VImage image, int width, int height) {
  if (image.width() > width || image.height() > height)
    image =
        image.extract_area(0, 0, std::min(image.width(), width), std::min(image.height(), height));
  if (image.width() < width || image.height() < height)
    image = image.embed(0, 0, width, height, VImage::option()->set("extend", VIPS_EXTEND_COPY));
  return image;
}

std::optional<VImage> scaled(const VImage &image, int width, int height, VipsKernel kernel) {
  if (width <= 0 || height <= 0 || image.width() <= 0 || image.height() <= 0)
    return std::nullopt;
  try {
    const double h = double(width) / image.width();
    const double v = double(height) / image.height();
    VImage out = image.resize(h, VImage::option()->set("vscale", v)->set("kernel", kernel));
    return exactSize(out, width, height);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

VImage solid(const std::vector<double> &color, int width, int height) {
  std::vector<double> rgb = color;
  rgb.resize(3, 0.0);
  return VImage::black(width, height)
      .new_from_image(rgb)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

} // namespace

std::optional<QVariantMap> ImageProcessing::exifForFile(const QString &path) {
  if (path.isEmpty())
    return std::nullopt;
  return platform::ImageProperties::readFile(path);
}

std::optional<VImage> ImageProcessing::resizeImage(const QString &path, int n) {
  if (path.isEmpty() || n <= 0)
    return std::nullopt;
  try {
    return VImage::thumbnail(fileName(path).constData(), n, VImage::option()->set("height", n));
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::convertOriginalImageToBWImage(const VImage &image) {
  try {
    VImage grey = image;
    if (grey.has_alpha())
      grey = grey.flatten(VImage::option()->set("background", std::vector<double>{255.0}));
    grey = grey.colourspace(VIPS_INTERPRETATION_B_W);
    if (grey.bands() > 1)
      grey = grey.extract_band(0);
    return grey.cast(VIPS_FORMAT_UCHAR);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::resizeImage(const VImage &image, float width, float height) {
  if (!(width > 0) || !(height > 0))
    return std::nullopt;
  return scaled(image, int(std::lround(width)), int(std::lround(height)), VIPS_KERNEL_LANCZOS3);
}

std::optional<VImage> ImageProcessing::getImageFromFile(const QString &path, float width,
                                                        float height) {
  const QByteArray name = fileName(path);
  const std::shared_ptr<ExifInfo> info = ExifInfo::initWithFile(path);
  if (info && info->orientation != 1 && !path.isEmpty()) {
    // The upright size, fitted to the asked width with its aspect kept.
    int w = info->pixelWidth;
    int h = info->pixelHeight;
    if (info->orientation >= 5 && info->orientation <= 8)
      std::swap(w, h);
    if (w > 0 && h > 0 && width > 0) {
      const float factor = width / float(w);
      const int fw = int(std::lround(float(w) * factor));
      const int fh = int(std::lround(float(h) * factor));
      if (fw > 0 && fh > 0) {
        try {
          return VImage::thumbnail(
              name.constData(), fw,
              VImage::option()->set("height", fh)->set("size", VIPS_SIZE_FORCE));
        } catch (const vips::VError &) {
        }
      }
    }
    try {
      VImage whole = VImage::new_from_file(name.constData()).autorot().copy_memory();
      if (whole.width() == int(width))
        return whole;
      if (auto out = scaled(whole, int(width), int(height), VIPS_KERNEL_LANCZOS3))
        return out;
    } catch (const vips::VError &) {
    }
  }
  VImage image;
  try {
    image = VImage::new_from_file(name.constData());
  } catch (const vips::VError &) {
    std::fputs("Image source is NULL.\n", stderr);
    return std::nullopt;
  }
  try {
    return image.copy_memory();
  } catch (const vips::VError &) {
    std::fputs("Image not created from image source.\n", stderr);
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::getRGBColoredImage(const VImage &image, QSize size,
                                                          const std::vector<double> &color) {
  std::optional<VImage> resized = ImageProcessing::resizeImage(image, size);
  if (!resized)
    return std::nullopt;
  try {
    VImage rgb = resized->colourspace(VIPS_INTERPRETATION_sRGB);
    std::vector<double> background = color;
    background.resize(3, 0.0);
    if (rgb.has_alpha())
      rgb = rgb.flatten(VImage::option()->set("background", background));
    return rgb.cast(VIPS_FORMAT_UCHAR);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::resizeImageToWidthToHeight(const VImage &image, int width,
                                                                  int height) {
  return scaled(image, width, height, VIPS_KERNEL_LANCZOS3);
}

std::optional<VImage> ImageProcessing::resizedImage1(const VImage &image, QSize size,
                                                     int interpolationQuality) {
  VipsKernel kernel = VIPS_KERNEL_LANCZOS3;
  if (interpolationQuality <= 0)
    kernel = VIPS_KERNEL_NEAREST;
  else if (interpolationQuality == 1)
    kernel = VIPS_KERNEL_LINEAR;
  else if (interpolationQuality == 2)
    kernel = VIPS_KERNEL_CUBIC;
  return scaled(image, size.width(), size.height(), kernel);
}

std::optional<VImage> ImageProcessing::resizeImage(const VImage &image, QSize size) {
  return scaled(image, size.width(), size.height(), VIPS_KERNEL_LANCZOS3);
}

std::optional<VImage> ImageProcessing::resizeImageMinWidthMinHeight(const VImage &image,
                                                                    float width, float height) {
  if (!(width > 0) || !(height > 0) || image.width() <= 0 || image.height() <= 0)
    return std::nullopt;
  const double factor = std::max(width / image.width(), height / image.height());
  return scaled(image, int(std::ceil(image.width() * factor - 1e-6)),
                int(std::ceil(image.height() * factor - 1e-6)), VIPS_KERNEL_LANCZOS3);
}

std::optional<VImage> ImageProcessing::getThumbnailForFile(const QString &path, int width,
                                                           int height) {
  if (path.isEmpty() || width <= 0 || height <= 0)
    return std::nullopt;
  try {
    return VImage::thumbnail(fileName(path).constData(), width,
                             VImage::option()->set("height", height));
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

QString ImageProcessing::saveThumbnailForFile(const QString &path, int thumbnailWidth,
                                              int thumbnaiHeight) {
  const std::optional<VImage> thumbnail = getThumbnailForFile(path, thumbnailWidth, thumbnaiHeight);
  if (!thumbnail)
    return {};
  // A name of its own: two callers thumbnailing photos of the same name never share a file.
  QTemporaryFile file(platform::temporaryDirectory() + QLatin1Char('/') +
                      platform::PathText::stringByDeletingPathExtension(
                          platform::PathText::lastPathComponent(path)) +
                      QStringLiteral("_thumbnail_XXXXXX.png"));
  file.setAutoRemove(false);
  if (!file.open())
    return {};
  const QString target = file.fileName();
  file.close();
  if (saveImage(*thumbnail, target))
    return target;
  QFile::remove(target);
  return {};
}

std::optional<VImage> ImageProcessing::thumbnailImage(const VImage &image) {
  try {
    return image.thumbnail_image(256, VImage::option()->set("height", 256));
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::blurImage(const VImage &image, QSize size, int boxSize) {
  if (boxSize <= 0)
    return std::nullopt;
  try {
    std::vector<double> ones(size_t(boxSize) * size_t(boxSize), 1.0);
    VImage box = VImage::new_matrix(boxSize, boxSize, ones.data(), int(ones.size()));
    box.set("scale", double(boxSize) * boxSize);
    const VImage blurred = image.conv(box).cast(image.format());
    return scaled(blurred, size.width(), size.height(), VIPS_KERNEL_LINEAR);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

bool ImageProcessing::computeHistogramForImage(const VImage &image,
                                               std::vector<std::vector<quint64>> *histograms) {
  if (!histograms)
    return false;
  try {
    const VImage hist = image.cast(VIPS_FORMAT_UCHAR).hist_find().cast(VIPS_FORMAT_DOUBLE);
    size_t bytes = 0;
    double *data = static_cast<double *>(hist.write_to_memory(&bytes));
    const int bands = hist.bands();
    histograms->assign(size_t(bands), std::vector<quint64>(256, 0));
    for (int x = 0; x < 256 && x < hist.width(); ++x)
      for (int b = 0; b < bands; ++b)
        (*histograms)[size_t(b)][size_t(x)] = quint64(data[size_t(x) * bands + size_t(b)]);
    g_free(data);
    return true;
  } catch (const vips::VError &) {
    return false;
  }
}

void ImageProcessing::printHistograms(const std::vector<std::vector<quint64>> &histograms) {
  qDebug().noquote() << "Printing Histogram";
  for (size_t component = 0; component < histograms.size(); ++component) {
    qDebug().noquote() << QStringLiteral("Component-%1").arg(component);
    QStringList counts;
    for (quint64 count : histograms[component])
      counts.append(QString::number(count));
    qDebug().noquote() << counts.join(QLatin1Char(' '));
  }
}

std::optional<double> ImageProcessing::compareHistogramsForImage(const VImage &first,
                                                                 const VImage &second) {
  std::vector<std::vector<quint64>> a, b;
  if (!computeHistogramForImage(first, &a) || !computeHistogramForImage(second, &b) ||
      a.size() != b.size())
    return std::nullopt;
  // Pearson correlation over every band's normalised bins.
  std::vector<double> x, y;
  for (size_t band = 0; band < a.size(); ++band) {
    double ta = 0, tb = 0;
    for (size_t i = 0; i < 256; ++i) {
      ta += double(a[band][i]);
      tb += double(b[band][i]);
    }
    for (size_t i = 0; i < 256; ++i) {
      x.push_back(ta > 0 ? double(a[band][i]) / ta : 0.0);
      y.push_back(tb > 0 ? double(b[band][i]) / tb : 0.0);
    }
  }
  double mx = 0, my = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    mx += x[i];
    my += y[i];
  }
  mx /= double(x.size());
  my /= double(y.size());
  double sxy = 0, sxx = 0, syy = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    sxy += (x[i] - mx) * (y[i] - my);
    sxx += (x[i] - mx) * (x[i] - mx);
    syy += (y[i] - my) * (y[i] - my);
  }
  if (sxx <= 0 || syy <= 0)
    return sxx == syy ? std::optional<double>(1.0) : std::optional<double>(0.0);
  return sxy / std::sqrt(sxx * syy);
}

bool ImageProcessing::equalizeAndSaveImage(const VImage &image, const QString &path) {
  try {
    return saveImage(image.cast(VIPS_FORMAT_UCHAR).hist_equal(), path);
  } catch (const vips::VError &) {
    return false;
  }
}

bool ImageProcessing::saveImage(const VImage &image, const QString &path) {
  if (path.isEmpty())
    return false;
  try {
    image.write_to_file(fileName(path).constData());
    return true;
  } catch (const vips::VError &) {
    return false;
  }
}

std::optional<QDateTime> ImageProcessing::getCreationTimeForExif(const QVariantMap &properties) {
  const QVariant value =
      properties.value(QStringLiteral("{Exif}")).toMap().value(QStringLiteral("DateTimeOriginal"));
  if (!value.isValid())
    return std::nullopt;
  const QDateTime date = CommonFunc::getDateFromString(value.toString());
  if (!date.isValid())
    return std::nullopt;
  return date;
}

QSize ImageProcessing::sizeOfImageAtURL(const QString &path) {
  const std::optional<QVariantMap> properties = exifForFile(path);
  if (!properties)
    return {};
  return QSize(properties->value(QStringLiteral("PixelWidth")).toInt(),
               properties->value(QStringLiteral("PixelHeight")).toInt());
}

std::optional<VImage> ImageProcessing::flipImageVertically(const VImage &image) {
  try {
    return image.flip(VIPS_DIRECTION_VERTICAL);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::flipImageHorizontally(const VImage &image) {
  try {
    return image.flip(VIPS_DIRECTION_HORIZONTAL);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::imageWithCIImage(const VImage &image) {
  try {
    return image.copy();
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::imageWithCIImage(const VImage &image, const QRect &rect) {
  const QRect bounds = rect.intersected(QRect(0, 0, image.width(), image.height()));
  if (bounds.isEmpty())
    return std::nullopt;
  try {
    return image.extract_area(bounds.x(), bounds.y(), bounds.width(), bounds.height());
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::imageWithColor(const std::vector<double> &color,
                                                      QSize size) {
  if (size.width() <= 0 || size.height() <= 0)
    return std::nullopt;
  try {
    return solid(color, size.width(), size.height());
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

std::optional<VImage> ImageProcessing::rotateImagedByDegrees(double degrees, const VImage &image) {
  try {
    const double quarter = std::fmod(std::fmod(degrees, 360.0) + 360.0, 360.0);
    if (quarter == 90.0)
      return image.rot(VIPS_ANGLE_D90);
    if (quarter == 180.0)
      return image.rot(VIPS_ANGLE_D180);
    if (quarter == 270.0)
      return image.rot(VIPS_ANGLE_D270);
    if (quarter == 0.0)
      return image.copy();
    return image.rotate(quarter);
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

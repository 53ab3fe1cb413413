#pragma once

#include <QDateTime>
#include <QSize>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <optional>
#include <vector>

#include <vips/vips8>

// Class-level image operations on libvips images. Every operation gives none on failure and
// reports nothing to the user; only getImageFromFile writes two console lines.
class ImageProcessing {
public:
  ImageProcessing() = delete;

  // The properties dictionary of image 0 of the file (see platform/ImageProperties.h), or none
  // for an empty path or a file that is not an image.
  static std::optional<QVariantMap> exifForFile(const QString &path);

  // A thumbnail of the file, turned upright, at most n pixels on its longer side.
  static std::optional<vips::VImage> resizeImage(const QString &path, int n);
  // An 8-bit, one-band grey copy of the same pixel size.
  static std::optional<vips::VImage> convertOriginalImageToBWImage(const vips::VImage &image);
  // The whole image drawn into a new w by h image; none when w or h is not above 0.
  static std::optional<vips::VImage> resizeImage(const vips::VImage &image, float width,
                                                 float height);
  // The image of a file for showing or processing. A photo that must be turned (orientation
  // other than 1) comes upright from the thumbnailer at the size fitted to width; any other
  // photo is decoded at its full stored size, whatever size was asked.
  static std::optional<vips::VImage> getImageFromFile(const QString &path, float width,
                                                      float height);

  // --- Operations that nothing in the application calls, kept for completeness ---

  // The image scaled to size and laid onto an opaque background of colour (RGB 0-255).
  static std::optional<vips::VImage> getRGBColoredImage(const vips::VImage &image, QSize size,
                                                        const std::vector<double> &color);
  static std::optional<vips::VImage> resizeImageToWidthToHeight(const vips::VImage &image,
                                                                int width, int height);
  // interpolationQuality: 0 nearest neighbour, 1 linear, 2 cubic, 3 or more Lanczos.
  static std::optional<vips::VImage> resizedImage1(const vips::VImage &image, QSize size,
                                                   int interpolationQuality);
  static std::optional<vips::VImage> resizeImage(const vips::VImage &image, QSize size);
  // Scaled with its aspect kept so that it is at least width by height.
  static std::optional<vips::VImage> resizeImageMinWidthMinHeight(const vips::VImage &image,
                                                                  float width, float height);
  // An upright thumbnail of the file that fits in width by height.
  static std::optional<vips::VImage> getThumbnailForFile(const QString &path, int width,
                                                         int height);
  // Saves an upright thumbnail of the file, fitting width by height, as a PNG named after the
  // file in the temporary folder, and returns its path ("" on failure). The name keeps the
  // system's spelling.
  static QString saveThumbnailForFile(const QString &path, int thumbnailWidth, int thumbnaiHeight);
  // An upright thumbnail of an image, at most 256 pixels on its longer side.
  static std::optional<vips::VImage> thumbnailImage(const vips::VImage &image);
  // Box blur: the mean over boxSize by boxSize pixels, then scaled to size.
  static std::optional<vips::VImage> blurImage(const vips::VImage &image, QSize size, int boxSize);
  // One 256-entry histogram per band of the 8-bit image.
  static bool computeHistogramForImage(const vips::VImage &image,
                                       std::vector<std::vector<quint64>> *histograms);
  static void printHistograms(const std::vector<std::vector<quint64>> &histograms);
  // Correlation of the normalised histograms of two images: 1.0 for the same distribution.
  static std::optional<double> compareHistogramsForImage(const vips::VImage &first,
                                                         const vips::VImage &second);
  static bool equalizeAndSaveImage(const vips::VImage &image, const QString &path);
  // Saved in the format the path's extension names.
  static bool saveImage(const vips::VImage &image, const QString &path);
  // "{Exif}" "DateTimeOriginal" of a properties dictionary, parsed; none when absent.
  static std::optional<QDateTime> getCreationTimeForExif(const QVariantMap &properties);
  // Stored pixel size of the file's image 0; an invalid size when it is not an image.
  static QSize sizeOfImageAtURL(const QString &path);
  static std::optional<vips::VImage> flipImageVertically(const vips::VImage &image);
  static std::optional<vips::VImage> flipImageHorizontally(const vips::VImage &image);
  // The filter image type of the application is the libvips image: these copy, or crop.
  static std::optional<vips::VImage> imageWithCIImage(const vips::VImage &image);
  static std::optional<vips::VImage> imageWithCIImage(const vips::VImage &image, const QRect &rect);
  static std::optional<vips::VImage> imageWithColor(const std::vector<double> &color, QSize size);
  // Turned clockwise by degrees about its centre, on a larger canvas when it must be.
  static std::optional<vips::VImage> rotateImagedByDegrees(double degrees,
                                                           const vips::VImage &image);
};

#pragma once

#include <QDateTime>
#include <QSize>
#include <QSizeF>
#include <QString>
#include <QVariantMap>

#include "platform/EncodedFile.h"

#include <optional>

#include <vips/vips8>

// The shared utility object: one instance for the process, made on first use. Class-level
// helpers are static members. Each group of operations lives in its own source file
// (Utils.cpp holds the size, duration and date texts), so groups can grow independently.
class Utils {
public:
  static Utils &sharedUtils();

  Utils(const Utils &) = delete;
  Utils &operator=(const Utils &) = delete;

  // --- Size, duration and date texts (Utils.cpp) ---

  // A byte count in base 1000 ("bytes", "KB", "MB", "GB", "TB"), e.g. "512 bytes",
  // "1.23 MB". flags is accepted for the callers' sake and ignored.
  QString unitStringFromBytes(double bytes, int flags);
  // h/m/s text; a duration under an hour begins with a blank (" 45 seconds").
  QString timeFormattedString(qint64 seconds);

  // Whole seconds from start to end, fraction dropped (towards zero); 0 for invalid dates.
  static qint64 getDurationBetweenDate(const QDateTime &start, const QDateTime &end);
  // The date by a Unicode date pattern in the current locale and time zone.
  static QString getDateStringFromDate(const QDateTime &date, const QString &pattern);
  // "yyyyMMddTHHmm" in the current time zone.
  static QString getDateInFormatNEW(const QDateTime &date);

  // --- Image utilities (UtilsImage.cpp) ---

  // Which part of the picture a fill thumbnail keeps once it has been scaled to cover the
  // asked size: the middle, the top-left edge, or the bottom-right edge.
  enum CropMode { CropModeCenter = 0, CropModeStart = 1, CropModeEnd = 2 };

  // The batch run's loader: the photo upright and in RGB (grey and CMYK photos converted,
  // alpha kept), so every encoder takes it: 16-bit RGB for a 16-bit photo, 8-bit sRGB for any
  // other. Its embedded ICC profile stays attached. Camera RAW files are developed by the RAW
  // decoder. None when the file cannot be decoded.
  std::optional<vips::VImage> getImageWithFixedOrientionFromUrl(const QString &path);
  // The same photo not yet decoded: its pixels are read, once and in order, by whatever
  // takes them (an encoder streams it straight from the file). None when the file cannot be
  // opened; a damaged one fails when read.
  std::optional<vips::VImage> uprightImageFromUrl(const QString &path);
  // The same with the file's properties dictionary already read (getImageeExifDict), so a
  // caller that needs them too reads the file once.
  std::optional<vips::VImage> uprightImageFromUrl(const QString &path,
                                                  const std::optional<QVariantMap> &properties);
  // A grey image made three-band RGB of the same pixel size.
  std::optional<vips::VImage> convertGraycolorModelToRgb(const vips::VImage &image);
  // The picture's pixel size as seen upright; (0, 0) when the file states none.
  QSizeF getImageOriginalSizeAtFilePathUrl(const QString &path);
  // The whole image drawn into an image of exactly newSize; none for an empty size.
  static std::optional<vips::VImage> scaleImage(const vips::VImage &image, QSize newSize);
  // The stored bitmap turned by EXIF orientation o (2-8); any other o leaves it unchanged.
  static vips::VImage RotateWithEXIF(const vips::VImage &bitmap, int orientation);
  // The number of the batch's applied filters that are switched on.
  qint32 totalBatchStepsApplied();
  // size scaled so that its width is maxWidth, aspect kept (enlarging or shrinking).
  static QSizeF aspectFitSizeWithMaxSize(QSizeF size, float maxWidth);
  // An upright thumbnail fitted to size's width, through libvips' shrink-on-load thumbnailer;
  // none for an empty path.
  std::optional<vips::VImage> getThumbnailImageAtFilePath(const QString &path, QSizeF size);
  // The image scaled to cover size with its aspect kept, then cut to size by cropMode.
  std::optional<vips::VImage> getAspectFillImageFormImage(const vips::VImage &image, QSize size,
                                                          CropMode cropMode);
  // 8-bit sRGB (three bands, or four with alpha) of any decoded image; none when the image's
  // bands cannot be read as a picture.
  static std::optional<vips::VImage> toEightBitRgb(const vips::VImage &image);
  // The same, except that 16-bit RGB and grey stay 16-bit (as RGB16, alpha kept).
  static std::optional<vips::VImage> toRgbKeepingDepth(const vips::VImage &image);
  // The ICC profile attached to an RGB image when it describes its pixels (an RGB profile);
  // empty when there is none, and the pixels are then taken as sRGB.
  static QByteArray embeddedProfile(const vips::VImage &image);

  // --- Encoding (UtilsEncode.cpp) ---

  // Writes one file of representation type 0-10 (TIFF, BMP, GIF, JPEG, JPEG, PNG, JPEG 2000,
  // WebP, AVIF, HEIC, JPEG XL)
  // at path (the writer gives a temporary file that it renames into place), with the
  // properties of the source file sourcePath carried by the metadata writer (not for GIF and
  // BMP), "Orientation" 1 when automatic correction is on. factor is the lossy quality (0-1).
  // False when nothing was written; *reason then tells why.
  bool saveImageInSelectedFormat(int repType, const QString &path, const vips::VImage &image,
                                 const vips::VImage &bitmap, const QVariantMap &exifDict,
                                 float factor, int orientation, const QString &sourcePath,
                                 QString *reason = nullptr);
  // Pixels only (no metadata) encoded in memory as representation type repType; none (with
  // *reason) when they cannot be encoded. TIFF and PNG keep 16-bit pixels at 16 bits; the
  // other types take 8 bits, and GIF and BMP, which hold no colour profile, get the pixels
  // converted to sRGB from the profile attached to the image. compressionLevel -1 gives the
  // format's plain form; 0-9 is the compressor's effort (PNG zlib level; TIFF 1-4 LZW, 5-9 deflate,
  // both with the horizontal predictor; GIF palette effort 1-10; no effect on the other types).
  static std::optional<EncodedFile> encodeImageToBuffer(const vips::VImage &image, int repType,
                                                        float factor, int compressionLevel,
                                                        QString *reason = nullptr);
  // The encoded file with the properties of the source file sourcePath carried into it (not
  // for GIF and BMP), "Orientation" 1 when automatic correction is on, and the bitmap's ICC
  // profile embedded so the output looks as its source does: what
  // saveImageInSelectedFormat writes, in memory, so it can be made ahead of its turn.
  // takenDate ("YYYY:MM:DD HH:MM:SS"), when given, replaces the carried DateTimeOriginal and
  // CreateDate. AVIF, HEIC and JPEG XL take the metadata through their encoder; a format the
  // system cannot write gives none, with the reason.
  std::optional<EncodedFile> encodeWithProperties(int repType, const vips::VImage &bitmap,
                                                  const QVariantMap &exifDict, float factor,
                                                  int compressionLevel, const QString &sourcePath,
                                                  QString *reason = nullptr,
                                                  const QString &takenDate = QString());
  // The properties dictionary of image 0 of the file; empty when it cannot be opened.
  QVariantMap getImageeExifDict(const QString &path);
  // The image as the encoders take it (8-bit sRGB, alpha kept).
  vips::VImage getCgiImageRef(const vips::VImage &image);

private:
  Utils() = default;
};

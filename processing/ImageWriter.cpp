#include "processing/ImageWriter.h"

#include "processing/ProcessingLog.h"

#include "app/AppDelegate.h"
#include "imaging/Utils.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "platform/MetadataCopy.h"
#include "platform/PdfPages.h"
#include "platform/RunFiles.h"
#include "platform/SafeWrite.h"
#include "platform/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <cstdio>

using vips::VImage;

namespace {

const QStringList &stillExtensions() {
  return AppDelegate::stillImageFormats();
}

void logLine(const QString &line) {
  qCInfo(lcProcessing).noquote() << line;
}

// File-manager failures are logged; "no such file" is the one the writer expects to see.
void removeLogged(const QString &path) {
  if (!QFile::exists(path))
    return;
  if (!QFile::remove(path))
    logLine(QStringLiteral("could not remove %1").arg(path));
}

// A library's reason on one line: libvips joins several messages with line breaks.
QString oneLine(const QString &reason) {
  QStringList parts = reason.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
  for (QString &part : parts)
    part = part.trimmed();
  parts.removeAll(QString());
  parts.removeDuplicates();
  return parts.join(QStringLiteral("; "));
}

bool samePath(const QString &a, const QString &b) {
  const QString ca = QFileInfo(a).canonicalFilePath();
  const QString cb = QFileInfo(b).canonicalFilePath();
  if (!ca.isEmpty() && !cb.isEmpty())
    return ca == cb;
  return QDir::cleanPath(a) == QDir::cleanPath(b);
}

} // namespace

QString ImageWriter::pictureFolderPath() {
  return platform::picturesDirectory() + QStringLiteral("/Quillmere");
}

float ImageWriter::qualityFactor(const RunSettings &settings) {
  if (usesQualityBranch(settings))
    return settings.isSetQuality ? float(double(settings.qualityRatio) * 0.98) : 0.82f;
  return 0.98f;
}

bool ImageWriter::usesQualityBranch(const RunSettings &settings) {
  const int f = settings.outputFormat;
  return f == 4 || f == 5 || f == 7 || f == 0 || (f >= 9 && f <= 12);
}

int ImageWriter::pdfPageQuality(const RunSettings &settings) {
  if (!settings.isSetCompression)
    return 82;
  return 90 - 7 * std::clamp(int(settings.compressionRatio), 0, 9);
}

int ImageWriter::repTypeForExtension(const QString &extension) {
  const QString e = extension.toLower();
  if (e == QLatin1String("tiff"))
    return 0;
  if (e == QLatin1String("heif"))
    return repTypeForExtension(QStringLiteral("heic"));
  const int position = stillExtensions().indexOf(e);
  return position >= 1 ? position - 1 : -1;
}

void ImageWriter::makePictureFolderIfNeeded(const QString &newPath) {
  const QString folder = pictureFolderPath();
  if (newPath.contains(folder) && !QFileInfo::exists(folder)) {
    if (platform::Files::createDirectory(folder).ok)
      logLine(QStringLiteral("directory created successfully %1").arg(folder));
  }
}

QString ImageWriter::encoderFailedMessage(const QString &reason) {
  return QStringLiteral("The encoder failed: %1").arg(oneLine(reason));
}

QString ImageWriter::notWrittenMessage(const QString &reason) {
  return QStringLiteral("The file could not be written: %1").arg(oneLine(reason));
}

QString ImageWriter::notDecodedMessage() {
  return QStringLiteral("The photo could not be decoded.");
}

WriteReport ImageWriter::saveImgInDirectoryFilteredImg(const VImage &image, const QString &newPath,
                                                       int repType, const PhotoFile &photo,
                                                       const EncodedFile *encoded) {
  WriteReport report;
  removedOnStop_ = false;
  replacedInTrash_.clear();
  failure_ = Failure::None;
  makePictureFolderIfNeeded(newPath);
  bool alreadyExists = false;
  bool produced = false;
  if (takesStillImagePath(newPath)) {
    produced = saveImageUsingDefaultMethodInDirectoryFilteredImg(
        image, newPath, repType, photo, &report.reason, &alreadyExists, encoded);
  } else {
    produced = saveImageUsingImageMagick(image, newPath, photo, &report.reason, &alreadyExists);
  }
  report.produced = produced;
  report.removedOnStop = removedOnStop_;
  if (alreadyExists) {
    // A file appeared at the destination after the preview and overwriting is off.
    report.status = 3;
    report.message = QStringLiteral("File already exists in destination folder");
    return report;
  }
  if (!produced && !removedOnStop_) {
    // Nothing under the final name: the photo is an error, and the message says why.
    report.status = 2;
    report.message = failure_ == Failure::Encoding ? encoderFailedMessage(report.reason)
                                                   : notWrittenMessage(report.reason);
    return report;
  }

  if (produced && settings.setOutputDateTimeAsOriginal) {
    // Linux keeps no settable creation (birth) time: the output gets the source's
    // modification and access times and its permissions; its birth time stays the write's.
    const platform::Files::Attributes source = platform::Files::attributesOfItem(photo.filePath);
    if (source.exists) {
      platform::Files::setDates(newPath, source.modificationDate, source.accessDate);
      platform::Files::setPermissions(newPath, source.permissions & 07777);
    }
  }

  QString sourceInTrash;
  // The source goes to the trash only when this write put a new file in place and that file
  // is not the source itself (a beside-the-source overwrite under the same name).
  if (settings.moveAndRenameToDestinationFolder && produced && QFileInfo::exists(newPath) &&
      !samePath(newPath, photo.filePath)) {
    const platform::Files::Result result =
        platform::Files::moveToTrash(photo.filePath, &sourceInTrash);
    if (!result.ok)
      logLine(result.message);
  }
  if (produced && onWritten)
    onWritten(photo.filePath, newPath, sourceInTrash, replacedInTrash_);
  return report;
}

bool ImageWriter::takesStillImagePath(const QString &newPath) {
  // The list is matched case-sensitively; an extension in capitals that still names a
  // picture format keeps the still-image path, so a file's bytes always match its name.
  const QString extension = QFileInfo(newPath).suffix();
  return stillExtensions().contains(extension) ||
         (!extension.isEmpty() && repTypeForExtension(extension) >= 0);
}

ImageWriter::StillPlan ImageWriter::stillPlan(const QString &newPath, int repType) const {
  StillPlan plan;
  // The destination's own extension decides the encoder when it names one, so that keeping
  // the original name of a format outside the list (written as PNG) gives PNG bytes.
  const int byExtension = repTypeForExtension(QFileInfo(newPath).suffix());
  plan.repType = byExtension >= 0 ? byExtension : repType;
  if (usesQualityBranch(settings))
    plan.factor = qualityFactor(settings);
  else if (settings.isSetCompression)
    plan.compression = true;
  return plan;
}

QString ImageWriter::writtenTakenDate(const PhotoFile &photo) const {
  if (!settings.writeDateShift || settings.dateShift == 0)
    return QString();
  // A photo without a capture date has no camera clock to correct; its file date is not
  // written as one. The shift is added as the names add it, so both agree.
  const QDateTime taken = photo.captureDateOfFile();
  if (!taken.isValid())
    return QString();
  return taken.addSecs(settings.dateShift).toString(QStringLiteral("yyyy:MM:dd HH:mm:ss"));
}

ImageWriter::Bitmap ImageWriter::bitmapForWriting(const VImage &image,
                                                  const QVariantMap &properties) {
  Bitmap b;
  // At the photo's depth: TIFF and PNG keep 16 bits; each encoder takes what its format holds.
  b.bitmap = Utils::toRgbKeepingDepth(image).value_or(image);
  b.properties = properties;
  b.orientation = b.properties.value(QStringLiteral("Orientation")).toInt();
  if (b.orientation != 0 && !AppDelegate::shared()->isAUTO_CORRECT_ORIENTATION) {
    b.bitmap = Utils::RotateWithEXIF(b.bitmap, b.orientation);
    logLine(QStringLiteral("setup rotating image beacuse autocorrection is off"));
  }
  return b;
}

std::optional<EncodedFile> ImageWriter::encodeAhead(const VImage &image, const QString &newPath,
                                                    int repType, const PhotoFile &photo,
                                                    const QVariantMap &properties) const {
  if (newPath.isEmpty() || !takesStillImagePath(newPath))
    return std::nullopt;
  const StillPlan plan = stillPlan(newPath, repType);
  if (plan.compression)
    return std::nullopt;
  const Bitmap b = bitmapForWriting(image, properties);
  return Utils::sharedUtils().encodeWithProperties(plan.repType, b.bitmap, b.properties,
                                                   plan.factor, -1, photo.filePath, nullptr,
                                                   writtenTakenDate(photo));
}

bool ImageWriter::commitStill(const EncodedFile &encoded, const QString &newPath, QString *reason,
                              bool *alreadyExists) {
  logLine(QStringLiteral("save image at path %1").arg(newPath));
  failure_ = Failure::Writing;
  keepReplacedFile(newPath);
  const bool written = platform::SafeWrite::writeInPlace(
      newPath, encoded.bytes(), settings.owerwriteExistingFiles, reason, alreadyExists);
  if (!written)
    restoreReplacedFile(newPath);
  return written;
}

bool ImageWriter::saveImageUsingDefaultMethodInDirectoryFilteredImg(
    const VImage &image, const QString &newPath, int repType, const PhotoFile &photo,
    QString *reason, bool *alreadyExists, const EncodedFile *encoded) {
  makePictureFolderIfNeeded(newPath);
  if (newPath.isEmpty()) {
    failure_ = Failure::Writing;
    *reason = QStringLiteral("no destination path");
    return false;
  }
  // Nothing is encoded for a destination that is taken; the commit checks again, atomically.
  if (!settings.owerwriteExistingFiles && QFileInfo::exists(newPath)) {
    *alreadyExists = true;
    *reason = QStringLiteral("a file already exists at the destination");
    return false;
  }
  const StillPlan plan = stillPlan(newPath, repType);
  if (encoded && !plan.compression)
    return commitStill(*encoded, newPath, reason, alreadyExists);

  const Bitmap b = bitmapForWriting(image, Utils::sharedUtils().getImageeExifDict(photo.filePath));
  if (!plan.compression) {
    const std::optional<EncodedFile> bytes = Utils::sharedUtils().encodeWithProperties(
        plan.repType, b.bitmap, b.properties, plan.factor, -1, photo.filePath, reason,
        writtenTakenDate(photo));
    if (!bytes) {
      failure_ = Failure::Encoding;
      return false;
    }
    return commitStill(*bytes, newPath, reason, alreadyExists);
  }

  if (setCompressionInProgress)
    setCompressionInProgress(true);
  // The intermediate PNG is kept in memory: no file name that two runs could share.
  const std::optional<EncodedFile> intermediatePng = Utils::sharedUtils().encodeWithProperties(
      5, b.bitmap, b.properties, settings.qualityRatio, -1, photo.filePath, reason);
  bool written = false;
  if (!intermediatePng)
    failure_ = Failure::Encoding;
  // The compressor: the destination in its own format at the slider's effort, read back from
  // the intermediate PNG.
  if (intermediatePng) {
    try {
      const QByteArrayView png = intermediatePng->bytes();
      VImage intermediate =
          VImage::new_from_buffer(png.data(), size_t(png.size()), "",
                                  VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
      const std::optional<EncodedFile> bytes = Utils::sharedUtils().encodeWithProperties(
          plan.repType, intermediate, b.properties, 0.98f,
          std::clamp(int(settings.compressionRatio), 0, 9), photo.filePath, reason,
          writtenTakenDate(photo));
      if (bytes)
        written = commitStill(*bytes, newPath, reason, alreadyExists);
      else
        failure_ = Failure::Encoding;
    } catch (const vips::VError &error) {
      *reason = QString::fromUtf8(error.what()).trimmed();
      failure_ = Failure::Encoding;
      written = false;
    }
  }
  if (setCompressionInProgress)
    setCompressionInProgress(false);
  logLine(QStringLiteral("File Compressed Successfully"));
  if (takeStopRequestWhileCompression && takeStopRequestWhileCompression()) {
    if (written) {
      removeLogged(newPath);
      restoreReplacedFile(newPath);
      written = false;
      removedOnStop_ = true;
      *reason = QStringLiteral("removed: the run was stopped during compression");
    }
    if (stopProcessAfterCompletionCompression)
      stopProcessAfterCompletionCompression();
  }
  return written;
}

bool ImageWriter::saveImageUsingImageMagick(const VImage &image, const QString &newPath,
                                            const PhotoFile &photo, QString *reason,
                                            bool *alreadyExists) {
  const bool exists = QFileInfo::exists(newPath);
  if (exists && !settings.owerwriteExistingFiles) {
    *alreadyExists = true;
    *reason = QStringLiteral("a file already exists at the destination");
    return false;
  }
  const QVariantMap properties = Utils::sharedUtils().getImageeExifDict(photo.filePath);
  platform::PdfPages::JpegPicture picture;
  picture.dpiX = properties.value(QStringLiteral("DPIWidth"), 72).toDouble();
  picture.dpiY = properties.value(QStringLiteral("DPIHeight"), 72).toDouble();
  try {
    VImage page = Utils::sharedUtils().getCgiImageRef(image);
    if (page.has_alpha())
      page = page.flatten(VImage::option()->set("background", std::vector<double>{255, 255, 255}));
    picture.width = page.width();
    picture.height = page.height();
    picture.components = 3;
    picture.colourProfile = Utils::embeddedProfile(page);
    // A JPEG source already upright and at its own size goes into the page unchanged.
    const QString sourceExtension = photo.fileExtension.toLower();
    const int orientation = properties.value(QStringLiteral("Orientation"), 1).toInt();
    if (!settings.isSetCompression &&
        (sourceExtension == QLatin1String("jpg") || sourceExtension == QLatin1String("jpeg")) &&
        orientation <= 1 &&
        properties.value(QStringLiteral("PixelWidth")).toInt() == page.width() &&
        properties.value(QStringLiteral("PixelHeight")).toInt() == page.height()) {
      VImage header = VImage::new_from_file(QFile::encodeName(photo.filePath).constData());
      const char *loader = nullptr;
      if (vips_image_get_string(header.get_image(), "vips-loader", &loader) == 0 && loader &&
          qstrcmp(loader, "jpegload") == 0 && header.format() == VIPS_FORMAT_UCHAR &&
          (header.bands() == 3 || header.bands() == 1) &&
          header.interpretation() != VIPS_INTERPRETATION_CMYK) {
        QFile source(photo.filePath);
        if (source.open(QIODevice::ReadOnly)) {
          picture.bytes = source.readAll();
          picture.components = header.bands();
        }
      }
    }
    if (picture.bytes.isEmpty()) {
      void *buffer = nullptr;
      size_t size = 0;
      page.write_to_buffer(
          ".jpg", &buffer, &size,
          VImage::option()->set("Q", pdfPageQuality(settings))->set("strip", true));
      picture.bytes = QByteArray(static_cast<const char *>(buffer), qsizetype(size));
      g_free(buffer);
    }
  } catch (const vips::VError &error) {
    *reason = QString::fromUtf8(error.what()).trimmed();
    failure_ = Failure::Encoding;
    return false;
  }
  failure_ = Failure::Writing;
  const QString temporary =
      platform::SafeWrite::createTemporaryFile(QFileInfo(newPath).absolutePath(), reason);
  if (temporary.isEmpty())
    return false;
  if (!platform::PdfPages::appendJpegPage(newPath, temporary, picture, reason)) {
    QFile::remove(temporary);
    return false;
  }
  // The pages before this one are in the temporary file: the old file can go to the trash.
  keepReplacedFile(newPath);
  const bool written = platform::SafeWrite::commit(
      temporary, newPath, settings.owerwriteExistingFiles, reason, alreadyExists);
  if (!written)
    restoreReplacedFile(newPath);
  return written;
}

void ImageWriter::keepReplacedFile(const QString &newPath) {
  // Only a file is replaced: a folder under the new name makes the write fail, as it should.
  const QFileInfo existing(newPath);
  if (!settings.owerwriteExistingFiles || replacedInTrash_.size() > 0 ||
      (!existing.exists() && !existing.isSymLink()) || (existing.isDir() && !existing.isSymLink()))
    return;
  const platform::Files::Result moved = platform::Files::moveToTrash(newPath, &replacedInTrash_);
  if (!moved.ok) {
    replacedInTrash_.clear();
    logLine(moved.message);
  }
}

void ImageWriter::restoreReplacedFile(const QString &newPath) {
  if (replacedInTrash_.isEmpty())
    return;
  const platform::Files::Result back =
      platform::RunFiles::restoreFromTrash(replacedInTrash_, newPath);
  if (!back.ok)
    logLine(back.message);
  replacedInTrash_.clear();
}

QString ImageWriter::createSinglePagePdfDocAtPath(const QString &folder, const VImage &image) {
  platform::PdfPages::JpegPicture picture;
  try {
    VImage page = Utils::sharedUtils().getCgiImageRef(image);
    if (page.has_alpha())
      page = page.flatten(VImage::option()->set("background", std::vector<double>{255, 255, 255}));
    void *buffer = nullptr;
    size_t size = 0;
    page.write_to_buffer(".jpg", &buffer, &size, VImage::option()->set("Q", 82));
    picture.bytes = QByteArray(static_cast<const char *>(buffer), qsizetype(size));
    g_free(buffer);
    picture.width = page.width();
    picture.height = page.height();
    picture.colourProfile = Utils::embeddedProfile(page);
  } catch (const vips::VError &) {
    return QString();
  }
  // Each attempt writes a fresh temporary file: a failed commit removes it.
  for (int n = 1; n < 1000; ++n) {
    const QString temporary = platform::SafeWrite::createTemporaryFile(folder);
    if (temporary.isEmpty())
      return QString();
    if (!platform::PdfPages::appendJpegPage(QString(), temporary, picture)) {
      QFile::remove(temporary);
      return QString();
    }
    const QString path = n == 1 ? folder + QStringLiteral("/singlePagePdfDoc.pdf")
                                : QStringLiteral("%1/singlePagePdfDoc %2.pdf").arg(folder).arg(n);
    bool taken = false;
    if (platform::SafeWrite::commit(temporary, path, false, nullptr, &taken))
      return path;
    if (!taken)
      return QString();
  }
  return QString();
}

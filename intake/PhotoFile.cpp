#include "intake/PhotoFile.h"

#include "imaging/ImageProcessing.h"
#include "imaging/Utils.h"
#include "intake/ImageFileInfo.h"
#include "intake/IntakeLog.h"
#include "metadata/ExifInfo.h"
#include "platform/Files.h"
#include "platform/PathText.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <atomic>
#include <mutex>

Q_LOGGING_CATEGORY(lcIntake, "quillmere.intake")

namespace intake {

void displayedSize(int orientation, double pixelWidth, double pixelHeight, double *width,
                   double *height) {
  const bool quarterTurn = orientation >= 5 && orientation <= 8;
  *width = quarterTurn ? pixelHeight : pixelWidth;
  *height = quarterTurn ? pixelWidth : pixelHeight;
}

namespace {

quint32 littleEndian32(const QByteArray &bytes, int at) {
  const auto *p = reinterpret_cast<const uchar *>(bytes.constData() + at);
  return quint32(p[0]) | quint32(p[1]) << 8 | quint32(p[2]) << 16 | quint32(p[3]) << 24;
}

// Looks for a usable "%%BoundingBox:" line in a PostScript text; "(atend)" does not count.
bool boundingBoxIn(const QByteArray &text, double *width, double *height) {
  static const QByteArray key("%%BoundingBox:");
  qsizetype at = 0;
  while ((at = text.indexOf(key, at)) >= 0) {
    if (at > 0 && text[at - 1] != '\n' && text[at - 1] != '\r') {
      at += key.size();
      continue;
    }
    qsizetype end = at + key.size();
    while (end < text.size() && text[end] != '\n' && text[end] != '\r')
      ++end;
    const QList<QByteArray> fields =
        text.mid(at + key.size(), end - at - key.size()).simplified().split(' ');
    at = end;
    if (fields.size() < 4)
      continue;
    bool ok[4] = {};
    double v[4];
    for (int i = 0; i < 4; ++i)
      v[i] = fields[i].toDouble(&ok[i]);
    if (!(ok[0] && ok[1] && ok[2] && ok[3]))
      continue;
    *width = v[2] - v[0];
    *height = v[3] - v[1];
    return true;
  }
  return false;
}

} // namespace

bool encapsulatedPostScriptSize(const QString &path, double *width, double *height) {
  // Header comments come first; a deferred box sits in the trailer. Reading both ends keeps
  // a large EPS cheap.
  constexpr qint64 kHead = 256 * 1024;
  constexpr qint64 kTail = 64 * 1024;
  QFile file(path);
  if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
    return false;
  qint64 start = 0;
  qint64 length = file.size();
  const QByteArray magic = file.read(12);
  if (magic.size() == 12 && uchar(magic[0]) == 0xC5 && uchar(magic[1]) == 0xD0 &&
      uchar(magic[2]) == 0xD3 && uchar(magic[3]) == 0xC6) {
    // DOS EPS binary: the PostScript section's offset and length follow the magic.
    start = littleEndian32(magic, 4);
    length = littleEndian32(magic, 8);
    if (start + length > file.size())
      length = file.size() - start;
  }
  if (length <= 0 || !file.seek(start))
    return false;
  const QByteArray head = file.read(qMin(length, kHead));
  if (boundingBoxIn(head, width, height))
    return true;
  if (length > kHead) {
    const qint64 tailStart = start + qMax(kHead, length - kTail);
    if (file.seek(tailStart) && boundingBoxIn(file.read(start + length - tailStart), width, height))
      return true;
  }
  return false;
}

bool pictSize(const QString &path, double *width, double *height) {
  if (!QFileInfo(path).isFile())
    return false;
  // The PICT reader is ImageMagick's; its policy may refuse it, and then the size from the
  // image properties stands.
  VipsImage *image = nullptr;
  if (vips_magickload(path.toUtf8().constData(), &image, nullptr) != 0 || !image) {
    vips_error_clear();
    return false;
  }
  *width = vips_image_get_width(image);
  *height = vips_image_get_height(image);
  g_object_unref(image);
  return true;
}

} // namespace intake

std::shared_ptr<PhotoFile> PhotoFile::initWithFileUrl(const QString &path, bool isIphoto) {
  auto photo = std::make_shared<PhotoFile>();
  photo->filePath = path;
  photo->fileExtension = platform::PathText::pathExtension(path);
  photo->fileName = platform::PathText::lastPathComponent(path);
  photo->fileURL = path;
  photo->fileContainerFolderName = platform::PathText::lastPathComponent(
      platform::PathText::stringByDeletingLastPathComponent(path));
  photo->isIphotosNode = isIphoto;

  if (const auto info = ImageFileInfo::initWithPathForFile(path)) {
    photo->fileSizeInBytes = double(info->fileSize);
    photo->fileCreationDate = info->createDate;
    photo->fileModifiedDate = info->modDate;
  }
  photo->fileSizeAsString = Utils::sharedUtils().unitStringFromBytes(photo->fileSizeInBytes, 0);

  // Only regular files with content are opened: a FIFO or a device would block the reader,
  // and an empty file is no photo.
  const QFileInfo facts(path);
  if (!facts.isFile() || facts.size() == 0)
    return photo;

  const QVariantMap properties = ImageProcessing::exifForFile(path).value_or(QVariantMap());
  intake::displayedSize(properties.value(QStringLiteral("Orientation")).toInt(),
                        properties.value(QStringLiteral("PixelWidth")).toDouble(),
                        properties.value(QStringLiteral("PixelHeight")).toDouble(), &photo->width,
                        &photo->height);

  const QString &ext = photo->fileExtension;
  // Exact-case extensions only: a.Eps keeps the size from the image properties.
  const bool eps = ext == QLatin1String("eps") || ext == QLatin1String("EPS");
  const bool pict = ext == QLatin1String("pict") || ext == QLatin1String("PICT") ||
                    ext == QLatin1String("pct") || ext == QLatin1String("PCT");
  if (eps || pict) {
    double w = 0, h = 0;
    const bool found =
        eps ? intake::encapsulatedPostScriptSize(path, &w, &h) : intake::pictSize(path, &w, &h);
    qCDebug(lcIntake).noquote() << QStringLiteral("epsDict = %1")
                                       .arg(found ? QStringLiteral("{%1, %2}").arg(w).arg(h)
                                                  : QStringLiteral("(null)"));
    if (w > 0)
      photo->width = w;
    if (h > 0)
      photo->height = h;
  }
  return photo;
}

namespace {

// The kept capture dates are guarded by a few locks shared out by record, rather than one
// lock per record: a million photos cost no mutex each.
std::mutex &captureDateLock(const void *record) {
  static std::array<std::mutex, 64> locks;
  return locks[(reinterpret_cast<quintptr>(record) >> 4) % locks.size()];
}

} // namespace

QDateTime PhotoFile::captureDateOfFile(int *source, QString *zoneOffset) const {
  const platform::Files::Stamp stamp = platform::Files::stampOfFile(filePath);
  {
    const std::lock_guard<std::mutex> lock(captureDateLock(this));
    if (stamp.exists && captureDateSize_ == stamp.size &&
        captureDateModifiedNs_ == stamp.modifiedNs) {
      if (source)
        *source = captureDateSource_;
      if (zoneOffset)
        *zoneOffset = captureZoneOffset_;
      return captureDate_;
    }
  }
  // Read outside the lock: reading takes long, and two readers of one record agree.
  const std::shared_ptr<ExifInfo> exif = ExifInfo::initWithFile(filePath);
  const QDateTime date = exif ? exif->captureDate : QDateTime();
  const int dateSource = exif ? int(exif->captureDateSource) : int(ExifInfo::DateSource::None);
  const QString offset = exif ? exif->captureZoneOffset : QString();
  if (stamp.exists) {
    const std::lock_guard<std::mutex> lock(captureDateLock(this));
    captureDateSize_ = stamp.size;
    captureDateModifiedNs_ = stamp.modifiedNs;
    captureDate_ = date;
    captureDateSource_ = dateSource;
    captureZoneOffset_ = offset;
  }
  if (source)
    *source = dateSource;
  if (zoneOffset)
    *zoneOffset = offset;
  return date;
}

quint64 PhotoFile::nextAddedOrder() {
  static std::atomic<quint64> next{1};
  return next.fetch_add(1, std::memory_order_relaxed);
}

#include "platform/ThumbnailCache.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <sys/stat.h>

#include <cstdio>

using vips::VImage;

namespace platform::SharedThumbnailCache {

namespace {

constexpr const char *kUriKey = "Thumb::URI";
constexpr const char *kMTimeKey = "Thumb::MTime";

// GLib's set of bytes left as they are in a path (g_filename_to_uri): everything else is
// written as %XX with upper-case hex digits.
bool keptInUri(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
    return true;
  static const char kept[] = "!$&'()*+,-./:=@_~";
  for (const char *k = kept; *k; ++k)
    if (c == static_cast<unsigned char>(*k))
      return true;
  return false;
}

const char *folderName(Size size) {
  return size == Size::Large ? "large" : "normal";
}

// The file's modification time in whole seconds, as the standard stores it.
std::optional<qint64> modificationSeconds(const QString &path) {
  struct stat st {};
  if (::stat(QFile::encodeName(path).constData(), &st) != 0)
    return std::nullopt;
  return qint64(st.st_mtime);
}

// The text of the PNG text chunk named key: libvips keeps each chunk as the field
// "png-comment-N-key".
std::optional<QString> pngText(const VImage &image, const char *key) {
  char **fields = vips_image_get_fields(image.get_image());
  std::optional<QString> found;
  const QByteArray suffix = QByteArray("-") + key;
  for (char **f = fields; f && *f; ++f) {
    const QByteArray name(*f);
    if (!found && name.startsWith("png-comment-") && name.endsWith(suffix)) {
      const char *value = nullptr;
      if (vips_image_get_string(image.get_image(), *f, &value) == 0 && value)
        found = QString::fromUtf8(value);
    }
  }
  g_strfreev(fields);
  return found;
}

bool makePrivateFolder(const QString &folder) {
  if (QFileInfo(folder).isDir())
    return true;
  if (!QDir().mkpath(folder))
    return false;
  ::chmod(QFile::encodeName(folder).constData(), 0700);
  return true;
}

} // namespace

QString cacheRoot() {
  QString base = qEnvironmentVariable("XDG_CACHE_HOME");
  if (base.isEmpty() || !QDir::isAbsolutePath(base))
    base = QDir::homePath() + QStringLiteral("/.cache");
  return base + QStringLiteral("/thumbnails");
}

QString fileUri(const QString &path) {
  const QByteArray bytes = QFile::encodeName(QFileInfo(path).absoluteFilePath());
  QByteArray uri("file://");
  static const char hex[] = "0123456789ABCDEF";
  for (const char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    if (keptInUri(c)) {
      uri.append(char(c));
    } else {
      uri.append('%');
      uri.append(hex[c >> 4]);
      uri.append(hex[c & 15]);
    }
  }
  return QString::fromLatin1(uri);
}

QString thumbnailPath(const QString &path, Size size) {
  const QByteArray md5 =
      QCryptographicHash::hash(fileUri(path).toLatin1(), QCryptographicHash::Md5).toHex();
  return cacheRoot() + QLatin1Char('/') + QLatin1String(folderName(size)) + QLatin1Char('/') +
         QString::fromLatin1(md5) + QStringLiteral(".png");
}

std::optional<VImage> read(const QString &path, Size size) {
  const QString cached = thumbnailPath(path, size);
  if (!QFileInfo::exists(cached))
    return std::nullopt;
  const std::optional<qint64> mtime = modificationSeconds(path);
  if (!mtime)
    return std::nullopt;
  try {
    // The whole PNG is small; reading it into memory at once closes the file before the
    // caller works on the pixels.
    VImage image = VImage::new_from_file(QFile::encodeName(cached).constData(),
                                         VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
    const std::optional<QString> uri = pngText(image, kUriKey);
    const std::optional<QString> stamp = pngText(image, kMTimeKey);
    if (!uri || *uri != fileUri(path) || !stamp)
      return std::nullopt;
    bool ok = false;
    if (stamp->trimmed().toLongLong(&ok) != *mtime || !ok)
      return std::nullopt;
    return image.copy_memory();
  } catch (const vips::VError &) {
    return std::nullopt;
  }
}

bool write(const QString &path, const VImage &thumbnail, Size size) {
  const QString root = cacheRoot();
  const QString absolute = QFileInfo(path).absoluteFilePath();
  if (absolute.startsWith(root + QLatin1Char('/')))
    return false;
  const std::optional<qint64> mtime = modificationSeconds(path);
  if (!mtime)
    return false;
  const QString folder = root + QLatin1Char('/') + QLatin1String(folderName(size));
  if (!makePrivateFolder(root) || !makePrivateFolder(folder))
    return false;
  const QString target = thumbnailPath(path, size);
  const QString temporary =
      target + QStringLiteral(".%1.tmp").arg(QRandomGenerator::global()->generate(), 8, 16,
                                             QLatin1Char('0'));
  const QByteArray temporaryName = QFile::encodeName(temporary);
  try {
    VImage image = thumbnail.copy();
    // Only our keys are written: the source's comments, profile and properties do not belong
    // in a thumbnail (and a profile blob may belong to a file that is closed by now).
    char **fields = vips_image_get_fields(image.get_image());
    for (char **f = fields; f && *f; ++f)
      if (g_str_has_prefix(*f, "png-comment-") || g_str_has_prefix(*f, "exif-") ||
          g_str_equal(*f, "icc-profile-data") || g_str_equal(*f, "xmp-data") ||
          g_str_equal(*f, "iptc-data"))
        vips_image_remove(image.get_image(), *f);
    g_strfreev(fields);
    image.set((QByteArray("png-comment-0-") + kUriKey).constData(),
              fileUri(path).toLatin1().constData());
    image.set((QByteArray("png-comment-1-") + kMTimeKey).constData(),
              QByteArray::number(*mtime).constData());
    image.set("png-comment-2-Software", "Quillmere");
    image.pngsave(temporaryName.constData(), VImage::option()->set("strip", false));
  } catch (const vips::VError &) {
    std::remove(temporaryName.constData());
    return false;
  }
  ::chmod(temporaryName.constData(), 0600);
  if (std::rename(temporaryName.constData(), QFile::encodeName(target).constData()) != 0) {
    std::remove(temporaryName.constData());
    return false;
  }
  return true;
}

} // namespace platform::SharedThumbnailCache

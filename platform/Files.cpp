#include "platform/Files.h"

#include "platform/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace platform::Files {

namespace {

QByteArray encoded(const QString &path) {
  return QFile::encodeName(path);
}

QString errnoText(int code) {
  return QString::fromLocal8Bit(std::strerror(code));
}

Result failureFromErrno(int code, const QString &what, const QString &path) {
  return Result::failure(code, QStringLiteral("%1 \"%2\": %3").arg(what, path, errnoText(code)));
}

QDateTime fromTimestamp(const statx_timestamp &stamp) {
  return QDateTime::fromMSecsSinceEpoch(qint64(stamp.tv_sec) * 1000 + stamp.tv_nsec / 1000000);
}

timespec toTimespec(const QDateTime &date) {
  timespec stamp{};
  if (!date.isValid()) {
    stamp.tv_nsec = UTIME_OMIT;
    return stamp;
  }
  const qint64 msecs = date.toMSecsSinceEpoch();
  qint64 seconds = msecs / 1000;
  qint64 remainder = msecs % 1000;
  if (remainder < 0) {
    seconds -= 1;
    remainder += 1000;
  }
  stamp.tv_sec = static_cast<time_t>(seconds);
  stamp.tv_nsec = static_cast<long>(remainder * 1000000);
  return stamp;
}

// The statvfs figures of the nearest existing folder: a destination may not exist yet.
bool volumeStats(const QString &path, struct statvfs *stats) {
  if (path.isEmpty())
    return false;
  QString probe =
      QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::current().absoluteFilePath(path));
  while (true) {
    if (::statvfs(encoded(probe).constData(), stats) == 0)
      return true;
    if (errno != ENOENT && errno != ENOTDIR)
      return false;
    if (probe == QLatin1String("/"))
      return false;
    probe = QFileInfo(probe).absolutePath();
  }
}

} // namespace

bool fileExists(const QString &path) {
  return fileExists(path, nullptr);
}

bool fileExists(const QString &path, bool *isDirectory) {
  struct stat info {};
  const bool exists = !path.isEmpty() && ::stat(encoded(path).constData(), &info) == 0;
  if (isDirectory)
    *isDirectory = exists && S_ISDIR(info.st_mode);
  return exists;
}

FolderProbe::FolderProbe(const QString &folder) : folder_(folder) {
  // O_PATH needs no read permission, only search: exactly what a stat below it needs.
  fd_ = ::open(encoded(folder.isEmpty() ? QStringLiteral("/") : folder).constData(),
               O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (fd_ < 0)
    nothingThere_ = errno == ENOENT || errno == ENOTDIR || errno == EACCES;
}

FolderProbe::~FolderProbe() {
  if (fd_ >= 0)
    ::close(fd_);
}

bool FolderProbe::exists(const QString &name) const {
  if (name.isEmpty() || nothingThere_)
    return false;
  if (fd_ < 0) // any other failure to open: the whole path, as fileExists would
    return fileExists(folder_ + QLatin1Char('/') + name);
  // Existence only: access costs half of a stat, which also copies out the attributes.
  return ::faccessat(fd_, encoded(name).constData(), F_OK, 0) == 0;
}

// Symbolic links are followed: the caller wants the photo, not the link.
Stamp stampOfFile(const QString &path) {
  Stamp stamp;
  struct statx info {};
  if (path.isEmpty() ||
      ::statx(AT_FDCWD, encoded(path).constData(), 0, STATX_SIZE | STATX_MTIME, &info) != 0)
    return stamp;
  stamp.exists = true;
  stamp.size = qint64(info.stx_size);
  stamp.modifiedNs = qint64(info.stx_mtime.tv_sec) * 1000000000 + info.stx_mtime.tv_nsec;
  return stamp;
}

Attributes attributesOfItem(const QString &path) {
  Attributes attributes;
  if (path.isEmpty())
    return attributes;
  struct statx info {};
  if (::statx(AT_FDCWD, encoded(path).constData(), 0, STATX_BASIC_STATS | STATX_BTIME, &info) != 0)
    return attributes;
  attributes.exists = true;
  attributes.isDirectory = S_ISDIR(info.stx_mode);
  attributes.size = static_cast<qint64>(info.stx_size);
  attributes.permissions = info.stx_mode & 07777;
  attributes.modificationDate = fromTimestamp(info.stx_mtime);
  attributes.accessDate = fromTimestamp(info.stx_atime);
  // A copy is born when it is copied, after the modification time it carries over; the
  // earlier of the two is the better answer to "when was this made".
  attributes.creationDate = attributes.modificationDate;
  if (info.stx_mask & STATX_BTIME) {
    const QDateTime birth = fromTimestamp(info.stx_btime);
    if (birth < attributes.modificationDate)
      attributes.creationDate = birth;
  }
  return attributes;
}

// Linux file systems keep the birth time to themselves: there is no call to set it, so
// only the modification and access times change here.
Result setDates(const QString &path, const QDateTime &modification, const QDateTime &access) {
  const timespec times[2] = {toTimespec(access), toTimespec(modification)};
  if (::utimensat(AT_FDCWD, encoded(path).constData(), times, 0) != 0)
    return failureFromErrno(errno, QStringLiteral("Could not set the dates of"), path);
  return Result::success();
}

Result setPermissions(const QString &path, uint mode) {
  if (::chmod(encoded(path).constData(), static_cast<mode_t>(mode & 07777)) != 0)
    return failureFromErrno(errno, QStringLiteral("Could not set the permissions of"), path);
  return Result::success();
}

Result moveToTrash(const QString &path, QString *pathInTrash) {
  struct stat info {};
  if (path.isEmpty() || ::lstat(encoded(path).constData(), &info) != 0)
    return failureFromErrno(path.isEmpty() ? ENOENT : errno,
                            QStringLiteral("Could not move to the trash"), path);
  // Qt builds the home trash below the data folder but does not make that folder; without
  // it the trash would land relative to the working directory.
  const QString trash = trashDirectory();
  if (!QDir().mkpath(QFileInfo(trash).absolutePath()))
    return Result::failure(EACCES,
                           QStringLiteral("Could not create the trash folder \"%1\".").arg(trash));
  QString placed;
  errno = 0;
  if (!QFile::moveToTrash(path, &placed)) {
    const int code = errno != 0 ? errno : EIO;
    return failureFromErrno(code, QStringLiteral("Could not move to the trash"), path);
  }
  if (pathInTrash)
    *pathInTrash = placed;
  return Result::success();
}

qint64 freeSpaceForPath(const QString &path) {
  struct statvfs stats {};
  if (!volumeStats(path, &stats))
    return -1;
  return static_cast<qint64>(stats.f_bavail) * static_cast<qint64>(stats.f_frsize);
}

qint64 totalSpaceForPath(const QString &path) {
  struct statvfs stats {};
  if (!volumeStats(path, &stats))
    return -1;
  return static_cast<qint64>(stats.f_blocks) * static_cast<qint64>(stats.f_frsize);
}

Result createDirectory(const QString &path) {
  if (path.isEmpty())
    return Result::failure(ENOENT, QStringLiteral("No folder name was given."));
  const QString absolute =
      QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::current().absoluteFilePath(path));
  const QStringList parts = absolute.split(QLatin1Char('/'), Qt::SkipEmptyParts);
  QString current;
  for (const QString &part : parts) {
    current += QLatin1Char('/') + part;
    if (::mkdir(encoded(current).constData(), 0777) == 0)
      continue;
    const int code = errno;
    bool isDirectory = false;
    if (code == EEXIST && fileExists(current, &isDirectory) && isDirectory)
      continue;
    if (code == EEXIST)
      return Result::failure(EEXIST, QStringLiteral("Could not create the folder \"%1\": a file "
                                                    "named \"%2\" is in the way.")
                                         .arg(path, current));
    return failureFromErrno(code, QStringLiteral("Could not create the folder"), path);
  }
  return Result::success();
}

} // namespace platform::Files

#include "platform/SafeWrite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform::SafeWrite {

namespace {

QByteArray native(const QString &path) {
  return QFile::encodeName(path);
}

QString errorText(int error) {
  return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace

unsigned newFileMode() {
  // umask can only be read by setting it; do it once, before any thread writes files.
  static const unsigned mode = [] {
    const mode_t mask = ::umask(022);
    ::umask(mask);
    return 0666u & ~unsigned(mask);
  }();
  return mode;
}

namespace {

// Writes all of bytes to fd; false (with errno set) on any short write.
bool writeAll(int fd, QByteArrayView bytes) {
  const char *data = bytes.data();
  qsizetype left = bytes.size();
  while (left > 0) {
    const ssize_t written = ::write(fd, data, size_t(left));
    if (written < 0 && errno == EINTR)
      continue;
    if (written <= 0) {
      if (written == 0)
        errno = EIO;
      return false;
    }
    data += written;
    left -= written;
  }
  return true;
}

// Writes bytes to fd and closes it; close reports the write-back errors of some file systems
// (NFS, full quotas).
bool writeAndClose(int fd, QByteArrayView bytes, QString *reason) {
  const bool written = writeAll(fd, bytes);
  const int writeError = errno;
  const bool closed = ::close(fd) == 0;
  if (written && closed)
    return true;
  if (reason)
    *reason = errorText(written ? errno : writeError);
  return false;
}

} // namespace

QString createTemporaryFile(const QString &folder, QString *reason) {
  return writeTemporaryFile(folder, QByteArrayView(), reason);
}

QString writeTemporaryFile(const QString &folder, QByteArrayView bytes, QString *reason) {
  static std::atomic<unsigned> counter{0};
  const unsigned mode = newFileMode();
  for (int attempt = 0; attempt < 100; ++attempt) {
    const QString path = QStringLiteral("%1/.quillmere-%2-%3.part")
                             .arg(folder)
                             .arg(qint64(::getpid()))
                             .arg(counter.fetch_add(1));
    const int fd = ::open(native(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno == EEXIST)
      continue;
    if (fd < 0) {
      if (reason)
        *reason = errorText(errno);
      return {};
    }
    ::fchmod(fd, mode);
    if (writeAndClose(fd, bytes, reason))
      return path;
    ::unlink(native(path).constData());
    return {};
  }
  if (reason)
    *reason = QStringLiteral("no free temporary name");
  return {};
}

bool writeFile(const QString &path, QByteArrayView bytes, QString *reason) {
  const int fd = ::open(native(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) {
    if (reason)
      *reason = errorText(errno);
    return false;
  }
  return writeAndClose(fd, bytes, reason);
}

bool writeInPlace(const QString &finalPath, QByteArrayView bytes, bool replace, QString *reason,
                  bool *alreadyExists) {
  if (alreadyExists)
    *alreadyExists = false;
  const QString folder = QFileInfo(finalPath).absolutePath();
  if (!replace) {
    // A file without a name until it is complete: one link puts it in place, failing when
    // the name is taken, and nothing is left behind if the process dies.
    const int fd = ::open(native(folder).constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (fd >= 0) {
      if (!writeAll(fd, bytes)) {
        if (reason)
          *reason = errorText(errno);
        ::close(fd);
        return false;
      }
      const QByteArray self = "/proc/self/fd/" + QByteArray::number(fd);
      const bool linked = ::linkat(AT_FDCWD, self.constData(), AT_FDCWD,
                                   native(finalPath).constData(), AT_SYMLINK_FOLLOW) == 0;
      const int error = errno;
      ::close(fd);
      if (linked)
        return true;
      if (error == EEXIST) {
        if (alreadyExists)
          *alreadyExists = true;
        if (reason)
          *reason = errorText(error);
        return false;
      }
      // No /proc, or a file system that cannot link: the named way below.
    }
  }
  const QString temporary = writeTemporaryFile(folder, bytes, reason);
  return !temporary.isEmpty() && commit(temporary, finalPath, replace, reason, alreadyExists);
}

bool commit(const QString &temporary, const QString &finalPath, bool replace, QString *reason,
            bool *alreadyExists) {
  if (alreadyExists)
    *alreadyExists = false;
  const QByteArray from = native(temporary);
  const QByteArray to = native(finalPath);
  ::chmod(from.constData(), newFileMode());
  if (replace) {
    if (::rename(from.constData(), to.constData()) == 0)
      return true;
    if (reason)
      *reason = errorText(errno);
    ::unlink(from.constData());
    return false;
  }
  // A hard link fails atomically when the name is taken, so a file that appeared meanwhile
  // is never replaced.
  if (::link(from.constData(), to.constData()) == 0) {
    ::unlink(from.constData());
    return true;
  }
  int error = errno;
  if (error != EEXIST) {
    // File systems without hard links: the check and the rename are then two steps.
    struct stat info;
    if (::lstat(to.constData(), &info) == 0) {
      error = EEXIST;
    } else if (errno == ENOENT) {
      if (::rename(from.constData(), to.constData()) == 0)
        return true;
      error = errno;
    } else {
      // The name itself cannot be made (too long, a folder that is a file): the system's
      // reason, never a taken name.
      error = errno;
    }
  }
  if (error == EEXIST && alreadyExists)
    *alreadyExists = true;
  if (reason)
    *reason = errorText(error);
  ::unlink(from.constData());
  return false;
}

int removeStaleTemporaryFiles(const QString &folder) {
  static const QRegularExpression pattern(QStringLiteral("^\\.quillmere-(\\d+)-\\d+\\.part$"));
  int removed = 0;
  const QStringList names =
      QDir(folder).entryList({QStringLiteral(".quillmere-*.part")}, QDir::Files | QDir::Hidden);
  for (const QString &name : names) {
    const QRegularExpressionMatch match = pattern.match(name);
    if (!match.hasMatch())
      continue;
    const pid_t pid = pid_t(match.captured(1).toLongLong());
    if (pid == ::getpid() || (::kill(pid, 0) == 0 || errno == EPERM))
      continue;
    if (QFile::remove(folder + QLatin1Char('/') + name))
      ++removed;
  }
  return removed;
}

} // namespace platform::SafeWrite

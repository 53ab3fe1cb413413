#include "platform/RunFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace platform::RunFiles {

namespace {

Result failure(int code, const QString &what, const QString &path) {
  return Result::failure(
      code,
      QStringLiteral("%1 \"%2\": %3").arg(what, path, QString::fromLocal8Bit(std::strerror(code))));
}

} // namespace

Result appendLine(const QString &path, const QByteArray &line) {
  const QByteArray name = QFile::encodeName(path);
  const int fd = ::open(name.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0)
    return failure(errno, QStringLiteral("Could not open"), path);
  const QByteArray data = line + '\n';
  // One write call: O_APPEND puts it at the end whole, so lines never interleave or tear.
  const ssize_t written = ::write(fd, data.constData(), size_t(data.size()));
  const int writeError = errno;
  const bool synced = ::fsync(fd) == 0;
  ::close(fd);
  if (written != ssize_t(data.size()))
    return failure(written < 0 ? writeError : ENOSPC, QStringLiteral("Could not write"), path);
  if (!synced)
    return failure(errno, QStringLiteral("Could not flush"), path);
  return Result::success();
}

Result restoreFromTrash(const QString &pathInTrash, const QString &destination) {
  const QByteArray from = QFile::encodeName(pathInTrash);
  const QByteArray to = QFile::encodeName(destination);
  QDir().mkpath(QFileInfo(destination).absolutePath());
  if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) != 0) {
    const int code = errno;
    if (code != EINVAL && code != ENOSYS)
      return failure(code, QStringLiteral("Could not put back from the trash"), destination);
    // A file system without the flag: a hard link fails on a taken name, then the old name goes.
    if (::link(from.constData(), to.constData()) != 0)
      return failure(errno, QStringLiteral("Could not put back from the trash"), destination);
    ::unlink(from.constData());
  }
  // <trash>/files/NAME has its note in <trash>/info/NAME.trashinfo.
  const QFileInfo placed(pathInTrash);
  const QString info = QFileInfo(placed.absolutePath()).absolutePath() + QStringLiteral("/info/") +
                       placed.fileName() + QStringLiteral(".trashinfo");
  QFile::remove(info);
  return Result::success();
}

} // namespace platform::RunFiles

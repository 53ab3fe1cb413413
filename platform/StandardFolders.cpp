#include "platform/StandardFolders.h"

#include <QDir>
#include <QStandardPaths>

#include <pwd.h>
#include <unistd.h>

namespace platform {

namespace {

// XDG_DATA_HOME when it is set to an absolute path, else ~/.local/share (the XDG rule).
QString dataHome() {
  const QString configured = qEnvironmentVariable("XDG_DATA_HOME");
  if (!configured.isEmpty() && QDir::isAbsolutePath(configured))
    return QDir::cleanPath(configured);
  return QDir::cleanPath(homeDirectory() + QStringLiteral("/.local/share"));
}

QString userFolder(QStandardPaths::StandardLocation location, const char *fallbackName) {
  const QString found = QStandardPaths::writableLocation(location);
  if (!found.isEmpty())
    return found;
  return homeDirectory() + QLatin1Char('/') + QLatin1String(fallbackName);
}

// True when lowerPath starts with folder and, if trailingSlash, continues with "/".
bool startsWithFolder(const QString &lowerPath, const QString &folder, bool trailingSlash) {
  if (folder.isEmpty())
    return false;
  const QString prefix = trailingSlash ? folder + QLatin1Char('/') : folder;
  return lowerPath.startsWith(prefix);
}

// Per-volume trash folders sit right below a volume's top directory, which is any
// ancestor of the path; each occurrence of the folder's text is checked in turn.
bool inVolumeTrash(const QString &lowerPath, const QString &marker, bool trailingSlash) {
  qsizetype from = 0;
  while (true) {
    const qsizetype at = lowerPath.indexOf(marker, from);
    if (at < 0)
      return false;
    const qsizetype end = at + marker.size();
    if (!trailingSlash || (end < lowerPath.size() && lowerPath.at(end) == QLatin1Char('/')))
      return true;
    from = at + 1;
  }
}

} // namespace

QString homeDirectory() {
  return QDir::homePath();
}

QString loginName() {
  // The password database names the account even without a controlling terminal.
  if (const passwd *entry = getpwuid(geteuid()); entry && entry->pw_name && *entry->pw_name)
    return QString::fromLocal8Bit(entry->pw_name);
  for (const char *name : {"USER", "LOGNAME"}) {
    const QString value = qEnvironmentVariable(name);
    if (!value.isEmpty())
      return value;
  }
  return QDir(homeDirectory()).dirName();
}

QString picturesDirectory() {
  return userFolder(QStandardPaths::PicturesLocation, "Pictures");
}

QString desktopDirectory() {
  return userFolder(QStandardPaths::DesktopLocation, "Desktop");
}

QString documentsDirectory() {
  return userFolder(QStandardPaths::DocumentsLocation, "Documents");
}

QString applicationDataDirectory() {
  return dataHome() + QLatin1Char('/') + QStringLiteral(QUILLMERE_APP_ID);
}

// XDG_CONFIG_HOME when it is set to an absolute path, else ~/.config, with the identifier.
QString applicationConfigDirectory() {
  const QString configured = qEnvironmentVariable("XDG_CONFIG_HOME");
  const QString home = !configured.isEmpty() && QDir::isAbsolutePath(configured)
                           ? QDir::cleanPath(configured)
                           : QDir::cleanPath(homeDirectory() + QStringLiteral("/.config"));
  return home + QLatin1Char('/') + QStringLiteral(QUILLMERE_APP_ID);
}

QString temporaryDirectory() {
  return QDir::tempPath();
}

QString trashDirectory() {
  return dataHome() + QStringLiteral("/Trash");
}

bool isInTrash(const QString &path, bool trailingSlash) {
  const QString lower = path.toLower();
  if (startsWithFolder(lower, trashDirectory().toLower(), trailingSlash))
    return true;
  const QString uid = QString::number(getuid());
  return inVolumeTrash(lower, QStringLiteral("/.trash-") + uid, trailingSlash) ||
         inVolumeTrash(lower, QStringLiteral("/.trash/") + uid, trailingSlash);
}

} // namespace platform

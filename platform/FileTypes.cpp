#include "platform/FileTypes.h"

#include "platform/PathText.h"

#include <QFileInfo>
#include <QMimeDatabase>
#include <QMimeType>
#include <QSet>

#include <algorithm>

namespace platform::FileTypes {

namespace {

bool isImageType(const QMimeType &type) {
  if (!type.isValid())
    return false;
  if (type.name().startsWith(QLatin1String("image/")))
    return true;
  const QStringList ancestors = type.allAncestors();
  return std::any_of(ancestors.cbegin(), ancestors.cend(), [](const QString &ancestor) {
    return ancestor.startsWith(QLatin1String("image/"));
  });
}

// Folder extensions that make a folder a single document to the user.
const QSet<QString> &bundleExtensions() {
  static const QSet<QString> extensions{
      QStringLiteral("app"),           QStringLiteral("bundle"),
      QStringLiteral("framework"),     QStringLiteral("plugin"),
      QStringLiteral("kext"),          QStringLiteral("photolibrary"),
      QStringLiteral("photoslibrary"), QStringLiteral("migratedphotolibrary"),
      QStringLiteral("aplibrary"),     QStringLiteral("rtfd"),
      QStringLiteral("pkg"),           QStringLiteral("mpkg"),
      QStringLiteral("xpc"),           QStringLiteral("appex"),
      QStringLiteral("qlgenerator"),   QStringLiteral("mdimporter"),
      QStringLiteral("prefpane"),      QStringLiteral("saver"),
      QStringLiteral("wdgt"),          QStringLiteral("component"),
      QStringLiteral("dsym"),          QStringLiteral("xcodeproj"),
      QStringLiteral("xcworkspace"),   QStringLiteral("playground"),
      QStringLiteral("pages"),         QStringLiteral("numbers"),
      QStringLiteral("key"),           QStringLiteral("band"),
      QStringLiteral("imovielibrary"), QStringLiteral("tvlibrary"),
      QStringLiteral("theater"),       QStringLiteral("fcpbundle"),
      QStringLiteral("lrlibrary"),     QStringLiteral("musiclibrary"),
      QStringLiteral("scptd"),         QStringLiteral("workflow"),
      QStringLiteral("action"),        QStringLiteral("docset"),
      QStringLiteral("sparsebundle"),  QStringLiteral("backupbundle"),
  };
  return extensions;
}

QStringList collectImageExtensions() {
  QMimeDatabase database;
  QSet<QString> found;
  const QList<QMimeType> types = database.allMimeTypes();
  for (const QMimeType &type : types) {
    if (!isImageType(type))
      continue;
    const QStringList patterns = type.globPatterns();
    for (const QString &pattern : patterns) {
      if (!pattern.startsWith(QLatin1String("*.")))
        continue;
      const QString extension = pattern.mid(2);
      // Only plain "*.ext" globs: nothing with wildcards, classes or further dots.
      const bool plain =
          !extension.isEmpty() && std::all_of(extension.cbegin(), extension.cend(), [](QChar c) {
            return c.isLetterOrNumber() || c == QLatin1Char('-') || c == QLatin1Char('_') ||
                   c == QLatin1Char('+');
          });
      if (!plain)
        continue;
      found.insert(extension.toLower());
      found.insert(extension.toUpper());
    }
  }
  QStringList extensions(found.cbegin(), found.cend());
  extensions.sort();
  return extensions;
}

} // namespace

bool conformsToImage(const QString &path) {
  if (path.isEmpty() || QFileInfo(path).isDir())
    return false;
  static const QMimeDatabase database;
  return isImageType(database.mimeTypeForFile(path, QMimeDatabase::MatchExtension));
}

bool isPackage(const QString &path) {
  const QString extension = PathText::pathExtension(path).toLower();
  if (extension.isEmpty() || !bundleExtensions().contains(extension))
    return false;
  return QFileInfo(path).isDir();
}

QStringList imageFileExtensions() {
  static const QStringList extensions = collectImageExtensions();
  return extensions;
}

} // namespace platform::FileTypes

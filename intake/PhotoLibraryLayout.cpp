#include "intake/PhotoLibraryLayout.h"

#include "platform/Files.h"
#include "platform/PathText.h"
#include "platform/PropertyList.h"

namespace {

// The library's own entry relative, as it is spelt on disk, or a null string when absent.
QString existingInLibrary(const QString &libraryPath, const QString &relative,
                          bool wantDirectory = false) {
  const QString path = platform::PathText::resolveCaseInsensitive(
      platform::PathText::stringByAppendingPathComponent(libraryPath, relative));
  bool isDirectory = false;
  if (!platform::Files::fileExists(path, &isDirectory) || (wantDirectory && !isDirectory))
    return {};
  return path;
}

} // namespace

namespace CommonFunc {

QString getPhotoLibraryMajorVersion(const QString &version) {
  return version.section(QLatin1Char('.'), 0, 0);
}

QString getPhotoLibraryVersion(const QString &libraryPath) {
  const QString albumData = existingInLibrary(libraryPath, QStringLiteral("AlbumData.xml"));
  if (albumData.isNull())
    return {};
  QVariantMap dictionary;
  if (!platform::PropertyList::readDictionary(albumData, &dictionary))
    return {};
  const QVariant version = dictionary.value(QStringLiteral("Application Version"));
  if (!version.isValid())
    return {};
  return getPhotoLibraryMajorVersion(version.toString());
}

QString photoLibrary_MastersOrOriginal(const QString &libraryPath) {
  if (getPhotoLibraryMajorVersion(getPhotoLibraryVersion(libraryPath)) == QLatin1String("9") &&
      !existingInLibrary(libraryPath, QStringLiteral("masters"), true).isNull())
    return QStringLiteral("masters");
  return {};
}

bool isPkgPhotoLib(const QString &libraryPath) {
  if (existingInLibrary(libraryPath, QStringLiteral("AlbumData.xml")).isNull())
    return false;
  const QString folder = photoLibrary_MastersOrOriginal(libraryPath);
  // No named folder means the library itself.
  return !existingInLibrary(libraryPath, folder, true).isNull();
}

bool isiPhotoLibrary9AndAbove(const QString &libraryPath) {
  const QString version = getPhotoLibraryVersion(libraryPath);
  if (version.isEmpty())
    return false;
  const QString major = getPhotoLibraryMajorVersion(version);
  return major != QLatin1String("8") && major != QLatin1String("7");
}

bool isPhotosLib(const QString &libraryPath) {
  if (!existingInLibrary(libraryPath, QStringLiteral("AlbumData.xml")).isNull())
    return !existingInLibrary(libraryPath, QStringLiteral("Database/apdb/Library.apdb")).isNull();
  return !existingInLibrary(libraryPath, QStringLiteral("database/Library.apdb")).isNull();
}

QString getDataBasePathForPhotosLib(const QString &libraryPath) {
  for (const char *candidate :
       {"database/apdb/Library.apdb", "database/Library.apdb", "database/apdb/photos.db"}) {
    const QString found = existingInLibrary(libraryPath, QString::fromLatin1(candidate));
    if (!found.isNull())
      return found;
  }
  return platform::PathText::stringByAppendingPathComponent(libraryPath,
                                                            QStringLiteral("database/photos.db"));
}

} // namespace CommonFunc

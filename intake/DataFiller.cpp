#include "intake/DataFiller.h"

#include "intake/PhotoLibraryLayout.h"
#include "platform/Files.h"
#include "platform/PathText.h"
#include "platform/PropertyList.h"

#include <QDir>
#include <QSet>

#include <algorithm>

namespace {

QString inLibrary(const QString &libraryPath, const QString &relative) {
  return platform::PathText::resolveCaseInsensitive(
      platform::PathText::stringByAppendingPathComponent(libraryPath, relative));
}

// Keys in the order the library shows its photos: the master album's key list first, then
// any photo it misses, by number.
QStringList photoKeysInLibraryOrder(const QVariantMap &albumData, const QVariantMap &masters) {
  QStringList keys;
  QSet<QString> seen;
  const QVariantList albums = albumData.value(QStringLiteral("List of Albums")).toList();
  for (const QVariant &album : albums) {
    const QVariantMap albumMap = album.toMap();
    if (!albumMap.value(QStringLiteral("Master")).toBool())
      continue;
    const QVariantList keyList = albumMap.value(QStringLiteral("KeyList")).toList();
    for (const QVariant &key : keyList) {
      const QString text = key.toString();
      if (masters.contains(text) && !seen.contains(text)) {
        seen.insert(text);
        keys.append(text);
      }
    }
  }
  QStringList rest;
  for (auto it = masters.cbegin(); it != masters.cend(); ++it)
    if (!seen.contains(it.key()))
      rest.append(it.key());
  std::stable_sort(rest.begin(), rest.end(), [](const QString &a, const QString &b) {
    bool aNumber = false, bNumber = false;
    const qlonglong x = a.toLongLong(&aNumber), y = b.toLongLong(&bNumber);
    if (aNumber && bNumber)
      return x < y;
    if (aNumber != bNumber)
      return aNumber;
    return a < b;
  });
  return keys + rest;
}

// Every file below folder in name order, hidden entries skipped.
void listFilesDeep(const QString &folder, QStringList *out) {
  const QFileInfoList entries = QDir(folder).entryInfoList(
      QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
  for (const QFileInfo &entry : entries) {
    if (entry.isDir() && !entry.isSymLink())
      listFilesDeep(entry.filePath(), out);
    else if (entry.isFile())
      out->append(entry.filePath());
  }
}

} // namespace

QString DataFiller::resolvedLibraryPath() const {
  return platform::PathText::resolveCaseInsensitive(libPath_);
}

QString DataFiller::rebasedImagePath(const QString &storedPath, const QString &archivePath) const {
  if (storedPath.isEmpty())
    return {};
  QString relative;
  if (!storedPath.startsWith(QLatin1Char('/'))) {
    relative = storedPath;
  } else if (!archivePath.isEmpty() &&
             storedPath.startsWith(archivePath + QLatin1Char('/'), Qt::CaseInsensitive)) {
    relative = storedPath.mid(archivePath.size() + 1);
  } else {
    // The library may have been renamed since: find its folder by the name it has now, or
    // else by the name it had when the XML was written.
    const QStringList components = storedPath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString &name : {platform::PathText::lastPathComponent(libPath_),
                                platform::PathText::lastPathComponent(archivePath)}) {
      if (name.isEmpty())
        continue;
      const auto at = std::find_if(components.cbegin(), components.cend(), [&](const QString &c) {
        return c.compare(name, Qt::CaseInsensitive) == 0;
      });
      if (at != components.cend()) {
        relative = QStringList(at + 1, components.cend()).join(QLatin1Char('/'));
        break;
      }
    }
    if (relative.isEmpty())
      return {};
  }
  return inLibrary(resolvedLibraryPath(), relative);
}

bool DataFiller::fetchImagesFromLib(QString *error) {
  arrImagePaths.clear();
  const QString library = resolvedLibraryPath();
  const QString albumData = inLibrary(library, QStringLiteral("AlbumData.xml"));
  QVariantMap dictionary;
  QString readError;
  if (!platform::PropertyList::readDictionary(albumData, &dictionary, &readError)) {
    if (error)
      *error = QStringLiteral("%1: no readable AlbumData.xml (%2)").arg(libPath_, readError);
    return false;
  }
  const QString archivePath = dictionary.value(QStringLiteral("Archive Path")).toString();
  const QVariantMap masters = dictionary.value(QStringLiteral("Master Image List")).toMap();
  QSet<QString> seen;
  const QStringList keys = photoKeysInLibraryOrder(dictionary, masters);
  for (const QString &key : keys) {
    const QVariantMap image = masters.value(key).toMap();
    const QString path =
        rebasedImagePath(image.value(QStringLiteral("ImagePath")).toString(), archivePath);
    if (path.isEmpty() || seen.contains(path))
      continue;
    seen.insert(path);
    arrImagePaths.append(path);
  }
  // A version 9 library whose XML lists nothing still keeps its originals in "Masters".
  if (arrImagePaths.isEmpty()) {
    const QString folder = CommonFunc::photoLibrary_MastersOrOriginal(library);
    if (!folder.isEmpty())
      listFilesDeep(inLibrary(library, folder), &arrImagePaths);
  }
  return true;
}

bool DataFiller::checkValidLibAndUpdateIfAperture() {
  for (const char *name : {"AlbumData.xml", "ApertureData.xml"}) {
    const QString path = inLibrary(libPath_, QString::fromLatin1(name));
    if (platform::Files::fileExists(path)) {
      xmlPath_ = path;
      return true;
    }
  }
  return false;
}

bool DataFiller::checkIfLibrary9X() {
  const QString path = inLibrary(libPath_, QStringLiteral("Database/apdb/Library.apdb"));
  if (!platform::Files::fileExists(path))
    return false;
  qDebug("is9X");
  databasePath_ = path;
  return true;
}

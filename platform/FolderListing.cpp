#include "platform/FolderListing.h"

#include <QFile>

#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>

namespace platform::FolderListing {

Listing list(const QString &folder) {
  Listing listing;
  const QByteArray encodedFolder = QFile::encodeName(folder);
  DIR *dir = opendir(encodedFolder.constData());
  if (!dir) {
    listing.readable = false;
    return listing;
  }
  while (const dirent *entry = readdir(dir)) {
    const char *raw = entry->d_name;
    if (std::strcmp(raw, ".") == 0 || std::strcmp(raw, "..") == 0)
      continue;
    const QByteArray rawName(raw);
    const QString name = QFile::decodeName(rawName);
    if (QFile::encodeName(name) != rawName) {
      ++listing.undecodableNames;
      continue;
    }
    Entry item;
    item.name = name;
    unsigned char type = entry->d_type;
    if (type == DT_UNKNOWN) {
      struct stat facts {};
      const QByteArray full = encodedFolder + '/' + rawName;
      if (lstat(full.constData(), &facts) == 0)
        type = S_ISDIR(facts.st_mode) ? DT_DIR : S_ISLNK(facts.st_mode) ? DT_LNK : DT_REG;
    }
    item.isDirectory = type == DT_DIR;
    item.isSymLink = type == DT_LNK;
    listing.entries.append(std::move(item));
  }
  closedir(dir);
  std::sort(listing.entries.begin(), listing.entries.end(),
            [](const Entry &a, const Entry &b) { return a.name < b.name; });
  return listing;
}

} // namespace platform::FolderListing

#pragma once

#include <QList>
#include <QString>

// A folder's entries as the file system gives them, without a stat per entry where the
// directory itself tells the type. Names that are not valid in the file-name encoding
// (UTF-8) cannot be held by QString losslessly: they are left out and counted, so the caller
// can say where they are instead of handing on a mangled path.
namespace platform::FolderListing {

struct Entry {
  QString name;
  bool isDirectory = false; // a real folder; a symbolic link to one is not
  bool isSymLink = false;
};

struct Listing {
  bool readable = true; // false when the folder could not be opened (then no entries)
  QList<Entry> entries; // ordered by name (code units), "." and ".." left out
  int undecodableNames = 0;
};

Listing list(const QString &folder);

} // namespace platform::FolderListing

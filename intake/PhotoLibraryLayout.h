#pragma once

#include <QString>

// Where things sit inside an iPhoto or Photos library package. Every function takes the
// library's path; names inside the library are matched without regard to case, since the
// chosen library path arrives lower-cased.
namespace CommonFunc {

// The part before the first "." of "Application Version" in the library's
// "AlbumData.xml"; a null string when there is no readable AlbumData.xml.
QString getPhotoLibraryVersion(const QString &libraryPath);
// The part of a version text before its first ".".
QString getPhotoLibraryMajorVersion(const QString &version);
// "masters" for a version 9 library that has a masters folder; otherwise a null string.
QString photoLibrary_MastersOrOriginal(const QString &libraryPath);
// AlbumData.xml exists, and so does the folder that photoLibrary_MastersOrOriginal names.
bool isPkgPhotoLib(const QString &libraryPath);
// A version is found and its major version is neither "8" nor "7".
bool isiPhotoLibrary9AndAbove(const QString &libraryPath);
// A Photos (or Aperture) library by its database files.
bool isPhotosLib(const QString &libraryPath);
// The first of the known database files that exists, else "database/photos.db" (joined to
// the library path).
QString getDataBasePathForPhotosLib(const QString &libraryPath);

} // namespace CommonFunc

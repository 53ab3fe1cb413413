#pragma once

#include <QString>
#include <QStringList>

// Reads an iPhoto library: the master image list of its "AlbumData.xml" gives each photo's
// image file. The paths stored there belong to the machine that made the library, so each
// is moved onto the library folder actually given and its case restored from the disk.
class DataFiller {
public:
  void setLibPath(const QString &path) { libPath_ = path; }
  const QString &libPath() const { return libPath_; }

  // Fills arrImagePaths: distinct paths in library order. False (with error set) when the
  // library has no readable AlbumData.xml; a library without photos is not an error.
  bool fetchImagesFromLib(QString *error = nullptr);
  QStringList arrImagePaths;

  // True when "AlbumData.xml", or else "ApertureData.xml", exists; keeps it as the XML file.
  bool checkValidLibAndUpdateIfAperture();
  // True when "Database/apdb/Library.apdb" exists; keeps it as the database path.
  bool checkIfLibrary9X();
  const QString &xmlPath() const { return xmlPath_; }
  const QString &databasePath() const { return databasePath_; }

  // The library folder as it is on disk (the given path may be lower-cased).
  QString resolvedLibraryPath() const;
  // An image path from the XML moved onto this library: the part after the library's own
  // folder (or after the XML's "Archive Path") joined to the library as found on disk.
  QString rebasedImagePath(const QString &storedPath, const QString &archivePath) const;

private:
  QString libPath_;
  QString xmlPath_;
  QString databasePath_;
};

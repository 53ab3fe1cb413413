#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QVariantMap>

class ExifInfo;

// The information list of the add-photos screen: 35 rows, each a dictionary with "title"
// (the label) and "value" (the display text, "---" when there is none).
namespace InformationTable {

// The file-system facts the first rows show.
struct FileFacts {
  QString filePath;
  QString fileName;
  quint64 fileSize = 0;
  QDateTime createDate; // invalid when unknown
  QDateTime modDate;

  // Read from the file system; a missing file gives size 0 and no dates.
  static FileFacts forPath(const QString &path);
};

// Appends one row {"title": label, "value": value or "---"} to rows.
void createArrayToUpdateMetaData(QList<QVariantMap> &rows, const QString &label,
                                 const QString &value);

// The 35 rows for a file's facts and its EXIF information (none gives the rows of a
// photo without properties).
QList<QVariantMap> createArrayToUpdateMetaDataWithNode(const FileFacts &file, const ExifInfo *exif);
// The rows of the file at path, read now.
QList<QVariantMap> createArrayToUpdateMetaDataWithNode(const QString &path);

// "48° 51' 30'' N": whole degrees, minutes and seconds of the unsigned value and the
// reference; "---" when the reference is null.
QString getPositioninlatitudelongitude(const QString &reference, double degrees);

} // namespace InformationTable

#pragma once

#include <QDateTime>
#include <QString>

#include <memory>

class ExifInfo;

// The file-system facts of one file (size, dates, type text) and, on first need, its EXIF
// information.
class ImageFileInfo {
public:
  // Null only when the file is smaller than the process-wide minimum size, which is 0.
  // Unreadable attributes give size 0 and no dates.
  static std::shared_ptr<ImageFileInfo> initWithPathForFile(const QString &path);

  // The photo's EXIF information, read from filePath the first time it is asked for.
  std::shared_ptr<ExifInfo> exifInfo();

  QString filePath;
  QString fileName;
  quint64 fileSize = 0;
  QDateTime createDate;
  QDateTime modDate;
  // "Portable Network Graphic" for png, otherwise the extension in upper case.
  QString fileType;
  bool isiPhotoNode = false;
  bool isPhotosNode = false;
  QString libraryPath;

  static quint64 minimumFileSize() { return minimumFileSize_; }

private:
  static inline quint64 minimumFileSize_ = 0;
  std::shared_ptr<ExifInfo> exifInfo_;
  bool exifInfoRead_ = false;
};

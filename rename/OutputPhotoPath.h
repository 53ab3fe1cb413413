#pragma once

#include <QString>

#include <memory>

// One computed destination of the batch: where the photo at oldFilePath will be written.
class OutputPhotoPath {
public:
  // path is the destination folder + "/" + the new name. filePath gets the extension in
  // lower case (the run writes there); fileName keeps the engine's case. A name that is all
  // extension (".JPG") reads as a hidden name without one: it keeps its text, gains a
  // trailing "." and has an empty fileExtension.
  static std::shared_ptr<OutputPhotoPath> initWithFileUrl(const QString &path,
                                                          const QString &oldPath);
  // The same without looking at the disk (fileAlreadyExistAtPath stays false).
  static std::shared_ptr<OutputPhotoPath> initWithoutDiskCheck(const QString &path,
                                                               const QString &oldPath);

  // The same record for the path folder + "/" + newName, where newName holds no "/" (nor is
  // "." or "..") and
  // folderPrefix is the folder as path rules write it followed by "/" (folderPrefixFor): a
  // preview pass makes the prefix once per folder instead of re-reading the whole path for
  // every photo. fileAlreadyExistAtPath stays false.
  static std::shared_ptr<OutputPhotoPath>
  initWithFolderPrefix(const QString &folderPrefix, const QString &newName, const QString &oldPath);
  static QString folderPrefixFor(const QString &folder);

  bool fileAlreadyExistAtPath = false;
  qint32 occurenceCount = 0;
  QString filePath;
  QString oldFilePath;
  QString fileExtension;
  QString fileName;
  // Which of the photo's dates the taken-date stamp used (an ExifInfo::DateSource), and the
  // zone offset the photo gives with it; -1 when the name did not read the taken date.
  qint8 captureDateSource = -1;
  QString captureZoneOffset;
};

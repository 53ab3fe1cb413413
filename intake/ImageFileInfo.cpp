#include "intake/ImageFileInfo.h"

#include "metadata/ExifInfo.h"
#include "platform/Files.h"
#include "platform/PathText.h"

std::shared_ptr<ImageFileInfo> ImageFileInfo::initWithPathForFile(const QString &path) {
  auto info = std::make_shared<ImageFileInfo>();
  info->filePath = path;
  info->fileName = platform::PathText::lastPathComponent(path);
  const platform::Files::Attributes attributes = platform::Files::attributesOfItem(path);
  if (attributes.exists)
    info->fileSize = quint64(qMax<qint64>(0, attributes.size));
  if (info->fileSize < minimumFileSize_)
    return nullptr;
  if (attributes.exists) {
    info->modDate = attributes.modificationDate;
    info->createDate = attributes.creationDate;
  }
  const QString extension = platform::PathText::pathExtension(path);
  info->fileType = extension.toLower() == QLatin1String("png")
                       ? QStringLiteral("Portable Network Graphic")
                       : extension.toUpper();
  return info;
}

std::shared_ptr<ExifInfo> ImageFileInfo::exifInfo() {
  if (!exifInfoRead_) {
    exifInfoRead_ = true;
    exifInfo_ = ExifInfo::initWithFile(filePath);
  }
  return exifInfo_;
}

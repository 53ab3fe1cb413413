#include "rename/OutputPhotoPath.h"

#include "platform/Files.h"
#include "platform/PathText.h"

std::shared_ptr<OutputPhotoPath> OutputPhotoPath::initWithoutDiskCheck(const QString &path,
                                                                       const QString &oldPath) {
  auto record = std::make_shared<OutputPhotoPath>();
  const QString extension = platform::PathText::pathExtension(path);
  record->fileExtension = extension.toLower();
  record->filePath = platform::PathText::stringByDeletingPathExtension(path) + QLatin1Char('.') +
                     record->fileExtension;
  record->oldFilePath = oldPath;
  record->fileName = platform::PathText::lastPathComponent(path);
  return record;
}

std::shared_ptr<OutputPhotoPath> OutputPhotoPath::initWithFileUrl(const QString &path,
                                                                  const QString &oldPath) {
  std::shared_ptr<OutputPhotoPath> record = initWithoutDiskCheck(path, oldPath);
  // The run writes the lower-case filePath: on a case-sensitive file system a file there
  // would be replaced silently if only the path as given were tested.
  record->fileAlreadyExistAtPath =
      platform::Files::fileExists(path) ||
      (record->filePath != path && platform::Files::fileExists(record->filePath));
  return record;
}

QString OutputPhotoPath::folderPrefixFor(const QString &folder) {
  // Runs of "/" collapse and a trailing "/" goes, as they do for the whole path.
  const QString fixed =
      platform::PathText::stringByDeletingLastPathComponent(folder + QStringLiteral("/x"));
  return fixed == QLatin1String("/") ? fixed : fixed + QLatin1Char('/');
}

std::shared_ptr<OutputPhotoPath> OutputPhotoPath::initWithFolderPrefix(const QString &folderPrefix,
                                                                       const QString &newName,
                                                                       const QString &oldPath) {
  auto record = std::make_shared<OutputPhotoPath>();
  // The path rules for one component: the text after the last dot is the extension, unless
  // that dot leads the name or ends it.
  const qsizetype dot = newName.lastIndexOf(QLatin1Char('.'));
  const bool hasExtension = dot > 0 && dot < newName.size() - 1;
  record->fileExtension = hasExtension ? newName.mid(dot + 1).toLower() : QString();
  const QStringView base = hasExtension ? QStringView(newName).left(dot) : QStringView(newName);
  record->filePath.reserve(folderPrefix.size() + base.size() + 1 + record->fileExtension.size());
  record->filePath.append(folderPrefix)
      .append(base)
      .append(QLatin1Char('.'))
      .append(record->fileExtension);
  record->oldFilePath = oldPath;
  record->fileName = newName;
  return record;
}

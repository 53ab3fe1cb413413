#include "intake/PhotoFile.h"
#include "rename/RenameEngine.h"
#include "rename/RenameSettingsEditor.h"

// The engine reads a batch photo through this adapter; only the taken-date stamp opens
// the file (for its capture date).
QString RenameEngine::getUpdatedRenameStringForPhotoFile(const PhotoFile &photo, quint32 index) {
  RenameSubject subject;
  subject.fileName = photo.fileName;
  subject.fileExtension = photo.fileExtension;
  subject.filePath = photo.filePath;
  subject.fileCreationDate = photo.fileCreationDate;
  subject.fileModifiedDate = photo.fileModifiedDate;
  if (rules_.needsTakenDate())
    subject.takenDate = [&photo] { return photo.captureDateOfFile(); };
  return newName(subject, index);
}

QString RenameSettingsEditor::batchLineText(const QList<std::shared_ptr<PhotoFile>> &batch) {
  double bytes = 0;
  for (const std::shared_ptr<PhotoFile> &photo : batch)
    bytes += photo->fileSizeInBytes;
  return batchLineText(batch.size(), bytes);
}

#include "rename/PreflightChecks.h"

#include "platform/Files.h"
#include "rename/BatchSlices.h"
#include "rename/OutputPhotoPath.h"

#include <memory>
#include <vector>

namespace {

// The first three rules decide without the disk.
bool decidedWithoutDisk(const OutputPhotoPath &record) {
  return record.fileExtension.isEmpty() ||
         record.fileName.contains(QLatin1String("http:"), Qt::CaseInsensitive) ||
         record.occurenceCount >= 2;
}

// Whether each record's source is gone, tested for the records that reach that rule. A
// batch comes folder by folder, so each run of sources from one folder is tested relative to
// that folder; a large batch is tested on several threads. The answers are those of a stat
// per source, only sooner.
std::vector<char> sourcesMissing(const QList<std::shared_ptr<OutputPhotoPath>> &records) {
  std::vector<char> missing(static_cast<size_t>(records.size()), 0);
  const auto test = [&records, &missing](int, qsizetype begin, qsizetype end) {
    std::unique_ptr<platform::Files::FolderProbe> probe;
    for (qsizetype i = begin; i < end; ++i) {
      const OutputPhotoPath *record = records.at(i).get();
      if (!record || decidedWithoutDisk(*record))
        continue;
      const QString &path = record->oldFilePath;
      const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
      if (slash < 0 || slash == path.size() - 1) {
        missing[size_t(i)] = !platform::Files::fileExists(path);
        continue;
      }
      const QStringView folder = QStringView(path).left(slash);
      if (!probe || probe->folder() != folder)
        probe = std::make_unique<platform::Files::FolderProbe>(folder.toString());
      missing[size_t(i)] = !probe->exists(path.mid(slash + 1));
    }
  };
  BatchSlices::run(records.size(), BatchSlices::sliceCount(records.size(), 20000), test);
  return missing;
}

} // namespace

ErrorFiles calculateErrorFiles(const QList<std::shared_ptr<OutputPhotoPath>> &records,
                               bool owerwriteExistingFiles, bool collectConsoleLines) {
  ErrorFiles e;
  const std::vector<char> missing = sourcesMissing(records);
  qsizetype index = -1;
  const auto log = [&e, collectConsoleLines](const char *finding, const QString &path) {
    if (collectConsoleLines)
      e.consoleLines.append(QLatin1String(finding) + QStringLiteral(" == ") + path);
  };
  for (const std::shared_ptr<OutputPhotoPath> &record : records) {
    ++index;
    if (!record)
      continue;
    if (record->fileExtension.isEmpty()) {
      e.arrayEmptyNames.append(record->filePath);
      e.emptyNames.insert(record->filePath);
      e.arrayAllErrors.append(record);
      log("empty file name", record->filePath);
    } else if (record->fileName.contains(QLatin1String("http:"), Qt::CaseInsensitive)) {
      e.arrayInvalidFileName.append(record->filePath);
      e.invalidNames.insert(record->filePath);
      e.arrayAllErrors.append(record);
      log("invalid file name", record->filePath);
    } else if (record->occurenceCount >= 2) {
      e.arrayDuplicateNames.append(record->filePath);
      e.duplicateNames.insert(record->filePath);
      e.arrayAllErrors.append(record);
      log("duplicate file name", record->filePath);
    } else if (missing[size_t(index)]) {
      e.arrayFileNotFound.append(record->oldFilePath);
      e.notFound.insert(record->oldFilePath);
      e.arrayAllErrors.append(record);
      log("files not found", record->oldFilePath);
    } else if (owerwriteExistingFiles) {
      continue;
    } else if (record->fileAlreadyExistAtPath) {
      e.arrayFileAlreadyExists.append(record->filePath);
      e.alreadyExists.insert(record->filePath);
      e.arrayAllWarnings.append(record);
      log("files already exists", record->filePath);
    }
  }
  return e;
}

RowStatus rowStatusForRecord(const OutputPhotoPath &record, const ErrorFiles &errors) {
  // Each test that matches replaces the one before, so the last match shows.
  RowStatus status{PreflightText::kReady, PreflightText::kIconReady, false, false};
  const auto error = [&status](const QString &toolTip) {
    status = {toolTip, PreflightText::kIconError, true, false};
  };
  if (errors.emptyNames.contains(record.filePath))
    error(PreflightText::kBlank);
  if (errors.invalidNames.contains(record.filePath))
    error(PreflightText::kInvalid);
  if (errors.duplicateNames.contains(record.filePath))
    error(PreflightText::kDuplicate);
  if (errors.notFound.contains(record.oldFilePath))
    error(PreflightText::kNotFound);
  if (errors.alreadyExists.contains(record.filePath))
    status = {PreflightText::kExists, PreflightText::kIconWarning, false, true};
  return status;
}

QList<std::shared_ptr<OutputPhotoPath>>
recordsForPreviewFilesMode(int mode, const QList<std::shared_ptr<OutputPhotoPath>> &all,
                           const ErrorFiles &errors) {
  if (mode == PreviewErrors)
    return errors.arrayAllErrors;
  if (mode == PreviewWarnings)
    return errors.arrayAllWarnings;
  return all;
}

QList<FilterButtonTexts> updateErrorAndWarningUI(const ErrorFiles &errors) {
  return {
      {QStringLiteral("ALL"),
       QStringLiteral("Lists all the 'New Photo paths' of the added batch of photos")},
      {QStringLiteral("ERRORS: %1").arg(errors.errorCount()),
       QStringLiteral("Lists all the 'New Photo paths' with Errors like Duplicate file name or "
                      "Files that are unavailable at the source location")},
      {QStringLiteral("WARNINGS: %1").arg(errors.warningCount()),
       QStringLiteral("Lists all the 'New Photo paths' with Warnings like similar File name "
                      "already exists at the destination folder")},
  };
}

StartGate startGateForBatch(const ErrorFiles &errors, qsizetype recordCount) {
  const qsizetype problems = errors.problemCount();
  if (problems >= recordCount)
    return StartGate::Refuse;
  if (problems > 0)
    return StartGate::Prompt;
  return StartGate::Start;
}

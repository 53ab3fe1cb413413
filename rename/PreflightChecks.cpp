#include "rename/PreflightChecks.h"

#include "platform/Files.h"
#include "rename/BatchSlices.h"
#include "rename/OutputPhotoPath.h"

#include <climits>
#include <memory>
#include <vector>

namespace {

// The file system's limits: a name of at most NAME_MAX bytes, a path shorter than PATH_MAX.
#ifndef NAME_MAX
constexpr qsizetype kNameMax = 255;
#else
constexpr qsizetype kNameMax = NAME_MAX;
#endif
#ifndef PATH_MAX
constexpr qsizetype kPathMax = 4096;
#else
constexpr qsizetype kPathMax = PATH_MAX;
#endif

qsizetype utf8Length(QStringView text) {
  // Counted without making the UTF-8 copy: a character of one UTF-16 unit takes 1 to 3
  // bytes, a surrogate pair 4.
  qsizetype bytes = 0;
  for (const QChar c : text) {
    const char16_t u = c.unicode();
    bytes += u < 0x80 ? 1 : u < 0x800 ? 2 : c.isSurrogate() ? 2 : 3;
  }
  return bytes;
}

// Whether the destination can be made at all: its new name within the name limit and its
// whole path within the path limit (the byte counts the system sees).
bool fitsFileSystem(const QString &filePath) {
  // Three bytes per unit at most: most paths are far too short to need counting.
  if (filePath.size() * 3 < kPathMax && filePath.size() * 3 <= kNameMax)
    return true;
  if (utf8Length(filePath) >= kPathMax)
    return false;
  const qsizetype slash = filePath.lastIndexOf(QLatin1Char('/'));
  return utf8Length(QStringView(filePath).mid(slash + 1)) <= kNameMax;
}

// What the checks find for one record: the first rule that applies.
enum Verdict : char { Ready, Blank, Invalid, Duplicate, NotFound, Exists };

Verdict verdictOf(const OutputPhotoPath &record, bool owerwriteExistingFiles,
                  std::unique_ptr<platform::Files::FolderProbe> *probe) {
  if (record.fileExtension.isEmpty())
    return Blank;
  if (record.fileName.contains(QLatin1String("http:"), Qt::CaseInsensitive) ||
      !fitsFileSystem(record.filePath))
    return Invalid;
  if (record.occurenceCount >= 2)
    return Duplicate;
  // A batch comes folder by folder, so each run of sources from one folder is looked up
  // relative to that folder.
  const QString &path = record.oldFilePath;
  const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
  bool found = false;
  if (slash < 0 || slash == path.size() - 1) {
    found = platform::Files::fileExists(path);
  } else {
    const QStringView folder = QStringView(path).left(slash);
    if (!*probe || (*probe)->folder() != folder)
      *probe = std::make_unique<platform::Files::FolderProbe>(folder.toString());
    found = (*probe)->exists(path.mid(slash + 1));
  }
  if (!found)
    return NotFound;
  return !owerwriteExistingFiles && record.fileAlreadyExistAtPath ? Exists : Ready;
}

} // namespace

ErrorFiles calculateErrorFiles(const QList<std::shared_ptr<OutputPhotoPath>> &records,
                               bool owerwriteExistingFiles, bool collectConsoleLines) {
  // The verdicts need a look at the disk for most records: a large batch is judged on
  // several threads, then the findings are listed in batch order.
  std::vector<Verdict> verdicts(static_cast<size_t>(records.size()), Ready);
  BatchSlices::run(records.size(), BatchSlices::sliceCount(records.size(), 20000),
                   [&](int, qsizetype begin, qsizetype end) {
                     std::unique_ptr<platform::Files::FolderProbe> probe;
                     for (qsizetype i = begin; i < end; ++i) {
                       if (const OutputPhotoPath *record = records.at(i).get())
                         verdicts[size_t(i)] = verdictOf(*record, owerwriteExistingFiles, &probe);
                     }
                   });

  ErrorFiles e;
  for (qsizetype i = 0; i < records.size(); ++i) {
    const std::shared_ptr<OutputPhotoPath> &record = records.at(i);
    const Verdict verdict = verdicts[size_t(i)];
    if (!record || verdict == Ready)
      continue;
    const QString &path = verdict == NotFound ? record->oldFilePath : record->filePath;
    static const struct {
      const char *finding;
      QStringList ErrorFiles::*list;
      QSet<QString> ErrorFiles::*set;
    } kFindings[] = {
        {nullptr, nullptr, nullptr},
        {"empty file name", &ErrorFiles::arrayEmptyNames, &ErrorFiles::emptyNames},
        {"invalid file name", &ErrorFiles::arrayInvalidFileName, &ErrorFiles::invalidNames},
        {"duplicate file name", &ErrorFiles::arrayDuplicateNames, &ErrorFiles::duplicateNames},
        {"files not found", &ErrorFiles::arrayFileNotFound, &ErrorFiles::notFound},
        {"files already exists", &ErrorFiles::arrayFileAlreadyExists, &ErrorFiles::alreadyExists},
    };
    const auto &finding = kFindings[verdict];
    (e.*finding.list).append(path);
    (e.*finding.set).insert(path);
    (verdict == Exists ? e.arrayAllWarnings : e.arrayAllErrors).append(record);
    if (collectConsoleLines)
      e.consoleLines.append(QLatin1String(finding.finding) + QStringLiteral(" == ") + path);
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

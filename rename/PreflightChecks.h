#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

class OutputPhotoPath;

// The checks of a batch's destinations before a run. The preview and the batch screen's
// start gate both use calculateErrorFiles, so their verdicts cannot disagree.
struct ErrorFiles {
  QStringList arrayEmptyNames;        // filePath, error
  QStringList arrayInvalidFileName;   // filePath, error
  QStringList arrayDuplicateNames;    // filePath, error
  QStringList arrayFileNotFound;      // oldFilePath, error
  QStringList arrayFileAlreadyExists; // filePath, warning
  QList<std::shared_ptr<OutputPhotoPath>> arrayAllErrors;
  QList<std::shared_ptr<OutputPhotoPath>> arrayAllWarnings;
  // The batch screen's console lines, one per finding ("empty file name == %@", ...).
  QStringList consoleLines;

  qsizetype errorCount() const {
    return arrayEmptyNames.size() + arrayDuplicateNames.size() + arrayFileNotFound.size() +
           arrayInvalidFileName.size();
  }
  qsizetype warningCount() const { return arrayFileAlreadyExists.size(); }
  // What the start gate counts: warnings too.
  qsizetype problemCount() const { return errorCount() + warningCount(); }

  // Lookup sets for the row status (membership is string equality on the stored paths).
  QSet<QString> emptyNames, invalidNames, duplicateNames, notFound, alreadyExists;
};

// Each record is checked in list order; the first rule that applies decides: blank name,
// invalid name ("http:" in it, any case, or a name over 255 bytes, or a path over the
// system's path limit), duplicate destination, source gone, then (unless overwriting)
// destination exists.
// consoleLines are collected only when asked for (the batch screen's copy logs them).
ErrorFiles calculateErrorFiles(const QList<std::shared_ptr<OutputPhotoPath>> &records,
                               bool owerwriteExistingFiles, bool collectConsoleLines = false);

// The status a preview row shows: its tool tip and icon.
struct RowStatus {
  QString toolTip;
  QString icon;
  bool isError = false;
  bool isWarning = false;
};
RowStatus rowStatusForRecord(const OutputPhotoPath &record, const ErrorFiles &errors);

// The preview filters: 0 all, 1 errors, 2 warnings.
enum PreviewFilesMode { PreviewAll = 0, PreviewErrors = 1, PreviewWarnings = 2 };
QList<std::shared_ptr<OutputPhotoPath>>
recordsForPreviewFilesMode(int mode, const QList<std::shared_ptr<OutputPhotoPath>> &all,
                           const ErrorFiles &errors);

// The filter buttons' titles and tool tips, by tag.
struct FilterButtonTexts {
  QString title;
  QString toolTip;
};
QList<FilterButtonTexts> updateErrorAndWarningUI(const ErrorFiles &errors);

// The batch screen's start gate.
enum class StartGate {
  Refuse, // no photo is free of problems (an empty batch too): the "ERROR/WARNING" alert
  Prompt, // some photos have problems: they will be skipped, proceed or cancel
  Start,  // no problems: start at once
};
StartGate startGateForBatch(const ErrorFiles &errors, qsizetype recordCount);

namespace PreflightText {
inline const QString kReady = QStringLiteral("File is ready to process.");
inline const QString kBlank = QStringLiteral("Filename is blank.");
inline const QString kInvalid = QStringLiteral("Invalid filename.");
inline const QString kDuplicate = QStringLiteral("Duplicate filename.");
inline const QString kNotFound = QStringLiteral("File not available in source folder.");
inline const QString kExists = QStringLiteral("File already exists in destination folder.");
inline const QString kIconReady = QStringLiteral("all_correct.png");
inline const QString kIconError = QStringLiteral("error_button.png");
inline const QString kIconWarning = QStringLiteral("warning_button.png");
inline const QString kRefusalTitle = QStringLiteral("ERROR/WARNING");
inline const QString kRefusalText = QStringLiteral(
    "Batch Process cannot be initiated. Your batch includes errors/warnings that needs to be "
    "corrected. Please verify the filenames & output directory.");
inline const QString kBlankReplaceName =
    QStringLiteral("Filename cannot be blank. Please enter the filename with which you wish to "
                   "replace the original name.");
} // namespace PreflightText

#pragma once

#include "rename/PreflightChecks.h"
#include "rename/RenameEngine.h"

#include <QList>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

class AppDelegate;
class BatchRenameSetting;
class OutputOptionSettings;
class OutputPhotoPath;
class PhotoFile;

// What one preview pass computes off the main thread.
struct PreviewResult {
  QList<std::shared_ptr<OutputPhotoPath>> paths; // one per photo, batch order
  bool isIphotoExist = false;                    // a photo of the batch is a library photo
  bool isRawFormatExist = false;                 // as the engine left it after the last photo
};

// For each photo in batch order: the new name, the destination folder, the destination
// record; then the duplicate counts. Reads only the arguments, so it may run on any thread.
PreviewResult computePreview(const QList<std::shared_ptr<PhotoFile>> &batch,
                             const RenameRules &rules, const QStringList &formats,
                             const OutputOptionSettings &options);

// A batch made ready for a run by one preview pass: the photos, their destinations in batch
// order, the checks' verdicts, and the settings the destinations were computed with. The
// preview shows it, the start gate reads it, and the run takes it whole
// (BatchRun::start), so no list is copied by hand between them.
struct PreparedBatch {
  QList<std::shared_ptr<PhotoFile>> batch;
  QList<std::shared_ptr<OutputPhotoPath>> destinations; // one per photo, batch order
  ErrorFiles verdicts;
  std::shared_ptr<BatchRenameSetting> setting;
  std::shared_ptr<OutputOptionSettings> options;
  bool isIphotoExist = false;
  bool isRawFormatExist = false;

  StartGate startGate() const { return startGateForBatch(verdicts, destinations.size()); }
};

// One whole preview pass: computePreview, the copy mode forced on options when a library
// photo is in the batch, then the checks. setting and options become the result's; they
// must not be changed meanwhile (a screen passes copies). Reads only its arguments, so it
// may run on any thread.
PreparedBatch prepareBatch(QList<std::shared_ptr<PhotoFile>> batch,
                           std::shared_ptr<BatchRenameSetting> setting,
                           std::shared_ptr<OutputOptionSettings> options,
                           const QStringList &formats);

// Makes a prepared batch the delegate's: its setting, options and destination list.
void handPreparedBatchToDelegate(AppDelegate *delegate, const PreparedBatch &prepared);

// occurenceCount of every record: how many records have exactly its filePath (case
// matters), itself included. Linear in the number of records.
void countOccurences(const QList<std::shared_ptr<OutputPhotoPath>> &records);

// The rename-and-format screen without its widgets: the current setting and options, the
// preview list and its checks, and the start request. A screen binds its controls to it and
// reloads its table on previewUpdated.
class RenamePreviewController : public QObject {
  Q_OBJECT

public:
  explicit RenamePreviewController(AppDelegate *delegate, QObject *parent = nullptr);
  ~RenamePreviewController() override;

  // Reads the delegate's setting and options (or the defaults) and runs the first pass,
  // marked initial so that it does not count as a change.
  void viewDidAppear();
  // Fresh rename setting from the defaults file (the output options stay), then a pass.
  void resetAllSettings();

  // Starts a pass on the serial background queue; a later pass finishes after an earlier
  // one, so the last one started wins. With initial false the delegate's
  // isRENAME_SETTINGS_CHANGED is set.
  void resetPreviewForUpdatedRenameSelections(bool initial);
  // Runs the event loop until every pass started has been handed back (for tests and
  // scripts; a screen waits for previewUpdated instead).
  void waitForPreview();
  bool isPreviewRunning() const { return pendingPasses_ > 0; }

  // The last pass handed back: what the start gate reads and the run takes.
  const PreparedBatch &preparedBatch() const { return prepared_; }

  // The start button: the blank-replacement-name message, or empty when the batch was
  // handed to the delegate (callDelegateToProcessPhotos).
  QString perfromStartProcess();
  void callDelegateToProcessPhotos();

  void btnPreviewFilesModeTapped(int tag) { flagPreviewFilesMode = tag; }
  QList<std::shared_ptr<OutputPhotoPath>> previewRecords() const {
    return recordsForPreviewFilesMode(flagPreviewFilesMode, arrayOutputFilePaths, errorFiles);
  }

  std::shared_ptr<BatchRenameSetting> setting;
  std::shared_ptr<OutputOptionSettings> options;
  QList<std::shared_ptr<OutputPhotoPath>> arrayOutputFilePaths;
  ErrorFiles errorFiles;
  QList<FilterButtonTexts> filterButtons;
  int flagPreviewFilesMode = PreviewAll;
  bool isIphotoExist = false;
  bool isRawFormatExist = false;
  // The move button is disabled while a library photo is in the batch.
  bool isMoveModeEnabled = true;

  // Where the notifications "notificationsShowLoading" and "notificationsHideLoading" go.
  std::function<void(const QString &name)> postNotification;

Q_SIGNALS:
  // A pass has been handed back: reload the table and set the controls from the setting.
  void previewUpdated();
  // The start check passed: the batch screen goes on.
  void processPhotosRequested();

private:
  void finishPass(const PreparedBatch &prepared);
  // Takes the oldest pass handed back through the channel. Called by name, so the call carries
  // no data: the pass travels under the channel's lock, where ThreadSanitizer sees it.
  Q_INVOKABLE void takeFinishedPass();

  // What a pass reaches this object through: cleared when it is destroyed, so a pass still
  // running hands its result to no one and the destructor waits for nothing.
  struct Channel;
  std::shared_ptr<Channel> channel_;
  AppDelegate *delegate_;
  PreparedBatch prepared_;
  int pendingPasses_ = 0;
};

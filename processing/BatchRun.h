#pragma once

#include "processing/ImageWriter.h"
#include "processing/RunJournal.h"
#include "processing/RunSettings.h"
#include "rename/PreviewPass.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>

class AppDelegate;
class AppliedFilter;
class OutputPhotoPath;
class PhotoFile;
namespace platform::Workspace {
class DisplayAwakeAssertion;
}

// The fields of the on-screen summary, as the batch screen and the command line show them.
struct SummaryInfo {
  QString header; // "Process Finished!" or "Process Stopped!"
  QString batchCount;
  QString totalSize;
  QString stepsApplied;
  QString processed;
  QString notProcessed;
  QString skipped;
  QString errors;
  QString timeElapsed;
  QString outputDirectory;
  bool showOpenOutputFolderButton = false;
  bool showProcessSkippedButton = false;
};

// The batch run: the engine of the batch-processing screen (SetupVC) and of `quillmere run`.
// It walks the batch in order on a background task, has each photo loaded, checked and
// written, records one status per photo, keeps the five counters and the progress, and at
// the end writes the summary log. It knows no widgets: sheets, alerts and display updates
// are signals, and the screen answers through the btn...Tapped operations.
//
// Every result is handed to the thread that owns this object, and the loop waits until it
// has been recorded; with submitToBackground set to run inline the whole run happens on the
// calling thread (tests do this). The loop reads only its own copies and the flags it shares
// with this object, so the run may be destroyed while a loop ends: the destructor waits for
// nothing, and the loop's last reports go to no one.
class BatchRun : public QObject {
  Q_OBJECT

  // The flags the loop's thread shares with this object (declared first: the references
  // below are bound to them).
  struct Shared;
  std::shared_ptr<Shared> shared_;

public:
  explicit BatchRun(AppDelegate *delegate, QObject *parent = nullptr);
  ~BatchRun() override;

  // --- Settings and problem lists (filled before a run, by start or by hand) ---
  RunSettings settings;
  QStringList arrayEmptyNames;
  QStringList arrayInvalidFileName;
  QStringList arrayDuplicateNames;
  QStringList arrayFileNotFound;
  QStringList arrayFileAlreadyExists;

  // --- Run state ---
  qint64 counterTotalProgressedFiles = 0;
  qint64 counterNotProcessed = 0;
  qint64 counterProcessedSuccessfully = 0;
  qint64 counterProcessedWithError = 0;
  qint64 counterSkipped = 0;
  QDateTime processStartedDateTime;
  QString processStartTimeStr;
  // Written on the owner's thread and read by the loop's (or the other way round).
  std::atomic<bool> &isSkipCurrentFileSelected;
  std::atomic<bool> &isCompressionInProgress;
  std::atomic<bool> &isStopRequestWhileCompression;
  QString nameOfOverWriteImg;
  QString strLogfilePath;
  QList<std::shared_ptr<PhotoFile>> arrayFilesToReProcess;
  int progressPercentage = 0;
  SummaryInfo summaryInfo;
  // The journal of the run (in the data folder's "runs"), from which it can be undone; null
  // before a run, or when it could not be made.
  std::shared_ptr<RunJournal> journal;

  // --- Injectable readings ---
  // Bytes free and total on the volume of a path (-1 when unreadable).
  std::function<qint64(const QString &)> freeSpaceReader;
  std::function<qint64(const QString &)> totalSpaceReader;
  // The screen's backing scale factor.
  std::function<double()> scaleFactorReader;
  // Runs work on a background task; the default starts a thread.
  std::function<void(std::function<void()>)> submitToBackground;
  // Opens a file or folder for the user (the default asks the desktop).
  std::function<void(const QString &)> openPath;
  // Makes the next photos ready (decoded, and encoded in memory) while the current one is
  // written (the writes, reports and checks stay in order); off, every photo is read in its
  // own turn.
  bool prefetchNextPhoto = true;
  // Console lines (the default writes them to standard error).
  std::function<void(const QString &)> logLine;

  // --- Starting ---
  // The start of a confirmed run of what a preview pass prepared, taken whole: its photos,
  // destinations and verdicts, and the settings they were computed with (the delegate gets
  // the destination list). False for an empty batch.
  bool start(const PreparedBatch &prepared);
  // The start of a confirmed run of the delegate's batch and destinations with the settings
  // and problem lists as they stand: false for an empty batch (the settings view stays).
  bool sendStartProcessRequest();
  // The run's start proper (also reached directly, as the observer of the start
  // notification): the delegate's batch unless start() gave one.
  void processStartNotification();
  void btnProcessTapped();
  void startProcessingOfPhotos();

  // --- The loop ---
  // The loop over batch from counterTotalProgressedFiles, on the calling thread.
  void processFilesInBatch(QList<std::shared_ptr<PhotoFile>> batch);
  // Records one photo's result; runs on the owning thread. written tells whether the writer
  // finished with the photo (a file written, or a failure to write one): such a result is
  // recorded even when a stop is pending.
  void callForUpdatingProgressWithCountWithProcessStatus(qint32 status, const QString &processMsg,
                                                         bool written = false);
  // The representation type of a photo for the writer (tif 0 ... jp2 6; others as jpeg).
  static int representationType(qint32 outputFormat, const QStringList &formats,
                                const QString &fileExtension);

  // --- Texts ---
  QString batchInfoText() const;
  QString processInfoText() const;
  void setBatchInfo();
  void setProcessInfoAtBottm();
  void updateBottomInfoWithTimerFlag(bool on);

  // --- Sheets and stopping ---
  void showEnoughSpacePopup();
  void btnOkOnEnoughtSpcaecTapped();
  void showOverwriteWindowWithOldPath(const QString &oldPath);
  void closeOverwriteWindow();
  void btnOkOnOverwriteWindowTapped();
  void btnStopProcessTapped();
  void stopProcessNotification() { btnStopProcessTapped(); }
  void stopProcessAfterCompletionCompression();
  void btnYesOnAbortTapped();
  void btnNoOnAbortTapped();
  static QString abortSheetText();

  // --- Alerts ---
  struct Alert {
    QString title; // as stored; the screen shows it in upper case
    QString message;
  };
  static Alert alertForType(int type, qsizetype batchCount);
  void showAlertWithType(int type);
  // Walks the batch from the last photo; with remove drops the missing ones. Returns how
  // many photos still exist; none left shows alert 107 after 0.2 seconds.
  qsizetype checkForDeletedPhotosInSourceFolder(bool remove);

  // --- End of run and summary (BatchRunSummary.cpp) ---
  void addSummaryViewIsFinished(bool finished);
  // Writes the log; false when nothing could be written.
  bool createAndWriteSummaryFileWithStatus(bool completed);
  // The log's whole text.
  QString summaryText(bool completed, const QList<std::shared_ptr<PhotoFile>> &processed,
                      const QList<std::shared_ptr<PhotoFile>> &notProcessed,
                      const QList<std::shared_ptr<PhotoFile>> &skipped,
                      const QList<std::shared_ptr<PhotoFile>> &withError) const;
  static QString logFolderPath();
  void setSummmaryInfo(bool finished);
  void btnShowLogsTapped();
  void btnOpenOutputFolderTapped();
  void btnProcessSkippedFilesTapped();

  bool isLoopRunning() const { return loopRunning_.load(); }
  // Whether the next photos may be decoded while one is written: not when a destination of
  // the batch is also a source, since the loop would then read a file it wrote.
  static bool mayPrefetch(const QList<std::shared_ptr<PhotoFile>> &batch,
                          const QList<std::shared_ptr<OutputPhotoPath>> &destinations);
  // The photos and destinations of the run started last.
  const QList<std::shared_ptr<PhotoFile>> &runBatch() const { return batch_; }

Q_SIGNALS:
  void progressChanged(int percentage);
  void batchInfoChanged(const QString &text);
  void processInfoChanged(const QString &text);
  // Row index of the batch updated with its result.
  void photoUpdated(qint64 index);
  void resetUIforNewProcess();
  void showSettingsView();
  void enoughSpacePopupRequested();
  void overwriteWindowRequested(const QString &text);
  void overwriteWindowClosed();
  void abortSheetRequested(const QString &text);
  void abortSheetClosed();
  void alertRequested(int type, const QString &title, const QString &message);
  // The log is written and the summary filled: the run is over.
  void runEnded(bool finished);
  void processSkippedRequested(const QList<std::shared_ptr<PhotoFile>> &photos);

private:
  // One loop over the batch with everything it reads (BatchRun.cpp).
  class Loop;
  // Starts a loop from counterTotalProgressedFiles: on a background task, or here;
  // clearStaleFiles for the first loop of a run.
  void submitLoop(bool here = false, bool clearStaleFiles = false);
  // The delegate's batch and destinations become the run's, unless start() gave them.
  void takeBatch();
  void loopFinished(bool brokeOnFlag);
  // Runs the oldest call the loop queued for this thread. Called by name, so the call carries
  // no data: the loop's calls travel under the shared lock, where ThreadSanitizer sees them.
  Q_INVOKABLE void runQueuedCall();
  void writeSummaryAndEnd(bool finished);
  qsizetype batchCount() const;
  void log(const QString &line);

  AppDelegate *delegate_;
  // The run's photos and destinations, taken when it starts; the loop works on copies.
  QList<std::shared_ptr<PhotoFile>> batch_;
  QList<std::shared_ptr<OutputPhotoPath>> destinations_;
  // batch_ and destinations_ are set for the start under way (by start(), or taken from the
  // delegate by takeBatch).
  bool batchTaken_ = false;
  // The batch's total size, summed once per batch: the information line is refreshed after
  // every photo, and summing a large batch each time would make a run quadratic.
  double batchBytes() const;
  mutable const void *bytesOfBatch_ = nullptr;
  mutable qsizetype bytesOfCount_ = -1;
  mutable double batchBytes_ = 0;
  QTimer bottomInfoTimer_;
  std::atomic<bool> loopRunning_{false};
  // A stop cleared the run flag while a photo may still be in flight.
  bool stopPending_ = false;
  int summaryWhenLoopEnds_ = -1; // -1 none, else the finished flag
  bool ended_ = false;
  std::unique_ptr<platform::Workspace::DisplayAwakeAssertion> awake_;
};

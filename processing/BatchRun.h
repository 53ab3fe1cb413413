#pragma once

#include "processing/ImageWriter.h"
#include "processing/RunSettings.h"

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
// Every result is handed to the thread that owns this object synchronously, so the loop
// waits for each update; with submitToBackground set to run inline the whole run happens
// on the calling thread (tests do this).
class BatchRun : public QObject {
  Q_OBJECT
public:
  explicit BatchRun(AppDelegate *delegate, QObject *parent = nullptr);
  ~BatchRun() override;

  // --- Settings and problem lists (filled before a run) ---
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
  // Photos reported as processed whose write put no file in place (the reason is logged).
  qint64 counterNotWritten = 0;
  QDateTime processStartedDateTime;
  QString processStartTimeStr;
  std::atomic<bool> isSkipCurrentFileSelected{false};
  std::atomic<bool> isCompressionInProgress{false};
  std::atomic<bool> isStopRequestWhileCompression{false};
  QString nameOfOverWriteImg;
  QString strLogfilePath;
  QList<std::shared_ptr<PhotoFile>> arrayFilesToReProcess;
  int progressPercentage = 0;
  SummaryInfo summaryInfo;

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
  // The start of a confirmed run: false for an empty batch (the settings view stays).
  bool sendStartProcessRequest();
  void processStartNotification();
  void btnProcessTapped();
  void startProcessingOfPhotos();

  // --- The loop ---
  void processFilesInBatch(QList<std::shared_ptr<PhotoFile>> batch);
  // Records one photo's result; runs on the owning thread. written tells whether a write
  // completed: such a result is recorded even when a stop is pending.
  // produced tells whether that write put a file in place.
  void callForUpdatingProgressWithCountWithProcessStatus(qint32 status, const QString &processMsg,
                                                         bool written = false,
                                                         bool produced = true);
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
  bool mayPrefetchForTesting(const QList<std::shared_ptr<PhotoFile>> &batch) const {
    return mayPrefetch(batch);
  }

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
  void runOnOwnerThread(const std::function<void()> &work);
  void submitLoop(QList<std::shared_ptr<PhotoFile>> batch);
  void runLoop(const QList<std::shared_ptr<PhotoFile>> &batch, qint64 start);
  // The problem lists as sets: a photo's checks cost no walk through them.
  struct SkipLookup {
    QSet<QString> empty, invalid, duplicate, notFound, alreadyExists;
    // Whether the checks end the photo's turn before it is written.
    bool passesOver(const QString &sourcePath, const QString &newPath) const;
  };
  SkipLookup skipLookup() const;
  // What is made of a photo before its turn: the loader's result (none when it could not be
  // decoded) and, when asked, the output encoded in memory (the pixels are then let go).
  struct PreparedPhoto {
    std::optional<vips::VImage> image;
    std::optional<EncodedFile> encoded;
  };
  // Runs on a worker: it reads only its arguments, the photo and the run's settings.
  PreparedPhoto preparePhoto(const std::shared_ptr<PhotoFile> &photo, const QString &newPath,
                             int repType, const SkipLookup &skips, bool encode) const;
  QString destinationPathAt(qint64 index) const;
  int representationTypeOf(const std::shared_ptr<PhotoFile> &photo) const;
  // One photo's turn with what was made of it beforehand.
  void processFileFromBunch(const std::shared_ptr<PhotoFile> &photo, qint64 index,
                            PreparedPhoto prepared, const SkipLookup &skips);
  // Whether the next photo may be decoded while this one is written: not when a destination
  // of the batch is also a source, since the loop would then read a file it wrote.
  bool mayPrefetch(const QList<std::shared_ptr<PhotoFile>> &batch) const;
  void loopFinished(bool brokeOnFlag);
  void writeSummaryAndEnd(bool finished);
  qsizetype batchCount() const;
  void log(const QString &line);

  AppDelegate *delegate_;
  ImageWriter writer_;
  QTimer bottomInfoTimer_;
  std::atomic<bool> loopRunning_{false};
  // A stop cleared the run flag while a photo may still be in flight.
  std::atomic<bool> stopPending_{false};
  bool resumeWhenLoopEnds_ = false;
  int summaryWhenLoopEnds_ = -1; // -1 none, else the finished flag
  bool ended_ = false;
  std::unique_ptr<platform::Workspace::DisplayAwakeAssertion> awake_;
};

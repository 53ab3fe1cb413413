#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class ImageFileInfo;
class PhotoFile;
class QEventLoop;
class QObject;

// A panel or alert of the add-photos screen. Titles are already upper case.
struct AddPhotosMessage {
  enum class Kind {
    Trash,         // empty alert with "OK": nothing taken from the trash
    LimitExceeded, // "PHOTOS LIMIT EXCEEDED"
    FilesCannotBeAdded,
    PhotosExist,
    NoPhotosToAdd,
    NoPhotoToDelete,
    PhotosDeleted,     // every photo of the batch is gone from disk
    PhotoNotAvailable, // the current photo is gone from disk
  };
  Kind kind = Kind::NoPhotosToAdd;
  QString title;
  QString text;
  QString buttonTitle; // the alert's button, where it is not the panel's OK
  bool showsOk = true;
  bool showsRemove = false;
};

// One step of the add phase's progress display.
struct AddPhotosProgress {
  int photosAdded = 0;
  int totalPhotoToAdd = 0;
  int percent = 0;       // both progress bars
  int shownPercent = 0;  // rounded down to a multiple of 5
  QString percentText;   // "70 %"
  QString pathText;      // "Photo path: : /folder"
  QString pictureName;   // "fill_70", or "fill_1.png" when no such picture exists
  QString progressText;  // "7 of 10 photos added", "10 photos added"
  bool complete = false; // photosAdded reached totalPhotoToAdd
};

// A confirmation sheet (remove all, remove selected).
struct AddPhotosSheet {
  QString title;
  QString text;
};

// What the add run shows. Every call arrives on the thread that owns the PhotoIntake, in
// the order the run took its steps, so a screen and the command line see the same steps.
// The background work hands its steps over and goes on; the owner's thread never waits for it.
class AddPhotosListener {
public:
  virtual ~AddPhotosListener() = default;
  // The batch changes only on the owner's thread and only between one of these pairs, so a
  // table model can call beginInsertRows/endInsertRows and beginRemoveRows/endRemoveRows
  // around them and read the batch at any other time. Rows first..first+count-1: for an
  // insertion the new rows, always at the end; for a removal the rows that go.
  virtual void addPhotosWillInsert(qsizetype first, qsizetype count) {
    (void)first;
    (void)count;
  }
  virtual void addPhotosDidInsert() {}
  virtual void addPhotosWillRemove(qsizetype first, qsizetype count) {
    (void)first;
    (void)count;
  }
  virtual void addPhotosDidRemove() {}
  virtual void addPhotosMessage(const AddPhotosMessage &) {}
  // The add phase begins: unless adding from a library, hide the drop area and show the
  // progress panel; progress reset to an empty text, 0 and "fill_1.png"; screen input off.
  virtual void addPhotosWillAdd(bool showProgressPanel) { (void)showProgressPanel; }
  // A library's photos are about to be added: hide the drop area, show the progress panel.
  virtual void addPhotosShowProgressPanel() {}
  virtual void addPhotosProgress(const AddPhotosProgress &) {}
  // The end-of-run step: refresh the summary line, reload the views, show the photos and
  // turn screen input back on. May come twice in one run.
  virtual void addPhotosEnded() {}
  // The add run is over; nothing more comes for it.
  virtual void addPhotosFinished() {}
  // The date filter examined a file (the screen's information list shows it).
  virtual void addPhotosExaminedForFilter(const std::shared_ptr<ImageFileInfo> &) {}
  // A folder holds a name that is not valid UTF-8; that file cannot be added. Once per
  // folder and run.
  virtual void addPhotosUnreadableName(const QString &folder) { (void)folder; }
};

// Why an add request did not start a run.
struct AddPhotosStatus {
  enum class Code { Started, Ignored, Busy, Trash, DatesRefused, DatesIncomplete };
  Code code = Code::Started;
  QString message;
  bool started() const { return code == Code::Started; }
};

// The add-photos screen's run without its widgets: turns chosen paths into PhotoFile
// records appended to the batch, refuses duplicates and unsupported files, and keeps the
// batch's duplicate keys (dictFileAdded) in step with the batch.
//
// The owner's thread must run a Qt event loop (waitForFinished runs one): the count and the
// add phase run on a background thread, which never touches the batch. It queues its new
// photos and display steps; the owner's thread takes them in slices of a few milliseconds,
// appending the photos in chunks. The background thread waits when it is far ahead.
class PhotoIntake {
public:
  using Batch = QList<std::shared_ptr<PhotoFile>>;

  // Works on the application's batch.
  explicit PhotoIntake(AddPhotosListener *listener = nullptr);
  // Works on the given batch (tests, tools); batch must outlive the engine.
  PhotoIntake(Batch *batch, AddPhotosListener *listener);
  ~PhotoIntake();
  PhotoIntake(const PhotoIntake &) = delete;
  PhotoIntake &operator=(const PhotoIntake &) = delete;

  // Only between runs: the background work never reads the listener.
  void setListener(AddPhotosListener *listener) { listener_ = listener; }
  Batch &batch() { return *batch_; }

  // --- Entry points ---
  // The file chooser confirmed paths: 0 "Add Photos" (files), 1 "Add Folder" (with
  // sub-folders), 2 "Add with Filters" (sub-folders, the last From and To dates). Any other
  // index does nothing. A first path inside the trash refuses the whole choice.
  AddPhotosStatus btnAddPhotosTappedWithIndex(int index, const QStringList &chosenPaths);
  // The filter sheet's Add: refuses dates that format alike or run backwards with the red
  // note (status DatesRefused, message the note). Keeps the dates for the next run.
  AddPhotosStatus btnAddFilterOnPopupTapped(const QDateTime &from, const QDateTime &to);
  // The library chooser confirmed paths (iPhoto libraries).
  AddPhotosStatus btnAddIphotosTapped(const QStringList &chosenPaths);
  // The library chooser: its button title and which items it lets the user pick, by
  // pathType (2 while choosing a library).
  static QString libraryChooserButtonTitle();
  bool panelShouldEnableURL(const QString &path) const;
  // Items dropped on the drop area: with sub-folders, no filter.
  AddPhotosStatus handleFileDragDropNotification(const QStringList &paths);
  // Items dropped on the list or thumbnail view: sub-folders and filter stay as the last
  // add action left them.
  AddPhotosStatus acceptDrop(const QStringList &paths);
  // The command line: every path in one run; recursive as "Add Folder"; with both dates
  // the filter as "Add with Filters" (always with sub-folders). Texts as the screen's.
  AddPhotosStatus addPaths(const QStringList &paths, bool recursive, const QDateTime &from = {},
                           const QDateTime &to = {});

  // The stop button: the add phase ends before its next file; photos handed over but not yet
  // in the batch are dropped, so the batch holds exactly the photos reported as added.
  void btnStopAddingTapped();
  bool isRunning() const { return running_; }
  // Runs an event loop until the current run is over (returns at once when idle, and when
  // called from a listener call). Never called by the destructor, which stops the run and
  // only joins its thread.
  void waitForFinished();

  // --- The run's steps (public for the screen and for tests) ---
  void addPhotosFromPathUrls(const QStringList &paths, bool isiPhoto);
  qint32 countTotalPhotosToBeAddedFromUrls(const QStringList &paths, const QString &fileType);
  bool isValidPhoto(const QString &path, const QString &fileType);
  // A path is an image by its extension's type, or by one of the 20 exact-case extras.
  static bool isImagePath(const QString &path);
  static const QStringList &additionalImageExtensions();
  // The folder's candidates: direct image files by the platform's exact extension list, or
  // every non-folder entry below it (hidden entries skipped, packages not entered).
  QStringList listFolder(const QString &folder, bool withSubFolders);

  // --- Batch upkeep (none of these changes the batch while a run is adding photos) ---
  // "Images Count: 3  |  Total Size: 6.00 MB  ", or empty for an empty batch.
  QString updateBatchInformationInBottomView() const;
  // Tag 1 (remove all): the confirmation sheet. Tag 0 (remove selected): the sheet, or, with
  // nothing selected, the "NO PHOTO TO DELETE" message (sheet empty, message sent).
  AddPhotosSheet btnOnRemovePhotoPopupTapped(int tag, int selectedCount);
  void btnYesOnRemoveAllPhotoTapped();
  void btnYesOnRemoveSelectedPhotoTapped(const QList<std::shared_ptr<PhotoFile>> &selected);
  // Removes one photo (by identity) from the batch and from dictFileAdded.
  void removePhotoFromBatch(const std::shared_ptr<PhotoFile> &photo);
  // The per-photo menu: 0 show it in the file manager, 1 open it with its default
  // application, 2 show its properties, 3 remove it from the batch. False when the desktop
  // refused or the option is unknown.
  bool btnOnMenuOptionTapped(int option, const std::shared_ptr<PhotoFile> &photo);
  // Walks the batch for photos gone from disk (or never sized); removes them when remove is
  // true. Returns the indices of the missing photos, as they were before any removal. With
  // no photo present, the all-deleted message follows after 0.2 seconds.
  QList<int> checkForDeletedPhotosInSourceFolder(bool remove);
  void showAlertForAllPhotosDeleted();
  // The message for a current photo whose file has gone.
  void photoNotAvailableOnIndex(int index);
  // The message panel's remove button.
  QList<int> btnRemoveFromBatchOnAlertTapped();
  // The screen is shown: the missing-photo check without removal; a new, empty batch
  // forgets its old duplicate keys.
  QList<int> viewWillAppear(bool isStartAsNewBatch);
  // The batch was replaced (skipped photos sent through again, a new batch): the duplicate
  // keys become exactly the batch's paths.
  void rebuildDictFileAdded();
  // Replaces the whole batch (skipped photos sent through again) with removal and insertion
  // notices, and rebuilds the duplicate keys. Refused while photos are being added.
  bool replaceBatch(const Batch &photos);

  // --- State (read by the screen on the owner's thread; written only by the engine) ---
  // Written on the owner's thread only; the background work reads it under a lock.
  QHash<QString, QString> dictFileAdded;
  // The run's choices: set by the entry points before the background work starts, read by
  // it, never changed while a run goes on.
  QString selectedFileType = QStringLiteral("ALL");
  const QStringList arrFileTypes = {QStringLiteral("*.*"),   QStringLiteral("*.JPG"),
                                    QStringLiteral("*.BMP"), QStringLiteral("*.JPEG"),
                                    QStringLiteral("*.GIF"), QStringLiteral("*.PNG")};
  bool isAddFromSubFolderSelected = false;
  bool isAddingWithFilter = false;
  bool isAddingIphotos = false;
  QDateTime datePickerFromDate;
  QDateTime datePickerToDate;
  bool isAddingPhotosInCollectionView = false; // the owner's thread only
  // Written by the background work and read by the owner (or the other way round).
  std::atomic<qint32> totalPhotoToAdd{0};
  std::atomic<qint32> photosAdded{0};
  std::atomic<qint32> alreadyExistsPhotosCount{0};
  std::atomic<qint32> damagedFileCount{0};
  std::atomic<bool> isMAX_PHOTOS_LIMIT_EXCEEDED{false};
  std::atomic<bool> isPHOTOS_PROCESSING_IN_PROGERESS{false};
  std::atomic<bool> isPhotosAlreadyAdded{false};
  std::atomic<bool> isPhotoFormatNotSupported{false};
  std::atomic<bool> isIphotoDirectorySelected{false};
  std::atomic<qint32> pathType{0}; // 0 none, 1 folder, 2 package, 3 Photos library

  static constexpr qint32 kMaxPhotosLimit = 1000000;
  // Tests lower the batch limit instead of making a million files.
  void setMaxPhotosLimitForTesting(qint32 limit) { maxPhotosLimit_ = limit; }
  // Records may be read ahead on a second thread; off gives the plain sequential run.
  void setParallelReading(bool on) { parallelReading_ = on; }
  // How many steps the background work may queue before it waits for the owner (tests lower
  // it to see the hand-over in small chunks).
  static constexpr int kMaxQueuedSteps = 512;
  void setQueueLimitForTesting(int steps) { maxQueued_ = std::max(1, steps); }

private:
  struct Candidate;
  class ReadAhead;
  friend class ReadAhead;
  // One step handed from the background thread to the owner's: a photo to append (with the
  // folder its progress line shows), or a call.
  struct Step {
    std::shared_ptr<PhotoFile> photo;
    QString folder;
    std::function<void()> call;
  };

  void startRun(const QStringList &paths, bool isiPhoto);
  void afterCount(qint32 count);
  void addPhase();
  void getAllFilesInFolder(const QString &folder, const QString &fileType,
                           bool isSubFolderSelected);
  void addListedPaths(const QStringList &paths, const QString &fileType);
  void addToImageArray(const QString &path, const QString &fileType,
                       std::shared_ptr<Candidate> prepared = {});
  std::shared_ptr<Candidate> prepareCandidate(const QString &path, const QString &fileType) const;
  bool typeMatches(const QString &path, const QString &fileType) const;
  QDateTime captureDateFor(const QString &path, const QDateTime &fallback) const;
  // 2 (iPhoto) or 3 (Photos library, refused) for a package; reads the library's photos.
  bool isPhotosLibraryPackage(const QString &path);
  QStringList libraryImagePaths(const QString &path) const;
  void callForUpdatingProgressCountWithFilePath(const QString &path);
  void processAfterAllPhotosAdded();
  void showPromtForDamagedFiles();
  void scheduleAfterDelay(std::function<void()> step);
  void message(AddPhotosMessage m);
  void finishIfIdle();
  void startWorker(std::function<void()> work);
  // From the background thread: queue a step for the owner's thread (waits while the queue is
  // full). A photo step appends the photo; any other step runs call.
  void handOver(Step step);
  void handOverPhoto(std::shared_ptr<PhotoFile> photo, QString folder);
  void handOverCall(std::function<void()> call);
  // On the owner's thread: takes queued steps for a slice of time, then yields.
  void drainHandOvers();
  void appendChunk(const std::vector<Step> &photos);
  // The background work goes on: neither stopped, nor every counted photo taken, nor closing.
  bool keepAdding() const;
  bool isKnownPath(const QString &path) const;
  // For reading ahead: which paths are neither in the batch nor handed over this run.
  std::vector<char> unknownPaths(const QStringList &paths) const;
  void noteUnreadableName(const QString &folder);
  // Batch changes with their notices, on the owner's thread.
  void removeRows(QList<qsizetype> rows);
  void callListener(const std::function<void(AddPhotosListener &)> &call);

  Batch *batch_;
  AddPhotosListener *listener_;
  QObject *relay_; // on the owner's thread: wakes it, runs the delayed steps
  std::thread::id ownerThread_;
  QEventLoop *waitLoop_ = nullptr;
  QStringList runPaths_;
  QSet<QString> unreadableFolders_; // the background thread's
  QSet<QString> takenThisRun_;      // the background thread's: photos it handed over
  qint32 takenCount_ = 0;           // the background thread's
  qint32 maxPhotosLimit_ = kMaxPhotosLimit;
  int maxQueued_ = kMaxQueuedSteps;
  // Shared with the background thread.
  mutable std::mutex keysMutex_; // dictFileAdded's writes (owner) against reads (background)
  std::mutex queueMutex_;
  std::condition_variable queueRoom_;
  std::deque<Step> queue_;
  bool wakePending_ = false;
  std::atomic<bool> closing_{false};
  // The owner's thread only.
  std::deque<Step> inHand_;
  std::vector<std::thread> threads_;
  int workers_ = 0;
  int pendingSteps_ = 0;
  int inStep_ = 0;
  bool draining_ = false;
  bool running_ = false;
  bool damagedPromptScheduled_ = false;
  bool parallelReading_ = true;
};

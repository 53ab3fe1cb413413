#include "processing/BatchRun.h"

#include "processing/ProcessingLog.h"

#include "app/AppDelegate.h"
#include "imaging/AppliedFilter.h"
#include "imaging/ImageProcessing.h"
#include "imaging/Utils.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "platform/LibraryLog.h"
#include "platform/MemoryTuning.h"
#include "platform/SafeWrite.h"
#include "platform/SystemInfo.h"
#include "platform/ThreadHandOff.h"
#include "platform/VipsSession.h"
#include "platform/Workspace.h"
#include "rename/OutputPhotoPath.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSet>
#include <QThread>
#include <QThreadPool>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <deque>
#include <future>
#include <mutex>

Q_LOGGING_CATEGORY(lcProcessing, "quillmere.processing")

namespace {

const QString kStartPattern = QStringLiteral("MM-dd-YYYY hh:mm:s a");
// Marks photos handed to the preparing workers for ThreadSanitizer.
const char kPrepareHandOff = 0;

} // namespace

struct BatchRun::Shared {
  std::mutex mutex;
  BatchRun *owner = nullptr; // null once the run is destroyed
  // Calls queued by the loop for the owner's thread, taken by runQueuedCall.
  std::deque<std::function<void(BatchRun &)>> calls;
  QThread *ownerThread = nullptr;
  std::atomic<bool> ownerGone{false};
  std::atomic<bool> skipCurrent{false};
  std::atomic<bool> compressionInProgress{false};
  std::atomic<bool> stopRequestWhileCompression{false};
};

// One loop over the batch. It holds copies of all it reads, taken on the owner's thread when
// it is submitted, and reaches the run only through onOwner.
class BatchRun::Loop {
public:
  std::shared_ptr<Shared> shared;
  AppDelegate *delegate = nullptr;
  QList<std::shared_ptr<PhotoFile>> batch;
  QList<std::shared_ptr<OutputPhotoPath>> destinations;
  QStringList formats;
  QList<std::shared_ptr<AppliedFilter>> filters;
  RunSettings settings;
  ImageWriter writer;
  std::function<qint64(const QString &)> freeSpaceReader;
  std::function<qint64(const QString &)> totalSpaceReader;
  std::function<double()> scaleFactorReader;
  bool prefetchNextPhoto = true;
  qint64 start = 0;
  // The first loop of a run clears the destination folders of what dead runs left.
  bool clearStaleFiles = false;
  std::shared_ptr<RunJournal> journal;

  // The problem lists as sets: a photo's checks cost no walk through them.
  struct SkipLookup {
    QSet<QString> empty, invalid, duplicate, notFound, alreadyExists;
    // Whether the checks end the photo's turn before it is written.
    bool passesOver(const QString &sourcePath, const QString &newPath) const {
      return notFound.contains(sourcePath) || duplicate.contains(newPath) ||
             invalid.contains(newPath) || empty.contains(newPath) ||
             alreadyExists.contains(newPath);
    }
  } skips;

  // What is made of a photo before its turn: the loader's result (none when it could not be
  // decoded) and, when asked, the output encoded in memory (the pixels are then let go).
  struct PreparedPhoto {
    std::optional<vips::VImage> image;
    std::optional<EncodedFile> encoded;
  };

  void run();

private:
  // Runs work with the run on its owner's thread and, when wait is set, returns once it has
  // run. False when the run is gone: nothing was done.
  bool onOwner(std::function<void(BatchRun &)> work, bool wait = true);
  void log(const QString &line) {
    onOwner([line](BatchRun &run) { run.log(line); }, false);
  }
  bool running() const { return delegate->isPHOTOS_PROCESSING_IN_PROGERESS && !shared->ownerGone; }
  QString destinationPathAt(qint64 index) const {
    return index < destinations.size() && destinations.at(index) ? destinations.at(index)->filePath
                                                                 : QString();
  }
  int representationTypeOf(const std::shared_ptr<PhotoFile> &photo) const {
    return photo ? representationType(settings.outputFormat, formats, photo->fileExtension) : 0;
  }
  // Runs on a worker: it reads only its arguments, the photo and the loop's settings.
  PreparedPhoto preparePhoto(const std::shared_ptr<PhotoFile> &photo, const QString &newPath,
                             int repType, bool encode) const;
  // One photo's turn with what was made of it beforehand.
  void processFileFromBunch(const std::shared_ptr<PhotoFile> &photo, qint64 index,
                            PreparedPhoto prepared);
};

BatchRun::BatchRun(AppDelegate *delegate, QObject *parent)
    : QObject(parent), shared_(std::make_shared<Shared>()),
      isSkipCurrentFileSelected(shared_->skipCurrent),
      isCompressionInProgress(shared_->compressionInProgress),
      isStopRequestWhileCompression(shared_->stopRequestWhileCompression), delegate_(delegate) {
  shared_->owner = this;
  shared_->ownerThread = thread();
  // A damaged photo makes libvips warn once per strip: the photo's message says what went
  // wrong, the warnings go to the debug log.
  platform::LibraryLog::routeLibraryWarnings();
  freeSpaceReader = [](const QString &path) { return platform::Files::freeSpaceForPath(path); };
  totalSpaceReader = [](const QString &path) { return platform::Files::totalSpaceForPath(path); };
  scaleFactorReader = [] { return platform::SystemInfo::backingScaleFactor(); };
  submitToBackground = [](std::function<void()> work) {
    QThread *thread = QThread::create(std::move(work));
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
  };
  openPath = [](const QString &path) { platform::Workspace::openPath(path); };
  logLine = [](const QString &line) { qCInfo(lcProcessing).noquote() << line; };

  bottomInfoTimer_.setInterval(10);
  connect(&bottomInfoTimer_, &QTimer::timeout, this, &BatchRun::setProcessInfoAtBottm);
}

BatchRun::~BatchRun() {
  // A loop still running finishes its photo by itself and reports to no one; its reports
  // already posted are dropped with this object's events.
  std::deque<std::function<void(BatchRun &)>> unrun;
  {
    std::lock_guard<std::mutex> lock(shared_->mutex);
    shared_->owner = nullptr;
    unrun.swap(shared_->calls);
  }
  shared_->ownerGone = true;
  // Dropped unrun, which lets a loop waiting for one of them go on.
  unrun.clear();
  if (loopRunning_)
    delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
}

void BatchRun::log(const QString &line) {
  if (logLine)
    logLine(line);
}

bool BatchRun::Loop::onOwner(std::function<void(BatchRun &)> work, bool wait) {
  if (QThread::currentThread() == shared->ownerThread) {
    BatchRun *owner = nullptr;
    {
      std::lock_guard<std::mutex> lock(shared->mutex);
      owner = shared->owner;
    }
    if (!owner)
      return false;
    work(*owner);
    return true;
  }
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> finished = done->get_future();
  {
    std::lock_guard<std::mutex> lock(shared->mutex);
    BatchRun *owner = shared->owner;
    if (!owner)
      return false;
    // Kept by the call: let go once it has run, or when it is dropped unrun because the run
    // was destroyed first. Either way the loop goes on.
    std::shared_ptr<void> signal(nullptr, [done](void *) { done->set_value(); });
    shared->calls.push_back(
        [work = std::move(work), signal = std::move(signal)](BatchRun &run) { work(run); });
    QMetaObject::invokeMethod(owner, "runQueuedCall", Qt::QueuedConnection);
  }
  if (wait)
    finished.wait();
  return true;
}

void BatchRun::runQueuedCall() {
  std::function<void(BatchRun &)> call;
  {
    std::lock_guard<std::mutex> lock(shared_->mutex);
    if (shared_->calls.empty())
      return;
    call = std::move(shared_->calls.front());
    shared_->calls.pop_front();
  }
  call(*this);
}

qsizetype BatchRun::batchCount() const {
  return batch_.size();
}

// --- Starting ---

bool BatchRun::start(const PreparedBatch &prepared) {
  settings = runSettingsFrom(prepared.setting.get(), prepared.options.get());
  arrayEmptyNames = prepared.verdicts.arrayEmptyNames;
  arrayInvalidFileName = prepared.verdicts.arrayInvalidFileName;
  arrayDuplicateNames = prepared.verdicts.arrayDuplicateNames;
  arrayFileNotFound = prepared.verdicts.arrayFileNotFound;
  arrayFileAlreadyExists = prepared.verdicts.arrayFileAlreadyExists;
  batch_ = prepared.batch;
  destinations_ = prepared.destinations;
  batchTaken_ = true;
  delegate_->arrayDestinationPaths = prepared.destinations;
  return sendStartProcessRequest();
}

void BatchRun::takeBatch() {
  if (std::exchange(batchTaken_, true))
    return;
  batch_ = delegate_->arraySelectedImagesToProcess;
  destinations_ = delegate_->arrayDestinationPaths;
}

bool BatchRun::sendStartProcessRequest() {
  takeBatch();
  if (batch_.isEmpty()) {
    batchTaken_ = false;
    Q_EMIT showSettingsView();
    return false;
  }
  processStartNotification();
  return true;
}

void BatchRun::processStartNotification() {
  takeBatch();
  batchTaken_ = false; // the next start takes its batch afresh
  isStopRequestWhileCompression = false;
  processStartedDateTime = QDateTime::currentDateTime();
  processStartTimeStr = Utils::getDateStringFromDate(processStartedDateTime, kStartPattern);
  counterNotProcessed = counterProcessedSuccessfully = counterProcessedWithError = counterSkipped =
      0;
  ended_ = false;
  stopPending_ = false;
  summaryWhenLoopEnds_ = -1;
  setBatchInfo();
  setProcessInfoAtBottm();
  btnProcessTapped();
  updateBottomInfoWithTimerFlag(true);
}

void BatchRun::btnProcessTapped() {
  Q_EMIT resetUIforNewProcess();
  startProcessingOfPhotos();
}

void BatchRun::startProcessingOfPhotos() {
  if (batch_.isEmpty())
    return;
  // Only once a run starts: before that, the threads of the window (preview passes, the
  // thumbnails) keep heaps of their own and never queue behind the window's thread for one.
  platform::MemoryTuning::reuseLargeBuffers();
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = true;
  QString journalError;
  journal = RunJournal::begin(settings, &journalError);
  if (!journal)
    log(QStringLiteral("no run journal, the run cannot be undone: %1").arg(journalError));
  counterTotalProgressedFiles = 0;
  progressPercentage = 0;
  Q_EMIT progressChanged(0);
  submitLoop(false, true);
}

void BatchRun::submitLoop(bool here, bool clearStaleFiles) {
  auto loop = std::make_shared<Loop>();
  loop->shared = shared_;
  loop->delegate = delegate_;
  loop->batch = batch_;
  loop->destinations = destinations_;
  loop->formats = delegate_->arrFileFormatsSupported;
  loop->filters = delegate_->arrayAppliedFilters;
  loop->settings = settings;
  loop->freeSpaceReader = freeSpaceReader;
  loop->totalSpaceReader = totalSpaceReader;
  loop->scaleFactorReader = scaleFactorReader;
  loop->prefetchNextPhoto = prefetchNextPhoto;
  loop->start = std::max<qint64>(0, counterTotalProgressedFiles);
  loop->clearStaleFiles = clearStaleFiles;
  loop->journal = journal;
  const auto set = [](const QStringList &list) { return QSet<QString>(list.begin(), list.end()); };
  loop->skips = {set(arrayEmptyNames), set(arrayInvalidFileName), set(arrayDuplicateNames),
                 set(arrayFileNotFound), set(arrayFileAlreadyExists)};
  loopRunning_ = true;
  if (here)
    loop->run();
  else
    submitToBackground([loop] { loop->run(); });
}

// --- The loop ---

void BatchRun::processFilesInBatch(QList<std::shared_ptr<PhotoFile>> batch) {
  if (counterTotalProgressedFiles < 0)
    counterTotalProgressedFiles = 0;
  batch_ = std::move(batch);
  submitLoop(true);
}

void BatchRun::Loop::run() {
  ImageWriter &w = writer;
  w.settings = settings;
  if (journal) {
    w.onWritten = [journal = journal](const QString &source, const QString &output,
                                      const QString &sourceInTrash,
                                      const QString &replacedInTrash) {
      journal->recordWritten(source, output, sourceInTrash, replacedInTrash);
    };
  }
  w.setCompressionInProgress = [shared = shared](bool on) { shared->compressionInProgress = on; };
  w.takeStopRequestWhileCompression = [shared = shared] {
    return shared->stopRequestWhileCompression.exchange(false);
  };
  w.stopProcessAfterCompletionCompression = [this] {
    onOwner([](BatchRun &run) { run.stopProcessAfterCompletionCompression(); });
  };

  if (clearStaleFiles) {
    // Half-written files of a run that died are ours to clear away; a large folder takes a
    // while to list, so not on the owner's thread.
    QSet<QString> folders;
    for (const auto &destination : destinations) {
      if (destination)
        folders.insert(QFileInfo(destination->filePath).absolutePath());
    }
    for (const QString &folder : folders)
      platform::SafeWrite::removeStaleTemporaryFiles(folder);
  }

  bool brokeOnFlag = false;
  // Photos are made ready ahead of their turn, each on a worker of its own, one more at once
  // than there are cores: decoded and, for most outputs, encoded in memory. Their writes, the
  // checks before them and their reports stay in batch order on this thread.
  const int ahead = prefetchNextPhoto && mayPrefetch(batch, destinations)
                        ? std::max(1, QThread::idealThreadCount())
                        : 0;
  // A photo shrunk for the screen's scale in its turn cannot be encoded before it.
  const bool encode = ahead > 0 && (!scaleFactorReader || int(scaleFactorReader()) < 2);
  std::optional<platform::VipsPipelineThreads> oneThreadEach;
  if (ahead > 1)
    oneThreadEach.emplace(1);
  QThreadPool workers;
  // One worker more than there are cores: each libvips pipeline waits on its own threads'
  // hand-offs now and then, and a spare photo in progress keeps every core busy meanwhile.
  workers.setMaxThreadCount(std::max(1, ahead + 1));
  std::deque<std::future<PreparedPhoto>> window; // photos next - window.size() ... next - 1
  qint64 next = start;
  const auto topUp = [&](qint64 upTo) {
    for (; next < batch.size() && next <= upTo; ++next) {
      auto task = std::make_shared<std::packaged_task<PreparedPhoto()>>(
          [this, photo = batch.at(next), newPath = destinationPathAt(next),
           repType = representationTypeOf(batch.at(next)),
           encode] { return preparePhoto(photo, newPath, repType, encode); });
      window.push_back(task->get_future());
      std::function<void()> work = [task] {
        platform::ThreadHandOff::received(&kPrepareHandOff);
        (*task)();
      };
      platform::ThreadHandOff::sent(&kPrepareHandOff);
      workers.start(std::move(work));
    }
  };
  // One photo more than there are workers, so a worker that finishes early starts the next.
  const qint64 depth = ahead > 0 ? ahead + 2 : 0;
  topUp(start + depth - 1);
  for (qint64 i = start; i < batch.size(); ++i) {
    // A cleared run flag passes over every photo left; stopping here is the same. Photos
    // made ready ahead are simply dropped.
    if (!running()) {
      brokeOnFlag = true;
      break;
    }
    const std::shared_ptr<PhotoFile> &photo = batch.at(i);
    PreparedPhoto prepared;
    if (!window.empty()) {
      prepared = window.front().get();
      window.pop_front();
    } else {
      prepared = preparePhoto(photo, destinationPathAt(i), representationTypeOf(photo), false);
    }
    if (depth > 0)
      topUp(i + depth);
    processFileFromBunch(photo, i, std::move(prepared));
  }
  workers.waitForDone();
  window.clear();
  onOwner([brokeOnFlag](BatchRun &run) { run.loopFinished(brokeOnFlag); });
}

BatchRun::Loop::PreparedPhoto BatchRun::Loop::preparePhoto(const std::shared_ptr<PhotoFile> &photo,
                                                           const QString &newPath, int repType,
                                                           bool encode) const {
  PreparedPhoto prepared;
  if (!photo)
    return prepared;
  // A photo that its checks pass over is not read at all.
  if (skips.passesOver(photo->filePath, newPath))
    return prepared;
  if (encode) {
    // Streamed from the file into the encoder: no copy of the pixels is kept.
    const std::optional<QVariantMap> properties = ImageProcessing::exifForFile(photo->filePath);
    if (std::optional<vips::VImage> image =
            Utils::sharedUtils().uprightImageFromUrl(photo->fileURL, properties))
      prepared.encoded =
          writer.encodeAhead(*image, newPath, repType, *photo, properties.value_or(QVariantMap()));
    if (prepared.encoded) {
      prepared.image = vips::VImage();
      return prepared;
    }
  }
  // Decoded whole for its turn, where a damaged file fails as it always has.
  prepared.image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(photo->fileURL);
  return prepared;
}

bool BatchRun::mayPrefetch(const QList<std::shared_ptr<PhotoFile>> &batch,
                           const QList<std::shared_ptr<OutputPhotoPath>> &destinations) {
  QSet<QString> sources;
  for (const auto &photo : batch) {
    if (photo)
      sources.insert(QFileInfo(photo->filePath).absoluteFilePath());
  }
  for (const auto &destination : destinations) {
    if (destination && sources.contains(QFileInfo(destination->filePath).absoluteFilePath()))
      return false;
  }
  return true;
}

void BatchRun::loopFinished(bool brokeOnFlag) {
  loopRunning_ = false;
  awake_.reset();
  if (summaryWhenLoopEnds_ >= 0) {
    const bool finished = summaryWhenLoopEnds_ == 1;
    summaryWhenLoopEnds_ = -1;
    writeSummaryAndEnd(finished);
    return;
  }
  // The user resumed while this loop was on its way out: go on where the run stands.
  if (brokeOnFlag && delegate_->isPHOTOS_PROCESSING_IN_PROGERESS && !ended_) {
    if (counterTotalProgressedFiles < batchCount()) {
      submitLoop();
    } else {
      delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
      addSummaryViewIsFinished(true);
      updateBottomInfoWithTimerFlag(false);
    }
  }
}

int BatchRun::representationType(qint32 outputFormat, const QStringList &formats,
                                 const QString &fileExtension) {
  QString name;
  if (outputFormat != 0) {
    name = formats.value(outputFormat);
  } else {
    name = fileExtension.toLower();
    if (name == QLatin1String("tiff"))
      name = QStringLiteral("tif");
  }
  const QStringList &list = AppDelegate::stillImageFormats();
  int position = list.indexOf(name);
  if (position < 0)
    position = list.indexOf(QStringLiteral("jpeg"));
  return position - 1;
}

void BatchRun::Loop::processFileFromBunch(const std::shared_ptr<PhotoFile> &photo, qint64 index,
                                          PreparedPhoto prepared) {
  if (!photo)
    return;

  const QString newPath = destinationPathAt(index);

  auto report = [this](qint32 status, const QString &message, bool written) {
    onOwner([=](BatchRun &run) {
      run.callForUpdatingProgressWithCountWithProcessStatus(status, message, written);
    });
  };

  if (shared->skipCurrent) {
    report(3, QStringLiteral("File already exists in destination folder"), false);
    return;
  }
  const bool notFound = skips.notFound.contains(photo->filePath);
  const bool duplicate = skips.duplicate.contains(newPath);
  const bool invalid = skips.invalid.contains(newPath);
  const bool empty = skips.empty.contains(newPath);
  if (empty || duplicate || notFound || invalid) {
    QString message = QStringLiteral("File is ready to process");
    if (notFound)
      message = QStringLiteral("File not available in source folder");
    else if (duplicate)
      message = QStringLiteral("Duplicate filename");
    else if (invalid)
      message = QStringLiteral("Invalid filename");
    else if (empty)
      message = QStringLiteral("Filename is blank");
    report(2, message, false);
    return;
  }
  shared->skipCurrent = false;
  if (skips.alreadyExists.contains(newPath)) {
    report(3, QStringLiteral("File already exists in destination folder."), false);
    return;
  }

  // The filters with "Resize" moved last; nothing applies them in this version.
  QList<std::shared_ptr<AppliedFilter>> ordered = filters;
  for (qsizetype i = ordered.size() - 1; i >= 0; --i) {
    if (ordered.at(i) && ordered.at(i)->filterName == QLatin1String("Resize"))
      ordered.append(ordered.takeAt(i));
  }

  const int repType = representationTypeOf(photo);

  if (delegate->isPHOTOS_PROCESSING_IN_PROGERESS) {
    errno = 0;
    const qint64 free = freeSpaceReader ? freeSpaceReader(settings.outputFolderPath) : -1;
    const qint64 total = totalSpaceReader ? totalSpaceReader(settings.outputFolderPath) : -1;
    if (free < 0 || total < 0) {
      log(QStringLiteral("Error Obtaining System Memory Info: Domain = %1, Code = %2")
              .arg(QStringLiteral("NSPOSIXErrorDomain"))
              .arg(errno));
    } else {
      log(QStringLiteral("Memory Capacity of %1 MiB with %2 MiB Free memory available.")
              .arg(quint64(total) >> 20)
              .arg(quint64(free) >> 20));
      if ((quint64(free) >> 20) <= 100)
        onOwner([](BatchRun &run) { run.showEnoughSpacePopup(); });
    }
  }

  const double backingScale = scaleFactorReader ? scaleFactorReader() : 1.0;
  log(QStringLiteral("backing scale factor: %1").arg(backingScale, 0, 'f', 6));
  const int factor = int(backingScale);
  std::optional<vips::VImage> &image = prepared.image;
  if (image && !prepared.encoded && factor >= 2) {
    if (auto scaled =
            Utils::scaleImage(*image, QSize(image->width() / factor, image->height() / factor)))
      image = scaled;
  }

  if (!image) {
    // Nothing could be read: an error, and no file under the photo's new name.
    report(2, ImageWriter::notDecodedMessage(), true);
    return;
  }
  const WriteReport result = writer.saveImgInDirectoryFilteredImg(
      *image, newPath, repType, *photo, prepared.encoded ? &*prepared.encoded : nullptr);
  // An output removed by a stop during compression leaves the photo unprocessed: its report
  // is dropped like that of any photo the stop caught, and a resume writes it again.
  report(result.status, result.message, !result.removedOnStop);
}

void BatchRun::callForUpdatingProgressWithCountWithProcessStatus(qint32 status,
                                                                 const QString &processMsg,
                                                                 bool written) {
  const bool running = delegate_->isPHOTOS_PROCESSING_IN_PROGERESS;
  // A photo the writer finished with while a stop was pending is still recorded, so the
  // log never calls a written photo "Not Processed" and a resume never writes it twice.
  if (!running && !(written && stopPending_))
    return;
  isSkipCurrentFileSelected = false;
  ++counterTotalProgressedFiles;
  switch (status) {
  case 0:
    ++counterNotProcessed;
    break;
  case 1:
    ++counterProcessedSuccessfully;
    break;
  case 2:
    ++counterProcessedWithError;
    break;
  case 3:
    ++counterSkipped;
    break;
  default:
    break;
  }
  const qsizetype count = batchCount();
  progressPercentage = count > 0 ? int(counterTotalProgressedFiles * 100 / count) : 0;
  Q_EMIT progressChanged(progressPercentage);
  setBatchInfo();
  setProcessInfoAtBottm();
  if (counterTotalProgressedFiles <= count) {
    const qint64 k = counterTotalProgressedFiles - 1;
    if (k < count) {
      const std::shared_ptr<PhotoFile> &photo = batch_.at(k);
      if (photo) {
        photo->processStatus = status;
        photo->processInfoMessage = processMsg;
      }
      Q_EMIT photoUpdated(k);
    }
  }
  if (running && counterTotalProgressedFiles == count && count != 0) {
    delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
    addSummaryViewIsFinished(true);
    updateBottomInfoWithTimerFlag(false);
  }
}

// --- Texts ---

double BatchRun::batchBytes() const {
  if (batch_.constData() != bytesOfBatch_ || batch_.size() != bytesOfCount_) {
    batchBytes_ = 0;
    for (const auto &photo : batch_) {
      if (photo)
        batchBytes_ += photo->fileSizeInBytes;
    }
    bytesOfBatch_ = batch_.constData();
    bytesOfCount_ = batch_.size();
  }
  return batchBytes_;
}

QString BatchRun::batchInfoText() const {
  const double total = batchBytes();
  return QStringLiteral("Images Count: %1  |  Total Size: %2  |  Photos Processed: %3  |  "
                        "Photos Skipped: %4  |  Process Completed: %5 %")
      .arg(batchCount())
      .arg(Utils::sharedUtils().unitStringFromBytes(total, 0))
      .arg(counterProcessedSuccessfully)
      .arg(counterSkipped)
      .arg(progressPercentage);
}

QString BatchRun::processInfoText() const {
  const qint64 seconds =
      Utils::getDurationBetweenDate(processStartedDateTime, QDateTime::currentDateTime());
  return QStringLiteral("Process Started at: %1  |  Error%2 reported: %3  |  Time elapsed: %4")
      .arg(processStartTimeStr, counterProcessedWithError >= 2 ? QStringLiteral("s") : QString(),
           QString::number(counterProcessedWithError),
           Utils::sharedUtils().timeFormattedString(seconds));
}

void BatchRun::setBatchInfo() {
  Q_EMIT batchInfoChanged(batchInfoText());
}

void BatchRun::setProcessInfoAtBottm() {
  Q_EMIT processInfoChanged(processInfoText());
}

void BatchRun::updateBottomInfoWithTimerFlag(bool on) {
  if (on)
    bottomInfoTimer_.start();
  else
    bottomInfoTimer_.stop();
}

// --- Sheets and stopping ---

QString BatchRun::abortSheetText() {
  return QStringLiteral(
      "Photos that are not processed will be skipped. Do you still want to stop?");
}

void BatchRun::showEnoughSpacePopup() {
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
  stopPending_ = true;
  delegate_->isSUBWINDOW_OPENED = true;
  Q_EMIT enoughSpacePopupRequested();
}

void BatchRun::btnOkOnEnoughtSpcaecTapped() {
  delegate_->isSUBWINDOW_OPENED = false;
  btnYesOnAbortTapped();
}

void BatchRun::showOverwriteWindowWithOldPath(const QString &oldPath) {
  Q_EMIT overwriteWindowRequested(
      QStringLiteral("Photo %1 could not be processed as %2 already exists at the destination "
                     "folder.")
          .arg(oldPath, nameOfOverWriteImg));
}

void BatchRun::closeOverwriteWindow() {
  Q_EMIT overwriteWindowClosed();
}

void BatchRun::btnOkOnOverwriteWindowTapped() {
  closeOverwriteWindow();
  isSkipCurrentFileSelected = true;
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = true;
  awake_ = std::make_unique<platform::Workspace::DisplayAwakeAssertion>(
      QStringLiteral("Describe Activity Type"));
  if (awake_->held() && !loopRunning_)
    submitLoop();
  else
    awake_.reset();
}

void BatchRun::btnStopProcessTapped() {
  if (isCompressionInProgress) {
    isStopRequestWhileCompression = true;
    return;
  }
  delegate_->isSUBWINDOW_OPENED = true;
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
  stopPending_ = true;
  Q_EMIT abortSheetRequested(abortSheetText());
}

void BatchRun::stopProcessAfterCompletionCompression() {
  isStopRequestWhileCompression = false;
  delegate_->isSUBWINDOW_OPENED = true;
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
  stopPending_ = true;
  Q_EMIT abortSheetRequested(abortSheetText());
}

void BatchRun::btnYesOnAbortTapped() {
  isStopRequestWhileCompression = false;
  delegate_->isSUBWINDOW_OPENED = false;
  Q_EMIT abortSheetClosed();
  addSummaryViewIsFinished(false);
  updateBottomInfoWithTimerFlag(false);
}

void BatchRun::btnNoOnAbortTapped() {
  isStopRequestWhileCompression = false;
  delegate_->isSUBWINDOW_OPENED = false;
  Q_EMIT abortSheetClosed();
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = true;
  stopPending_ = false;
  // A loop still finishing its photo carries on by itself, or resubmits when it has
  // already passed the flag (loopFinished).
  if (loopRunning_)
    return;
  if (counterTotalProgressedFiles >= batchCount()) {
    delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
    addSummaryViewIsFinished(true);
    updateBottomInfoWithTimerFlag(false);
    return;
  }
  submitLoop();
}

// --- Alerts ---

BatchRun::Alert BatchRun::alertForType(int type, qsizetype batchCount) {
  const bool plural = batchCount >= 2;
  switch (type) {
  case 107:
    return {QStringLiteral("PHOTO%1 DELETED").arg(plural ? QStringLiteral("S") : QString()),
            QStringLiteral("Photo%1 no longer exists in the Source folder!")
                .arg(plural ? QStringLiteral("s") : QString())};
  case 115:
    return {QStringLiteral("ERROR/WARNING"),
            QStringLiteral("Batch Process cannot be initiated. Your batch includes "
                           "errors/warnings that needs to be corrected. Please verify the "
                           "filenames & output directory.")};
  case 118:
    return {QStringLiteral("RATE US"),
            QStringLiteral("If you enjoy using our application, would you mind taking a moment "
                           "to rate it? Thanks for your support!")};
  default:
    return {QStringLiteral("PHOTO DELETED"),
            QStringLiteral("Photo not available. This photo is not available in the source "
                           "folder!")};
  }
}

void BatchRun::showAlertWithType(int type) {
  if (delegate_->isSUBWINDOW_OPENED)
    return;
  delegate_->isSUBWINDOW_OPENED = true;
  const Alert alert = alertForType(type, delegate_->arraySelectedImagesToProcess.size());
  Q_EMIT alertRequested(type, alert.title, alert.message);
}

qsizetype BatchRun::checkForDeletedPhotosInSourceFolder(bool remove) {
  QList<std::shared_ptr<PhotoFile>> batch = delegate_->arraySelectedImagesToProcess;
  qsizetype existing = 0;
  for (qsizetype i = batch.size() - 1; i >= 0; --i) {
    if (batch.at(i) && QFileInfo::exists(batch.at(i)->filePath))
      ++existing;
    else if (remove)
      batch.removeAt(i);
  }
  delegate_->arraySelectedImagesToProcess = batch;
  if (existing == 0)
    QTimer::singleShot(200, this, [this] { showAlertWithType(107); });
  return existing;
}

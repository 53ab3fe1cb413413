#include "processing/BatchRun.h"

#include "processing/ProcessingLog.h"

#include "app/AppDelegate.h"
#include "imaging/AppliedFilter.h"
#include "imaging/ImageProcessing.h"
#include "imaging/Utils.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "platform/MemoryTuning.h"
#include "platform/SafeWrite.h"
#include "platform/SystemInfo.h"
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

Q_LOGGING_CATEGORY(lcProcessing, "quillmere.processing")

namespace {

const QString kStartPattern = QStringLiteral("MM-dd-YYYY hh:mm:s a");

} // namespace

BatchRun::BatchRun(AppDelegate *delegate, QObject *parent) : QObject(parent), delegate_(delegate) {
  platform::MemoryTuning::reuseLargeBuffers();
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

  writer_.setCompressionInProgress = [this](bool on) { isCompressionInProgress = on; };
  writer_.takeStopRequestWhileCompression = [this] {
    return isStopRequestWhileCompression.exchange(false);
  };
  writer_.stopProcessAfterCompletionCompression = [this] {
    runOnOwnerThread([this] { stopProcessAfterCompletionCompression(); });
  };

  bottomInfoTimer_.setInterval(10);
  connect(&bottomInfoTimer_, &QTimer::timeout, this, &BatchRun::setProcessInfoAtBottm);
}

BatchRun::~BatchRun() {
  // A loop still running waits on this thread for its reports: let it drain.
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
  while (loopRunning_.load())
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

void BatchRun::log(const QString &line) {
  if (logLine)
    logLine(line);
}

void BatchRun::runOnOwnerThread(const std::function<void()> &work) {
  if (QThread::currentThread() == thread())
    work();
  else
    QMetaObject::invokeMethod(this, work, Qt::BlockingQueuedConnection);
}

qsizetype BatchRun::batchCount() const {
  return delegate_->arraySelectedImagesToProcess.size();
}

// --- Starting ---

bool BatchRun::sendStartProcessRequest() {
  if (delegate_->arraySelectedImagesToProcess.isEmpty()) {
    Q_EMIT showSettingsView();
    return false;
  }
  processStartNotification();
  return true;
}

void BatchRun::processStartNotification() {
  isStopRequestWhileCompression = false;
  processStartedDateTime = QDateTime::currentDateTime();
  processStartTimeStr = Utils::getDateStringFromDate(processStartedDateTime, kStartPattern);
  counterNotProcessed = counterProcessedSuccessfully = counterProcessedWithError = counterSkipped =
      0;
  counterNotWritten = 0;
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
  if (delegate_->arraySelectedImagesToProcess.isEmpty())
    return;
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = true;
  counterTotalProgressedFiles = 0;
  progressPercentage = 0;
  Q_EMIT progressChanged(0);
  // Half-written files of a run that died are ours to clear away.
  QSet<QString> folders;
  for (const auto &destination : delegate_->arrayDestinationPaths) {
    if (destination)
      folders.insert(QFileInfo(destination->filePath).absolutePath());
  }
  for (const QString &folder : folders)
    platform::SafeWrite::removeStaleTemporaryFiles(folder);
  submitLoop(delegate_->arraySelectedImagesToProcess);
}

void BatchRun::submitLoop(QList<std::shared_ptr<PhotoFile>> batch) {
  const qint64 start = std::max<qint64>(0, counterTotalProgressedFiles);
  loopRunning_ = true;
  writer_.settings = settings;
  submitToBackground([this, batch = std::move(batch), start] { runLoop(batch, start); });
}

// --- The loop ---

void BatchRun::processFilesInBatch(QList<std::shared_ptr<PhotoFile>> batch) {
  if (counterTotalProgressedFiles < 0)
    counterTotalProgressedFiles = 0;
  loopRunning_ = true;
  writer_.settings = settings;
  runLoop(batch, counterTotalProgressedFiles);
}

void BatchRun::runLoop(const QList<std::shared_ptr<PhotoFile>> &batch, qint64 start) {
  bool brokeOnFlag = false;
  // Photos are made ready ahead of their turn, each on a worker of its own, one more at once
  // than there are cores: decoded and, for most outputs, encoded in memory. Their writes, the
  // checks before them and their reports stay in batch order on this thread.
  const int ahead =
      prefetchNextPhoto && mayPrefetch(batch) ? std::max(1, QThread::idealThreadCount()) : 0;
  // A photo shrunk for the screen's scale in its turn cannot be encoded before it.
  const bool encode = ahead > 0 && (!scaleFactorReader || int(scaleFactorReader()) < 2);
  const SkipLookup skips = skipLookup();
  std::optional<platform::VipsPipelineThreads> oneThreadEach;
  if (ahead > 1)
    oneThreadEach.emplace(1);
  QThreadPool workers;
  // One worker more than there are cores: each libvips pipeline waits on its own threads' hand-offs
  // now and then, and a spare photo in progress keeps every core busy meanwhile.
  workers.setMaxThreadCount(std::max(1, ahead + 1));
  std::deque<std::future<PreparedPhoto>> window; // photos next - window.size() ... next - 1
  qint64 next = start;
  const auto topUp = [&](qint64 upTo) {
    for (; next < batch.size() && next <= upTo; ++next) {
      // What a worker needs of the run's lists is read here, on this thread.
      auto task = std::make_shared<std::packaged_task<PreparedPhoto()>>(
          [this, &skips, photo = batch.at(next), newPath = destinationPathAt(next),
           repType = representationTypeOf(batch.at(next)),
           encode] { return preparePhoto(photo, newPath, repType, skips, encode); });
      window.push_back(task->get_future());
      workers.start([task] { (*task)(); });
    }
  };
  // One photo more than there are workers, so a worker that finishes early starts the next.
  const qint64 depth = ahead > 0 ? ahead + 2 : 0;
  topUp(start + depth - 1);
  for (qint64 i = start; i < batch.size(); ++i) {
    // A cleared run flag passes over every photo left; stopping here is the same. Photos
    // made ready ahead are simply dropped.
    if (!delegate_->isPHOTOS_PROCESSING_IN_PROGERESS) {
      brokeOnFlag = true;
      break;
    }
    const std::shared_ptr<PhotoFile> &photo = batch.at(i);
    PreparedPhoto prepared;
    if (!window.empty()) {
      prepared = window.front().get();
      window.pop_front();
    } else {
      prepared =
          preparePhoto(photo, destinationPathAt(i), representationTypeOf(photo), skips, false);
    }
    if (depth > 0)
      topUp(i + depth);
    processFileFromBunch(photo, i, std::move(prepared), skips);
  }
  workers.waitForDone();
  window.clear();
  runOnOwnerThread([this, brokeOnFlag] { loopFinished(brokeOnFlag); });
}

BatchRun::SkipLookup BatchRun::skipLookup() const {
  const auto set = [](const QStringList &list) { return QSet<QString>(list.begin(), list.end()); };
  return {set(arrayEmptyNames), set(arrayInvalidFileName), set(arrayDuplicateNames),
          set(arrayFileNotFound), set(arrayFileAlreadyExists)};
}

bool BatchRun::SkipLookup::passesOver(const QString &sourcePath, const QString &newPath) const {
  return notFound.contains(sourcePath) || duplicate.contains(newPath) ||
         invalid.contains(newPath) || empty.contains(newPath) || alreadyExists.contains(newPath);
}

int BatchRun::representationTypeOf(const std::shared_ptr<PhotoFile> &photo) const {
  return photo ? representationType(settings.outputFormat, delegate_->arrFileFormatsSupported,
                                    photo->fileExtension)
               : 0;
}

QString BatchRun::destinationPathAt(qint64 index) const {
  const auto &destinations = delegate_->arrayDestinationPaths;
  if (index < destinations.size() && destinations.at(index))
    return destinations.at(index)->filePath;
  return QString();
}

BatchRun::PreparedPhoto BatchRun::preparePhoto(const std::shared_ptr<PhotoFile> &photo,
                                               const QString &newPath, int repType,
                                               const SkipLookup &skips, bool encode) const {
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
          writer_.encodeAhead(*image, newPath, repType, *photo, properties.value_or(QVariantMap()));
    if (prepared.encoded) {
      prepared.image = vips::VImage();
      return prepared;
    }
  }
  // Decoded whole for its turn, where a damaged file fails as it always has.
  prepared.image = Utils::sharedUtils().getImageWithFixedOrientionFromUrl(photo->fileURL);
  return prepared;
}

bool BatchRun::mayPrefetch(const QList<std::shared_ptr<PhotoFile>> &batch) const {
  QSet<QString> sources;
  for (const auto &photo : batch) {
    if (photo)
      sources.insert(QFileInfo(photo->filePath).absoluteFilePath());
  }
  for (const auto &destination : delegate_->arrayDestinationPaths) {
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
      submitLoop(delegate_->arraySelectedImagesToProcess);
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

void BatchRun::processFileFromBunch(const std::shared_ptr<PhotoFile> &photo, qint64 index,
                                    PreparedPhoto prepared, const SkipLookup &skips) {
  if (!photo)
    return;

  const QString newPath = destinationPathAt(index);

  auto report = [this](qint32 status, const QString &message, bool written, bool produced) {
    runOnOwnerThread([=, this] {
      callForUpdatingProgressWithCountWithProcessStatus(status, message, written, produced);
    });
  };

  if (isSkipCurrentFileSelected) {
    report(3, QStringLiteral("File already exists in destination folder"), false, false);
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
    report(2, message, false, false);
    return;
  }
  isSkipCurrentFileSelected = false;
  if (skips.alreadyExists.contains(newPath)) {
    report(3, QStringLiteral("File already exists in destination folder."), false, false);
    return;
  }

  // The filters with "Resize" moved last; nothing applies them in this version.
  QList<std::shared_ptr<AppliedFilter>> filters = delegate_->arrayAppliedFilters;
  for (qsizetype i = filters.size() - 1; i >= 0; --i) {
    if (filters.at(i) && filters.at(i)->filterName == QLatin1String("Resize"))
      filters.append(filters.takeAt(i));
  }

  const int repType = representationTypeOf(photo);

  if (delegate_->isPHOTOS_PROCESSING_IN_PROGERESS) {
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
        runOnOwnerThread([this] { showEnoughSpacePopup(); });
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

  WriteReport result;
  if (image) {
    result = writer_.saveImgInDirectoryFilteredImg(*image, newPath, repType, *photo,
                                                   prepared.encoded ? &*prepared.encoded : nullptr);
  } else {
    result.reason = QStringLiteral("the photo could not be decoded");
  }
  if (!result.produced)
    log(QStringLiteral("not written: %1: %2").arg(newPath, result.reason));
  // An output removed by a stop during compression leaves the photo unprocessed: its report
  // is dropped like that of any photo the stop caught, and a resume writes it again.
  report(result.status, result.message, !result.removedOnStop, result.produced);
}

void BatchRun::callForUpdatingProgressWithCountWithProcessStatus(qint32 status,
                                                                 const QString &processMsg,
                                                                 bool written, bool produced) {
  const bool running = delegate_->isPHOTOS_PROCESSING_IN_PROGERESS;
  // A write that completed while a stop was pending is still recorded, so the log never
  // calls a written photo "Not Processed" and a resume never writes it twice.
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
    if (!produced)
      ++counterNotWritten;
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
      const std::shared_ptr<PhotoFile> &photo = delegate_->arraySelectedImagesToProcess.at(k);
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

QString BatchRun::batchInfoText() const {
  double total = 0;
  for (const auto &photo : delegate_->arraySelectedImagesToProcess) {
    if (photo)
      total += photo->fileSizeInBytes;
  }
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
    submitLoop(delegate_->arraySelectedImagesToProcess);
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
  submitLoop(delegate_->arraySelectedImagesToProcess);
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
  const Alert alert = alertForType(type, batchCount());
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

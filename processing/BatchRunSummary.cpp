#include "processing/BatchRun.h"

#include "app/AppDelegate.h"
#include "imaging/Utils.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "platform/SafeWrite.h"
#include "platform/StandardFolders.h"

#include <QDir>
#include <QFileInfo>

namespace {

const QString kSeparator = QLatin1Char('\n') + QString(78, QLatin1Char('-')) + QLatin1Char('\n');

QString sourceFolderText() {
  return QStringLiteral("source photo's folder");
}

double totalBytes(const QList<std::shared_ptr<PhotoFile>> &batch) {
  double total = 0;
  for (const auto &photo : batch) {
    if (photo)
      total += photo->fileSizeInBytes;
  }
  return total;
}

} // namespace

QString BatchRun::logFolderPath() {
  return QStringLiteral("%1/%2").arg(platform::documentsDirectory(), QStringLiteral("Quillmere"));
}

void BatchRun::addSummaryViewIsFinished(bool finished) {
  if (ended_)
    return;
  // The photo in flight finishes (and is recorded) before the log is written.
  if (loopRunning_) {
    summaryWhenLoopEnds_ = finished ? 1 : 0;
    return;
  }
  writeSummaryAndEnd(finished);
}

void BatchRun::writeSummaryAndEnd(bool finished) {
  if (ended_)
    return;
  ended_ = true;
  stopPending_ = false;
  delegate_->isPHOTOS_PROCESSING_IN_PROGERESS = false;
  updateBottomInfoWithTimerFlag(false);
  createAndWriteSummaryFileWithStatus(finished);
  setSummmaryInfo(finished);
  if (settings.openOutputFolderAfterProcessing)
    btnOpenOutputFolderTapped();
  Q_EMIT runEnded(finished);
}

QString BatchRun::summaryText(bool completed, const QList<std::shared_ptr<PhotoFile>> &processed,
                              const QList<std::shared_ptr<PhotoFile>> &notProcessed,
                              const QList<std::shared_ptr<PhotoFile>> &skipped,
                              const QList<std::shared_ptr<PhotoFile>> &withError) const {
  const QList<std::shared_ptr<PhotoFile>> &batch = batch_;
  const QString start =
      Utils::getDateStringFromDate(processStartedDateTime, QStringLiteral("MM-dd-YYYY hh:mm:s a"));
  const qint64 seconds =
      Utils::getDurationBetweenDate(processStartedDateTime, QDateTime::currentDateTime());
  QString text;
  text += QStringLiteral("%1 LOG SUMMARY %2\n").arg(QStringLiteral("QUILLMERE"), start);
  text += kSeparator;
  text += QStringLiteral("Process Started at: %1\n").arg(start);
  text += QStringLiteral("Status: %1\n")
              .arg(completed ? QStringLiteral("Completed")
                             : QStringLiteral("Process interrupted by user"));
  text += QStringLiteral("Batch Count: %1\n").arg(batch.size());
  text += QStringLiteral("Total Size: %1\n")
              .arg(Utils::sharedUtils().unitStringFromBytes(totalBytes(batch), 0));
  text +=
      QStringLiteral("Time elapsed: %1\n").arg(Utils::sharedUtils().timeFormattedString(seconds));
  text += QStringLiteral("Errors: %1\n").arg(counterProcessedWithError);
  text += QStringLiteral("Output Directory: %1")
              .arg(settings.useSourceFolder ? sourceFolderText() : settings.outputFolderPath);
  text += kSeparator;

  auto section = [&text](const QString &header, const QList<std::shared_ptr<PhotoFile>> &photos,
                         const std::function<QString(qint64, const PhotoFile &)> &line) {
    text += header.arg(photos.size());
    text += kSeparator;
    qint64 number = 0;
    for (const auto &photo : photos)
      text += line(++number, *photo);
  };
  section(QStringLiteral("\nPhotos Processed : %1"), processed, [](qint64 n, const PhotoFile &p) {
    return QStringLiteral("%1\tProcessed\t%2\n").arg(n).arg(p.filePath);
  });
  section(QStringLiteral("\nPhotos not Processed : %1"), notProcessed,
          [](qint64 n, const PhotoFile &p) {
            return QStringLiteral("%1\tNot Processed\t%2\n").arg(n).arg(p.filePath);
          });
  section(QStringLiteral("\nPhotos Skipped (File already exists in destination folder) :%1"),
          skipped, [](qint64 n, const PhotoFile &p) {
            return QStringLiteral("%1\tSkipped\t%2\n").arg(n).arg(p.filePath);
          });
  section(
      QStringLiteral("\nPhotos Processed with Error :%1"), withError,
      [](qint64 n, const PhotoFile &p) {
        return QStringLiteral("%1\tError(%2)\t%3\n").arg(n).arg(p.processInfoMessage, p.filePath);
      });
  return text;
}

bool BatchRun::createAndWriteSummaryFileWithStatus(bool completed) {
  const QString folder = logFolderPath();
  if (!QFileInfo(folder).isDir()) {
    const platform::Files::Result made = platform::Files::createDirectory(folder);
    if (!made.ok) {
      log(QStringLiteral("Failed to create directory \"%1\". Error: %2").arg(folder, made.message));
      return false;
    }
  }
  QList<std::shared_ptr<PhotoFile>> processed, notProcessed, skipped, withError;
  arrayFilesToReProcess.clear();
  for (const auto &photo : batch_) {
    if (!photo)
      continue;
    switch (photo->processStatus) {
    case 0:
      notProcessed.append(photo);
      arrayFilesToReProcess.append(photo);
      break;
    case 1:
      processed.append(photo);
      break;
    case 2:
      withError.append(photo);
      arrayFilesToReProcess.append(photo);
      break;
    case 3:
      skipped.append(photo);
      arrayFilesToReProcess.append(photo);
      break;
    default:
      break;
    }
  }
  counterProcessedSuccessfully = processed.size();
  counterNotProcessed = notProcessed.size();
  counterSkipped = skipped.size();
  counterProcessedWithError = withError.size();

  const QString stamp =
      Utils::getDateStringFromDate(processStartedDateTime, QStringLiteral("MMddYYYY hhmms a"));
  const QByteArray text =
      summaryText(completed, processed, notProcessed, skipped, withError).toUtf8();
  // Runs started in the same second (two batches at once) each keep their own log: a name
  // that is taken gets a number, and no log ever replaces another.
  bool ok = false;
  for (int n = 1; n < 100 && !ok; ++n) {
    strLogfilePath =
        n == 1 ? QStringLiteral("%1/Quillmere_LogSummary_%2.log").arg(folder, stamp)
               : QStringLiteral("%1/Quillmere_LogSummary_%2 %3.log").arg(folder, stamp).arg(n);
    bool taken = false;
    ok = platform::SafeWrite::writeInPlace(strLogfilePath, text, false, nullptr, &taken);
    if (!taken)
      break;
  }
  log(ok ? QStringLiteral("Log File Generated successfully")
         : QStringLiteral("Error While Generating Log File"));
  return ok;
}

void BatchRun::setSummmaryInfo(bool finished) {
  const QList<std::shared_ptr<PhotoFile>> &batch = batch_;
  SummaryInfo info;
  info.header = finished ? QStringLiteral("Process Finished!") : QStringLiteral("Process Stopped!");
  info.batchCount = QString::number(batch.size());
  info.totalSize = Utils::sharedUtils().unitStringFromBytes(totalBytes(batch), 0);
  info.stepsApplied = QString::number(Utils::sharedUtils().totalBatchStepsApplied());
  info.processed = QString::number(counterProcessedSuccessfully);
  info.notProcessed = QString::number(counterNotProcessed);
  info.skipped = QString::number(counterSkipped);
  info.errors = QString::number(counterProcessedWithError);
  info.timeElapsed = Utils::sharedUtils().timeFormattedString(
      Utils::getDurationBetweenDate(processStartedDateTime, QDateTime::currentDateTime()));
  if (settings.useSourceFolder) {
    info.outputDirectory = sourceFolderText();
    info.showOpenOutputFolderButton = false;
  } else {
    info.outputDirectory = settings.outputFolderPath;
    info.showOpenOutputFolderButton = true;
  }
  info.showProcessSkippedButton =
      qint32(counterSkipped + counterNotProcessed + counterProcessedWithError) > 0;
  summaryInfo = info;
}

void BatchRun::btnShowLogsTapped() {
  const QString target =
      QFileInfo::exists(strLogfilePath) ? strLogfilePath : QFileInfo(strLogfilePath).absolutePath();
  if (openPath)
    openPath(target);
}

void BatchRun::btnOpenOutputFolderTapped() {
  if (openPath)
    openPath(settings.outputFolderPath);
}

void BatchRun::btnProcessSkippedFilesTapped() {
  Q_EMIT processSkippedRequested(arrayFilesToReProcess);
}

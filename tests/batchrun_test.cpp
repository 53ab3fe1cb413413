// The batch run driver and its summary log on real batches in a temporary HOME: statuses
// and their message priority, counters, the free-space threshold, stop and resume, the
// scale factor, move mode, the exact log text and the re-process list.
#include "processing/BatchRun.h"

#include "app/AppDelegate.h"
#include "imaging/Utils.h"
#include "intake/PhotoFile.h"
#include "platform/StandardFolders.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"
#include "rename/PreviewPass.h"

#include "tests/support/Pictures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <vips/vips8>

namespace {

const char *const kSamples[] = {"jpg/Canon_40D.jpg", "jpg/orientation/landscape_6.jpg",
                                "jpg/Nikon_D70.jpg", "jpg/gps/DSCN0010.jpg"};

class BatchRunTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    QDir().mkpath(dir.filePath("in"));
    QDir().mkpath(dir.filePath("out"));
    delegate = AppDelegate::shared();
    delegate->prepareForHeadlessCommand();
    delegate->arraySelectedImagesToProcess.clear();
    delegate->arrayDestinationPaths.clear();
    delegate->isPHOTOS_PROCESSING_IN_PROGERESS = false;
    delegate->isSUBWINDOW_OPENED = false;
    run = newRun();
    run->freeSpaceReader = [this](const QString &) { return freeBytes; };
    run->totalSpaceReader = [](const QString &) { return qint64(1) << 40; };
    run->scaleFactorReader = [this] { return scale; };
    run->openPath = [this](const QString &path) { opened << path; };
    run->logLine = [this](const QString &line) { console << line; };
    QObject::connect(run.get(), &BatchRun::runEnded, [this](bool finished) { ended << finished; });
  }

  // A run on the caller's thread, writing JPEGs to out/.
  std::unique_ptr<BatchRun> newRun() {
    auto fresh = std::make_unique<BatchRun>(delegate);
    fresh->submitToBackground = [](std::function<void()> work) { work(); };
    fresh->settings.outputFolderPath = dir.filePath("out");
    fresh->settings.outputFormat = 4; // jpg
    return fresh;
  }

  // Adds photos[i] copied into in/, written to out/<name>.
  void addPhoto(const char *sample, const QString &newName) {
    const QString source =
        testenv::copyPhoto(sample, dir.filePath("in"),
                           QStringLiteral("p%1_%2")
                               .arg(delegate->arraySelectedImagesToProcess.size())
                               .arg(QFileInfo(sample).fileName()));
    delegate->arraySelectedImagesToProcess.append(PhotoFile::initWithFileUrl(source, false));
    delegate->arrayDestinationPaths.append(
        OutputPhotoPath::initWithoutDiskCheck(dir.filePath("out/" + newName), source));
  }

  void addPhotos(int n, const char *namePattern) {
    for (int i = 0; i < n; ++i)
      addPhoto(kSamples[i % 4], QString(namePattern).arg(i));
  }
  // Taps stop once, as soon as photo `index` has been reported.
  void stopAfter(qint64 index) {
    QObject::connect(run.get(), &BatchRun::photoUpdated,
                     [this, index, once = true](qint64 k) mutable {
                       if (k == index && std::exchange(once, false))
                         run->btnStopProcessTapped();
                     });
  }

  QString source(int i) const { return delegate->arraySelectedImagesToProcess.at(i)->filePath; }
  QString destination(int i) const { return delegate->arrayDestinationPaths.at(i)->filePath; }
  qint32 status(int i) const { return delegate->arraySelectedImagesToProcess.at(i)->processStatus; }
  QString message(int i) const {
    return delegate->arraySelectedImagesToProcess.at(i)->processInfoMessage;
  }
  QString logText() const {
    QFile file(run->strLogfilePath);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
  }

  QTemporaryDir dir;
  AppDelegate *delegate = nullptr;
  std::unique_ptr<BatchRun> run;
  qint64 freeBytes = qint64(1) << 40;
  double scale = 1.0;
  QStringList opened;
  QStringList console;
  QList<bool> ended;
};

const QString kLine = QString(78, '-');

bool matches(const char *pattern, const QString &text) {
  return QRegularExpression(pattern).match(text).hasMatch();
}

TEST_F(BatchRunTest, FinishedRunWritesEveryPhotoAndTheExactLog) {
  addPhotos(3, "f%1.jpg");
  run->arrayFileAlreadyExists << destination(2);
  QList<int> progress;
  QObject::connect(run.get(), &BatchRun::progressChanged, [&](int p) { progress << p; });

  ASSERT_TRUE(run->sendStartProcessRequest());
  ASSERT_EQ(ended, QList<bool>{true});
  EXPECT_FALSE(delegate->isPHOTOS_PROCESSING_IN_PROGERESS);
  EXPECT_EQ(message(0), "File processed successfully");
  EXPECT_EQ(message(2), "File already exists in destination folder.");
  EXPECT_TRUE(QFileInfo::exists(destination(0)));
  EXPECT_TRUE(QFileInfo::exists(destination(1)));
  EXPECT_FALSE(QFileInfo::exists(destination(2)));
  EXPECT_EQ(progress, (QList<int>{0, 33, 66, 100}));
  EXPECT_EQ(run->counterTotalProgressedFiles, 3);
  EXPECT_EQ(run->arrayFilesToReProcess.size(), 1);
  EXPECT_TRUE(opened.isEmpty());

  // The orientation-6 photo was written upright.
  const vips::VImage b = testenv::loadImage(destination(1));
  EXPECT_EQ(b.width(), 600);
  EXPECT_EQ(b.height(), 450);

  const QString start = run->processStartTimeStr;
  EXPECT_TRUE(matches("^\\d\\d-\\d\\d-\\d{4} \\d\\d:\\d\\d:\\d{1,2} (AM|PM)$", start))
      << start.toStdString();
  const QFileInfo logFile(run->strLogfilePath);
  EXPECT_EQ(logFile.absolutePath(), platform::documentsDirectory() + "/Quillmere");
  EXPECT_TRUE(matches("^Quillmere_LogSummary_\\d{8} \\d{5,6} (AM|PM)\\.log$", logFile.fileName()))
      << logFile.fileName().toStdString();

  QString log = logText();
  const QRegularExpression elapsed("\nTime elapsed: [^\n]*\n");
  log.replace(elapsed, "\nTime elapsed: X\n");
  double total = 0;
  for (const auto &photo : delegate->arraySelectedImagesToProcess)
    total += photo->fileSizeInBytes;
  // The log as the user reads it; %1 start, %2 size, %3 folder, %4-%6 sources.
  const QString expected = QStringLiteral(R"(QUILLMERE LOG SUMMARY %1

------------------------------------------------------------------------------
Process Started at: %1
Status: Completed
Batch Count: 3
Total Size: %2
Time elapsed: X
Errors: 0
Output Directory: %3
------------------------------------------------------------------------------

Photos Processed : 2
------------------------------------------------------------------------------
1	Processed	%4
2	Processed	%5

Photos not Processed : 0
------------------------------------------------------------------------------

Photos Skipped (File already exists in destination folder) :1
------------------------------------------------------------------------------
1	Skipped	%6

Photos Processed with Error :0
------------------------------------------------------------------------------
)");
  EXPECT_EQ(log, expected.arg(start, Utils::sharedUtils().unitStringFromBytes(total, 0),
                              dir.filePath("out"), source(0), source(1), source(2)));

  EXPECT_EQ(run->summaryInfo.header, "Process Finished!");
  EXPECT_EQ(run->summaryInfo.processed, "2");
  EXPECT_EQ(run->summaryInfo.skipped, "1");
  EXPECT_TRUE(run->summaryInfo.showProcessSkippedButton);
  EXPECT_TRUE(run->summaryInfo.showOpenOutputFolderButton);
  EXPECT_EQ(run->summaryInfo.outputDirectory, dir.filePath("out"));
  EXPECT_TRUE(console.contains("Log File Generated successfully"));
  EXPECT_TRUE(run->batchInfoText().endsWith("Process Completed: 100 %"));
}

TEST_F(BatchRunTest, ProblemListsChooseTheMessageByPriority) {
  addPhotos(5, "n%1.jpg");
  run->arrayDuplicateNames << destination(0);
  run->arrayInvalidFileName << destination(0) << destination(2);
  run->arrayFileNotFound << source(1);
  run->arrayEmptyNames << destination(1) << destination(2) << destination(3);
  ASSERT_TRUE(run->sendStartProcessRequest());
  ASSERT_EQ(ended, QList<bool>{true});
  const QStringList messages = {"Duplicate filename", "File not available in source folder",
                                "Invalid filename", "Filename is blank"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(status(i), 2);
    EXPECT_EQ(message(i), messages[i]);
    EXPECT_FALSE(QFileInfo::exists(destination(i)));
  }
  EXPECT_EQ(status(4), 1);
  EXPECT_EQ(run->counterProcessedWithError, 4);
  EXPECT_TRUE(run->processInfoText().contains("Errors reported: 4"));
  const QString log = logText();
  EXPECT_TRUE(log.contains("Errors: 4\n"));
  EXPECT_TRUE(log.contains("\nPhotos Processed with Error :4\n" + kLine +
                           "\n1\tError(Duplicate filename)\t" + source(0) +
                           "\n2\tError(File not available in source folder)\t" + source(1) + "\n"));
  EXPECT_EQ(run->arrayFilesToReProcess.size(), 4);
  QList<std::shared_ptr<PhotoFile>> handed;
  QObject::connect(run.get(), &BatchRun::processSkippedRequested,
                   [&](const QList<std::shared_ptr<PhotoFile>> &photos) { handed = photos; });
  run->btnProcessSkippedFilesTapped();
  EXPECT_EQ(handed.size(), 4);
}

class FreeSpaceTest : public BatchRunTest, public ::testing::WithParamInterface<qint64> {};

TEST_P(FreeSpaceTest, AtMost100MiBStopsAfterTheCurrentPhoto) {
  const qint64 bytes = GetParam();
  const bool low = bytes < 105906176;
  addPhotos(3, "f%1.jpg");
  freeBytes = bytes;
  int sheets = 0;
  QObject::connect(run.get(), &BatchRun::enoughSpacePopupRequested, [&] { ++sheets; });
  ASSERT_TRUE(run->sendStartProcessRequest());
  EXPECT_TRUE(console.contains(QStringLiteral("Memory Capacity of 1048576 MiB with %1 MiB Free "
                                              "memory available.")
                                   .arg(bytes >> 20)));
  if (!low) {
    EXPECT_EQ(sheets, 0);
    EXPECT_EQ(ended, QList<bool>{true});
    return;
  }
  EXPECT_EQ(sheets, 1);
  EXPECT_TRUE(ended.isEmpty());
  EXPECT_TRUE(delegate->isSUBWINDOW_OPENED);
  // The photo in hand was written and is recorded; the rest waits.
  EXPECT_EQ(status(0), 1);
  EXPECT_TRUE(QFileInfo::exists(destination(0)));
  EXPECT_EQ(status(1), 0);
  EXPECT_FALSE(QFileInfo::exists(destination(1)));
  run->btnOkOnEnoughtSpcaecTapped();
  EXPECT_FALSE(delegate->isSUBWINDOW_OPENED);
  EXPECT_EQ(ended, QList<bool>{false});
  EXPECT_EQ(run->summaryInfo.header, "Process Stopped!");
  const QString log = logText();
  EXPECT_TRUE(log.contains("Status: Process interrupted by user\n"));
  EXPECT_TRUE(log.contains("Photos Processed : 1\n" + kLine + "\n1\tProcessed\t" + source(0)));
  EXPECT_TRUE(log.contains("Photos not Processed : 2\n" + kLine + "\n1\tNot Processed\t" +
                           source(1) + "\n2\tNot Processed\t" + source(2) + "\n"));
  EXPECT_EQ(run->arrayFilesToReProcess.size(), 2);
}

INSTANTIATE_TEST_SUITE_P(Threshold, FreeSpaceTest,
                         ::testing::Values(qint64(105906175), qint64(105906176)),
                         [](const auto &info) {
                           return std::string(info.param < 105906176 ? "Below101MiB" : "At101MiB");
                         });

TEST_F(BatchRunTest, StopThenNoResumesAtTheFirstUnfinishedPhoto) {
  addPhotos(4, "s%1.png");
  run->settings.outputFormat = 6;
  QString sheet;
  QObject::connect(run.get(), &BatchRun::abortSheetRequested, [&](const QString &t) { sheet = t; });
  stopAfter(1);
  ASSERT_TRUE(run->sendStartProcessRequest());
  EXPECT_EQ(sheet, "Photos that are not processed will be skipped. Do you still want to stop?");
  EXPECT_EQ(run->counterTotalProgressedFiles, 2);
  EXPECT_EQ(status(2), 0);
  EXPECT_TRUE(ended.isEmpty());
  run->btnNoOnAbortTapped();
  ASSERT_EQ(ended, QList<bool>{true});
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(status(i), 1) << i;
    EXPECT_TRUE(QFileInfo::exists(destination(i)));
  }
  EXPECT_EQ(run->counterProcessedSuccessfully, 4);
  EXPECT_EQ(QDir(dir.filePath("out")).entryList(QDir::Files | QDir::Hidden).size(), 4);
}

TEST_F(BatchRunTest, StopThenYesEndsStoppedWithTheRestNotProcessed) {
  addPhotos(3, "y%1.jpg");
  stopAfter(0);
  ASSERT_TRUE(run->sendStartProcessRequest());
  run->btnYesOnAbortTapped();
  ASSERT_EQ(ended, QList<bool>{false});
  EXPECT_EQ((QList<int>{status(0), status(1), status(2)}), (QList<int>{1, 0, 0}));
  EXPECT_EQ(run->counterNotProcessed, 2);
  EXPECT_TRUE(logText().contains("Status: Process interrupted by user\n"));
  EXPECT_TRUE(run->summaryInfo.showProcessSkippedButton);
}

TEST_F(BatchRunTest, ScaleFactorTwoHalvesTheWrittenSize) {
  addPhoto(kSamples[0], "half.jpg");
  scale = 2.0;
  ASSERT_TRUE(run->sendStartProcessRequest());
  const vips::VImage written = testenv::loadImage(destination(0));
  const vips::VImage original = testenv::loadImage(source(0));
  EXPECT_EQ(written.width(), original.width() / 2);
  EXPECT_EQ(written.height(), original.height() / 2);
  EXPECT_TRUE(console.contains("backing scale factor: 2.000000"));
}

// Photos that cannot be read, whole or in part, end in error with the reason, leave no file
// under their new name and keep their source in move mode; the others are moved.
TEST_F(BatchRunTest, MoveModeTrashesOnlySourcesWhoseOutputExists) {
  for (const bool ahead : {true, false}) {
    SCOPED_TRACE(ahead ? "made ahead" : "each in its turn");
    delegate->arraySelectedImagesToProcess.clear();
    delegate->arrayDestinationPaths.clear();
    ended.clear();
    addPhoto(kSamples[0], ahead ? "m0.jpg" : "n0.jpg");
    addPhoto("jpg/corrupted.jpg", ahead ? "m1.jpg" : "n1.jpg"); // damaged midway
    addPhoto("jpg/corrupted.jpg", ahead ? "m2.jpg" : "n2.jpg");
    QFile::resize(source(2), 300); // its bytes end in the header
    run->prefetchNextPhoto = ahead;
    run->settings.moveAndRenameToDestinationFolder = true;
    ASSERT_TRUE(run->sendStartProcessRequest());
    ASSERT_EQ(ended, QList<bool>{true});
    EXPECT_TRUE(QFileInfo::exists(destination(0)));
    EXPECT_FALSE(QFileInfo::exists(source(0)));
    EXPECT_TRUE(QFileInfo::exists(platform::trashDirectory() + "/files/" +
                                  QFileInfo(source(0)).fileName()));
    for (int i : {1, 2}) {
      EXPECT_EQ(status(i), 2);
      EXPECT_EQ(message(i), "The photo could not be decoded.");
      EXPECT_FALSE(QFileInfo::exists(destination(i)));
      EXPECT_TRUE(QFileInfo::exists(source(i)));
    }
    EXPECT_EQ(run->counterProcessedSuccessfully, 1);
    EXPECT_EQ(run->counterProcessedWithError, 2);
    EXPECT_EQ(run->summaryInfo.errors, "2");
    EXPECT_EQ(run->arrayFilesToReProcess.size(), 2);
    EXPECT_TRUE(logText().contains("\n1\tError(The photo could not be decoded.)\t" + source(1) +
                                   "\n2\tError(The photo could not be decoded.)\t" + source(2)));
    EXPECT_TRUE(QDir(dir.filePath("out")).entryList({".quillmere-*"}, QDir::Hidden).isEmpty());
  }
}

// A write that the system refuses is an error with the system's reason: here a folder holds
// the new name, so not even overwriting can put the file there.
TEST_F(BatchRunTest, AWriteTheSystemRefusesIsAnErrorWithItsReason) {
  addPhotos(2, "w%1.png");
  run->settings.outputFormat = 6;
  run->settings.owerwriteExistingFiles = true;
  run->settings.moveAndRenameToDestinationFolder = true;
  QDir().mkpath(destination(1));
  ASSERT_TRUE(run->sendStartProcessRequest());
  EXPECT_EQ(status(0), 1);
  EXPECT_EQ(status(1), 2);
  EXPECT_EQ(message(1), "The file could not be written: Is a directory");
  EXPECT_TRUE(QFileInfo(destination(1)).isDir());
  EXPECT_TRUE(QFileInfo::exists(source(1)));
  EXPECT_TRUE(logText().contains("Errors: 1\n"));
}

// Keeping the original format: a ".TIFF" photo stays TIFF, not the JPEG fallback.
TEST_F(BatchRunTest, KeptFormatOfATiffPhotoIsTiff) {
  EXPECT_EQ(BatchRun::representationType(0, delegate->arrFileFormatsSupported, "TIFF"), 0);
}

TEST_F(BatchRunTest, EmptyBatchDeletedPhotosAndAlerts) {
  int settingsShown = 0;
  QObject::connect(run.get(), &BatchRun::showSettingsView, [&] { ++settingsShown; });
  EXPECT_FALSE(run->sendStartProcessRequest());
  EXPECT_EQ(settingsShown, 1);
  EXPECT_TRUE(ended.isEmpty());

  addPhoto(kSamples[0], "d0.jpg");
  addPhoto(kSamples[1], "d1.jpg");
  QFile::remove(source(0));
  EXPECT_EQ(run->checkForDeletedPhotosInSourceFolder(false), 1);
  EXPECT_EQ(delegate->arraySelectedImagesToProcess.size(), 2);
  EXPECT_EQ(run->checkForDeletedPhotosInSourceFolder(true), 1);
  ASSERT_EQ(delegate->arraySelectedImagesToProcess.size(), 1);
  QFile::remove(source(0));
  QList<int> alerts;
  QObject::connect(run.get(), &BatchRun::alertRequested,
                   [&](int type, const QString &, const QString &) { alerts << type; });
  QEventLoop loop; // the alert may come later, from the event loop
  QObject::connect(run.get(), &BatchRun::alertRequested, &loop, &QEventLoop::quit);
  QTimer::singleShot(10000, &loop, &QEventLoop::quit);
  EXPECT_EQ(run->checkForDeletedPhotosInSourceFolder(false), 0);
  if (alerts.isEmpty())
    loop.exec();
  EXPECT_EQ(alerts, QList<int>{107});

  EXPECT_EQ(BatchRun::alertForType(107, 2).title, "PHOTOS DELETED");
  EXPECT_EQ(BatchRun::alertForType(107, 1).message, "Photo no longer exists in the Source folder!");
  EXPECT_EQ(BatchRun::alertForType(3, 1).title, "PHOTO DELETED");
}

TEST_F(BatchRunTest, SourceFolderModeAndNothingToReprocess) {
  addPhoto(kSamples[0], "sf.jpg");
  run->settings.useSourceFolder = true;
  run->settings.openOutputFolderAfterProcessing = true;
  ASSERT_TRUE(run->sendStartProcessRequest());
  EXPECT_TRUE(logText().contains("Output Directory: source photo's folder\n"));
  EXPECT_EQ(run->summaryInfo.outputDirectory, "source photo's folder");
  EXPECT_FALSE(run->summaryInfo.showOpenOutputFolderButton);
  EXPECT_FALSE(run->summaryInfo.showProcessSkippedButton);
  EXPECT_EQ(opened, QStringList{dir.filePath("out")});
}

// The real threading: the loop on its own thread, every report delivered synchronously here.
TEST_F(BatchRunTest, BackgroundLoopReportsOnTheOwningThread) {
  addPhotos(3, "t%1.gif");
  run->settings.outputFormat = 3;
  run->submitToBackground = BatchRun(delegate).submitToBackground; // a real thread
  QThread *const owner = QThread::currentThread();
  bool allOnOwner = true;
  QObject::connect(run.get(), &BatchRun::photoUpdated,
                   [&](qint64) { allOnOwner = allOnOwner && QThread::currentThread() == owner; });
  QEventLoop loop;
  QObject::connect(run.get(), &BatchRun::runEnded, &loop, &QEventLoop::quit);
  QTimer::singleShot(60000, &loop, &QEventLoop::quit);
  ASSERT_TRUE(run->sendStartProcessRequest());
  loop.exec();
  EXPECT_EQ(ended, QList<bool>{true});
  EXPECT_TRUE(allOnOwner);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(status(i), 1);
    QFile file(destination(i));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.read(4) == "GIF8");
  }
}

// A destination that is also a source turns decoding ahead off, so the photo written
// beside itself is read before it is replaced; each photo is still written once, in order.
TEST_F(BatchRunTest, DecodingAheadKeepsOrderAndStaysOffWhenADestinationIsASource) {
  addPhotos(4, "o%1.jpg");
  QList<qint64> order;
  QObject::connect(run.get(), &BatchRun::photoUpdated, [&](qint64 k) { order << k; });
  ASSERT_TRUE(run->sendStartProcessRequest());
  EXPECT_EQ(order, (QList<qint64>{0, 1, 2, 3}));
  for (int i = 0; i < 4; ++i)
    EXPECT_TRUE(QFileInfo::exists(destination(i)));

  delegate->arrayDestinationPaths[2] = OutputPhotoPath::initWithoutDiskCheck(source(2), source(2));
  EXPECT_FALSE(BatchRun::mayPrefetch(delegate->arraySelectedImagesToProcess,
                                     delegate->arrayDestinationPaths));
  delegate->arrayDestinationPaths[2] =
      OutputPhotoPath::initWithoutDiskCheck(dir.filePath("out/x.jpg"), source(2));
  EXPECT_TRUE(BatchRun::mayPrefetch(delegate->arraySelectedImagesToProcess,
                                    delegate->arrayDestinationPaths));
}

// Outputs made ahead by the workers are the very files the photo's own turn would write,
// in every format, turned or not; a damaged photo and one its checks pass over end alike.
TEST_F(BatchRunTest, OutputsMadeAheadMatchThoseMadeInTurn) {
  for (const char *extension : {"jpg", "png", "tif", "gif", "jp2", "pdf"}) {
    addPhotos(4, QStringLiteral("%2_%1.%3").arg("%1", "ahead", extension).toUtf8().constData());
  }
  addPhoto("jpg/corrupted.jpg", "damaged.jpg");
  addPhoto("jpg/Canon_40D.jpg", "skipped.jpg");
  run->arrayFileAlreadyExists = {destination(delegate->arraySelectedImagesToProcess.size() - 1)};
  run->settings.outputFormat = 0; // the destination's extension decides
  const qsizetype count = delegate->arraySelectedImagesToProcess.size();

  const auto results = [&] {
    QStringList statuses;
    for (int i = 0; i < count; ++i)
      statuses << QStringLiteral("%1 %2").arg(status(i)).arg(message(i));
    return statuses;
  };
  ASSERT_TRUE(run->sendStartProcessRequest());
  const QStringList ahead = results();
  QList<QByteArray> aheadBytes;
  for (int i = 0; i < count; ++i) {
    QFile file(destination(i));
    aheadBytes << (file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    QFile::remove(destination(i));
  }

  run = newRun();
  run->settings.outputFormat = 0;
  run->arrayFileAlreadyExists = {destination(count - 1)};
  run->prefetchNextPhoto = false;
  ASSERT_TRUE(run->sendStartProcessRequest());
  EXPECT_EQ(results(), ahead);
  for (int i = 0; i < count; ++i) {
    QFile file(destination(i));
    const QByteArray inTurn = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (destination(i).endsWith(".pdf")) // each PDF written gets a document ID of its own
      EXPECT_EQ(inTurn.isEmpty(), aheadBytes[i].isEmpty()) << qPrintable(destination(i));
    else
      EXPECT_TRUE(inTurn == aheadBytes[i]) << qPrintable(destination(i));
  }
  EXPECT_TRUE(ahead.first().startsWith("1 "));
  EXPECT_TRUE(ahead.at(count - 2).startsWith("2 The photo could not be decoded."));
  EXPECT_TRUE(ahead.last().startsWith("3 "));
}

// A run on its own thread whose owner goes away: the destructor returns at once, without
// running an event loop, and the loop ends by itself after its photo.
TEST_F(BatchRunTest, DestroyedWhileItsLoopRunsWaitsForNothing) {
  addPhotos(8, "g%1.png");
  run->settings.outputFormat = 6;
  run->settings.isSetCompression = true;
  run->settings.compressionRatio = 9;
  QThread *worker = nullptr;
  run->submitToBackground = [&worker](std::function<void()> work) {
    worker = QThread::create(std::move(work));
    worker->start();
  };
  QEventLoop loop;
  QObject::connect(run.get(), &BatchRun::photoUpdated, &loop, &QEventLoop::quit);
  QTimer::singleShot(60000, &loop, &QEventLoop::quit);
  ASSERT_TRUE(run->sendStartProcessRequest());
  loop.exec();
  ASSERT_EQ(status(0), 1);
  ASSERT_NE(worker, nullptr);
  int events = 0;
  QTimer counter;
  QObject::connect(&counter, &QTimer::timeout, [&events] { ++events; });
  counter.start(0);
  QElapsedTimer clock;
  clock.start();
  run.reset();
  EXPECT_LT(clock.elapsed(), 50);
  EXPECT_EQ(events, 0); // no event was handled inside the destructor
  EXPECT_FALSE(delegate->isPHOTOS_PROCESSING_IN_PROGERESS);
  EXPECT_TRUE(worker->wait(60000));
  delete worker;
  // Whatever the loop finished is whole; nothing half-written is left.
  for (int i = 0; i < 8; ++i) {
    if (QFileInfo::exists(destination(i))) {
      EXPECT_GT(testenv::loadImage(destination(i)).avg(), 0.0);
    }
  }
  EXPECT_TRUE(QDir(dir.filePath("out")).entryList({".quillmere-*"}, QDir::Hidden).isEmpty());
  EXPECT_LT(QDir(dir.filePath("out")).entryList(QDir::Files).size(), 8);
}

// The window's order of things: a preview pass prepares the batch, the run takes it whole,
// and a new pass started meanwhile (a setting changed) finishes while the run goes on; the
// run keeps the destinations it was given, and neither waits on the other.
TEST_F(BatchRunTest, PreparedBatchRunsWhileAnotherPreviewPassRuns) {
  addPhotos(6, "x%1.jpg"); // copies the photos into in/
  const QList<std::shared_ptr<PhotoFile>> photos = delegate->arraySelectedImagesToProcess;
  auto options = OutputOptionSettings::initWithDefaults();
  options->outputFolderPath = dir.filePath("out");
  delegate->selectedOuputSettingObj = options;
  auto setting = BatchRenameSetting::initWithDictionary({});
  setting->outputFormat = 6; // png
  delegate->selectedRenameSettingObj = setting;

  RenamePreviewController preview(delegate);
  preview.viewDidAppear();
  preview.waitForPreview();
  const PreparedBatch prepared = preview.preparedBatch();
  ASSERT_EQ(prepared.destinations.size(), 6);
  EXPECT_EQ(prepared.startGate(), StartGate::Start);
  EXPECT_EQ(prepared.destinations[0]->filePath, dir.filePath("out/p0_Canon_40D.png"));

  run->submitToBackground = BatchRun(delegate).submitToBackground; // a real thread
  QEventLoop loop;
  QObject::connect(run.get(), &BatchRun::runEnded, &loop, &QEventLoop::quit);
  QTimer::singleShot(120000, &loop, &QEventLoop::quit);
  ASSERT_TRUE(run->start(prepared));
  EXPECT_EQ(run->settings.outputFormat, 6);
  // The screen changes the setting: a new pass over the same photos, now to GIF.
  preview.setting->outputFormat = 3;
  preview.resetPreviewForUpdatedRenameSelections(false);
  loop.exec();
  preview.waitForPreview();
  ASSERT_EQ(ended, QList<bool>{true});
  EXPECT_EQ(run->counterProcessedSuccessfully, 6);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(photos[i]->processStatus, 1);
    QFile file(prepared.destinations[i]->filePath);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
    EXPECT_TRUE(file.read(4) == "\x89PNG");
  }
  // The later pass saw the files the run wrote and reports its own destinations.
  EXPECT_EQ(preview.preparedBatch().destinations[0]->filePath,
            dir.filePath("out/p0_Canon_40D.gif"));
  EXPECT_EQ(delegate->arrayDestinationPaths[0]->filePath, dir.filePath("out/p0_Canon_40D.gif"));
}

} // namespace

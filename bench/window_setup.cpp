// Times the setup screen as a user meets it, on the real widgets (offscreen):
// 1. from a keystroke in the new-name field to the preview showing the new names, for
//    batches of real files (hard links to the sample photos), with the taken-date stamp off
//    and on; the first pass (which reads every photo's capture date) is shown apart;
// 2. the same JPEG-to-JPEG batch run from the window (Start to the summary) and with
//    `quillmere run` (the whole command), rounds alternating, medians compared;
// and through both, the longest time the window's thread went without handling its events.
//
// usage: bench_window_setup [sizes=10000,100000] [run-photos=1000] [rounds=5]
//                           [quillmere-binary] [sample-photos-folder]
// Sizes of 0 time the run alone (no preview passes, no million-row table).

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/VipsSession.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/PreviewTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/SetupVC.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace {

struct NoFlow : ScreenFlowDelegate {
  void btnNextFromAddPhotosVcTapped() override {}
  void btnBackFromSetupVCTapped() override {}
  void btnStartNewBatchFromSetupVCTapped() override {}
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &) override {}
  void checkForDeletedPhotosInSourceFolder(bool) override {}
};

// The longest gap between two turns of the window's event loop while armed.
class Watchdog : public QObject {
public:
  Watchdog() {
    timer_.setInterval(1);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      const qint64 now = clock_.nsecsElapsed();
      if (armed_ && last_ > 0)
        longest_ = std::max(longest_, now - last_);
      last_ = now;
    });
    clock_.start();
    timer_.start();
  }
  void arm() {
    armed_ = true;
    last_ = clock_.nsecsElapsed();
  }
  void disarm() { armed_ = false; }
  double takeLongestMs() {
    const double ms = longest_ / 1e6;
    longest_ = 0;
    return ms;
  }

private:
  QTimer timer_;
  QElapsedTimer clock_;
  qint64 last_ = 0;
  qint64 longest_ = 0;
  bool armed_ = false;
};

// CPU time of the calling thread.
double threadCpuMs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

double median(QList<double> values) {
  if (values.isEmpty())
    return 0;
  std::sort(values.begin(), values.end());
  const qsizetype n = values.size();
  return n % 2 ? values.at(n / 2) : (values.at(n / 2 - 1) + values.at(n / 2)) / 2;
}

QString joined(const QList<double> &values) {
  QStringList parts;
  for (double v : values)
    parts.append(QString::number(v, 'f', 0));
  return parts.join(QLatin1Char(' '));
}

// A batch of count records over hard links to the samples: real files, little disk.
QList<std::shared_ptr<PhotoFile>> linkedBatch(const QStringList &samples, const QString &folder,
                                              int count) {
  QDir().mkpath(folder);
  QList<std::shared_ptr<PhotoFile>> batch;
  batch.reserve(count);
  const QDateTime base = QDateTime::fromSecsSinceEpoch(1700000000);
  for (int i = 0; i < count; ++i) {
    const QString path = folder + QStringLiteral("/IMG_%1.jpg").arg(i, 6, 10, QLatin1Char('0'));
    if (::link(QFile::encodeName(samples.at(i % samples.size())).constData(),
               QFile::encodeName(path).constData()) != 0) {
      std::perror("link");
      std::exit(1);
    }
    auto photo = std::make_shared<PhotoFile>();
    photo->filePath = path;
    photo->fileURL = path;
    photo->fileName = QFileInfo(path).fileName();
    photo->fileExtension = QStringLiteral("jpg");
    photo->fileSizeInBytes = 4096;
    photo->fileCreationDate = base.addSecs(i);
    photo->fileModifiedDate = base.addSecs(i);
    batch.append(photo);
  }
  return batch;
}

template <class T> T *child(QWidget *screen, const char *name) {
  T *widget = screen->findChild<T *>(QLatin1String(name));
  if (!widget) {
    std::fprintf(stderr, "no widget %s\n", name);
    std::exit(1);
  }
  return widget;
}

// Handles the window's events until one comes, as the application's own loop does.
// (QCoreApplication::processEvents with a time limit never waits for events: a loop
// of it spins the window's thread, which takes a core from the workers on a small machine.)
void waitForEvents() {
  QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void settle(ConvertFormatOrRenameView *view) {
  while (view->isPreviewBusy())
    waitForEvents();
  QCoreApplication::processEvents();
}

void switchOn(QWidget *box) {
  box->setFocus();
  QTest::keyClick(box, Qt::Key_Space);
}

} // namespace

int main(int argc, char **argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  QTemporaryDir home;
  qputenv("HOME", home.path().toLocal8Bit());
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Quillmere"));
  platform::VipsSession vips(argv[0]);
  Theme::apply(app);
  QLoggingCategory::setFilterRules(
      QStringLiteral("quillmere.*.debug=false\nquillmere.*.info=false\n"
                     "default.info=false"));

  QList<int> sizes = {10000, 100000};
  if (argc > 1) {
    sizes.clear();
    for (const QString &size : QString::fromLocal8Bit(argv[1]).split(QLatin1Char(',')))
      sizes.append(size.toInt());
  }
  const int runPhotos = argc > 2 ? atoi(argv[2]) : 1000;
  const int rounds = argc > 3 ? atoi(argv[3]) : 5;
  const QString binary =
      argc > 4 ? QString::fromLocal8Bit(argv[4])
               : QCoreApplication::applicationDirPath() + QStringLiteral("/../quillmere");
  const QString samplesFolder =
      argc > 5 ? QString::fromLocal8Bit(argv[5])
               : QStringLiteral(QUILLMERE_RESOURCES_DIR "/../tests/data/photos");

  QTemporaryDir work;
  QStringList samples;
  for (const QFileInfo &entry : QDir(samplesFolder + QStringLiteral("/jpg"))
                                    .entryInfoList({QStringLiteral("*.jpg")}, QDir::Files)) {
    const QString copy = work.filePath(entry.fileName());
    QFile::copy(entry.filePath(), copy);
    samples.append(copy);
  }
  if (samples.isEmpty()) {
    std::fprintf(stderr, "no sample photos in %s/jpg\n", qPrintable(samplesFolder));
    return 1;
  }

  AppDelegate delegate;
  delegate.loadSupportedImageFormats();
  NoFlow flow;
  Watchdog watchdog;
  SetupVC screen(&delegate, &flow);
  screen.resize(1400, 900);
  screen.show();
  if (!QTest::qWaitForWindowExposed(&screen))
    std::fprintf(stderr, "the screen was not shown\n");
  ConvertFormatOrRenameView *view = screen.settingsView();
  QTableView *table = view->previewTable();
  auto *newName = child<QLineEdit>(&screen, "newNameField");

  // --- 0. A million rows in the preview table ---
  if (std::any_of(sizes.begin(), sizes.end(), [](int size) { return size > 0; })) {
    QList<std::shared_ptr<OutputPhotoPath>> records;
    records.reserve(1000000);
    for (int i = 0; i < 1000000; ++i)
      records.append(OutputPhotoPath::initWithoutDiskCheck(
          QStringLiteral("/photos/out/Trip_%1.jpg").arg(i, 7, 10, QLatin1Char('0')),
          QStringLiteral("/photos/card/DCIM/%1/IMG_%2.JPG").arg(100 + i / 10000).arg(i)));
    QList<double> frames;
    watchdog.takeLongestMs();
    watchdog.arm();
    QElapsedTimer clock;
    clock.start();
    view->previewModel()->setPreview(records, ErrorFiles());
    table->viewport()->repaint();
    const double reset = clock.nsecsElapsed() / 1e6;
    // A page down a hundred times, then to the end and back: each a frame the user waits for.
    for (int i = 0; i < 100; ++i) {
      clock.restart();
      QTest::keyClick(table, Qt::Key_PageDown);
      table->viewport()->repaint();
      frames.append(clock.nsecsElapsed() / 1e6);
    }
    for (Qt::Key key : {Qt::Key_End, Qt::Key_Home, Qt::Key_End}) {
      clock.restart();
      QTest::keyClick(table, key, Qt::ControlModifier);
      table->viewport()->repaint();
      frames.append(clock.nsecsElapsed() / 1e6);
    }
    watchdog.disarm();
    std::printf("1,000,000 rows in the preview table: shown in %.0f ms; a page or a jump: median "
                "%.1f ms, worst %.1f ms\n",
                reset, median(frames), *std::max_element(frames.begin(), frames.end()));
    view->previewModel()->setPreview({}, ErrorFiles());
  }

  // --- 1. Keystroke to new names on screen ---
  std::printf("keystroke in the new-name field to the new names on screen (ms, median of 9)\n");
  int folderNumber = 0;
  for (int size : sizes) {
    if (size <= 0)
      continue;
    delegate.arraySelectedImagesToProcess =
        linkedBatch(samples, work.filePath(QStringLiteral("src%1").arg(folderNumber++)), size);
    delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
    delegate.selectedOuputSettingObj->outputFolderPath = work.filePath(QStringLiteral("out"));
    QDir().mkpath(delegate.selectedOuputSettingObj->outputFolderPath);
    delegate.selectedRenameSettingObj.reset();
    for (bool taken : {false, true}) {
      view->setupViewNotification();
      settle(view);
      if (!child<QRadioButton>(&screen, "modifyNamesRadio")->isChecked())
        QTest::mouseClick(child<QRadioButton>(&screen, "modifyNamesRadio"), Qt::LeftButton);
      settle(view);
      auto *replace = child<QGroupBox>(&screen, "ruleReplaceFilename");
      if (!replace->isChecked())
        switchOn(replace);
      auto *digit = child<QGroupBox>(&screen, "ruleAddDigit");
      if (!digit->isChecked())
        switchOn(digit);
      auto *date = child<QGroupBox>(&screen, "ruleDateTimeStamp");
      if (date->isChecked() != taken) {
        // The first pass with the stamp ("Taken(Original)" by default) reads every photo's
        // capture date; later passes keep them.
        QElapsedTimer first;
        first.start();
        watchdog.takeLongestMs();
        watchdog.arm();
        switchOn(date);
        settle(view);
        watchdog.disarm();
        const double firstStall = watchdog.takeLongestMs();
        if (taken)
          std::printf("  %7d photos, taken-date stamp: first pass (reads every photo): %lld ms; "
                      "longest stall %.0f ms\n",
                      size, static_cast<long long>(first.elapsed()), firstStall);
      }
      newName->setFocus();
      newName->selectAll();
      QTest::keyClicks(newName, QStringLiteral("Trip"));
      settle(view);
      // Per keystroke: the longest gap in the window's event loop, and the window thread's
      // own processor time (the part of a gap that is ours, not the machine's scheduling).
      QList<double> times, toShown, stalls, windowCpu;
      qint64 shownAt = 0;
      QElapsedTimer since;
      since.start();
      const QMetaObject::Connection shownConnection = QObject::connect(
          view, &ConvertFormatOrRenameView::previewShown, [&] { shownAt = since.nsecsElapsed(); });
      watchdog.takeLongestMs();
      watchdog.arm();
      const QString letters = QStringLiteral("abcdefghi");
      for (QChar letter : letters) {
        const QString expected = newName->text() + letter;
        QElapsedTimer clock;
        clock.start();
        const double cpuBefore = threadCpuMs();
        const qint64 keyAt = since.nsecsElapsed();
        QTest::keyClick(newName, letter.toLatin1());
        for (;;) {
          waitForEvents();
          const QString shown =
              view->previewModel()->index(0, PreviewTableModel::NewPathColumn).data().toString();
          if (!view->isPreviewBusy() && shown.contains(expected))
            break;
        }
        table->viewport()->repaint();
        times.append(clock.nsecsElapsed() / 1e6);
        toShown.append((shownAt - keyAt) / 1e6);
        windowCpu.append(threadCpuMs() - cpuBefore);
        stalls.append(watchdog.takeLongestMs());
      }
      watchdog.disarm();
      QObject::disconnect(shownConnection);
      std::printf("    of which the pass until the table took it: median %.0f ms\n",
                  median(toShown));
      std::printf("  %7d photos, taken-date stamp %-3s: median %.0f ms  [%s]\n", size,
                  taken ? "on" : "off", median(times), qPrintable(joined(times)));
      std::printf("    longest stall per keystroke: median %.0f ms, worst %.0f ms  [%s]; window "
                  "thread's processor time per keystroke: median %.1f ms\n",
                  median(stalls), *std::max_element(stalls.begin(), stalls.end()),
                  qPrintable(joined(stalls)), median(windowCpu));
    }
  }

  // --- 2. A run from the window and from the command line ---
  if (runPhotos <= 0 || rounds <= 0)
    return 0;
  if (!QFileInfo::exists(binary)) {
    std::printf("no quillmere binary at %s: run comparison skipped\n", qPrintable(binary));
    return 0;
  }
  const QString runSource = work.filePath(QStringLiteral("runsrc"));
  QDir().mkpath(runSource);
  for (int i = 0; i < runPhotos; ++i)
    QFile::copy(samples.at(i % samples.size()),
                runSource + QStringLiteral("/IMG_%1.jpg").arg(i, 5, 10, QLatin1Char('0')));
  QList<std::shared_ptr<PhotoFile>> runBatch;
  for (const QFileInfo &entry : QDir(runSource).entryInfoList(QDir::Files, QDir::Name))
    runBatch.append(PhotoFile::initWithFileUrl(entry.filePath(), false));

  QList<double> windowTimes, commandTimes, stalls, windowThreadCpu;
  const QString out = work.filePath(QStringLiteral("runout"));
  for (int round = 0; round < rounds; ++round) {
    for (int turn = 0; turn < 2; ++turn) {
      QDir(out).removeRecursively();
      QDir().mkpath(out);
      const bool window = (round + turn) % 2 == 0;
      if (window) {
        delegate.arraySelectedImagesToProcess = runBatch;
        delegate.selectedRenameSettingObj.reset();
        delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
        delegate.selectedOuputSettingObj->outputFolderPath = out;
        delegate.selectedOuputSettingObj->openOutputFolderAfterProcessing = false;
        screen.batchRun().openPath = [](const QString &) {};
        view->setupViewNotification();
        settle(view);
        if (!child<QRadioButton>(&screen, "keepNamesRadio")->isChecked())
          QTest::mouseClick(child<QRadioButton>(&screen, "keepNamesRadio"), Qt::LeftButton);
        settle(view);
        bool ended = false;
        const QMetaObject::Connection connection =
            QObject::connect(&screen, &SetupVC::summaryShown, [&ended] { ended = true; });
        watchdog.takeLongestMs();
        watchdog.arm();
        QElapsedTimer clock;
        const double threadCpuBefore = threadCpuMs();
        clock.start();
        QTest::mouseClick(child<QPushButton>(&screen, "startButton"), Qt::LeftButton);
        while (!ended)
          waitForEvents();
        windowTimes.append(clock.nsecsElapsed() / 1e6);
        windowThreadCpu.append(threadCpuMs() - threadCpuBefore);
        watchdog.disarm();
        stalls.append(watchdog.takeLongestMs());
        QObject::disconnect(connection);
        screen.performBackOnSummaryAction();
      } else {
        QProcess process;
        process.setProgram(binary);
        process.setArguments({QStringLiteral("run"), QStringLiteral("--copy"), out,
                              QStringLiteral("--yes"), runSource});
        process.setStandardErrorFile(QProcess::nullDevice());
        process.setStandardOutputFile(QProcess::nullDevice());
        QElapsedTimer clock;
        clock.start();
        process.start();
        process.waitForFinished(-1);
        commandTimes.append(clock.nsecsElapsed() / 1e6);
        if (process.exitCode() != 0)
          std::printf("  quillmere run exited %d\n", process.exitCode());
      }
      const qsizetype written = QDir(out).entryList(QDir::Files).size();
      if (written != runPhotos)
        std::printf("  %s round %d wrote %lld of %d photos\n", window ? "window" : "command", round,
                    static_cast<long long>(written), runPhotos);
    }
  }
  const double w = median(windowTimes);
  const double c = median(commandTimes);
  std::printf("%d-photo JPEG-to-JPEG run, %d rounds (ms):\n", runPhotos, rounds);
  std::printf("  window (Start to summary): median %.0f  [%s]\n", w,
              qPrintable(joined(windowTimes)));
  std::printf("  quillmere run (whole command): median %.0f  [%s]\n", c,
              qPrintable(joined(commandTimes)));
  std::printf("  CPU time of the window's thread during the window's runs: median %.0f ms  [%s]\n",
              median(windowThreadCpu), qPrintable(joined(windowThreadCpu)));
  std::printf("  window / command: %.3f; longest stall of the window during runs: median %.0f ms, "
              "worst %.0f ms\n",
              c > 0 ? w / c : 0.0, median(stalls), *std::max_element(stalls.begin(), stalls.end()));
  return 0;
}

// Times the add-photos screen on its real widgets (run it with QT_QPA_PLATFORM=offscreen):
//  1. scrolling and resizing both views over a batch of 100,000 photos: the longest stall of
//     the window's event loop, seen by a watchdog timer that should fire every 2 ms;
//  2. adding a folder of 10,000 photos: the longest stall, and the add's time next to
//     `quillmere preview -r` on the same folder;
//  3. after scrolling stops in that folder: the time until every visible thumbnail is shown,
//     the first time (empty caches) and from the desktop's shared thumbnail cache.
// The folder holds hard links to the sample JPEGs, so nothing large is written. Thumbnails go
// to a temporary XDG_CACHE_HOME, never the user's.
//
// usage: bench_window_addphotos [runs=5] [photos=10000] [rows=100000] [sample-photos-folder]

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/VipsSession.h"
#include "ui/AddPhotosVC.h"
#include "ui/BatchTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/ThumbnailLoader.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QListView>
#include <QLoggingCategory>
#include <QProcess>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

class NoFlow : public ScreenFlowDelegate {
public:
  void btnNextFromAddPhotosVcTapped() override {}
  void btnBackFromSetupVCTapped() override {}
  void btnStartNewBatchFromSetupVCTapped() override {}
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &) override {}
  void checkForDeletedPhotosInSourceFolder(bool) override {}
};

// The longest gap between ticks of a timer that wants to fire every 2 ms.
class Watchdog {
public:
  Watchdog() {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(2);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      const qint64 now = clock_.nsecsElapsed();
      worst_ = std::max(worst_, now - last_);
      last_ = now;
    });
  }
  void start() {
    worst_ = 0;
    clock_.start();
    last_ = 0;
    timer_.start();
  }
  double stop() {
    timer_.stop();
    return worst_ / 1e6;
  }

private:
  QTimer timer_;
  QElapsedTimer clock_;
  qint64 last_ = 0;
  qint64 worst_ = 0;
};

double median(QList<double> values) {
  if (values.isEmpty())
    return 0;
  std::sort(values.begin(), values.end());
  const qsizetype n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double maximum(const QList<double> &values) {
  return values.isEmpty() ? 0 : *std::max_element(values.cbegin(), values.cend());
}

// Runs steps one per 16 ms (a frame), as a user's wheel or drag would, and returns when done.
void playFrames(int count, const std::function<void(int)> &step) {
  int done = 0;
  QTimer frame;
  frame.setInterval(16);
  QObject::connect(&frame, &QTimer::timeout, [&] {
    if (done < count)
      step(done++);
  });
  frame.start();
  (void)QTest::qWaitFor([&] { return done >= count; }, 600000);
  frame.stop();
  QTest::qWait(100); // let the last step's work (relayout, thumbnails asked for) run
}

struct Screen {
  AppDelegate delegate;
  NoFlow flow;
  std::unique_ptr<AddPhotosVC> vc;
  Screen() {
    vc = std::make_unique<AddPhotosVC>(&delegate, &flow);
    vc->resize(1300, 800);
    vc->show();
    (void)QTest::qWaitForWindowExposed(vc.get());
  }
  ~Screen() { vc.reset(); }
  qint64 addFolder(const QString &folder, double *stallMs) {
    vc->setChooser([folder](AddPhotosVC::ChooserKind) { return QStringList{folder}; });
    QSignalSpy finished(vc.get(), &AddPhotosVC::addRunFinished);
    Watchdog dog;
    QElapsedTimer clock;
    dog.start();
    clock.start();
    vc->addFolderButton()->click();
    finished.wait(600000);
    const qint64 ms = clock.elapsed();
    const double stall = dog.stop();
    if (stallMs)
      *stallMs = stall;
    return ms;
  }
  // Rows of the thumbnail view that are at least partly on screen.
  QList<int> visibleRows() const {
    QList<int> rows;
    QListView *view = vc->thumbnailView();
    const QRect port = view->viewport()->rect();
    const QModelIndex top = view->indexAt(QPoint(20, 2)).isValid() ? view->indexAt(QPoint(20, 2))
                                                                   : view->indexAt(QPoint(20, 40));
    if (!top.isValid())
      return rows;
    for (int r = top.row(); r < std::min(vc->batchModel()->rowCount(), top.row() + 200); ++r)
      if (view->visualRect(vc->batchModel()->index(r, BatchTableModel::NameColumn))
              .intersects(port))
        rows.append(r);
    return rows;
  }
  bool visibleThumbnailsShown() const {
    const QList<int> rows = visibleRows();
    for (int r : rows)
      if (vc->batchModel()
              ->index(r, BatchTableModel::NameColumn)
              .data(BatchTableModel::ThumbnailStateRole)
              .toInt() == 0)
        return false;
    return !rows.isEmpty();
  }
};

QString makeFolder(const QString &root, const QString &samples, int photos) {
  const QString source = root + QStringLiteral("/sources");
  const QString folder = root + QStringLiteral("/photos");
  QDir().mkpath(source);
  QDir().mkpath(folder);
  QStringList originals;
  for (const QFileInfo &entry : QDir(samples + QStringLiteral("/jpg"))
                                    .entryInfoList({QStringLiteral("*.jpg")}, QDir::Files)) {
    const QString copy = source + QLatin1Char('/') + entry.fileName();
    QFile::copy(entry.filePath(), copy);
    originals.append(copy);
  }
  for (int i = 0; i < photos; ++i) {
    const QString name =
        QStringLiteral("%1/IMG_%2.jpg").arg(folder).arg(i, 5, 10, QLatin1Char('0'));
    const QByteArray from = QFile::encodeName(originals.at(i % originals.size()));
    if (::link(from.constData(), QFile::encodeName(name).constData()) != 0)
      QFile::copy(originals.at(i % originals.size()), name);
  }
  return folder;
}

double timePreview(const QString &quillmere, const QString &folder) {
  QProcess process;
  process.setStandardOutputFile(QProcess::nullDevice());
  process.setStandardErrorFile(QProcess::nullDevice());
  QElapsedTimer clock;
  clock.start();
  process.start(quillmere, {QStringLiteral("preview"), QStringLiteral("-r"), folder});
  process.waitForFinished(600000);
  return double(clock.elapsed());
}

} // namespace

int main(int argc, char **argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QTemporaryDir work;
  qputenv("XDG_CACHE_HOME", QFile::encodeName(work.path() + QStringLiteral("/cache0")));
  QApplication app(argc, argv);
  platform::VipsSession vips(argv[0]);
  QLoggingCategory::setFilterRules(QStringLiteral("quillmere.*=false"));
  const int runs = argc > 1 ? atoi(argv[1]) : 5;
  const int photos = argc > 2 ? atoi(argv[2]) : 10000;
  const int rows = argc > 3 ? atoi(argv[3]) : 100000;
  const QString samples = argc > 4
                              ? QString::fromLocal8Bit(argv[4])
                              : QStringLiteral(QUILLMERE_RESOURCES_DIR "/../tests/data/photos");
  const QString quillmere =
      QCoreApplication::applicationDirPath() + QStringLiteral("/../quillmere");
  const QString folder = makeFolder(work.path(), samples, photos);
  std::printf("folder of %d photos (hard links to the sample JPEGs), %d runs\n", photos, runs);

  // 2. Adding, next to the command line's preview of the same folder.
  QList<double> addMs, previewMs, addStall;
  for (int run = 0; run < runs; ++run) {
    previewMs.append(timePreview(quillmere, folder));
    Screen screen;
    double stall = 0;
    addMs.append(double(screen.addFolder(folder, &stall)));
    addStall.append(stall);
    if (screen.vc->batchModel()->rowCount() != photos)
      std::printf("  warning: %d rows added\n", screen.vc->batchModel()->rowCount());
  }
  std::printf("add %d photos: window %.0f ms, quillmere preview -r %.0f ms (median), ratio %.3f;"
              " longest stall median %.1f ms, max %.1f ms\n",
              photos, median(addMs), median(previewMs), median(addMs) / median(previewMs),
              median(addStall), maximum(addStall));

  // 3. Thumbnails after scrolling stops: first time (fresh caches), then from the shared cache.
  QList<double> firstMs, sharedMs;
  for (int run = 0; run < runs; ++run) {
    qputenv("XDG_CACHE_HOME",
            QFile::encodeName(work.path() + QStringLiteral("/cache%1").arg(run + 1)));
    for (int pass = 0; pass < 2; ++pass) {
      Screen screen;
      screen.addFolder(folder, nullptr);
      (void)QTest::qWaitFor([&] { return screen.vc->thumbnailLoader()->pendingCount() == 0; },
                            60000);
      QScrollBar *bar = screen.vc->thumbnailView()->verticalScrollBar();
      // A few wheel steps, ending in the middle of the folder.
      const int target = bar->maximum() / 2 + run * 997;
      QElapsedTimer clock;
      for (int i = 0; i < 5; ++i) {
        bar->setValue(target - (4 - i) * 120);
        QCoreApplication::processEvents();
      }
      clock.start();
      (void)QTest::qWaitFor([&] { return screen.visibleThumbnailsShown(); }, 60000);
      (pass == 0 ? firstMs : sharedMs).append(double(clock.elapsed()));
      if (pass == 1 && screen.vc->thumbnailLoader()->madeCount() > 0)
        std::printf("  note: %d thumbnails made on the second pass\n",
                    screen.vc->thumbnailLoader()->madeCount());
    }
  }
  std::printf("visible thumbnails after scrolling stops: first time %.0f ms (median, max %.0f),"
              " from the shared cache %.0f ms (median, max %.0f)\n",
              median(firstMs), maximum(firstMs), median(sharedMs), maximum(sharedMs));

  // 1. Scrolling and resizing over a large batch.
  QList<double> stalls[2][2]; // [view][scroll, resize]
  for (int run = 0; run < runs; ++run) {
    Screen screen;
    auto &batch = screen.delegate.arraySelectedImagesToProcess;
    const std::shared_ptr<PhotoFile> model =
        PhotoFile::initWithFileUrl(folder + QStringLiteral("/IMG_00000.jpg"), false);
    batch.reserve(rows);
    for (int i = 0; i < rows; ++i) {
      auto photo = std::make_shared<PhotoFile>(*model);
      photo->filePath =
          QStringLiteral("%1/IMG_%2.jpg").arg(folder).arg(i % photos, 5, 10, QLatin1Char('0'));
      photo->fileURL = photo->filePath;
      photo->fileName = QStringLiteral("IMG_%1.jpg").arg(i, 6, 10, QLatin1Char('0'));
      batch.append(photo);
    }
    // The batch replaced from outside, as skipped photos sent back are.
    screen.vc->processWithSkippedFilesNotification();
    QTest::qWait(200);
    for (int view = 0; view < 2; ++view) {
      if ((view == 1) == screen.vc->isThumbnailMode())
        screen.vc->viewModeButton()->click();
      QAbstractItemView *shown = view == 0
                                     ? static_cast<QAbstractItemView *>(screen.vc->thumbnailView())
                                     : static_cast<QAbstractItemView *>(screen.vc->listView());
      QScrollBar *bar = shown->verticalScrollBar();
      QTest::qWait(100);
      Watchdog dog;
      dog.start();
      playFrames(240, [&](int i) {
        if (i < 80)
          bar->setValue(bar->value() + 120); // wheel
        else if (i < 160)
          bar->setValue(bar->value() + bar->pageStep()); // page down
        else
          bar->setValue(int(QRandomGenerator::global()->bounded(bar->maximum() + 1))); // drag
      });
      stalls[view][0].append(dog.stop());
      dog.start();
      playFrames(120, [&](int i) { screen.vc->resize(1300 + (i % 20) * 30, 800 + (i % 10) * 20); });
      stalls[view][1].append(dog.stop());
      screen.vc->resize(1300, 800);
    }
  }
  const char *views[2] = {"thumbnail view", "list view"};
  for (int view = 0; view < 2; ++view)
    std::printf("%d photos, %s: longest stall scrolling %.1f ms (median, max %.1f),"
                " resizing %.1f ms (median, max %.1f)\n",
                rows, views[view], median(stalls[view][0]), maximum(stalls[view][0]),
                median(stalls[view][1]), maximum(stalls[view][1]));
  return 0;
}

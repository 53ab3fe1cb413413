// Times the add run on a folder of N small real JPEGs (copies of the sample photos): the count
// phase and the add phase, warm, with records read ahead on a second thread and without. Then
// measures what a batch costs in memory per photo (records plus duplicate keys) with a large
// folder of hard links to one photo.
//
// usage: bench_intake [photos=10000] [records=100000] [sample-photos-folder]

#include "intake/PhotoFile.h"
#include "intake/PhotoIntake.h"
#include "platform/VipsSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdio>
#include <malloc.h>
#include <unistd.h>

namespace {

struct Timing : AddPhotosListener {
  QElapsedTimer clock;
  qint64 countMs = -1, totalMs = -1;
  void addPhotosWillAdd(bool) override { countMs = clock.elapsed(); }
  void addPhotosFinished() override { totalMs = clock.elapsed(); }
};

QStringList samplePhotos(const QString &folder) {
  QStringList photos;
  const QFileInfoList entries =
      QDir(folder + QStringLiteral("/jpg")).entryInfoList({QStringLiteral("*.jpg")}, QDir::Files);
  for (const QFileInfo &entry : entries)
    if (entry.size() < 64 * 1024) // small photos, as a camera card's thumbnails would be
      photos.append(entry.filePath());
  return photos;
}

struct RunFigures {
  qint64 countMs, addMs;
  qsizetype added;
};

RunFigures timeAdd(const QString &folder, bool parallel) {
  PhotoIntake::Batch batch;
  Timing timing;
  PhotoIntake engine(&batch, &timing);
  engine.setParallelReading(parallel);
  timing.clock.start();
  engine.btnAddPhotosTappedWithIndex(1, {folder});
  engine.waitForFinished();
  return {timing.countMs, timing.totalMs - timing.countMs, batch.size()};
}

size_t heapInUse() {
  malloc_trim(0);
  return mallinfo2().uordblks;
}

} // namespace

int main(int argc, char **argv) {
  QCoreApplication app(argc, argv);
  platform::VipsSession vips(argv[0]);
  QLoggingCategory::setFilterRules(QStringLiteral("quillmere.intake.debug=false"));
  const int photos = argc > 1 ? atoi(argv[1]) : 10000;
  const int records = argc > 2 ? atoi(argv[2]) : 100000;
  const QString sampleFolder =
      argc > 3 ? QString::fromLocal8Bit(argv[3])
               : QStringLiteral(QUILLMERE_RESOURCES_DIR "/../tests/data/photos");
  const QStringList samples = samplePhotos(sampleFolder);
  if (samples.isEmpty()) {
    std::fprintf(stderr, "no sample photos in %s\n", qPrintable(sampleFolder));
    return 1;
  }

  QTemporaryDir work;
  const QString folder = work.path() + QStringLiteral("/photos");
  QElapsedTimer clock;
  clock.start();
  for (int i = 0; i < photos; ++i) {
    const QString sub = folder + QStringLiteral("/%1").arg(i / 1000, 3, 10, QLatin1Char('0'));
    if (i % 1000 == 0)
      QDir().mkpath(sub);
    QFile::copy(samples[i % samples.size()],
                sub + QStringLiteral("/IMG_%1.jpg").arg(i, 6, 10, QLatin1Char('0')));
  }
  std::printf("made %d photos from %lld samples in %lld ms\n", photos,
              static_cast<long long>(samples.size()), static_cast<long long>(clock.elapsed()));

  timeAdd(folder, true); // warms the page cache and the type tables
  for (bool parallel : {true, false, true}) {
    const RunFigures f = timeAdd(folder, parallel);
    std::printf("add %lld photos (%s): count %lld ms, add %lld ms, total %lld ms, %.1f us/photo\n",
                static_cast<long long>(f.added), parallel ? "read ahead" : "sequential",
                static_cast<long long>(f.countMs), static_cast<long long>(f.addMs),
                static_cast<long long>(f.countMs + f.addMs),
                1000.0 * double(f.countMs + f.addMs) / double(qMax<qsizetype>(1, f.added)));
  }

  {
    // The record alone (file facts and image properties), one thread, for comparison.
    PhotoIntake::Batch unused;
    PhotoIntake lister(&unused, nullptr);
    const QStringList paths = lister.listFolder(folder, true);
    QElapsedTimer records;
    records.start();
    for (const QString &path : paths)
      PhotoFile::initWithFileUrl(path, false);
    std::printf("records alone: %lld ms for %lld photos, %.1f us/photo\n",
                static_cast<long long>(records.elapsed()), static_cast<long long>(paths.size()),
                1000.0 * double(records.elapsed()) / double(qMax<qsizetype>(1, paths.size())));
  }

  // Memory: one photo hard-linked under many names, so the folder costs no disk space.
  const QString many = work.path() + QStringLiteral("/many");
  QDir().mkpath(many);
  const QByteArray source = QFile::encodeName(samples.first());
  for (int i = 0; i < records; ++i) {
    const QByteArray name =
        QFile::encodeName(many + QStringLiteral("/DSC_%1.jpg").arg(i, 7, 10, QLatin1Char('0')));
    if (link(source.constData(), name.constData()) != 0)
      QFile::copy(samples.first(), QFile::decodeName(name));
  }
  PhotoIntake::Batch batch;
  Timing timing;
  const size_t before = heapInUse();
  {
    PhotoIntake engine(&batch, &timing);
    timing.clock.start();
    engine.btnAddPhotosTappedWithIndex(0, {many});
    engine.waitForFinished();
    const size_t after = heapInUse();
    const double perRecord = double(after - before) / double(qMax<qsizetype>(1, batch.size()));
    std::printf("%lld records: %lld ms to add, %.0f bytes per photo (records and duplicate keys), "
                "%.2f GB for 1,000,000\n",
                static_cast<long long>(batch.size()), static_cast<long long>(timing.totalMs),
                perRecord, perRecord * 1e6 / 1e9);
    std::printf("sizeof(PhotoFile) = %zu bytes\n", sizeof(PhotoFile));
  }
  return 0;
}

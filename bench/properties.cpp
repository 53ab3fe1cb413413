// Reads the properties dictionary of every file in a folder (on every core) and, when
// exiftool is installed, times `exiftool -fast -j` on the same files for comparison.
//
//   bench_properties FOLDER [--threads N]
//   bench_properties --copies N PHOTOS_DIR [--threads N]
//       (copies the small JPEGs of PHOTOS_DIR round-robin into a temporary folder N times)
#include "imaging/ImageProcessing.h"
#include "platform/VipsSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

QStringList filesIn(const QString &folder) {
  QStringList files;
  QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext())
    files.append(it.next());
  files.sort();
  return files;
}

// Small, well-formed JPEGs of the sample collection (the damaged ones are left out).
QStringList smallSampleJpegs(const QString &photosDir) {
  QStringList out;
  for (const QString &path : filesIn(photosDir + QStringLiteral("/jpg"))) {
    const QFileInfo info(path);
    if (info.suffix().compare(QLatin1String("jpg"), Qt::CaseInsensitive) != 0 ||
        info.size() > 200 * 1024 || path.contains(QLatin1String("/tests/")) ||
        path.contains(QLatin1String("/invalid/")) || info.fileName() == "corrupted.jpg")
      continue;
    out.append(path);
  }
  return out;
}

struct Timing {
  double seconds = 0;
  int files = 0;
  int read = 0;
};

Timing readAll(const QStringList &files, int threads) {
  std::atomic<int> next{0};
  std::atomic<int> read{0};
  QElapsedTimer timer;
  timer.start();
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t)
    workers.emplace_back([&] {
      for (int i = next++; i < files.size(); i = next++)
        if (ImageProcessing::exifForFile(files[i]))
          ++read;
    });
  for (std::thread &worker : workers)
    worker.join();
  return {timer.nsecsElapsed() / 1e9, int(files.size()), read.load()};
}

std::optional<double> timeExiftool(const QString &folder) {
  const QString exiftool = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
  if (exiftool.isEmpty())
    return std::nullopt;
  QProcess process;
  process.setStandardOutputFile(QProcess::nullDevice());
  process.setStandardErrorFile(QProcess::nullDevice());
  QElapsedTimer timer;
  timer.start();
  process.start(exiftool, {QStringLiteral("-fast"), QStringLiteral("-j"), QStringLiteral("-r"),
                           QStringLiteral("-q"), folder});
  if (!process.waitForFinished(-1))
    return std::nullopt;
  return timer.nsecsElapsed() / 1e9;
}

} // namespace

int main(int argc, char **argv) {
  QCoreApplication app(argc, argv);
  platform::VipsSession vips(argv[0]);
  QStringList args = app.arguments().mid(1);
  int threads = int(std::max(1u, std::thread::hardware_concurrency()));
  const qsizetype threadsAt = args.indexOf(QStringLiteral("--threads"));
  if (threadsAt >= 0 && threadsAt + 1 < args.size()) {
    threads = std::max(1, args[threadsAt + 1].toInt());
    args.remove(threadsAt, 2);
  }

  QTemporaryDir temporary;
  QString folder;
  if (args.size() == 3 && args[0] == QLatin1String("--copies")) {
    const int copies = args[1].toInt();
    const QStringList samples = smallSampleJpegs(args[2]);
    if (samples.isEmpty() || copies <= 0) {
      std::fprintf(stderr, "no sample JPEGs under %s/jpg\n", qPrintable(args[2]));
      return 64;
    }
    folder = temporary.path();
    for (int i = 0; i < copies; ++i)
      QFile::copy(samples[i % samples.size()],
                  QStringLiteral("%1/photo_%2.jpg").arg(folder).arg(i, 5, 10, QLatin1Char('0')));
  } else if (args.size() == 1) {
    folder = args[0];
  } else {
    std::fprintf(stderr, "usage: bench_properties FOLDER | --copies N PHOTOS_DIR [--threads N]\n");
    return 64;
  }

  const QStringList files = filesIn(folder);
  if (files.isEmpty()) {
    std::fprintf(stderr, "no files in %s\n", qPrintable(folder));
    return 1;
  }
  readAll(files.mid(0, 50), threads); // warm the file cache and the libraries

  const Timing ours = readAll(files, threads);
  const double oursPerFile = ours.seconds * 1000.0 / ours.files;
  std::printf("properties dictionary: %d files (%d read) in %.3f s on %d threads: %.3f ms a file\n",
              ours.files, ours.read, ours.seconds, threads, oursPerFile);

  if (const std::optional<double> exiftool = timeExiftool(folder)) {
    const double perFile = *exiftool * 1000.0 / ours.files;
    std::printf("exiftool -fast -j:     %d files in %.3f s: %.3f ms a file\n", ours.files,
                *exiftool, perFile);
    std::printf("speed-up: %.1fx\n", perFile / oursPerFile);
  } else {
    std::printf("exiftool not installed: no comparison\n");
  }
  return 0;
}

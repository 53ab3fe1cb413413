// Times the preview pass (new names, destination records, duplicate counts and the checks):
// 1. over N synthetic photo records (hard links to an empty file, in folders of 10,000) with
//    every rename rule on except the taken date, the destination folder existing, so every
//    record is tested on disk;
// 2. over M real files (hard links to the sample photos) with the taken-date stamp, which
//    reads each file's capture date; the first pass fills the page cache, the second is
//    reported (warm).
// Prints the time of each pass and the process's peak resident memory.
//
// usage: bench_preview [records=1000000] [files=10000] [sample-photos-folder]

#include "intake/PhotoFile.h"
#include "platform/VipsSession.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"
#include "rename/PreflightChecks.h"
#include "rename/PreviewPass.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>
#include <sys/resource.h>
#include <unistd.h>

namespace {

const QStringList kFormats = {
    "Keep original format", "tif", "bmp", "gif", "jpg", "jpeg", "png", "jp2", "pdf"};

long peakResidentKb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

double cpuMs() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return t.tv_sec * 1000.0 + t.tv_nsec / 1e6;
}

struct PassFigures {
  qint64 ms;
  double cpu; // all threads' processor time, so the figure means something on a busy machine
  qsizetype errors;
  qsizetype warnings;
  QString firstName;
};

PassFigures timePass(const QList<std::shared_ptr<PhotoFile>> &batch, const RenameRules &rules,
                     const OutputOptionSettings &options) {
  QElapsedTimer clock;
  const double cpuStart = cpuMs();
  clock.start();
  const PreviewResult result = computePreview(batch, rules, kFormats, options);
  std::printf("  destinations and duplicate counts: %lld ms wall, %.0f ms processor\n",
              static_cast<long long>(clock.elapsed()), cpuMs() - cpuStart);
  const qint64 beforeChecks = clock.elapsed();
  const ErrorFiles errors = calculateErrorFiles(result.paths, options.owerwriteExistingFiles);
  const qint64 ms = clock.elapsed();
  std::printf("  checks: %lld ms wall\n", static_cast<long long>(ms - beforeChecks));
  const double cpuEnd = cpuMs();
  {
    QElapsedTimer again;
    again.start();
    countOccurences(result.paths);
    std::printf("  of which duplicate counts alone: %lld ms\n",
                static_cast<long long>(again.elapsed()));
  }
  return {ms, cpuEnd - cpuStart, errors.errorCount(), errors.warningCount(),
          result.paths.isEmpty() ? QString() : result.paths.first()->fileName};
}

std::shared_ptr<BatchRenameSetting> everyRuleSetting(int dateType) {
  auto s = BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  s->flagRenamingMode = 1;
  s->outputFormat = 4;
  s->dictReplaceFileName = {{"State", true}, {"New Name", "Holiday_photo"}};
  s->dictDateTimeStamp = {{"State", true}, {"Type", dateType}, {"Format", 8}, {"As", 0}};
  s->dictAppendFolderName = {{"State", true}, {"As", 1}};
  s->dictAddString = {
      {"State", true}, {"Prefix", "p_"}, {"Suffix", "_s"}, {"Insert", "-i-"}, {"At Position", 4}};
  s->dictAddDigit = {
      {"State", true}, {"As", 2}, {"At Position", 6}, {"Starting Index", 1}, {"Increment", 1}};
  s->dictRemove = {{"State", true}, {"First n", 1}, {"Last n", 1},     {"From", 2},
                   {"To", 3},       {"Chars", "#"}, {"Words", "photo"}};
  s->dictChangeCaseFileName = {{"State", true}, {"Case Mode", 2}};
  s->dictUseLowerCaseForFileExtension = {{"State", true}};
  return s;
}

} // namespace

int main(int argc, char **argv) {
  QCoreApplication app(argc, argv);
  platform::VipsSession vips(argv[0]);
  QLoggingCategory::setFilterRules(
      QStringLiteral("quillmere.*.debug=false\nquillmere.*.info=false"));
  const int records = argc > 1 ? atoi(argv[1]) : 1000000;
  const int files = argc > 2 ? atoi(argv[2]) : 10000;
  const QString samples = argc > 3
                              ? QString::fromLocal8Bit(argv[3])
                              : QStringLiteral(QUILLMERE_RESOURCES_DIR "/../tests/data/photos");
  QTemporaryDir work;
  const QString out = work.filePath(QStringLiteral("out"));
  QDir().mkpath(out);
  auto options = OutputOptionSettings::initWithDefaults();
  options->outputFolderPath = out;

  // 1. Synthetic records.
  {
    QList<std::shared_ptr<PhotoFile>> batch;
    batch.reserve(records);
    const QDateTime base = QDateTime::fromSecsSinceEpoch(1700000000);
    // Every record's source exists, as after adding: hard links to one empty file a folder,
    // so a million of them cost directory entries only.
    const QString card = work.filePath(QStringLiteral("card/DCIM/"));
    for (int folder = 0; folder <= records / 10000; ++folder) {
      QDir().mkpath(card + QString::number(100 + folder));
      QFile(card + QStringLiteral("%1/.original").arg(100 + folder)).open(QIODevice::WriteOnly);
    }
    for (int i = 0; i < records; ++i) {
      auto photo = std::make_shared<PhotoFile>();
      photo->fileName = QStringLiteral("IMG_%1.JPG").arg(i, 7, 10, QLatin1Char('0'));
      photo->fileExtension = QStringLiteral("JPG");
      photo->filePath = card + QStringLiteral("%1/").arg(100 + i / 10000) + photo->fileName;
      photo->fileURL = photo->filePath;
      const QString original = card + QStringLiteral("%1/.original").arg(100 + i / 10000);
      if (::link(QFile::encodeName(original).constData(),
                 QFile::encodeName(photo->filePath).constData()) != 0) {
        std::perror("link");
        return 1;
      }
      photo->fileCreationDate = base.addSecs(i);
      photo->fileModifiedDate = base.addSecs(i * 7);
      batch.append(photo);
    }
    {
      // Where the time goes: the names alone, then the whole pass below.
      RenameEngine engine(RenameRules::fromSetting(*everyRuleSetting(1)), kFormats);
      QElapsedTimer clock;
      const double cpuStart = cpuMs();
      clock.start();
      qsizetype length = 0;
      for (int i = 0; i < records; ++i)
        length += engine.getUpdatedRenameStringForPhotoFile(*batch.at(i), quint32(i)).size();
      std::printf("  names alone (one thread): %lld ms wall, %.0f ms processor (%lld chars)\n",
                  static_cast<long long>(clock.elapsed()), cpuMs() - cpuStart,
                  static_cast<long long>(length));
    }
    const long before = peakResidentKb();
    const PassFigures pass =
        timePass(batch, RenameRules::fromSetting(*everyRuleSetting(1)), *options);
    std::printf("synthetic: %d records, every rule on (modified-date stamp): %lld ms wall, "
                "%.0f ms processor (%.2f us/record); errors %lld, warnings %lld; e.g. \"%s\"\n",
                records, static_cast<long long>(pass.ms), pass.cpu,
                1000.0 * pass.ms / std::max(records, 1), static_cast<long long>(pass.errors),
                static_cast<long long>(pass.warnings), qPrintable(pass.firstName));
    std::printf("  peak resident memory: %ld MB before the pass (records), %ld MB after\n",
                before / 1024, peakResidentKb() / 1024);
  }

  // 2. Real files with the taken date.
  QStringList photos;
  for (const QFileInfo &entry :
       QDir(samples + QStringLiteral("/jpg")).entryInfoList({QStringLiteral("*.jpg")}, QDir::Files))
    photos.append(entry.filePath());
  if (photos.isEmpty() || files <= 0) {
    std::printf("no sample photos in %s: real-file pass skipped\n", qPrintable(samples));
    return 0;
  }
  const QString src = work.filePath(QStringLiteral("src"));
  QDir().mkpath(src);
  // Copies of the samples, then hard links to them: real files, little disk.
  QStringList copies;
  for (const QString &photo : photos) {
    const QString copy = src + QLatin1Char('/') + QFileInfo(photo).fileName();
    QFile::copy(photo, copy);
    copies.append(copy);
  }
  QList<std::shared_ptr<PhotoFile>> batch;
  for (int i = 0; i < files; ++i) {
    const QString path = src + QStringLiteral("/p%1.jpg").arg(i, 5, 10, QLatin1Char('0'));
    if (::link(copies.at(i % copies.size()).toLocal8Bit().constData(),
               path.toLocal8Bit().constData()) != 0) {
      std::perror("link");
      return 1;
    }
    auto photo = std::make_shared<PhotoFile>();
    photo->filePath = path;
    photo->fileURL = path;
    photo->fileName = QFileInfo(path).fileName();
    photo->fileExtension = QStringLiteral("jpg");
    photo->fileCreationDate = QFileInfo(path).birthTime();
    photo->fileModifiedDate = QFileInfo(path).lastModified();
    batch.append(photo);
  }
  const RenameRules taken = RenameRules::fromSetting(*everyRuleSetting(0));
  const PassFigures cold = timePass(batch, taken, *options);
  const PassFigures warm = timePass(batch, taken, *options);
  std::printf("real files: %d (links to %lld samples), taken-date stamp: first pass %lld ms, "
              "warm %lld ms wall, %.0f ms processor (%.1f us/file); errors %lld, warnings %lld; "
              "e.g. \"%s\"\n",
              files, static_cast<long long>(copies.size()), static_cast<long long>(cold.ms),
              static_cast<long long>(warm.ms), warm.cpu, 1000.0 * warm.ms / files,
              static_cast<long long>(warm.errors), static_cast<long long>(warm.warnings),
              qPrintable(warm.firstName));
  std::printf("  peak resident memory at the end: %ld MB\n", peakResidentKb() / 1024);
  return 0;
}

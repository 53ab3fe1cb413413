// bench_convert: photos a second of `quillmere run` against peer tools on one corpus, in one
// run: JPEG -> JPEG (quality 82, auto-orientation), JPEG -> PNG and JPEG -> TIFF on 12 MP
// photos, and JPEG -> JPEG on small photos. Peers: one `vips` process per photo (alone and
// two at a time with xargs -P2), ImageMagick's mogrify, GraphicsMagick, vipsthumbnail.
//
//   bench_convert [--big N] [--small N] [--png N] [--keep DIR]
//
// Missing peers are installed with apt-get when running as root; a peer still missing is
// left out of the table.
#include "platform/VipsSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <map>

#include <unistd.h>
#include <vips/vips8>

#ifndef QUILLMERE_PHOTOS_SAMPLE
#define QUILLMERE_PHOTOS_SAMPLE QUILLMERE_RESOURCES_DIR "/../tests/data/photos/jpg/Canon_40D.jpg"
#endif

namespace {

QString quillmereBinary() {
  return QCoreApplication::applicationDirPath() + "/../quillmere";
}

bool have(const QString &tool) {
  return !QStandardPaths::findExecutable(tool).isEmpty();
}

void installPeersIfMissing() {
  if (have("mogrify") && have("gm") && have("vips") && have("vipsthumbnail"))
    return;
  if (::getuid() != 0) {
    std::fprintf(stderr, "some peers are missing and installing needs root\n");
    return;
  }
  std::system("apt-get install -y -qq imagemagick graphicsmagick libvips-tools >/dev/null 2>&1");
}

// A photo-like 12 MP picture: a real photo scaled up with fine noise, carrying its EXIF.
void makeCorpus(const QString &folder, int count, int width, int height, const QString &prefix) {
  QDir().mkpath(folder);
  const QString sample = QStringLiteral(QUILLMERE_PHOTOS_SAMPLE);
  vips::VImage photo = vips::VImage::new_from_file(QFile::encodeName(sample).constData());
  vips::VImage scaled =
      photo.resize(double(width) / photo.width(),
                   vips::VImage::option()->set("vscale", double(height) / photo.height()));
  vips::VImage noise =
      vips::VImage::gaussnoise(width, height, vips::VImage::option()->set("sigma", 6));
  vips::VImage picture = (scaled + noise).cast(VIPS_FORMAT_UCHAR);
  picture = picture.copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  const QString upright = folder + "/.upright.jpg";
  const QString turned = folder + "/.turned.jpg";
  vips::VImage withExif = picture;
  withExif.set("orientation", 1);
  withExif.jpegsave(QFile::encodeName(upright).data(), vips::VImage::option()->set("Q", 90));
  withExif.set("orientation", 6);
  withExif.jpegsave(QFile::encodeName(turned).data(), vips::VImage::option()->set("Q", 90));
  for (int i = 0; i < count; ++i) {
    const QString name =
        QStringLiteral("%1/%2_%3.jpg").arg(folder, prefix).arg(i, 4, 10, QChar('0'));
    QFile::copy(i % 4 == 3 ? turned : upright, name);
  }
  QFile::remove(upright);
  QFile::remove(turned);
}

struct Timing {
  double seconds = -1;
  long maxRssKb = 0;
};

// Runs a shell command line and times it; the peak memory of the largest process with it.
Timing timeShell(const QString &command) {
  // The gigabytes the TIFF rows leave to be written back would otherwise slow whichever tool
  // comes next: every tool starts with nothing left to flush.
  ::sync();
  QProcess process;
  const QString rss = QDir::tempPath() + "/bench_convert_rss";
  process.setProgram("/bin/bash");
  process.setArguments({"-c", "/usr/bin/time -f %M -o " + rss + " bash -c '" + command + "'"});
  QElapsedTimer timer;
  timer.start();
  process.start();
  process.waitForFinished(-1);
  Timing t;
  t.seconds = timer.nsecsElapsed() / 1e9;
  if (process.exitCode() != 0) {
    std::fprintf(stderr, "failed (%d): %s\n%s\n", process.exitCode(), qPrintable(command),
                 process.readAllStandardError().right(400).constData());
    t.seconds = -1;
  }
  QFile file(rss);
  if (file.open(QIODevice::ReadOnly))
    t.maxRssKb = file.readAll().trimmed().split('\n').last().toLong();
  return t;
}

QString fresh(const QString &folder) {
  QDir(folder).removeRecursively();
  QDir().mkpath(folder);
  return folder;
}

// Each peer starts right after the output of the tool before it, a row's worth of the same
// files, is deleted; on a virtual machine, writing into memory just freed is markedly faster
// than into memory not touched yet (3.6 GB of TIFFs: 8.4 s against 11 s). The first tool of a
// row gets the same start from an untimed run of its own.
void warmUp(const QString &command, const QString &out) {
  fresh(out);
  QProcess::execute("/bin/bash", {"-c", command});
  fresh(out);
}

struct Row {
  QString name;
  int photos;
  std::map<QString, Timing> timings;
};

} // namespace

int main(int argc, char **argv) {
  QCoreApplication app(argc, argv);
  platform::VipsSession vips(argv[0]);
  int big = 100, small = 1000, png = 20;
  QString keep;
  const QStringList args = app.arguments();
  for (int i = 1; i + 1 < args.size(); ++i) {
    if (args[i] == "--big")
      big = args[++i].toInt();
    else if (args[i] == "--small")
      small = args[++i].toInt();
    else if (args[i] == "--png")
      png = args[++i].toInt();
    else if (args[i] == "--keep")
      keep = args[++i];
  }
  installPeersIfMissing();

  QTemporaryDir temporary;
  const QString root = keep.isEmpty() ? temporary.path() : keep;
  const QString bigIn = root + "/big", pngIn = root + "/pngset", smallIn = root + "/small";
  if (!QFileInfo::exists(bigIn + "/big_0000.jpg")) {
    std::fprintf(stderr, "building the corpus...\n");
    makeCorpus(bigIn, big, 4000, 3000, "big");
    makeCorpus(pngIn, png, 4000, 3000, "big");
    makeCorpus(smallIn, small, 640, 480, "small");
  }
  // Each run gets its own HOME, so the log and the trash stay in the corpus folder.
  const QString home = fresh(root + "/home");
  const QString out = root + "/out";
  const QString q = "HOME=" + home + " " + quillmereBinary();

  std::vector<Row> rows;
  auto bench = [&](const QString &name, const QString &in, int photos, const QString &format,
                   const QString &vipsSuffix, const QString &magickFormat) {
    Row row{name, photos, {}};
    const QString ours =
        q + " run --yes --copy " + out + " --format " + format + " " + in + " >/dev/null 2>&1";
    warmUp(ours, out);
    row.timings["quillmere"] = timeShell(ours);
    if (have("vips")) {
      fresh(out);
      row.timings["vips x1"] = timeShell("for f in " + in + "/*.jpg; do vips autorot \"$f\" " +
                                         out + "/$(basename \"$f\" .jpg)." + vipsSuffix + "; done");
      fresh(out);
      row.timings["vips -P2"] =
          timeShell("ls " + in + "/*.jpg | xargs -P2 -I{} sh -c \"vips autorot {} " + out +
                    "/\\$(basename {} .jpg)." + vipsSuffix + "\"");
    }
    if (have("mogrify"))
      row.timings["mogrify"] =
          timeShell("mogrify -path " + fresh(out) + " -auto-orient -quality 82 -format " +
                    magickFormat + " " + in + "/*.jpg");
    if (have("gm"))
      // gm joins -output-directory with the path as given: run it inside the corpus.
      row.timings["gm"] = timeShell("cd " + in + " && gm mogrify -output-directory " + fresh(out) +
                                    " -auto-orient -quality 82 -format " + magickFormat + " *.jpg");
    rows.push_back(row);
  };
  bench(QStringLiteral("12 MP JPEG -> JPEG q82 (%1)").arg(big), bigIn, big, "jpg", "jpg[Q=82]",
        "jpg");
  bench(QStringLiteral("12 MP JPEG -> PNG (%1)").arg(png), pngIn, png, "png", "png", "png");
  bench(QStringLiteral("12 MP JPEG -> TIFF (%1)").arg(big), bigIn, big, "tif", "tif", "tif");
  {
    Row row{QStringLiteral("small JPEG -> JPEG q82 (%1)").arg(small), small, {}};
    const QString ours =
        q + " run --yes --copy " + out + " --format jpg " + smallIn + " >/dev/null 2>&1";
    warmUp(ours, out);
    row.timings["quillmere"] = timeShell(ours);
    if (have("gm"))
      row.timings["gm"] = timeShell("cd " + smallIn + " && gm mogrify -output-directory " +
                                    fresh(out) + " -auto-orient -quality 82 -format jpg *.jpg");
    if (have("vipsthumbnail"))
      row.timings["vipsthumbnail"] = timeShell("vipsthumbnail -s \"10000x10000>\" -o " +
                                               fresh(out) + "/%s.jpg[Q=82] " + smallIn + "/*.jpg");
    rows.push_back(row);
  }

  std::printf("%-34s %-14s %9s %9s %9s %10s\n", "conversion", "tool", "seconds", "photos/s",
              "ratio", "peak MB");
  for (const Row &row : rows) {
    const Timing ours = row.timings.at("quillmere");
    for (const auto &[tool, t] : row.timings) {
      if (t.seconds < 0) {
        std::printf("%-34s %-14s %9s\n", qPrintable(row.name), qPrintable(tool), "failed");
        continue;
      }
      const double ratio = ours.seconds > 0 ? t.seconds / ours.seconds : 0;
      std::printf("%-34s %-14s %9.2f %9.2f %8.2fx %10.1f\n", qPrintable(row.name), qPrintable(tool),
                  t.seconds, row.photos / t.seconds, ratio, t.maxRssKb / 1024.0);
    }
  }
  std::printf("ratio: the tool's time over quillmere's (above 1: quillmere is faster)\n");
  return 0;
}

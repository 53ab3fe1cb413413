// Time per photo of each built-in image filter: the sample photo enlarged to a 12-megapixel
// frame, filtered, and every pixel computed (the mean is read). Arguments: [photo] [width].
#include "platform/ImageFilterRegistry.h"
#include "platform/VipsSession.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

int main(int argc, char **argv) {
  QCoreApplication app(argc, argv);
  platform::VipsSession vips(argv[0]);
  if (!vips.ok())
    return 1;
  const char *photo = argc > 1 ? argv[1]
                               : QUILLMERE_RESOURCES_DIR
                          "/../tests/data/photos/jpg/orientation/landscape_1.jpg";
  const int width = argc > 2 ? std::atoi(argv[2]) : 4000;
  try {
    const vips::VImage source = vips::VImage::new_from_file(photo);
    const double scale = double(width) / source.width();
    const vips::VImage frame = source.resize(scale).copy_memory();
    std::printf("%d x %d, %d bands\n", frame.width(), frame.height(), frame.bands());
    const auto &library = platform::ImageFilterRegistry::builtIn();
    for (const QString &name : library.filterNames()) {
      QElapsedTimer timer;
      timer.start();
      const auto result = library.apply(name, frame);
      const double mean = result.ok ? result.image.avg() : -1;
      std::printf("%-26s %8.0f ms  (mean %.1f)%s\n", name.toUtf8().constData(),
                  double(timer.nsecsElapsed()) / 1e6, mean,
                  result.ok ? "" : qPrintable(QStringLiteral("  ") + result.message));
    }
  } catch (const vips::VError &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}

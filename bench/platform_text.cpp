// Per-call cost of the platform text services a batch calls once or more for every photo:
// date patterns (rename tokens, EXIF dates), the image type test and path text.
#include "platform/DateFormat.h"
#include "platform/FileTypes.h"
#include "platform/PathText.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimeZone>

#include <cstdio>
#include <functional>

namespace {

void measure(const char *name, int rounds, const std::function<qsizetype(int)> &call) {
  qsizetype sink = 0;
  QElapsedTimer timer;
  timer.start();
  for (int i = 0; i < rounds; ++i)
    sink += call(i);
  std::printf("%-28s %8.2f us/call  (%d calls, check %lld)\n", name,
              double(timer.nsecsElapsed()) / 1000.0 / rounds, rounds, static_cast<long long>(sink));
}

} // namespace

int main(int argc, char **argv) {
  QCoreApplication app(argc, argv);
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 20000;
  const QDateTime base(QDate(2024, 3, 14), QTime(15, 4, 5), QTimeZone::utc());
  using namespace platform;

  measure("DateFormat::format", rounds, [&](int i) {
    return DateFormat::format(base.addSecs(i), QStringLiteral("yyyy-MM-dd hh:mm:s a")).size();
  });
  measure("DateFormat::parse", rounds, [&](int i) {
    return qsizetype(DateFormat::parse(
                         QStringLiteral("2024:03:14 21:05:%1").arg(i % 60, 2, 10, QLatin1Char('0')),
                         QStringLiteral("yyyy:MM:dd HH:mm:ss"))
                         .isValid());
  });
  measure("FileTypes::conformsToImage", rounds, [&](int i) {
    return qsizetype(FileTypes::conformsToImage(QStringLiteral("/nonexistent/IMG_%1.CR2").arg(i)));
  });
  measure("PathText::pathExtension", rounds, [&](int i) {
    return PathText::pathExtension(QStringLiteral("/a/b/IMG_%1.JPG").arg(i)).size();
  });
  return 0;
}

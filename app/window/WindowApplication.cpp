#include "app/window/WindowApplication.h"

#include "app/window/MainWindow.h"
#include "platform/VipsSession.h"

#include <QApplication>
#include <QGuiApplication>

#include <cstdio>
#include <cstdlib>

namespace app::window {

namespace {

bool displayAvailable() {
  if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
    return true; // the caller chose a platform plugin (offscreen, xcb, wayland)
  return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

} // namespace

int runWindowApplication(int argc, char **argv) {
  if (!displayAvailable()) {
    std::fprintf(stderr, "quillmere: no display available; the headless commands work without "
                         "one (see quillmere --help)\n");
    return 1;
  }
  QApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Quillmere"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMERE_VERSION));
  platform::VipsSession vips(argv[0]);

  MainWindow window;
  window.show();
  return application.exec();
}

} // namespace app::window

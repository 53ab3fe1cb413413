#include "ui/WindowApplication.h"

#include "app/AppDelegate.h"
#include "platform/VipsSession.h"
#include "ui/MainWindowController.h"
#include "ui/ScreenshotTour.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMessageBox>
#include <QTimer>
#include <QUrl>

#include <cstdio>
#include <memory>

namespace ui {

namespace {

bool displayAvailable() {
  if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
    return true; // the caller chose a platform plugin (offscreen, xcb, wayland)
  return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

void installHandlers(AppDelegate *delegate, std::unique_ptr<MainWindowController> &window) {
  delegate->openMainWindowHandler = [delegate, &window] {
    if (!window)
      window = std::make_unique<MainWindowController>(delegate);
    window->show();
    window->raise();
    window->activateWindow();
  };
  delegate->presentErrorHandler = [&window](const AppError &error) {
    if (window)
      return window->presentError(error);
    QMessageBox box;
    box.setIcon(QMessageBox::Critical);
    box.setText(error.description);
    box.setInformativeText(error.reason);
    box.exec();
    return false; // nothing here can recover from a store failure
  };
  delegate->runModalAlertHandler = [&window](const AppDelegate::AlertRequest &request) {
    if (window)
      return window->runModalAlert(request);
    return static_cast<int>(AppDelegate::AlertSecondButtonReturn);
  };
  delegate->openURLHandler = [](const QString &address) {
    return QDesktopServices::openUrl(QUrl(address));
  };
  delegate->quitHandler = [] { QCoreApplication::quit(); };
}

} // namespace

int runWindowApplication(int argc, char **argv, const QStringList &paths) {
  if (!displayAvailable()) {
    std::fprintf(stderr, "quillmere: no display available; the headless commands work without "
                         "one (see quillmere --help)\n");
    return 1;
  }
  QApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Quillmere"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMERE_VERSION));
  QGuiApplication::setDesktopFileName(QStringLiteral(QUILLMERE_APP_ID));
  // Closing the window goes through the delegate's quit decision instead.
  QApplication::setQuitOnLastWindowClosed(false);
  Theme::apply(application);
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/org.quillmere.Quillmere.svg")));
  platform::VipsSession vips(argv[0]);

  std::unique_ptr<MainWindowController> window;
  AppDelegate *delegate = AppDelegate::shared();
  installHandlers(delegate, window);
  const bool touring = qEnvironmentVariableIsSet("QUILLMERE_SCREENSHOTS");
  const AppDelegate::RateupDecision rateup = delegate->applicationDidFinishLaunching();
  // The rating question, a moment after the window is up so that it opens over it. A
  // screenshot tour shows it among its own steps instead.
  if (rateup == AppDelegate::RateupShowQuestion && !touring)
    QTimer::singleShot(200, &application, [&window] {
      if (window)
        window->showAlertForRateApp();
    });
  if (window && !paths.isEmpty())
    QTimer::singleShot(0, window.get(), [&window, paths] { window->openPaths(paths); });
  if (window && touring)
    QTimer::singleShot(0, window.get(),
                       [&window] { ScreenshotTour::startIfRequested(window.get()); });
  const int status = application.exec();
  delegate->openMainWindowHandler = nullptr;
  delegate->presentErrorHandler = nullptr;
  delegate->runModalAlertHandler = nullptr;
  delegate->quitHandler = nullptr;
  window.reset();
  return status;
}

} // namespace ui

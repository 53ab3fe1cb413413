#include "app/window/WindowApplication.h"

#include "app/AppDelegate.h"
#include "app/window/MainWindow.h"
#include "platform/VipsSession.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QUrl>

#include <cstdio>
#include <memory>

namespace app::window {

namespace {

bool displayAvailable() {
  if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
    return true; // the caller chose a platform plugin (offscreen, xcb, wayland)
  return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

// Runs an alert with the buttons in the given order and answers by the position of the
// button pressed, as the delegate expects.
int runModalAlert(QWidget *parent, const AppDelegate::AlertRequest &request) {
  QMessageBox box(parent);
  box.setIcon(QMessageBox::Warning);
  box.setText(request.messageText);
  box.setInformativeText(request.informativeText);
  QList<QAbstractButton *> buttons;
  for (const QString &title : request.buttonTitles)
    buttons << box.addButton(title,
                             buttons.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
  box.exec();
  const int index = buttons.indexOf(box.clickedButton());
  return AppDelegate::AlertFirstButtonReturn + qMax(index, 0);
}

void installHandlers(AppDelegate *delegate, std::unique_ptr<MainWindow> &window) {
  delegate->openMainWindowHandler = [&window] {
    if (!window)
      window = std::make_unique<MainWindow>();
    window->show();
    window->raise();
  };
  delegate->presentErrorHandler = [&window](const AppError &error) {
    QMessageBox box(window.get());
    box.setIcon(QMessageBox::Critical);
    box.setText(error.description);
    box.setInformativeText(error.reason);
    box.exec();
    return false; // nothing here can recover from a store failure
  };
  delegate->runModalAlertHandler = [&window](const AppDelegate::AlertRequest &request) {
    return runModalAlert(window.get(), request);
  };
  delegate->openURLHandler = [](const QString &address) {
    return QDesktopServices::openUrl(QUrl(address));
  };
  delegate->quitHandler = [] { QCoreApplication::quit(); };
}

// The rating question, a moment after the window is up so that it opens over it.
void askForRatingLater(AppDelegate *delegate, std::unique_ptr<MainWindow> &window) {
  QTimer::singleShot(200, delegate, [delegate, &window] {
    const AppDelegate::AlertRequest request = AppDelegate::rateAppAlert();
    const int answer = runModalAlert(window.get(), request);
    delegate->alertDidEndClose(answer == AppDelegate::AlertFirstButtonReturn
                                   ? AppDelegate::AlertDefaultReturn
                                   : AppDelegate::AlertAlternateReturn);
  });
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
  // Closing the window goes through the delegate's quit decision instead.
  QApplication::setQuitOnLastWindowClosed(false);
  platform::VipsSession vips(argv[0]);

  std::unique_ptr<MainWindow> window;
  AppDelegate *delegate = AppDelegate::shared();
  installHandlers(delegate, window);
  if (delegate->applicationDidFinishLaunching() == AppDelegate::RateupShowQuestion)
    askForRatingLater(delegate, window);
  const int status = application.exec();
  delegate->openMainWindowHandler = nullptr;
  delegate->presentErrorHandler = nullptr;
  delegate->runModalAlertHandler = nullptr;
  window.reset();
  return status;
}

} // namespace app::window

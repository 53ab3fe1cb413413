#include "app/window/MainWindow.h"

#include "app/AppDelegate.h"

#include <QCloseEvent>

namespace app::window {

MainWindow::MainWindow(QWidget *parent) : QMainWindow(parent) {
  setObjectName(QStringLiteral("MainWindow"));
  setWindowTitle(QStringLiteral("Quillmere"));
  resize(1024, 700);
}

void MainWindow::closeEvent(QCloseEvent *event) {
  event->ignore();
  AppDelegate::shared()->mainWindowCloseNotification(this);
}

} // namespace app::window

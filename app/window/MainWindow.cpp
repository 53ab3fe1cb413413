#include "app/window/MainWindow.h"

namespace app::window {

MainWindow::MainWindow(QWidget *parent) : QMainWindow(parent) {
  setWindowTitle(QStringLiteral("Quillmere"));
  resize(1024, 700);
}

} // namespace app::window

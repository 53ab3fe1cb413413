#pragma once

#include <QMainWindow>

namespace app::window {

// The single main window; its screens are added as they are built.
class MainWindow : public QMainWindow {
  Q_OBJECT
public:
  explicit MainWindow(QWidget *parent = nullptr);

protected:
  // Closing the main window asks the delegate to quit (it may refuse, keeping the window).
  void closeEvent(QCloseEvent *event) override;
};

} // namespace app::window

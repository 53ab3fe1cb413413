#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

class AppDelegate;
class MainWindowController;
class QWidget;

// A walk through the window that saves a picture at each step, for reviewing the look
// without clicking through by hand. QUILLMERE_SCREENSHOTS=DIR starts it once the window is
// up; it saves DIR/NN-name.png for each step and quits the application when done.
// QUILLMERE_SCREENSHOT_PHOTOS names a folder of sample photos the steps may add.
class ScreenshotTour : public QObject {
  Q_OBJECT
public:
  using Action = std::function<void()>;
  using Condition = std::function<bool()>;

  ScreenshotTour(MainWindowController *controller, const QString &folder,
                 QObject *parent = nullptr);

  MainWindowController *controller() const { return controller_; }
  AppDelegate *delegate() const;
  // The main window, as grabbed.
  QWidget *window() const;
  // The folder of sample photos (may be empty when none was given).
  QString photosFolder() const { return photosFolder_; }
  QString folder() const { return folder_; }

  // A picture named name: prepare runs, the tour waits until ready() holds (at most
  // timeoutMs), lets the window paint, then saves it.
  void addStep(const QString &name, Action prepare, Condition ready = {}, int timeoutMs = 15000);
  // Work between pictures (closing a sheet, going back): no picture is taken.
  void addAction(Action action, Condition ready = {}, int timeoutMs = 15000);

  // Runs the steps in order, then quits the application.
  void start();
  // The pictures saved so far.
  const QStringList &savedFiles() const { return saved_; }

  // Starts a tour when QUILLMERE_SCREENSHOTS is set, with every screen's steps.
  static void startIfRequested(MainWindowController *controller);

private:
  struct Step {
    QString name; // empty: no picture
    Action prepare;
    Condition ready;
    int timeoutMs;
  };
  void runStep(int index);
  void waitThenCapture(int index, qint64 deadline);
  void capture(int index);

  MainWindowController *controller_;
  QString folder_;
  QString photosFolder_;
  QList<Step> steps_;
  QStringList saved_;
  int pictureNumber_ = 0;
};

// Each screen's steps, defined beside that screen.
void mainWindowScreenshotSteps(ScreenshotTour &tour);
void addPhotosScreenshotSteps(ScreenshotTour &tour);
void setupScreenshotSteps(ScreenshotTour &tour);

#include "ui/ScreenshotTour.h"

#include "app/AppDelegate.h"
#include "ui/MainWindowController.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QPainter>
#include <QPixmap>
#include <QTimer>

#include <cstdio>

namespace {

// Time for the window to lay out and paint after a step's condition holds.
constexpr int kSettleMs = 400;
constexpr int kPollMs = 50;

} // namespace

ScreenshotTour::ScreenshotTour(MainWindowController *controller, const QString &folder,
                               QObject *parent)
    : QObject(parent), controller_(controller), folder_(folder),
      photosFolder_(qEnvironmentVariable("QUILLMERE_SCREENSHOT_PHOTOS")) {}

AppDelegate *ScreenshotTour::delegate() const {
  return controller_->delegate();
}

QWidget *ScreenshotTour::window() const {
  return controller_;
}

void ScreenshotTour::addStep(const QString &name, Action prepare, Condition ready, int timeoutMs) {
  steps_.append({name, std::move(prepare), std::move(ready), timeoutMs});
}

void ScreenshotTour::addAction(Action action, Condition ready, int timeoutMs) {
  steps_.append({QString(), std::move(action), std::move(ready), timeoutMs});
}

void ScreenshotTour::start() {
  QDir().mkpath(folder_);
  QTimer::singleShot(kSettleMs, this, [this] { runStep(0); });
}

void ScreenshotTour::runStep(int index) {
  if (index >= steps_.size()) {
    std::fprintf(stderr, "screenshots: %d pictures in %s\n", static_cast<int>(saved_.size()),
                 qPrintable(folder_));
    QCoreApplication::exit(0);
    return;
  }
  const Step &step = steps_.at(index);
  if (step.prepare)
    step.prepare();
  waitThenCapture(index, QDateTime::currentMSecsSinceEpoch() + step.timeoutMs);
}

void ScreenshotTour::waitThenCapture(int index, qint64 deadline) {
  const Step &step = steps_.at(index);
  if (step.ready && !step.ready()) {
    if (QDateTime::currentMSecsSinceEpoch() < deadline) {
      QTimer::singleShot(kPollMs, this,
                         [this, index, deadline] { waitThenCapture(index, deadline); });
      return;
    }
    std::fprintf(stderr, "screenshots: step %d (%s) did not become ready; taken as it is\n", index,
                 qPrintable(step.name.isEmpty() ? QStringLiteral("action") : step.name));
  }
  QTimer::singleShot(step.name.isEmpty() ? 0 : kSettleMs, this, [this, index] {
    if (!steps_.at(index).name.isEmpty())
      capture(index);
    runStep(index + 1);
  });
}

void ScreenshotTour::capture(int index) {
  QWidget *main = window();
  QPixmap picture = main->grab();
  // Dialogs of their own (file choosers, menus) are drawn where they stand over the window.
  const QWidgetList tops = QApplication::topLevelWidgets();
  for (QWidget *top : tops) {
    if (top == main || !top->isVisible() || top->windowType() == Qt::ToolTip)
      continue;
    if (!(top->windowType() == Qt::Dialog || top->windowType() == Qt::Popup ||
          top->windowType() == Qt::Sheet))
      continue;
    QPainter painter(&picture);
    const QPoint at = top->geometry().topLeft() - main->geometry().topLeft();
    painter.drawPixmap(at, top->grab());
  }
  ++pictureNumber_;
  const QString file = QDir(folder_).filePath(QStringLiteral("%1-%2.png")
                                                  .arg(pictureNumber_, 2, 10, QLatin1Char('0'))
                                                  .arg(steps_.at(index).name));
  if (picture.save(file, "PNG"))
    saved_ << file;
  else
    std::fprintf(stderr, "screenshots: cannot write %s\n", qPrintable(file));
}

void ScreenshotTour::startIfRequested(MainWindowController *controller) {
  const QString folder = qEnvironmentVariable("QUILLMERE_SCREENSHOTS");
  if (folder.isEmpty() || !controller)
    return;
  auto *tour = new ScreenshotTour(controller, folder, controller);
  // QUILLMERE_SCREENSHOT_SCREENS=add-photos,setup,window limits the tour to some screens.
  const QStringList only = qEnvironmentVariable("QUILLMERE_SCREENSHOT_SCREENS")
                               .split(QLatin1Char(','), Qt::SkipEmptyParts);
  const auto wanted = [&only](const char *screen) {
    return only.isEmpty() || only.contains(QLatin1String(screen));
  };
  if (wanted("add-photos"))
    addPhotosScreenshotSteps(*tour);
  if (wanted("setup"))
    setupScreenshotSteps(*tour);
  if (wanted("window"))
    mainWindowScreenshotSteps(*tour);
  tour->start();
}

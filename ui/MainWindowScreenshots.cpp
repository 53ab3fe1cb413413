#include "app/AppDelegate.h"
#include "ui/MainWindowController.h"
#include "ui/ScreenshotTour.h"
#include "ui/Sheet.h"

#include <QDir>

// The window's own pictures: each screen with a batch of sample photos, and the sheets the
// window raises.
void mainWindowScreenshotSteps(ScreenshotTour &tour) {
  MainWindowController *window = tour.controller();
  AppDelegate *delegate = tour.delegate();
  const QString folder = tour.photosFolder();
  const qsizetype photos =
      folder.isEmpty() ? 0 : QDir(folder).entryList(QDir::Files | QDir::NoDotAndDotDot).size();
  tour.addAction(
      [window, delegate, folder] {
        window->changeViewController(0);
        if (delegate->arraySelectedImagesToProcess.isEmpty() && !folder.isEmpty())
          window->openPaths({folder});
      },
      [delegate, photos] { return delegate->arraySelectedImagesToProcess.size() >= photos; });
  tour.addStep(QStringLiteral("window-add-photos"), [window] { window->changeViewController(0); });
  tour.addStep(QStringLiteral("window-setup"), [window] { window->changeViewController(1); });
  tour.addAction([window] { window->changeViewController(0); });
  tour.addStep(
      QStringLiteral("window-photos-deleted-alert"),
      [window] { window->showAlertForAllPhotosDeleted(); },
      [window] { return window->currentSheet() != nullptr; });
  tour.addAction([window] { window->btnOkOnAlertOnPhotoDeletedTapped(); });
  tour.addStep(
      QStringLiteral("window-rating-sheet"), [window] { window->showAlertForRateApp(); },
      [window] { return window->currentSheet() != nullptr; });
  tour.addAction([window] {
    if (Sheet *sheet = window->currentSheet())
      sheet->press(1);
  });
}

#include "ui/MainWindowController.h"
#include "ui/ScreenshotTour.h"
#include "ui/Sheet.h"

// The window's own pictures: each screen, and the sheets the window raises.
void mainWindowScreenshotSteps(ScreenshotTour &tour) {
  MainWindowController *window = tour.controller();
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

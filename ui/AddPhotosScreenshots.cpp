#include "ui/ScreenshotTour.h"

#include "app/AppDelegate.h"
#include "ui/AddPhotosVC.h"
#include "ui/BatchSortHeader.h"
#include "ui/BatchTableModel.h"
#include "ui/MainWindowController.h"
#include "ui/PhotoInformationModel.h"
#include "ui/Sheet.h"
#include "ui/ThumbnailLoader.h"

#include <QDateTimeEdit>
#include <QDir>
#include <QHeaderView>
#include <QListView>
#include <QPushButton>
#include <QTableView>
#include <QToolButton>

namespace {

AddPhotosVC *screenOf(ScreenshotTour &tour) {
  return qobject_cast<AddPhotosVC *>(tour.controller()->addPhotosScreen());
}

// The run is over and the first screenful of cells has its thumbnails (or has failed).
bool settled(AddPhotosVC *screen) {
  if (!screen || screen->intake().isRunning() || screen->batchModel()->rowCount() == 0 ||
      screen->thumbnailLoader()->pendingCount() > 0)
    return false;
  const int rows = std::min(screen->batchModel()->rowCount(), 15);
  for (int row = 0; row < rows; ++row)
    if (screen->batchModel()
            ->index(row, BatchTableModel::NameColumn)
            .data(BatchTableModel::ThumbnailStateRole)
            .toInt() == 0)
      return false;
  return true;
}

} // namespace

// The add-photos screen's pictures for the screenshot tour: empty, adding, both views, the
// filter sheet and a message.
void addPhotosScreenshotSteps(ScreenshotTour &tour) {
  ScreenshotTour *t = &tour;
  tour.addStep(
      QStringLiteral("add-photos-empty"), [t] { t->controller()->changeViewController(0); },
      [t] { return screenOf(*t) != nullptr; });

  // The progress panel as a run shows it part-way (a real run of a few photos is over before
  // a picture can be taken).
  tour.addStep(
      QStringLiteral("add-photos-progress"),
      [t] {
        AddPhotosListener *screen = screenOf(*t);
        screen->addPhotosWillAdd(true);
        AddPhotosProgress progress;
        progress.photosAdded = 1324;
        progress.totalPhotoToAdd = 3780;
        progress.percent = 35;
        progress.shownPercent = 35;
        progress.percentText = QStringLiteral("35 %");
        progress.pathText =
            QStringLiteral("Photo path: : %1/Pictures/2024 Iceland/Day 3").arg(QDir::homePath());
        progress.pictureName = QStringLiteral("fill_35");
        progress.progressText = QStringLiteral("1324 of 3780 photos added");
        screen->addPhotosProgress(progress);
      },
      [t] { return screenOf(*t)->isProgressShown(); });
  tour.addAction([t] { static_cast<AddPhotosListener *>(screenOf(*t))->addPhotosFinished(); });

  tour.addStep(
      QStringLiteral("add-photos-thumbnails"),
      [t] {
        AddPhotosVC *screen = screenOf(*t);
        const QString folder = t->photosFolder();
        screen->setChooser([folder](AddPhotosVC::ChooserKind) { return QStringList{folder}; });
        screen->addFolderButton()->click();
      },
      [t] { return settled(screenOf(*t)); }, 60000);

  tour.addStep(
      QStringLiteral("add-photos-list"),
      [t] {
        AddPhotosVC *screen = screenOf(*t);
        screen->listModeButton()->click();
        const int row = std::min(2, screen->batchModel()->rowCount() - 1);
        screen->listView()->setCurrentIndex(
            screen->batchModel()->index(row, BatchTableModel::NameColumn));
        screen->batchModel()->setData(screen->batchModel()->index(row, BatchTableModel::TickColumn),
                                      Qt::Checked, Qt::CheckStateRole);
      },
      [t] { return screenOf(*t)->informationModel()->rowCount() == 35; });

  // The list sorted by size, largest first, as a click on the Size header twice leaves it; the
  // batch goes back to the order of adding for the pictures after.
  tour.addStep(
      QStringLiteral("add-photos-sorted-by-size"),
      [t] {
        if (auto *sort = screenOf(*t)->findChild<BatchSortHeader *>())
          sort->sortBy(BatchOrder::Key::Size, true);
      },
      [t] { return screenOf(*t)->listView()->horizontalHeader()->isSortIndicatorShown(); });
  tour.addAction([t] {
    if (auto *sort = screenOf(*t)->findChild<BatchSortHeader *>())
      sort->sortBy(BatchOrder::Key::Added, false);
  });

  tour.addStep(
      QStringLiteral("add-photos-filter-sheet"),
      [t] {
        AddPhotosVC *screen = screenOf(*t);
        screen->thumbnailModeButton()->click();
        screen->addWithFiltersButton()->click();
        screen->filterFromPicker()->setDateTime(QDateTime(QDate(2024, 6, 1), QTime(0, 0)));
        screen->filterToPicker()->setDateTime(QDateTime(QDate(2024, 6, 1), QTime(0, 0)));
        screen->filterAddButton()->click(); // the same dates: the red note
      },
      [t] { return screenOf(*t)->isFilterSheetShown(); });
  tour.addAction([t] {
    AddPhotosVC *screen = screenOf(*t);
    for (QPushButton *button : screen->findChildren<QPushButton *>())
      if (button->text() == QLatin1String("Cancel") && button->isVisible())
        button->click();
  });

  // Adding the same folder again: every photo is already in the batch.
  tour.addStep(
      QStringLiteral("add-photos-message"), [t] { screenOf(*t)->addFolderButton()->click(); },
      [t] { return screenOf(*t)->isMessageShown() && !screenOf(*t)->intake().isRunning(); });
  tour.addAction([t] { screenOf(*t)->messageOkButton()->click(); });

  tour.addStep(
      QStringLiteral("add-photos-remove-sheet"), [t] { screenOf(*t)->removeAllButton()->click(); },
      [t] { return Sheet::current(t->window()) != nullptr; });
  tour.addAction([t] {
    if (Sheet *sheet = Sheet::current(t->window()))
      sheet->press(int(sheet->buttons().size()) - 1);
  });
}

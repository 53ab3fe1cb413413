#include "ui/ScreenshotTour.h"

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "processing/BatchRun.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/Presets.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/MainWindowController.h"
#include "ui/PresetsPanel.h"
#include "ui/SetupVC.h"
#include "ui/Sheet.h"
#include "ui/Theme.h"
#include "ui/UndoBatchPanel.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QThread>

namespace {

SetupVC *setupScreen(ScreenshotTour &tour) {
  return qobject_cast<SetupVC *>(tour.controller()->setupScreen());
}

template <class T> T *child(SetupVC *screen, const char *name) {
  return screen ? screen->findChild<T *>(QLatin1String(name)) : nullptr;
}

void check(QAbstractButton *box, bool on) {
  if (box && box->isChecked() != on)
    box->click();
}

void check(QGroupBox *group, bool on) {
  if (group && group->isChecked() != on)
    group->setChecked(on);
}

bool previewSettled(SetupVC *screen) {
  return screen && !screen->settingsView()->isPreviewBusy();
}

} // namespace

// The setup screen's pictures: the rules at work, the errors filter, a run under way, the
// abort sheet and the summary. Under QUILLMERE_THEME=dark the same pictures show the dark
// palette, with "-dark" in their names.
void setupScreenshotSteps(ScreenshotTour &tour) {
  const QString suffix = Theme::isDark() ? QStringLiteral("-dark") : QString();
  // The outputs go to a folder of the tour's own; the run's photos wait for permits, so the
  // run can be caught in progress.
  auto output = std::make_shared<QTemporaryDir>();
  auto permits = std::make_shared<QSemaphore>();

  tour.addAction([&tour, output, permits] {
    AppDelegate *delegate = tour.delegate();
    QString folder = tour.photosFolder();
    if (folder.isEmpty())
      folder = QStringLiteral(QUILLMERE_RESOURCES_DIR "/../tests/data/photos");
    QStringList files;
    for (const QString &sub : {QStringLiteral("jpg"), QString()}) {
      const QDir dir(sub.isEmpty() ? folder : folder + QLatin1Char('/') + sub);
      for (const QFileInfo &entry :
           dir.entryInfoList({QStringLiteral("*.jpg"), QStringLiteral("*.JPG")}, QDir::Files))
        files.append(entry.filePath());
    }
    delegate->arraySelectedImagesToProcess.clear();
    for (const QString &file : files.mid(0, 24))
      delegate->arraySelectedImagesToProcess.append(PhotoFile::initWithFileUrl(file, false));
    delegate->selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
    delegate->selectedOuputSettingObj->outputFolderPath = output->path();
    delegate->selectedOuputSettingObj->openOutputFolderAfterProcessing = false;
    tour.controller()->btnNextFromAddPhotosVcTapped();
  });

  tour.addStep(
      QStringLiteral("setup-rules") + suffix,
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        if (!screen)
          return;
        check(child<QRadioButton>(screen, "modifyNamesRadio"), true);
        check(child<QGroupBox>(screen, "ruleReplaceFilename"), true);
        if (auto *name = child<QLineEdit>(screen, "newNameField"))
          name->setText(QStringLiteral("Lisbon"));
        check(child<QGroupBox>(screen, "ruleDateTimeStamp"), true);
        if (auto *format = child<QComboBox>(screen, "dateFormatList")) {
          format->setCurrentIndex(3);
          Q_EMIT format->activated(3);
        }
        check(child<QGroupBox>(screen, "ruleAddDigit"), true);
        if (auto *start = child<QLineEdit>(screen, "startingIndexField"))
          start->setText(QStringLiteral("1"));
        if (auto *step = child<QLineEdit>(screen, "incrementField"))
          step->setText(QStringLiteral("1"));
        check(child<QCheckBox>(screen, "ruleLowerCaseExtension"), true);
      },
      [&tour] { return previewSettled(setupScreen(tour)); });

  // The names use the taken date: the preview shows where each photo's date came from, with
  // the filter of the photos that fell back to their file's date.
  tour.addStep(
      QStringLiteral("setup-date-from") + suffix,
      [&tour] {
        if (auto *all = child<QPushButton>(setupScreen(tour), "filterAllButton"))
          all->click();
      },
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        auto *filter = screen ? child<QPushButton>(screen, "filterNoCaptureDateButton") : nullptr;
        return previewSettled(screen) && filter && filter->isVisible();
      });

  // The camera's clock corrected by a day in the date stamp's Shift field, then the newer
  // formats in the format list with HEIC chosen (its quality panel shown); both undone after.
  tour.addStep(
      QStringLiteral("setup-date-shift") + suffix,
      [&tour] {
        if (auto *shift = child<QLineEdit>(setupScreen(tour), "dateShiftField"))
          shift->setText(QStringLiteral("+1:00:00"));
      },
      [&tour] { return previewSettled(setupScreen(tour)); });
  tour.addStep(
      QStringLiteral("setup-format-heic") + suffix,
      [&tour] {
        if (auto *list = child<QComboBox>(setupScreen(tour), "outputFormatList")) {
          const int heic = list->findText(QStringLiteral("heic"));
          list->setCurrentIndex(heic);
          Q_EMIT list->activated(heic);
          // The settings column scrolled to the list and its quality panel.
          for (QWidget *up = list->parentWidget(); up; up = up->parentWidget()) {
            if (auto *scroll = qobject_cast<QScrollArea *>(up)) {
              scroll->ensureWidgetVisible(list, 50, 200);
              break;
            }
          }
        }
      },
      [&tour] { return previewSettled(setupScreen(tour)); });
  tour.addAction(
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        if (auto *shift = child<QLineEdit>(screen, "dateShiftField"))
          shift->clear();
        if (auto *list = child<QComboBox>(screen, "outputFormatList")) {
          list->setCurrentIndex(0);
          Q_EMIT list->activated(0);
        }
        for (QScrollArea *scroll :
             screen ? screen->findChildren<QScrollArea *>() : QList<QScrollArea *>())
          scroll->ensureVisible(0, 0);
      },
      [&tour] { return previewSettled(setupScreen(tour)); });

  tour.addStep(
      QStringLiteral("setup-preview-errors") + suffix,
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        // Without the number, every photo taken the same day gets the same name.
        check(child<QGroupBox>(screen, "ruleAddDigit"), false);
      },
      [&tour] { return previewSettled(setupScreen(tour)); });
  tour.addStep(
      QStringLiteral("setup-preview-errors-filtered") + suffix,
      [&tour] {
        if (auto *errors = child<QPushButton>(setupScreen(tour), "filterErrorsButton"))
          errors->click();
      },
      [&tour] { return previewSettled(setupScreen(tour)); });

  tour.addAction(
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        check(child<QGroupBox>(screen, "ruleAddDigit"), true);
        if (auto *all = child<QPushButton>(screen, "filterAllButton"))
          all->click();
      },
      [&tour] { return previewSettled(setupScreen(tour)); });

  // The number zero-padded to three digits, kept as a preset and applied from the presets row.
  tour.addStep(
      QStringLiteral("setup-preset-applied") + suffix,
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        auto *presets = screen ? screen->findChild<PresetsPanel *>() : nullptr;
        if (!presets)
          return;
        if (auto *digits = child<QLineEdit>(screen, "digitsField"))
          digits->setText(QStringLiteral("3"));
        AppDelegate *delegate = tour.delegate();
        QString error;
        Presets::save(
            QStringLiteral("Holiday"),
            BatchRenameSetting::readDefaultRenameSetting(delegate)->dictionaryRepresentation(),
            OutputOptionSettings::readDefaultOutputOptionSetting(delegate)
                ->dictionaryRepresentation(),
            &error);
        presets->reload();
        presets->select(QStringLiteral("Holiday"));
        presets->applySelected();
      },
      [&tour] { return previewSettled(setupScreen(tour)); });

  tour.addStep(
      QStringLiteral("setup-run-in-progress") + suffix,
      [&tour, permits] {
        SetupVC *screen = setupScreen(tour);
        if (!screen)
          return;
        // The free-space reading comes on the run's own thread just before each write.
        screen->batchRun().freeSpaceReader = [permits](const QString &path) {
          permits->acquire();
          return platform::Files::freeSpaceForPath(path);
        };
        permits->release(9);
        if (auto *start = child<QPushButton>(screen, "startButton"))
          start->click();
      },
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        return screen && screen->batchRun().counterTotalProgressedFiles >= 9;
      });

  tour.addStep(
      QStringLiteral("setup-abort-sheet") + suffix,
      [&tour] {
        if (SetupVC *screen = setupScreen(tour))
          screen->stopButton()->click();
      },
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        return screen && screen->currentSheet();
      });

  tour.addStep(
      QStringLiteral("setup-summary") + suffix,
      [&tour, permits] {
        SetupVC *screen = setupScreen(tour);
        if (!screen)
          return;
        if (Sheet *sheet = screen->currentSheet())
          sheet->press(1); // Yes
        permits->release(1000);
      },
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        return screen && screen->currentPage() == SetupVC::SummaryPage;
      });

  tour.addStep(
      QStringLiteral("setup-summary-undone") + suffix,
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        auto *undo = screen ? screen->findChild<UndoBatchPanel *>() : nullptr;
        if (!undo)
          return;
        undo->confirm = [](const QString &) { return true; };
        if (auto *button = child<QPushButton>(screen, "undoBatchButton"))
          button->click();
      },
      [&tour] {
        SetupVC *screen = setupScreen(tour);
        auto *undo = screen ? screen->findChild<UndoBatchPanel *>() : nullptr;
        return undo && !undo->isUndoing() && !undo->statusText().isEmpty() &&
               !undo->statusText().startsWith(QLatin1String("Undoing"));
      });

  tour.addAction([&tour, permits] {
    if (SetupVC *screen = setupScreen(tour)) {
      screen->batchRun().freeSpaceReader = [](const QString &path) {
        return platform::Files::freeSpaceForPath(path);
      };
      screen->performBackOnSummaryAction();
    }
  });
}

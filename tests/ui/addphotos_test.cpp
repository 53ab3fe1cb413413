#include "app/AppDelegate.h"
#include "app/NotificationCenter.h"
#include "app/Notifications.h"
#include "intake/PhotoFile.h"
#include "platform/ThumbnailCache.h"
#include "tests/support/TestEnv.h"
#include "ui/AddPhotosVC.h"
#include "ui/BatchTableModel.h"
#include "ui/PhotoInformationModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/Sheet.h"
#include "ui/ThumbnailLoader.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QDateTimeEdit>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QListView>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QUrl>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

class RecordingFlow : public ScreenFlowDelegate {
public:
  void btnNextFromAddPhotosVcTapped() override { ++next; }
  void btnBackFromSetupVCTapped() override {}
  void btnStartNewBatchFromSetupVCTapped() override {}
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &) override {}
  void checkForDeletedPhotosInSourceFolder(bool) override {}
  int next = 0;
};

const QStringList kSamples = {"jpg/Canon_40D.jpg", "jpg/Nikon_D70.jpg", "jpg/Kodak_CX7530.jpg"};

// The screen in a window of its own, as the main window would show it, over a fresh delegate.
class AddPhotosScreen : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(photos.isValid());
    screen = std::make_unique<AddPhotosVC>(&delegate, &flow);
    batchTester = std::make_unique<QAbstractItemModelTester>(
        screen->batchModel(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    informationTester = std::make_unique<QAbstractItemModelTester>(
        screen->informationModel(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    ASSERT_NO_FATAL_FAILURE(showActive(screen.get()));
    screen->setChooser([this](AddPhotosVC::ChooserKind kind) {
      chooserKinds.append(kind);
      return chosen;
    });
  }

  static void showActive(AddPhotosVC *shown) {
    shown->resize(1300, 800);
    shown->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(shown));
    shown->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(shown));
  }

  void TearDown() override {
    // Sheets live on the window; none may stay up for the next test.
    while (Sheet *sheet = Sheet::current(screen.get()))
      sheet->press(int(sheet->buttons().size()) - 1);
  }

  QString copySamples(const QString &sub = "shoot") {
    const QString folder = photos.filePath(sub);
    QDir().mkpath(folder);
    for (const QString &sample : kSamples)
      testenv::copyPhoto(sample, folder);
    return folder;
  }

  // Clicks a button that starts an add run and waits for the run to end.
  bool runAdd(QAbstractButton *button, const QStringList &paths) {
    chosen = paths;
    QSignalSpy finished(screen.get(), &AddPhotosVC::addRunFinished);
    QTest::mouseClick(button, Qt::LeftButton);
    return finished.count() > 0 || finished.wait(60000);
  }

  QStackedWidget *stack() const { return screen->findChild<QStackedWidget *>(); }
  // Clicks the name cell of a row in a view of the batch.
  void clickRow(QAbstractItemView *view, int row) {
    const QModelIndex cell = screen->batchModel()->index(row, BatchTableModel::NameColumn);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(cell).center());
  }

  QTemporaryDir photos;
  AppDelegate delegate;
  RecordingFlow flow;
  std::unique_ptr<AddPhotosVC> screen;
  std::unique_ptr<QAbstractItemModelTester> batchTester;
  std::unique_ptr<QAbstractItemModelTester> informationTester;
  QStringList chosen;
  QList<AddPhotosVC::ChooserKind> chooserKinds;
};

// A folder of three photos: three rows, the summary line, the thumbnails on screen, and the
// view switched to the list and back.
TEST_F(AddPhotosScreen, AddFolderShowsCountSummaryAndBothViews) {
  EXPECT_EQ(stack()->currentWidget()->objectName(), "dropArea");
  EXPECT_TRUE(screen->summaryText().isEmpty());
  const QString folder = copySamples();
  ASSERT_TRUE(runAdd(screen->addFolderButton(), {folder}));
  EXPECT_EQ(chooserKinds, QList<AddPhotosVC::ChooserKind>{AddPhotosVC::ChooserKind::Folders});

  EXPECT_EQ(screen->batchModel()->rowCount(), 3);
  EXPECT_EQ(delegate.arraySelectedImagesToProcess.size(), 3);
  EXPECT_TRUE(screen->summaryText().startsWith("Images Count: 3  |  Total Size: "))
      << screen->summaryText().toStdString();
  EXPECT_TRUE(screen->summaryText().endsWith("  "));
  EXPECT_FALSE(screen->isProgressShown());
  EXPECT_FALSE(screen->isMessageShown());
  EXPECT_EQ(stack()->currentWidget(), screen->thumbnailView());

  // Every cell shows its thumbnail once made off the window's thread.
  EXPECT_TRUE(QTest::qWaitFor(
      [&] {
        return screen->thumbnailLoader()->madeCount() + screen->thumbnailLoader()->sharedHits() ==
               3;
      },
      60000));
  for (int row = 0; row < 3; ++row)
    EXPECT_FALSE(screen->batchModel()
                     ->index(row, BatchTableModel::NameColumn)
                     .data(BatchTableModel::ThumbnailRole)
                     .value<QImage>()
                     .isNull());

  QTest::mouseClick(screen->viewModeButton(), Qt::LeftButton);
  EXPECT_FALSE(screen->isThumbnailMode());
  EXPECT_EQ(stack()->currentWidget(), screen->listView());
  EXPECT_EQ(screen->listView()->model()->rowCount(), 3);
  QTest::mouseClick(screen->viewModeButton(), Qt::LeftButton);
  EXPECT_TRUE(screen->isThumbnailMode());
  EXPECT_EQ(stack()->currentWidget(), screen->thumbnailView());
}

// Clicking a photo in the list shows its 35 information rows.
TEST_F(AddPhotosScreen, SelectedPhotoShowsItsInformation) {
  ASSERT_TRUE(runAdd(screen->addFolderButton(), {copySamples()}));
  QTest::mouseClick(screen->viewModeButton(), Qt::LeftButton);
  const int row = 1;
  clickRow(screen->listView(), row);
  const QString fileName = screen->batchModel()->photoAt(row)->fileName;
  EXPECT_TRUE(QTest::qWaitFor(
      [&] { return screen->informationModel()->value("File Name") == fileName; }, 20000));
  EXPECT_EQ(screen->informationModel()->rowCount(), 35);
  EXPECT_EQ(screen->informationModel()->value("File Name"), fileName);
  EXPECT_EQ(screen->informationView()->model()->index(0, 1).data().toString(), fileName);
  EXPECT_EQ(delegate.selectedImageIndex, row);
  // Below the table (which keeps its 35 rows): where the capture date came from.
  const auto *dateSource = screen->findChild<QLabel *>("dateSourceLabel");
  ASSERT_NE(dateSource, nullptr);
  EXPECT_TRUE(dateSource->text().startsWith("Date Source: EXIF ") ||
              dateSource->text() == "Date Source: File creation date")
      << dateSource->text().toStdString();
}

// Delete removes the selected photo after its sheet; the same file can be added again, and once
// more is refused in the message panel as already in the batch.
TEST_F(AddPhotosScreen, RemoveOnePhotoAddItAgainAndOnceMoreIsRefused) {
  const QString folder = copySamples();
  ASSERT_TRUE(runAdd(screen->addFolderButton(), {folder}));
  const QString removedPath = screen->batchModel()->photoAt(0)->filePath;
  clickRow(screen->thumbnailView(), 0);
  QTest::keyClick(screen->thumbnailView(), Qt::Key_Delete);
  Sheet *sheet = Sheet::current(screen.get());
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(sheet->title(), "REMOVE SELECTED PHOTO");
  EXPECT_EQ(sheet->message(), "Remove selected photo from Batch?");
  QTest::mouseClick(sheet->buttons().at(0), Qt::LeftButton);
  EXPECT_EQ(screen->batchModel()->rowCount(), 2);
  EXPECT_EQ(delegate.arraySelectedImagesToProcess.size(), 2);
  EXPECT_FALSE(screen->intake().dictFileAdded.contains(removedPath));
  EXPECT_TRUE(screen->summaryText().startsWith("Images Count: 2  |"));

  ASSERT_TRUE(runAdd(screen->addPhotosButton(), {removedPath}));
  EXPECT_EQ(screen->batchModel()->rowCount(), 3);
  EXPECT_FALSE(screen->isMessageShown());
  ASSERT_TRUE(runAdd(screen->addPhotosButton(), {removedPath}));
  EXPECT_TRUE(screen->isMessageShown());
  EXPECT_EQ(screen->messageTitle(), "PHOTO EXISTS");
  EXPECT_EQ(screen->messageText(), "Photo already exists in batch!");
  EXPECT_TRUE(screen->messageOkButton()->isVisible());
  EXPECT_FALSE(screen->messageRemoveButton()->isVisible());
  QTest::mouseClick(screen->messageOkButton(), Qt::LeftButton);
  EXPECT_FALSE(screen->isMessageShown());
  EXPECT_EQ(screen->batchModel()->rowCount(), 3);

  // Remove all, through its sheet: the drop area comes back.
  QTest::mouseClick(screen->removeAllButton(), Qt::LeftButton);
  sheet = Sheet::current(screen.get());
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(sheet->title(), "REMOVE ALL PHOTOS");
  QTest::mouseClick(sheet->buttons().at(0), Qt::LeftButton);
  EXPECT_EQ(screen->batchModel()->rowCount(), 0);
  EXPECT_TRUE(screen->summaryText().isEmpty());
  EXPECT_EQ(stack()->currentWidget()->objectName(), "dropArea");
}

// Photos deleted on disk: marked when the screen is shown again, the all-deleted message, and
// the remove button of the not-available message empties the batch of them.
TEST_F(AddPhotosScreen, MissingPhotosAreMarkedAndCanBeRemoved) {
  const QString folder = copySamples();
  ASSERT_TRUE(runAdd(screen->addFolderButton(), {folder}));
  for (const auto &photo : std::as_const(delegate.arraySelectedImagesToProcess))
    ASSERT_TRUE(QFile::remove(photo->filePath));

  QSignalSpy shown(screen.get(), &AddPhotosVC::messageShown);
  NotificationCenter::defaultCenter().post(Notifications::AddPhotosViewAppear);
  ASSERT_TRUE(shown.count() > 0 || shown.wait(5000));
  EXPECT_EQ(screen->messageTitle(), "PHOTOS DELETED");
  EXPECT_EQ(screen->messageText(), "Photos no longer exists in the Source folder!");
  for (int row = 0; row < 3; ++row) {
    const QModelIndex cell = screen->batchModel()->index(row, BatchTableModel::NameColumn);
    EXPECT_TRUE(cell.data(BatchTableModel::MissingRole).toBool());
    EXPECT_FALSE(cell.data(BatchTableModel::ThumbnailRole).value<QImage>().isNull());
  }
  EXPECT_EQ(screen->batchModel()->rowCount(), 3); // kept until the user removes them
  QTest::mouseClick(screen->messageOkButton(), Qt::LeftButton);

  // Making one current gives the not-available message with its remove button.
  shown.clear();
  clickRow(screen->thumbnailView(), 1);
  ASSERT_TRUE(shown.count() > 0 || shown.wait(5000));
  EXPECT_EQ(screen->messageTitle(), "PHOTO NOT AVAILABLE");
  EXPECT_EQ(screen->messageText(), "Selected Photo not available at source location");
  ASSERT_TRUE(screen->messageRemoveButton()->isVisible());
  EXPECT_FALSE(screen->messageOkButton()->isVisible());
  QTest::mouseClick(screen->messageRemoveButton(), Qt::LeftButton);
  EXPECT_EQ(screen->batchModel()->rowCount(), 0);
  EXPECT_TRUE(delegate.arraySelectedImagesToProcess.isEmpty());
  EXPECT_TRUE(screen->intake().dictFileAdded.isEmpty());
}

// The filter sheet keeps itself open with the red note for dates that run backwards, and
// goes on to the folder chooser for good ones.
TEST_F(AddPhotosScreen, FilterSheetRefusesBackwardDates) {
  QTest::mouseClick(screen->addWithFiltersButton(), Qt::LeftButton);
  ASSERT_TRUE(screen->isFilterSheetShown());
  EXPECT_TRUE(delegate.isSUBWINDOW_OPENED);
  const QDateTime from(QDate(2020, 5, 1), QTime(10, 0));
  screen->filterFromPicker()->setDateTime(from);
  screen->filterToPicker()->setDateTime(from);
  QTest::mouseClick(screen->filterAddButton(), Qt::LeftButton);
  EXPECT_TRUE(screen->isFilterSheetShown());
  EXPECT_TRUE(screen->filterNote()->isVisible());
  EXPECT_EQ(screen->filterNote()->text(),
            "* From Date cannot be greater than or equal to To Date.");
  EXPECT_TRUE(chooserKinds.isEmpty());

  screen->filterToPicker()->setDateTime(QDateTime(QDate(2030, 1, 1), QTime(0, 0)));
  ASSERT_TRUE(runAdd(screen->filterAddButton(), {copySamples()}));
  EXPECT_FALSE(screen->isFilterSheetShown());
  EXPECT_FALSE(delegate.isSUBWINDOW_OPENED);
  EXPECT_EQ(chooserKinds,
            QList<AddPhotosVC::ChooserKind>{AddPhotosVC::ChooserKind::FilteredFolder});
  EXPECT_TRUE(screen->intake().isAddingWithFilter);
}

// Drops from a file manager (text/uri-list) onto the drop area and onto a view: photos are
// added, a file that is not a photo gets the refused-files message and nothing is lost.
TEST_F(AddPhotosScreen, DropsFromAFileManager) {
  const QString folder = copySamples();
  auto drop = [](QWidget *target, const QStringList &paths) {
    QMimeData data;
    QList<QUrl> urls;
    for (const QString &path : paths)
      urls.append(QUrl::fromLocalFile(path));
    data.setUrls(urls);
    const QPoint at = target->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(target, &enter);
    QDragMoveEvent move(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(target, &move);
    QDropEvent dropped(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(target, &dropped);
  };
  QVariantMap posted;
  QObject observer;
  NotificationCenter::defaultCenter().addObserver(
      &observer, Notifications::FileDragDrop,
      [&posted](const QVariantMap &info) { posted = info; });

  QWidget *dropArea = stack()->currentWidget();
  ASSERT_EQ(dropArea->objectName(), "dropArea");
  QSignalSpy finished(screen.get(), &AddPhotosVC::addRunFinished);
  drop(dropArea, {folder});
  ASSERT_TRUE(finished.count() > 0 || finished.wait(60000));
  EXPECT_EQ(posted.value(Notifications::PathsKey).toStringList(), QStringList{folder});
  EXPECT_EQ(screen->batchModel()->rowCount(), 3);

  const QString notes = testenv::writeFile(photos.filePath("notes.txt"), "hello");
  const QString extra = testenv::copyPhoto("tiff/BSG1.tiff", photos.path());
  finished.clear();
  drop(screen->thumbnailView()->viewport(), {notes, extra});
  ASSERT_TRUE(finished.count() > 0 || finished.wait(60000));
  EXPECT_EQ(screen->batchModel()->rowCount(), 4);
  EXPECT_TRUE(QTest::qWaitFor([&] { return screen->isMessageShown(); }, 5000));
  EXPECT_EQ(screen->messageTitle(), "FILE CANNOT BE ADDED");
  EXPECT_TRUE(QFileInfo::exists(notes));
}

// Items that cannot be read (gone, or a folder without permission) are named in a message;
// the rest of the choice is added.
TEST_F(AddPhotosScreen, UnreadableItemsAreReported) {
  const QString good = copySamples();
  const QString gone = photos.filePath("gone");
  ASSERT_TRUE(runAdd(screen->addFolderButton(), {good, gone}));
  EXPECT_EQ(screen->batchModel()->rowCount(), 3);
  ASSERT_TRUE(screen->isMessageShown());
  // The engine refuses the missing item as unsupported; the screen says which it was.
  EXPECT_EQ(screen->messageTitle(), "FILES CANNOT BE ADDED");
  EXPECT_TRUE(
      screen->messageText().endsWith(QStringLiteral("\n\nNot read:\n") + gone + " (not found)"))
      << screen->messageText().toStdString();
  QTest::mouseClick(screen->messageOkButton(), Qt::LeftButton);

  if (::geteuid() == 0)
    return; // root reads every folder
  const QString locked = photos.filePath("locked");
  QDir().mkpath(locked);
  testenv::copyPhoto(kSamples.at(0), locked, "hidden.jpg");
  ASSERT_EQ(::chmod(QFile::encodeName(locked).constData(), 0), 0);
  const bool added = runAdd(screen->addFolderButton(), {locked});
  ::chmod(QFile::encodeName(locked).constData(), 0755);
  ASSERT_TRUE(added);
  ASSERT_TRUE(screen->isMessageShown());
  EXPECT_TRUE(screen->messageText().contains(locked + " (no permission"));
}

// The stop button ends the add phase before the next file.
TEST_F(AddPhotosScreen, StopEndsTheAddRun) {
  const QString folder = photos.filePath("many");
  QDir().mkpath(folder);
  for (int i = 0; i < 150; ++i)
    testenv::copyPhoto(kSamples.at(i % 3), folder,
                       QStringLiteral("p%1.jpg").arg(i, 3, 10, QLatin1Char('0')));
  chosen = {folder};
  QSignalSpy finished(screen.get(), &AddPhotosVC::addRunFinished);
  QTest::mouseClick(screen->addFolderButton(), Qt::LeftButton);
  const bool sawPanel = QTest::qWaitFor([&] { return screen->isProgressShown(); }, 30000);
  QTest::mouseClick(screen->stopButton(), Qt::LeftButton);
  ASSERT_TRUE(finished.count() > 0 || finished.wait(60000));
  EXPECT_TRUE(sawPanel);
  EXPECT_LT(screen->batchModel()->rowCount(), 150);
  EXPECT_EQ(screen->batchModel()->rowCount(), delegate.arraySelectedImagesToProcess.size());
  EXPECT_FALSE(screen->isProgressShown());
  EXPECT_TRUE(screen->addFolderButton()->isEnabled());
}

// Keyboard: Ctrl+O opens the photo chooser; every control has an accessible name; the
// go-on button asks the window for the setup screen.
TEST_F(AddPhotosScreen, KeyboardNamesAndGoingOn) {
  screen->addPhotosButton()->setFocus();
  QTest::keyClick(screen.get(), Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(chooserKinds, QList<AddPhotosVC::ChooserKind>{AddPhotosVC::ChooserKind::Files});
  for (QWidget *w : screen->findChildren<QWidget *>()) {
    if (!qobject_cast<QAbstractButton *>(w) && !qobject_cast<QAbstractItemView *>(w))
      continue;
    if (w->focusPolicy() == Qt::NoFocus)
      continue;
    const QString name = QAccessible::queryAccessibleInterface(w)->text(QAccessible::Name);
    EXPECT_FALSE(name.trimmed().isEmpty() && w->toolTip().isEmpty())
        << w->metaObject()->className() << " " << w->objectName().toStdString();
  }
  EXPECT_EQ(screen->libraryButton()->toolTip(), "Click here to add iPhoto/Photos library");
  QTest::mouseClick(screen->nextButton(), Qt::LeftButton);
  EXPECT_EQ(flow.next, 1);
}

// Thumbnails go to the desktop's shared cache with the file's URI and modification time, as
// other desktop programs read them, and a second screen takes them from there.
TEST_F(AddPhotosScreen, SharedThumbnailCacheIsWrittenAndUsed) {
  const QString folder = copySamples();
  ASSERT_TRUE(runAdd(screen->addFolderButton(), {folder}));
  EXPECT_TRUE(QTest::qWaitFor([&] { return screen->thumbnailLoader()->madeCount() == 3; }, 60000))
      << screen->thumbnailLoader()->madeCount();
  const QString photo = delegate.arraySelectedImagesToProcess.at(0)->filePath;
  namespace Cache = platform::SharedThumbnailCache;
  const QImage large(Cache::thumbnailPath(photo, Cache::Size::Large));
  ASSERT_FALSE(large.isNull());
  EXPECT_EQ(large.text("Thumb::URI"), QUrl::fromLocalFile(photo).toString(QUrl::FullyEncoded));
  struct stat st {};
  ASSERT_EQ(::stat(QFile::encodeName(photo).constData(), &st), 0);
  EXPECT_EQ(large.text("Thumb::MTime"), QString::number(qint64(st.st_mtime)));
  EXPECT_TRUE(QFileInfo::exists(Cache::thumbnailPath(photo, Cache::Size::Normal)));

  AppDelegate other;
  RecordingFlow otherFlow;
  AddPhotosVC second(&other, &otherFlow);
  ASSERT_NO_FATAL_FAILURE(showActive(&second));
  second.setChooser([&](AddPhotosVC::ChooserKind) { return QStringList{folder}; });
  QSignalSpy finished(&second, &AddPhotosVC::addRunFinished);
  QTest::mouseClick(second.addFolderButton(), Qt::LeftButton);
  ASSERT_TRUE(finished.count() > 0 || finished.wait(60000));
  EXPECT_TRUE(QTest::qWaitFor([&] { return second.thumbnailLoader()->sharedHits() == 3; }, 30000))
      << second.thumbnailLoader()->sharedHits();
  EXPECT_EQ(second.thumbnailLoader()->madeCount(), 0);
}

} // namespace

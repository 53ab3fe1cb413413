#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/NotificationCenter.h"
#include "app/Notifications.h"
#include "intake/PhotoFile.h"
#include "platform/Preferences.h"
#include "tests/support/TestEnv.h"
#include "ui/MainWindowController.h"
#include "ui/Sheet.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <gtest/gtest.h>

#include <memory>

namespace Preferences = platform::Preferences;

namespace {

// Every notification the window posts or its screens answer, in the order they came.
class NotificationLog : public QObject {
public:
  NotificationLog() {
    const QStringList names = {
        Notifications::AddPhotosViewAppear, Notifications::AddPhotosViewDisAppear,
        Notifications::SetupViewAppear,     Notifications::SetupViewDisAppear,
        Notifications::NextFromBtchEffects, Notifications::ProcessStop,
        Notifications::ProcessSkippedFiles, Notifications::FileDragDrop,
        Notifications::WindowResized,       Notifications::WindowEndResizing,
        Notifications::MainWindowClose};
    for (const QString &name : names)
      NotificationCenter::defaultCenter().addObserver(this, name,
                                                      [this, name](const QVariantMap &info) {
                                                        posted << name;
                                                        lastInfo = info;
                                                      });
  }
  // The screen-flow names only (resizes come and go with the platform).
  QStringList flow() const {
    QStringList out;
    for (const QString &name : posted)
      if (name != Notifications::WindowResized && name != Notifications::WindowEndResizing)
        out << name;
    return out;
  }
  QStringList posted;
  QVariantMap lastInfo;
};

class MainWindowTest : public ::testing::Test {
protected:
  // The shared delegate as a fresh start would leave it.
  void resetDelegate() {
    delegate->arraySelectedImagesToProcess.clear();
    delegate->isSUBWINDOW_OPENED = delegate->isPHOTOS_PROCESSING_IN_PROGERESS = false;
    delegate->isPROCESS_SKIPPED_FILES = delegate->isSTART_AS_NEW_BATCH = false;
    delegate->isPHOTO_DLETED_FROM_DIRECTORY = false;
    delegate->quitHandler = nullptr;
    delegate->openURLHandler = nullptr;
  }
  void SetUp() override {
    delegate = AppDelegate::shared();
    resetDelegate();
    delegate->quitHandler = [this] { ++quits; };
    log = std::make_unique<NotificationLog>();
    window = std::make_unique<MainWindowController>(delegate);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    log->posted.clear();
  }
  void TearDown() override {
    window.reset();
    log.reset();
    resetDelegate();
  }
  Sheet *waitForSheet() {
    Sheet *sheet = nullptr;
    if (!QTest::qWaitFor([&] { return (sheet = window->currentSheet()) != nullptr; }, 5000))
      return nullptr;
    return sheet;
  }

  AppDelegate *delegate = nullptr;
  std::unique_ptr<NotificationLog> log;
  std::unique_ptr<MainWindowController> window;
  int quits = 0;
};

} // namespace

TEST_F(MainWindowTest, OpensOnTheAddPhotosScreenSizedToTheScreen) {
  EXPECT_EQ(window->windowTitle(), "Quillmere");
  EXPECT_EQ(window->Step, 0);
  EXPECT_EQ(window->viewController(), window->addPhotosScreen());
  EXPECT_EQ(window->setupScreen(), nullptr); // made on first need
  EXPECT_TRUE(window->addPhotosButton()->isChecked());
  EXPECT_TRUE(window->windowFlags() & Qt::FramelessWindowHint);

  // A fifteenth of the width and a twentieth of the height to each side; at least 1300 wide
  // but never wider than the screen.
  EXPECT_EQ(MainWindowController::frameForScreen(QRect(0, 0, 1920, 1050), QSize(1920, 1080)),
            QRect(128, 52, 1664, 945));
  EXPECT_EQ(MainWindowController::frameForScreen(QRect(0, 28, 1440, 872), QSize(1440, 900)),
            QRect(96, 71, 1300, 784));
  const QRect small =
      MainWindowController::frameForScreen(QRect(0, 0, 1280, 800), QSize(1280, 800));
  EXPECT_EQ(small.width(), 1280);
  EXPECT_EQ(small.x(), 0);
}

// The screen buttons, the screens' own buttons and the shortcuts move between the two screens;
// the button of the screen already shown changes nothing.
TEST_F(MainWindowTest, ToSetupAndBackPostsInOrder) {
  QTest::mouseClick(window->setupButton(), Qt::LeftButton);
  EXPECT_EQ(log->flow(),
            (QStringList{Notifications::AddPhotosViewDisAppear, Notifications::SetupViewAppear}));
  EXPECT_EQ(window->Step, 3);
  ASSERT_NE(window->setupScreen(), nullptr);
  EXPECT_EQ(window->viewController(), window->setupScreen());
  QWidget *setup = window->setupScreen();
  log->posted.clear();
  QTest::mouseClick(window->setupButton(), Qt::LeftButton);
  EXPECT_TRUE(log->flow().isEmpty());
  EXPECT_TRUE(window->setupButton()->isChecked());

  QTest::mouseClick(window->addPhotosButton(), Qt::LeftButton);
  EXPECT_EQ(log->flow(),
            (QStringList{Notifications::SetupViewDisAppear, Notifications::AddPhotosViewAppear}));
  EXPECT_EQ(window->Step, 0);
  log->posted.clear();
  QTest::mouseClick(window->addPhotosButton(), Qt::LeftButton);
  EXPECT_TRUE(log->flow().isEmpty());
  EXPECT_TRUE(window->addPhotosButton()->isChecked());

  // The screen's own go-on button tells the settings view where the user came from.
  window->btnNextFromAddPhotosVcTapped();
  EXPECT_EQ(log->flow(),
            (QStringList{Notifications::AddPhotosViewDisAppear, Notifications::SetupViewAppear,
                         Notifications::NextFromBtchEffects}));
  EXPECT_EQ(window->setupScreen(), setup); // kept, not made again

  log->posted.clear();
  window->btnBackFromSetupVCTapped();
  EXPECT_EQ(log->flow(),
            (QStringList{Notifications::SetupViewDisAppear, Notifications::AddPhotosViewAppear}));

  // The keyboard reaches the same buttons.
  QTest::keyClick(window->windowHandle(), Qt::Key_2, Qt::ControlModifier);
  // A shortcut animates the click: the button comes up a moment later.
  EXPECT_TRUE(QTest::qWaitFor([this] { return window->Step == 3; }, 5000));
  QTest::keyClick(window->windowHandle(), Qt::Key_1, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([this] { return window->Step == 0; }, 5000));
}

TEST_F(MainWindowTest, CloseDuringARunStopsTheRunAndKeepsTheApplication) {
  delegate->isPHOTOS_PROCESSING_IN_PROGERESS = true;
  QTest::mouseClick(window->closeButton(), Qt::LeftButton);
  EXPECT_EQ(log->flow(), QStringList{Notifications::ProcessStop});
  // The desktop's own close (a shortcut, the taskbar) goes the same way.
  EXPECT_FALSE(window->close());
  EXPECT_EQ(log->flow(), (QStringList{Notifications::ProcessStop, Notifications::ProcessStop}));
  QCoreApplication::processEvents();
  EXPECT_EQ(quits, 0);
  EXPECT_TRUE(window->isVisible());

  // With the run over, close quits through the delegate's decision (queued, not nested).
  delegate->isPHOTOS_PROCESSING_IN_PROGERESS = false;
  log->posted.clear();
  QTest::mouseClick(window->closeButton(), Qt::LeftButton);
  EXPECT_TRUE(log->flow().isEmpty());
  EXPECT_TRUE(QTest::qWaitFor([this] { return quits == 1; }, 5000));
}

TEST_F(MainWindowTest, WithASheetUpTheWindowButtonsDoNothing) {
  delegate->arraySelectedImagesToProcess = {
      PhotoFile::initWithFileUrl("/nonexistent/a.jpg", false)};
  window->checkForDeletedPhotosInSourceFolder(false);
  Sheet *sheet = waitForSheet();
  ASSERT_NE(sheet, nullptr);
  EXPECT_TRUE(delegate->isSUBWINDOW_OPENED);
  EXPECT_FALSE(window->closeButton()->isEnabled());

  // Clicks on the buttons, and their actions called directly, change nothing.
  delegate->isPHOTOS_PROCESSING_IN_PROGERESS = true;
  for (QToolButton *button :
       {window->closeButton(), window->minimizeButton(), window->zoomButton()})
    QTest::mouseClick(button, Qt::LeftButton);
  window->btnCloseWindowTapped();
  window->btnZoomWindowTapped();
  window->btnMinimizeWindowTapped();
  delegate->isPHOTOS_PROCESSING_IN_PROGERESS = false;
  window->btnCloseWindowTapped();
  QCoreApplication::processEvents();
  EXPECT_TRUE(log->flow().isEmpty());
  EXPECT_EQ(quits, 0);
  EXPECT_FALSE(window->isFullscreenEnable);
  EXPECT_FALSE(window->isMinimized());
  EXPECT_FALSE(window->minimizeButton()->isChecked());

  // OK (Return on the focused default button) ends the sheet; the buttons work again.
  QTest::keyClick(sheet->buttons().first(), Qt::Key_Return);
  EXPECT_FALSE(delegate->isSUBWINDOW_OPENED);
  EXPECT_EQ(window->currentSheet(), nullptr);
  EXPECT_TRUE(window->closeButton()->isEnabled());
  // A double click on the title bar zooms, and again restores.
  QTest::mouseDClick(window->titleBar(), Qt::LeftButton, {}, QPoint(200, 20));
  EXPECT_TRUE(window->isFullscreenEnable);
  EXPECT_FALSE(window->minimizeButton()->isEnabled());
  QTest::mouseDClick(window->titleBar(), Qt::LeftButton, {}, QPoint(200, 20));
  EXPECT_FALSE(window->isFullscreenEnable);
  EXPECT_TRUE(window->minimizeButton()->isEnabled());
  EXPECT_TRUE(log->flow().isEmpty());
}

TEST_F(MainWindowTest, DeletedPhotosAlertNamesOneOrMany) {
  QTemporaryDir folder;
  const QString kept = testenv::writeFile(folder.filePath("kept.jpg"), "x");
  const QString gone1 = folder.filePath("gone1.jpg");
  const QString gone2 = folder.filePath("gone2.jpg");

  const QString one = "PHOTO DELETED", many = "PHOTOS DELETED";
  const QString oneText = "Photo no longer exists in the Source folder!";
  const QString manyText = "Photos no longer exists in the Source folder!";
  const struct Case {
    QStringList batch;
    bool remove;
    int batchAfter;
    QString title, message; // empty: no alert
  } cases[] = {{{gone1}, false, 1, one, oneText},
               {{gone1, gone2}, false, 2, many, manyText},
               // Removed first: the alert counts the batch as it is then.
               {{gone1, gone2}, true, 0, one, oneText},
               {{gone1, kept, gone2}, true, 1, {}, {}},
               {{gone1, kept}, false, 2, {}, {}}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.batch.join(QLatin1Char(',')).toStdString());
    delegate->arraySelectedImagesToProcess.clear();
    for (const QString &path : c.batch)
      delegate->arraySelectedImagesToProcess << PhotoFile::initWithFileUrl(path, false);
    window->checkForDeletedPhotosInSourceFolder(c.remove);
    EXPECT_EQ(delegate->arraySelectedImagesToProcess.size(), c.batchAfter);
    if (c.remove && c.batchAfter == 1) {
      EXPECT_EQ(delegate->arraySelectedImagesToProcess.first()->filePath, kept);
    }
    if (c.title.isEmpty()) {
      // The alert would come after a fifth of a second; give it twice that.
      EXPECT_FALSE(QTest::qWaitFor([this] { return window->currentSheet() != nullptr; }, 400));
      continue;
    }
    Sheet *sheet = waitForSheet();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->title(), c.title);
    EXPECT_EQ(sheet->message(), c.message);
    ASSERT_EQ(sheet->buttons().size(), 1);
    EXPECT_EQ(sheet->buttons().first()->text(), "OK");
    // Escape dismisses a one-button alert as its OK does.
    QTest::keyClick(sheet->buttons().first(), Qt::Key_Escape);
    EXPECT_FALSE(delegate->isSUBWINDOW_OPENED);
    EXPECT_EQ(window->currentSheet(), nullptr);
  }
}

TEST_F(MainWindowTest, RatingSheetAnswersTheDelegate) {
  Preferences::remove("appVersion");
  QStringList opened;
  delegate->openURLHandler = [&](const QString &address) {
    opened << address;
    return false;
  };

  // YES whose page does not open: asked again later, so nothing is recorded.
  window->showAlertForRateApp();
  Sheet *sheet = waitForSheet();
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(sheet->title(), "Enjoy Using Our App? Please Rate Us");
  ASSERT_EQ(sheet->buttons().size(), 2);
  EXPECT_EQ(sheet->buttons().at(0)->text(), "YES");
  EXPECT_EQ(sheet->buttons().at(1)->text(), "NO");
  EXPECT_TRUE(delegate->isSUBWINDOW_OPENED);
  QTest::mouseClick(sheet->buttons().at(0), Qt::LeftButton);
  EXPECT_EQ(opened.size(), 1);
  EXPECT_FALSE(Preferences::contains("appVersion"));
  EXPECT_FALSE(delegate->isSUBWINDOW_OPENED);

  // NO (Escape) is final for this version.
  window->showAlertForRateApp();
  sheet = waitForSheet();
  ASSERT_NE(sheet, nullptr);
  QTest::keyClick(sheet->buttons().at(0), Qt::Key_Escape);
  EXPECT_EQ(opened.size(), 1);
  EXPECT_EQ(Preferences::stringValue("appVersion"), AppDelegate::bundleVersion());
  EXPECT_EQ(window->currentSheet(), nullptr);
}

TEST_F(MainWindowTest, QuitAlertIsASheetAnsweredByButtonPosition) {
  // The delegate reads the answer the other way round; the window only reports positions.
  const AppDelegate::AlertRequest request = AppDelegate::quitAnywayAlert();
  for (int pressed : {0, 1}) {
    QTimer::singleShot(0, window.get(), [this, pressed] {
      Sheet *sheet = window->currentSheet();
      ASSERT_NE(sheet, nullptr);
      EXPECT_EQ(sheet->title(), "Could not save changes while quitting. Quit anyway?");
      EXPECT_EQ(sheet->buttons().at(0)->text(), "Quit anyway");
      EXPECT_EQ(sheet->buttons().at(1)->text(), "Cancel");
      EXPECT_TRUE(delegate->isSUBWINDOW_OPENED);
      QTest::mouseClick(sheet->buttons().at(pressed), Qt::LeftButton);
    });
    EXPECT_EQ(window->runModalAlert(request), AppDelegate::AlertFirstButtonReturn + pressed);
    EXPECT_FALSE(delegate->isSUBWINDOW_OPENED);
  }
}

TEST_F(MainWindowTest, SkippedPhotosAndNewBatchGoBackToAddingPhotos) {
  QTest::mouseClick(window->setupButton(), Qt::LeftButton);
  const QList<std::shared_ptr<PhotoFile>> skipped = {PhotoFile::initWithFileUrl("/p/1.jpg", false),
                                                     PhotoFile::initWithFileUrl("/p/2.jpg", false)};
  log->posted.clear();
  window->btnProcessSkippedFromSetupVCTapped(skipped);
  EXPECT_EQ(delegate->arraySelectedImagesToProcess, skipped);
  EXPECT_EQ(delegate->selectedImageIndex, 0);
  EXPECT_TRUE(delegate->isPHOTO_DLETED_FROM_DIRECTORY);
  EXPECT_TRUE(delegate->isPROCESS_SKIPPED_FILES);
  EXPECT_EQ(window->Step, 0);
  EXPECT_EQ(log->flow(),
            (QStringList{Notifications::SetupViewDisAppear, Notifications::AddPhotosViewAppear,
                         Notifications::ProcessSkippedFiles}));

  QTest::mouseClick(window->setupButton(), Qt::LeftButton);
  Preferences::setValue("PROJECT_SESSION", QByteArray("session"));
  delegate->isPHOTO_DLETED_FROM_DIRECTORY = false;
  window->btnStartNewBatchFromSetupVCTapped();
  EXPECT_TRUE(delegate->isSTART_AS_NEW_BATCH);
  EXPECT_TRUE(delegate->isPHOTO_DLETED_FROM_DIRECTORY);
  EXPECT_TRUE(delegate->arraySelectedImagesToProcess.isEmpty());
  EXPECT_EQ(delegate->selectedImageFile, nullptr);
  EXPECT_FALSE(Preferences::contains("PROJECT_SESSION"));
  EXPECT_EQ(window->Step, 0);
}

TEST_F(MainWindowTest, OpenedPathsArriveAsADrop) {
  QTest::mouseClick(window->setupButton(), Qt::LeftButton);
  log->posted.clear();
  const QStringList paths = {"/photos/a.jpg", "/photos/trip"};
  window->openPaths(paths);
  EXPECT_EQ(window->Step, 0);
  ASSERT_FALSE(log->flow().isEmpty());
  EXPECT_EQ(log->flow().last(), Notifications::FileDragDrop);
  EXPECT_EQ(log->lastInfo.value(Notifications::PathsKey).toStringList(), paths);
}

TEST_F(MainWindowTest, ResizingPostsWhileItGoesAndOnceAtTheEnd) {
  log->posted.clear();
  window->resize(window->width() - 40, window->height() - 30);
  EXPECT_TRUE(
      QTest::qWaitFor([this] { return log->posted.contains(Notifications::WindowResized); }, 5000));
  EXPECT_TRUE(QTest::qWaitFor(
      [this] { return log->posted.contains(Notifications::WindowEndResizing); }, 5000));
  EXPECT_EQ(log->posted.last(), Notifications::WindowEndResizing);
}

TEST_F(MainWindowTest, EveryControlHasANameAndTheKeyboardReachesIt) {
  // Each screen in turn, then a sheet, so that every control shown is walked.
  int controls = 0;
  const auto walk = [&] {
    for (QWidget *widget : window->findChildren<QWidget *>()) {
      const bool control =
          qobject_cast<QAbstractButton *>(widget) || (widget->focusPolicy() & Qt::TabFocus);
      if (!control || !widget->isVisibleTo(window.get()))
        continue;
      ++controls;
      QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
      ASSERT_NE(accessible, nullptr);
      const QString name = accessible->text(QAccessible::Name);
      EXPECT_FALSE(name.trimmed().isEmpty() && widget->toolTip().isEmpty())
          << widget->metaObject()->className() << " " << widget->objectName().toStdString();
      if (qobject_cast<QAbstractButton *>(widget)) {
        EXPECT_TRUE(widget->focusPolicy() & Qt::TabFocus)
            << "not reachable by Tab: " << widget->objectName().toStdString();
      }
    }
  };
  QTest::mouseClick(window->setupButton(), Qt::LeftButton);
  walk();
  QTest::mouseClick(window->addPhotosButton(), Qt::LeftButton);
  walk();
  window->showAlertForRateApp();
  ASSERT_NE(waitForSheet(), nullptr);
  walk();
  EXPECT_GE(controls, 7); // five title bar buttons and the sheet's two

  // Tab stays within the sheet while it is up.
  Sheet *sheet = window->currentSheet();
  QWidget *start = QApplication::focusWidget();
  ASSERT_TRUE(start && sheet->isAncestorOf(start));
  for (int i = 0; i < 4; ++i) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(sheet->isAncestorOf(QApplication::focusWidget()));
  }
  sheet->press(1);

  // In the title bar, Tab goes left to right.
  window->addPhotosButton()->setFocus();
  QTest::keyClick(window->addPhotosButton(), Qt::Key_Tab);
  EXPECT_EQ(QApplication::focusWidget(), window->setupButton());
  QTest::keyClick(window->setupButton(), Qt::Key_Space);
  EXPECT_EQ(window->Step, 3);
}

TEST(OpenCommand, OpensTheWindowWithThePathsThatExist) {
  QTemporaryDir folder;
  const QString photo = testenv::writeFile(folder.filePath("a b.jpg"), "x");
  QDir().mkpath(folder.filePath("trip"));
  const QString previous = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(folder.path()));
  const QByteArray url =
      QUrl::fromLocalFile(photo).toEncoded(); // "a%20b.jpg", as file managers send
  QByteArray args[] = {"quillmere", "open", "trip", url, "missing.jpg", "./trip/../a b.jpg"};
  char *argv[] = {args[0].data(), args[1].data(), args[2].data(),
                  args[3].data(), args[4].data(), args[5].data()};
  EXPECT_TRUE(app::CommandLine::wantsWindow(6, argv));
  const QStringList paths = app::CommandLine::pathsToOpen(6, argv);
  QDir::setCurrent(previous);
  // Absolute, cleaned, in the order given; the missing one is reported and left out.
  EXPECT_EQ(paths, (QStringList{QDir(folder.path()).filePath("trip"), photo, photo}));

  char *info[] = {args[0].data(), const_cast<char *>("info"), args[2].data()};
  EXPECT_FALSE(app::CommandLine::wantsWindow(3, info));
  EXPECT_TRUE(app::CommandLine::pathsToOpen(3, info).isEmpty());
  EXPECT_TRUE(app::CommandLine::wantsWindow(1, argv));
  EXPECT_TRUE(app::CommandLine::usageText().contains("quillmere open PATH..."));
}

#include "app/NotificationCenter.h"
#include "app/Notifications.h"
#include "processing/BatchRun.h"
#include "rename/BatchRenameSetting.h"
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"
#include "ui/Sheet.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSemaphore>
#include <QSlider>
#include <QTableView>

namespace {

const char *kSmall = "jpg/Fujifilm_FinePix_E500.jpg";

struct RecordingFlow : QuietFlow {
  int newBatches = 0;
  QList<std::shared_ptr<PhotoFile>> skipped;
  void btnStartNewBatchFromSetupVCTapped() override { ++newBatches; }
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &p) override {
    skipped = p;
  }
};

// The setup screen on a real batch of sample photos, shown offscreen.
struct SetupScreen : SetupScreenFixture {
  RecordingFlow flow; // answers in place of the fixture's quiet one
  QString src = dir.filePath("Trip");
  QStringList opened;

  // The screen goes before the flow it reports to.
  ~SetupScreen() override { screen.reset(); }
  ScreenFlowDelegate *screenFlow() override { return &flow; }
  // A batch of count copies of one small photo, IMG_100.jpg onwards, on the screen.
  void open(int count) {
    QStringList files;
    for (int i = 0; i < count; ++i)
      files << testenv::copyPhoto(kSmall, src, QStringLiteral("IMG_%1.jpg").arg(100 + i));
    useBatch(files);
    showScreen();
    screen->batchRun().openPath = [this](const QString &path) { opened.append(path); };
  }

  void check(QWidget *box) {
    box->setFocus();
    QTest::keyClick(box, Qt::Key_Space);
  }
  void modifyNames() {
    QTest::mouseClick(find<QRadioButton>("modifyNamesRadio"), Qt::LeftButton);
    settle();
  }
  void pressSheetButton(const QString &title) {
    Sheet *sheet = screen->currentSheet();
    ASSERT_NE(sheet, nullptr);
    for (QPushButton *button : sheet->buttons()) {
      if (button->text() == title) {
        QTest::mouseClick(button, Qt::LeftButton);
        return;
      }
    }
    FAIL() << "no button " << qPrintable(title);
  }
};

} // namespace

TEST_F(SetupScreen, RulesChangeThePreviewAndControlsKeepTheirLimits) {
  open(3);
  QAbstractItemModelTester modelTester(view()->previewModel(),
                                       QAbstractItemModelTester::FailureReportingMode::Fatal);
  QAbstractItemModelTester proxyTester(view()->previewProxy(),
                                       QAbstractItemModelTester::FailureReportingMode::Fatal);
  EXPECT_EQ(view()->batchLineText().left(18), "Total Images: 3  |");
  EXPECT_EQ(find<QLabel>("batchLine")->text(), view()->batchLineText());
  ASSERT_EQ(view()->previewModel()->rowCount(), 3);
  EXPECT_EQ(newPath(0), out + "/IMG_100.jpg");
  EXPECT_FALSE(find<QWidget>("rulePanel")->isVisible());

  modifyNames();
  EXPECT_TRUE(find<QWidget>("rulePanel")->isVisible());
  // A rule's controls follow its box.
  auto *prefix = find<QLineEdit>("prefixField");
  EXPECT_FALSE(prefix->isEnabled());
  check(find<QGroupBox>("ruleAddString"));
  settle();
  EXPECT_TRUE(prefix->isEnabled());
  QTest::keyClicks(prefix, "Rome_");
  settle();
  EXPECT_EQ(newPath(1), out + "/Rome_IMG_101.jpg");
  EXPECT_EQ(view()->previewModel()->index(1, 1).data(Qt::ToolTipRole).toString(),
            "File is ready to process.");

  // A "/" never reaches a name; the name field keeps 150 characters.
  QTest::keyClicks(prefix, "a/b");
  EXPECT_EQ(prefix->text(), "Rome_ab");
  check(find<QGroupBox>("ruleReplaceFilename"));
  auto *newName = find<QLineEdit>("newNameField");
  newName->setFocus();
  newName->selectAll();
  newName->insert(QString(200, QLatin1Char('x')));
  EXPECT_EQ(newName->text().size(), 150);
  newName->clear();

  // Integer fields: four characters at most, digits with a sign.
  auto *position = find<QLineEdit>("insertPositionField");
  for (const auto &[typed, kept] : {std::pair{"12345", "1234"}, {"1a", "1"}, {"-1", "-1"}}) {
    position->clear();
    QTest::keyClicks(position, typed);
    EXPECT_EQ(position->text(), QString::fromLatin1(kept)) << typed;
  }
  EXPECT_EQ(view()->editor().integerValue(RenameIntegerField::InsertPosition), -1);
  settle();

  // Upper case through the case list.
  check(find<QGroupBox>("ruleChangeCase"));
  chooseInList("caseModeList", "Upper case");
  settle();
  EXPECT_TRUE(newPath(0).endsWith("/ROME_AB.jpg") || newPath(0).endsWith("/ROME_AB.JPG"))
      << qPrintable(newPath(0));

  // Keeping the names again shows the photos' own names.
  QTest::mouseClick(find<QRadioButton>("keepNamesRadio"), Qt::LeftButton);
  settle();
  EXPECT_EQ(newPath(2), out + "/IMG_102.jpg");
  EXPECT_FALSE(find<QWidget>("rulePanel")->isVisible());
}

TEST_F(SetupScreen, TypingIntoABusyPreviewQueuesOnePassNotOnePerKey) {
  open(400);
  modifyNames();
  check(find<QGroupBox>("ruleReplaceFilename"));
  check(find<QGroupBox>("ruleAddDigit"));
  settle();
  const int before = view()->passesStarted();
  // Each key arrives before the window's thread can take a pass back.
  QTest::keyClicks(find<QLineEdit>("newNameField"), "Holidays24");
  EXPECT_LE(view()->passesStarted() - before, 2);
  settle();
  EXPECT_TRUE(newPath(0).contains("/Holidays24")) << qPrintable(newPath(0));
  EXPECT_EQ(find<QLineEdit>("newNameField")->text(), "Holidays24");
}

// The screen's side of the application-wide notifications: a pass is announced to whoever
// shows loading, a resize fits the table's columns once it settles, and the way back from the
// summary turns the back button off and on again.
TEST_F(SetupScreen, PostsAndObservesItsNotifications) {
  QStringList posted;
  QObject listener;
  NotificationCenter &center = NotificationCenter::defaultCenter();
  for (const QString &name :
       {Notifications::ShowLoading, Notifications::HideLoading, Notifications::ResizeTableHeader,
        Notifications::DisbalePrevBtn, Notifications::EnbalePrevBtn})
    center.addObserver(&listener, name, [&posted, name](const QVariantMap &) { posted << name; });
  open(3);

  posted.clear();
  modifyNames();
  EXPECT_EQ(posted.mid(0, 2),
            (QStringList{Notifications::HideLoading, Notifications::ShowLoading}));
  EXPECT_EQ(posted.last(), Notifications::HideLoading);

  posted.clear();
  center.post(Notifications::WindowResized);
  EXPECT_TRUE(posted.isEmpty()); // not while the window is still being dragged
  EXPECT_TRUE(QTest::qWaitFor([&] { return !posted.isEmpty(); }, 5000));
  EXPECT_EQ(posted, QStringList{Notifications::ResizeTableHeader});
  posted.clear();
  center.post(Notifications::WindowEndResizing);
  EXPECT_EQ(posted, QStringList{Notifications::ResizeTableHeader});

  auto *back = find<QPushButton>("backButton");
  ASSERT_NE(back, nullptr);
  posted.clear();
  center.post(Notifications::DisbalePrevBtn);
  EXPECT_FALSE(back->isEnabled());
  screen->performBackOnSummaryAction();
  EXPECT_EQ(posted.mid(0, 3),
            (QStringList{Notifications::DisbalePrevBtn, Notifications::DisbalePrevBtn,
                         Notifications::EnbalePrevBtn}));
  EXPECT_TRUE(back->isEnabled());
  settle();

  const int before = view()->passesStarted();
  center.post(Notifications::AppearInBatchEffectsView);
  EXPECT_GT(view()->passesStarted(), before);
  settle();
}

// The taken date is read once per photo and kept, until the file itself changes.
TEST_F(SetupScreen, TakenDateStampFollowsAReplacedFile) {
  open(1);
  modifyNames();
  check(find<QGroupBox>("ruleDateTimeStamp")); // "Taken(Original)" by default
  chooseInList("dateFormatList", "DD-MM-YYYY");
  settle();
  EXPECT_TRUE(newPath(0).contains("17-08-2006")) << qPrintable(newPath(0));

  const QString photo = src + "/IMG_100.jpg";
  ASSERT_TRUE(QFile::remove(photo));
  testenv::copyPhoto("jpg/Canon_40D.jpg", src, "IMG_100.jpg");
  check(find<QCheckBox>("ruleLowerCaseExtension")); // any edit: a new pass
  settle();
  EXPECT_TRUE(newPath(0).contains("30-05-2008")) << qPrintable(newPath(0));
}

// Start is refused for a blank name and for a batch without a good photo; duplicate names show
// as errors the filter lists; a batch with one good photo asks before it starts.
TEST_F(SetupScreen, DuplicatesShowAsErrorsAndStartIsRefusedWithoutAGoodPhoto) {
  open(3);
  QAbstractItemModelTester proxyTester(view()->previewProxy(),
                                       QAbstractItemModelTester::FailureReportingMode::Fatal);
  modifyNames();
  check(find<QGroupBox>("ruleReplaceFilename"));
  find<QLineEdit>("newNameField")->clear();
  settle();
  QTest::mouseClick(find<QPushButton>("startButton"), Qt::LeftButton);
  ASSERT_NE(screen->currentSheet(), nullptr);
  EXPECT_EQ(screen->currentSheet()->message(),
            QStringLiteral("Filename cannot be blank. Please enter the filename with which you "
                           "wish to replace the original name."));
  pressSheetButton("OK");

  QTest::keyClicks(find<QLineEdit>("newNameField"), "Same");
  settle();
  auto *errors = find<QPushButton>("filterErrorsButton");
  EXPECT_EQ(errors->text(), "ERRORS: 3");
  EXPECT_EQ(find<QPushButton>("filterWarningsButton")->text(), "WARNINGS: 0");
  QTest::mouseClick(find<QPushButton>("startButton"), Qt::LeftButton);
  ASSERT_NE(screen->currentSheet(), nullptr);
  EXPECT_EQ(screen->currentSheet()->title(), "ERROR/WARNING");
  pressSheetButton("OK");
  EXPECT_EQ(screen->currentPage(), SetupVC::SettingsPage);

  // Two duplicates and one photo whose extension differs.
  QFile::rename(src + "/IMG_102.jpg", src + "/IMG_102.jpeg");
  delegate.arraySelectedImagesToProcess[2] =
      PhotoFile::initWithFileUrl(src + "/IMG_102.jpeg", false);
  view()->setupViewNotification();
  settle();
  EXPECT_EQ(errors->text(), "ERRORS: 2");
  QTest::mouseClick(errors, Qt::LeftButton);
  EXPECT_EQ(view()->previewTable()->model()->rowCount(), 2);
  EXPECT_EQ(view()->previewTable()->model()->index(0, 1).data(Qt::ToolTipRole).toString(),
            "Duplicate filename.");
  QTest::mouseClick(find<QPushButton>("filterAllButton"), Qt::LeftButton);
  EXPECT_EQ(view()->previewTable()->model()->rowCount(), 3);

  // Starting now finds one good photo: the prompt, then Cancel leaves the settings up.
  QTest::mouseClick(find<QPushButton>("startButton"), Qt::LeftButton);
  ASSERT_NE(screen->currentSheet(), nullptr);
  EXPECT_EQ(screen->currentSheet()->title(), "START THE BATCH?");
  pressSheetButton("Cancel");
  EXPECT_EQ(screen->currentPage(), SetupVC::SettingsPage);
  EXPECT_FALSE(delegate.isSUBWINDOW_OPENED);
}

TEST_F(SetupScreen, FormatChoiceShowsItsPanel) {
  open(1);
  auto *quality = find<QWidget>("qualityPanel");
  auto *compression = find<QWidget>("compressionPanel");
  EXPECT_FALSE(quality->isVisible());
  EXPECT_FALSE(compression->isVisible());

  chooseInList("outputFormatList", "png");
  settle();
  EXPECT_TRUE(compression->isVisible());
  EXPECT_FALSE(quality->isVisible());
  EXPECT_EQ(newPath(0), out + "/IMG_100.png");
  check(find<QCheckBox>("compressionBox"));
  auto *slider = find<QSlider>("compressionSlider");
  EXPECT_TRUE(slider->isEnabled());
  QTest::keyClick(slider, Qt::Key_End);
  EXPECT_EQ(find<QLabel>("compressionLabel")->text(), "9");
  EXPECT_EQ(delegate.selectedRenameSettingObj->compression(), 9);

  chooseInList("outputFormatList", "jpg");
  settle();
  EXPECT_TRUE(quality->isVisible());
  EXPECT_FALSE(compression->isVisible());
  check(find<QCheckBox>("qualityBox"));
  auto *qualitySlider = find<QSlider>("qualitySlider");
  QTest::keyClick(qualitySlider, Qt::Key_Home);
  for (int i = 0; i < 8; ++i)
    QTest::keyClick(qualitySlider, Qt::Key_PageUp);
  for (int i = 0; i < 5; ++i)
    QTest::keyClick(qualitySlider, Qt::Key_Right);
  EXPECT_EQ(find<QLabel>("qualityLabel")->text(), "85");
  EXPECT_DOUBLE_EQ(delegate.selectedRenameSettingObj->quality(), 0.85);
}

TEST_F(SetupScreen, DestinationControlsWriteTheOptions) {
  open(2);
  QTest::mouseClick(find<QRadioButton>("sourceFolderModeButton"), Qt::LeftButton);
  settle();
  EXPECT_TRUE(delegate.selectedOuputSettingObj->useSourceFolder);
  EXPECT_FALSE(find<QCheckBox>("openFolderBox")->isEnabled());
  EXPECT_FALSE(find<QPushButton>("chooseFolderButton")->isEnabled());
  EXPECT_EQ(newPath(0), src + "/IMG_100.jpg");
  // Its own file is there: a warning.
  EXPECT_EQ(find<QPushButton>("filterWarningsButton")->text(), "WARNINGS: 2");
  check(find<QCheckBox>("overwriteBox"));
  settle();
  EXPECT_EQ(find<QPushButton>("filterWarningsButton")->text(), "WARNINGS: 0");

  QTest::mouseClick(find<QRadioButton>("copyModeButton"), Qt::LeftButton);
  settle();
  const QString chosen = dir.filePath("Chosen Folder");
  QDir().mkpath(chosen);
  view()->chooseFolder = [&](QWidget *, const QString &) { return chosen; };
  QTest::mouseClick(find<QPushButton>("chooseFolderButton"), Qt::LeftButton);
  settle();
  EXPECT_EQ(find<QLineEdit>("outputFolderField")->text(), chosen.toLower());
  // The engine writes into the folder that exists.
  EXPECT_EQ(newPath(1), chosen + "/IMG_101.jpg");
}

TEST_F(SetupScreen, RunStopNoThenYesSummaryAndSkippedPhotosSentBack) {
  open(8);
  QAbstractItemModelTester modelTester(view()->previewModel(),
                                       QAbstractItemModelTester::FailureReportingMode::Fatal);
  BatchRun &run = screen->batchRun();
  // Each photo waits for a permit before it is written, so the test decides where it stops.
  QSemaphore permits;
  // The free-space reading comes on the loop's thread just before each write.
  run.freeSpaceReader = [&permits](const QString &) {
    permits.acquire();
    return qint64(1) << 40;
  };
  QSignalSpy ended(screen.get(), &SetupVC::summaryShown);

  QTest::mouseClick(find<QPushButton>("startButton"), Qt::LeftButton);
  ASSERT_EQ(screen->currentPage(), SetupVC::RunPage);
  EXPECT_TRUE(delegate.isPHOTOS_PROCESSING_IN_PROGERESS);
  permits.release(2);
  ASSERT_TRUE(QTest::qWaitFor([&] { return run.counterTotalProgressedFiles >= 2; }, 20000));
  ASSERT_TRUE(QTest::qWaitFor([&] { return !screen->currentFileText().isEmpty(); }, 5000));
  EXPECT_TRUE(screen->processInfoText().startsWith("Process Started at: "));
  EXPECT_TRUE(screen->batchInfoText().startsWith("Images Count: 8  |  "));

  QTest::mouseClick(screen->stopButton(), Qt::LeftButton);
  ASSERT_NE(screen->currentSheet(), nullptr);
  EXPECT_EQ(screen->currentSheet()->message(),
            QStringLiteral("Photos that are not processed will be skipped. Do you still want to "
                           "stop?"));
  pressSheetButton("No");
  EXPECT_TRUE(delegate.isPHOTOS_PROCESSING_IN_PROGERESS);
  permits.release(2);
  ASSERT_TRUE(QTest::qWaitFor([&] { return run.counterTotalProgressedFiles >= 4; }, 20000));

  QTest::mouseClick(screen->stopButton(), Qt::LeftButton);
  pressSheetButton("Yes");
  permits.release(100);
  ASSERT_TRUE(ended.count() > 0 || ended.wait(20000));
  EXPECT_FALSE(ended.first().first().toBool());

  // The summary against the disk.
  const qint64 processed = run.counterProcessedSuccessfully;
  EXPECT_GE(processed, 4);
  EXPECT_LT(processed, 8);
  EXPECT_EQ(screen->currentPage(), SetupVC::SummaryPage);
  EXPECT_EQ(screen->summaryHeader(), "Process Stopped!");
  EXPECT_EQ(screen->summaryValue("Batch Count"), "8");
  EXPECT_EQ(screen->summaryValue("Photos Processed"), QString::number(processed));
  EXPECT_EQ(screen->summaryValue("Photos not Processed"), QString::number(8 - processed));
  EXPECT_EQ(screen->summaryValue("Output Directory"), out);
  EXPECT_EQ(QDir(out).entryList(QDir::Files).size(), processed);
  EXPECT_TRUE(screen->processSkippedButton()->isVisibleTo(screen.get()));
  QFile log(run.strLogfilePath);
  ASSERT_TRUE(log.open(QIODevice::ReadOnly)) << qPrintable(run.strLogfilePath);
  const QString text = QString::fromUtf8(log.readAll());
  EXPECT_TRUE(text.contains(QStringLiteral("Status: Process interrupted by user\n")));
  EXPECT_TRUE(text.contains(QStringLiteral("\nPhotos Processed : %1").arg(processed)));

  QTest::mouseClick(screen->outputFolderButton(), Qt::LeftButton);
  EXPECT_EQ(opened, QStringList{out});
  QTest::mouseClick(screen->processSkippedButton(), Qt::LeftButton);
  ASSERT_EQ(flow.skipped.size(), 8 - processed);
  EXPECT_EQ(flow.skipped.first()->filePath,
            src + QStringLiteral("/IMG_%1.jpg").arg(100 + processed));
  QTest::mouseClick(screen->startNewBatchButton(), Qt::LeftButton);
  EXPECT_EQ(flow.newBatches, 1);
}

TEST_F(SetupScreen, AFinishedRunWithAnExistingFileSkipsItAndOpensTheFolder) {
  open(3);
  testenv::writeFile(out + "/IMG_101.jpg", "already here");
  delegate.selectedOuputSettingObj->openOutputFolderAfterProcessing = true;
  view()->setupViewNotification();
  settle();
  EXPECT_EQ(find<QPushButton>("filterWarningsButton")->text(), "WARNINGS: 1");
  QSignalSpy ended(screen.get(), &SetupVC::summaryShown);
  QTest::mouseClick(find<QPushButton>("startButton"), Qt::LeftButton);
  pressSheetButton("Start");
  ASSERT_TRUE(ended.wait(30000));
  EXPECT_TRUE(ended.first().first().toBool());
  EXPECT_EQ(screen->summaryHeader(), "Process Finished!");
  EXPECT_EQ(screen->summaryValue("Photos Processed"), "2");
  EXPECT_EQ(screen->summaryValue("Photos Skipped"), "1");
  EXPECT_EQ(opened, QStringList{out});
  EXPECT_EQ(view()->previewModel()->index(1, 1).data(PreviewTableModel::StatusIconRole).toInt(),
            int(PreviewTableModel::IconSkipped));
  // The existing file is untouched.
  QFile kept(out + "/IMG_101.jpg");
  ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
  EXPECT_EQ(kept.readAll(), QByteArray("already here"));

  QTest::mouseClick(find<QPushButton>("backToSettingsButton"), Qt::LeftButton);
  settle();
  EXPECT_EQ(screen->currentPage(), SetupVC::SettingsPage);
}

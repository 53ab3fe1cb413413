// Undo from the setup screen's summary: the confirmation says what will happen, the outputs go
// to the trash, and the recent batches list knows the batch is undone.
#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "processing/RunJournal.h"
#include "rename/OutputOptionSettings.h"
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/SetupVC.h"
#include "ui/UndoBatchPanel.h"

#include <QDir>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace {

TEST(UndoFromSummary, UndoThisBatchPutsTheFoldersBackAndTheListShowsItUndone) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  QDir(RunJournal::folder()).removeRecursively();
  const QString in = dir.filePath("in");
  const QString out = dir.filePath("out");
  QDir().mkpath(in);
  QDir().mkpath(out);
  AppDelegate delegate;
  delegate.loadSupportedImageFormats();
  for (int i = 0; i < 3; ++i)
    delegate.arraySelectedImagesToProcess.append(PhotoFile::initWithFileUrl(
        testenv::copyPhoto("jpg/PaintTool_sample.jpg", in, QStringLiteral("p%1.jpg").arg(i)),
        false));
  delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
  delegate.selectedOuputSettingObj->outputFolderPath = out;
  delegate.selectedOuputSettingObj->openOutputFolderAfterProcessing = false;
  QuietFlow flow;
  SetupVC screen(&delegate, &flow);
  screen.batchRun().openPath = [](const QString &) {};
  screen.resize(1300, 820);
  screen.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&screen));
  ConvertFormatOrRenameView *view = screen.settingsView();
  view->setupViewNotification();
  QSignalSpy shown(view, &ConvertFormatOrRenameView::previewShown);
  while (view->isPreviewBusy())
    ASSERT_TRUE(shown.wait(10000));

  QSignalSpy ended(&screen, &SetupVC::summaryShown);
  QTest::mouseClick(screen.findChild<QPushButton *>(QStringLiteral("startButton")), Qt::LeftButton);
  ASSERT_TRUE(ended.wait(30000));
  ASSERT_EQ(QDir(out).entryList(QDir::Files).size(), 3);

  auto *panel = screen.findChild<UndoBatchPanel *>();
  ASSERT_NE(panel, nullptr);
  QString asked;
  panel->confirm = [&](const QString &text) {
    asked = text;
    return true;
  };
  QSignalSpy finished(panel, &UndoBatchPanel::undoFinished);
  auto *undo = screen.findChild<QPushButton *>(QStringLiteral("undoBatchButton"));
  ASSERT_TRUE(undo->isVisible() && undo->isEnabled());
  QTest::mouseClick(undo, Qt::LeftButton);
  ASSERT_TRUE(finished.wait(30000));
  EXPECT_TRUE(asked.startsWith("3 outputs of this batch will go to the trash."))
      << qPrintable(asked);
  EXPECT_TRUE(QDir(out).entryList(QDir::Files).isEmpty());
  EXPECT_EQ(QDir(in).entryList(QDir::Files).size(), 3);
  EXPECT_TRUE(panel->statusText().startsWith("Batch undone: 3 photos"))
      << qPrintable(panel->statusText());
  EXPECT_FALSE(undo->isEnabled());

  // The recent batches list offers the run; it has nothing left to undo.
  QList<RunInfo> offered;
  panel->chooseRun = [&](const QList<RunInfo> &runs) {
    offered = runs;
    return runs.isEmpty() ? QString() : runs.first().file;
  };
  QTest::mouseClick(screen.findChild<QPushButton *>(QStringLiteral("recentBatchesButton")),
                    Qt::LeftButton);
  ASSERT_EQ(offered.size(), 1);
  EXPECT_TRUE(offered.first().isUndone());
  EXPECT_EQ(panel->statusText(), "This batch has nothing left to undo.");
}

} // namespace

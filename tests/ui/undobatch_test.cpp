// Undo from the setup screen's summary: the confirmation says what will happen, the outputs go
// to the trash, and the recent batches list knows the batch is undone.
#include "processing/RunJournal.h"
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"
#include "ui/UndoBatchPanel.h"

#include <QPushButton>

namespace {

using UndoFromSummary = SetupScreenFixture;

TEST_F(UndoFromSummary, UndoThisBatchPutsTheFoldersBackAndTheListShowsItUndone) {
  QDir(RunJournal::folder()).removeRecursively();
  const QString in = dir.filePath("in");
  QStringList photos;
  for (int i = 0; i < 3; ++i)
    photos << testenv::copyPhoto("jpg/PaintTool_sample.jpg", in, QStringLiteral("p%1.jpg").arg(i));
  useBatch(photos);
  showScreen();
  screen->batchRun().openPath = [](const QString &) {};

  QSignalSpy ended(screen.get(), &SetupVC::summaryShown);
  QTest::mouseClick(find<QPushButton>("startButton"), Qt::LeftButton);
  ASSERT_TRUE(ended.wait(30000));
  ASSERT_EQ(QDir(out).entryList(QDir::Files).size(), 3);

  auto *panel = screen->findChild<UndoBatchPanel *>();
  ASSERT_NE(panel, nullptr);
  QString asked;
  panel->confirm = [&](const QString &text) {
    asked = text;
    return true;
  };
  QSignalSpy finished(panel, &UndoBatchPanel::undoFinished);
  auto *undo = find<QPushButton>("undoBatchButton");
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
  QTest::mouseClick(find<QPushButton>("recentBatchesButton"), Qt::LeftButton);
  ASSERT_EQ(offered.size(), 1);
  EXPECT_TRUE(offered.first().isUndone());
  EXPECT_EQ(panel->statusText(), "This batch has nothing left to undo.");
}

} // namespace

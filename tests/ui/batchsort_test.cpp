// The list view's headers sort the batch, and the setup screen's preview numbers the photos in
// that order.
#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"
#include "ui/AddPhotosVC.h"
#include "ui/BatchTableModel.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/PreviewTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/SetupVC.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QStringList namesOf(const QList<std::shared_ptr<PhotoFile>> &batch) {
  QStringList names;
  for (const auto &photo : batch)
    names.append(photo->fileName);
  return names;
}

TEST(BatchSortHeaders, AClickOnSizeReordersTheBatchAndThePreviewNumbers) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  AppDelegate delegate;
  delegate.loadSupportedImageFormats();
  QuietFlow flow;
  // Added as a, b, c; by size c, a, b.
  const std::pair<const char *, const char *> samples[] = {
      {"jpg/Nikon_D70.jpg", "a.jpg"},
      {"jpg/Canon_40D.jpg", "b.jpg"},
      {"jpg/PaintTool_sample.jpg", "c.jpg"},
  };
  for (const auto &[sample, name] : samples)
    delegate.arraySelectedImagesToProcess.append(
        PhotoFile::initWithFileUrl(testenv::copyPhoto(sample, dir.path(), name), false));
  auto bySize = delegate.arraySelectedImagesToProcess;
  std::sort(bySize.begin(), bySize.end(),
            [](const auto &x, const auto &y) { return x->fileSizeInBytes < y->fileSizeInBytes; });
  ASSERT_NE(namesOf(bySize), namesOf(delegate.arraySelectedImagesToProcess));

  AddPhotosVC screen(&delegate, &flow);
  QAbstractItemModelTester tester(screen.batchModel(),
                                  QAbstractItemModelTester::FailureReportingMode::Fatal);
  screen.batchModel()->syncWithBatch(delegate.arraySelectedImagesToProcess);
  screen.resize(1200, 700);
  screen.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&screen));
  auto *list = screen.findChild<QTableView *>(QStringLiteral("listView"));
  ASSERT_NE(list, nullptr);
  QHeaderView *header = list->horizontalHeader();
  const auto clickColumn = [&](int column) {
    const QPoint at(header->sectionViewportPosition(column) + header->sectionSize(column) / 2,
                    header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
  };

  clickColumn(BatchTableModel::SizeColumn);
  EXPECT_EQ(namesOf(delegate.arraySelectedImagesToProcess), namesOf(bySize));
  EXPECT_EQ(namesOf(screen.batchModel()->photos()), namesOf(bySize));
  EXPECT_TRUE(header->isSortIndicatorShown());
  EXPECT_EQ(header->sortIndicatorSection(), int(BatchTableModel::SizeColumn));
  EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder);
  clickColumn(BatchTableModel::SizeColumn);
  auto descending = bySize;
  std::reverse(descending.begin(), descending.end());
  EXPECT_EQ(namesOf(delegate.arraySelectedImagesToProcess), namesOf(descending));
  EXPECT_EQ(header->sortIndicatorOrder(), Qt::DescendingOrder);
  clickColumn(BatchTableModel::SizeColumn);
  ASSERT_EQ(namesOf(delegate.arraySelectedImagesToProcess), namesOf(bySize));

  // The preview numbers the photos in the sorted order.
  const QString out = dir.filePath("out");
  QDir().mkpath(out);
  auto setting = BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  setting->flagRenamingMode = 1;
  setting->dictAddDigit = {{RuleKey::State, true},
                           {RuleKey::As, 0},
                           {RuleKey::StartingIndex, 1},
                           {RuleKey::Increment, 1},
                           {RuleKey::Digits, 3}};
  delegate.selectedRenameSettingObj = setting;
  delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
  delegate.selectedOuputSettingObj->outputFolderPath = out;
  SetupVC setup(&delegate, &flow);
  setup.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&setup));
  ConvertFormatOrRenameView *view = setup.settingsView();
  view->setupViewNotification();
  QSignalSpy shown(view, &ConvertFormatOrRenameView::previewShown);
  while (view->isPreviewBusy())
    ASSERT_TRUE(shown.wait(10000));
  PreviewTableModel *preview = view->previewModel();
  ASSERT_EQ(preview->rowCount(), 3);
  for (int row = 0; row < 3; ++row) {
    const QString newPath = preview->index(row, PreviewTableModel::NewPathColumn).data().toString();
    const QString base = QFileInfo(bySize.at(row)->fileName).completeBaseName();
    const QString number = QStringLiteral("%1").arg(row + 1, 3, 10, QChar('0'));
    EXPECT_EQ(QFileInfo(newPath).completeBaseName(), number + base) << qPrintable(newPath);
  }
}

} // namespace

// The list view's headers sort the batch, and the setup screen's preview numbers the photos in
// that order.
#include "rename/BatchRenameSetting.h"
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"
#include "ui/AddPhotosVC.h"
#include "ui/BatchTableModel.h"

#include <QAbstractItemModelTester>
#include <QFileInfo>
#include <QHeaderView>
#include <QTableView>

namespace {

QStringList namesOf(const QList<std::shared_ptr<PhotoFile>> &batch) {
  QStringList names;
  for (const auto &photo : batch)
    names.append(photo->fileName);
  return names;
}

using BatchSortHeaders = SetupScreenFixture;

TEST_F(BatchSortHeaders, AClickOnSizeReordersTheBatchAndThePreviewNumbers) {
  // Added as a, b, c; by size c, a, b.
  useBatch({testenv::copyPhoto("jpg/Nikon_D70.jpg", dir.path(), "a.jpg"),
            testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path(), "b.jpg"),
            testenv::copyPhoto("jpg/PaintTool_sample.jpg", dir.path(), "c.jpg")});
  auto bySize = delegate.arraySelectedImagesToProcess;
  std::sort(bySize.begin(), bySize.end(),
            [](const auto &x, const auto &y) { return x->fileSizeInBytes < y->fileSizeInBytes; });
  ASSERT_NE(namesOf(bySize), namesOf(delegate.arraySelectedImagesToProcess));

  AddPhotosVC addPhotos(&delegate, &flow);
  QAbstractItemModelTester tester(addPhotos.batchModel(),
                                  QAbstractItemModelTester::FailureReportingMode::Fatal);
  addPhotos.batchModel()->syncWithBatch(delegate.arraySelectedImagesToProcess);
  addPhotos.resize(1200, 700);
  addPhotos.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&addPhotos));
  auto *list = addPhotos.findChild<QTableView *>(QStringLiteral("listView"));
  ASSERT_NE(list, nullptr);
  QHeaderView *header = list->horizontalHeader();
  const auto clickColumn = [&](int column) {
    const QPoint at(header->sectionViewportPosition(column) + header->sectionSize(column) / 2,
                    header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
  };

  clickColumn(BatchTableModel::SizeColumn);
  EXPECT_EQ(namesOf(delegate.arraySelectedImagesToProcess), namesOf(bySize));
  EXPECT_EQ(namesOf(addPhotos.batchModel()->photos()), namesOf(bySize));
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
  auto setting = BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  setting->flagRenamingMode = 1;
  setting->dictAddDigit = {{RuleKey::State, true},
                           {RuleKey::As, 0},
                           {RuleKey::StartingIndex, 1},
                           {RuleKey::Increment, 1},
                           {RuleKey::Digits, 3}};
  delegate.selectedRenameSettingObj = setting;
  showScreen();
  ASSERT_EQ(view()->previewModel()->rowCount(), 3);
  for (int row = 0; row < 3; ++row) {
    const QString base = QFileInfo(bySize.at(row)->fileName).completeBaseName();
    const QString number = QStringLiteral("%1").arg(row + 1, 3, 10, QChar('0'));
    EXPECT_EQ(QFileInfo(newPath(row)).completeBaseName(), number + base)
        << qPrintable(newPath(row));
  }
}

} // namespace

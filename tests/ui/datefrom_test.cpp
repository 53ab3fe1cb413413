// The preview's "Date From" column and its "NO CAPTURE DATE" filter: there only while the names
// use the taken date, with each photo's date source and the photos that fell back to their
// file's date; information only, so the checks' counts stay as they were.
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"

#include <QAbstractItemModelTester>
#include <QGroupBox>
#include <QImage>
#include <QPushButton>
#include <QRadioButton>

namespace {

// A batch of three: EXIF dates (Canon 40D), an XMP date only, and a PNG with no date at all.
struct DateFrom : SetupScreenFixture {
  QString exifPhoto, xmpPhoto, undatedPhoto;

  void open() {
    const QString src = dir.filePath("Trip");
    exifPhoto = testenv::copyPhoto("jpg/Canon_40D.jpg", src, "a_exif.jpg");
    xmpPhoto = testenv::copyPhoto("jpg/xmp/no_exif.jpg", src, "b_xmp.jpg");
    undatedPhoto = src + "/c_undated.png";
    QImage image(40, 30, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    ASSERT_TRUE(image.save(undatedPhoto));
    useBatch({exifPhoto, xmpPhoto, undatedPhoto});
    showScreen();
  }
  void toggleDateStamp() {
    auto *stamp = find<QGroupBox>("ruleDateTimeStamp");
    stamp->setFocus();
    QTest::keyClick(stamp, Qt::Key_Space); // the taken date by default
    settle();
  }
  // The "Date From" text of the row whose source is path.
  QString sourceOf(const QString &path) {
    PreviewTableModel *model = view()->previewModel();
    for (int row = 0; row < model->rowCount(); ++row)
      if (model->index(row, PreviewTableModel::OldPathColumn).data().toString() == path)
        return model->index(row, PreviewTableModel::DateFromColumn).data().toString();
    return QStringLiteral("(no row)");
  }
};

} // namespace

TEST_F(DateFrom, ColumnAndFilterFollowTheTakenDateStamp) {
  ASSERT_NO_FATAL_FAILURE(open());
  PreviewTableModel *model = view()->previewModel();
  QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  QAbstractItemModelTester proxyTester(view()->previewProxy(),
                                       QAbstractItemModelTester::FailureReportingMode::Fatal);
  auto *filter = find<QPushButton>("filterNoCaptureDateButton");
  auto *errors = find<QPushButton>("filterErrorsButton");
  auto *warnings = find<QPushButton>("filterWarningsButton");
  ASSERT_TRUE(filter && errors && warnings);

  // Converting only: the names read no date, so no column and no filter.
  EXPECT_EQ(model->columnCount(), 2);
  EXPECT_FALSE(filter->isVisible());

  QTest::mouseClick(find<QRadioButton>("modifyNamesRadio"), Qt::LeftButton);
  settle();
  EXPECT_EQ(model->columnCount(), 2);
  const QString errorsBefore = errors->text(), warningsBefore = warnings->text();

  ASSERT_NO_FATAL_FAILURE(toggleDateStamp());
  ASSERT_EQ(model->rowCount(), 3);
  ASSERT_EQ(model->columnCount(), 3);
  EXPECT_EQ(model->headerData(PreviewTableModel::DateFromColumn, Qt::Horizontal).toString(),
            "Date From");
  EXPECT_EQ(sourceOf(exifPhoto), "EXIF DateTimeOriginal");
  EXPECT_TRUE(sourceOf(xmpPhoto).startsWith("XMP xmp:CreateDate"))
      << qPrintable(sourceOf(xmpPhoto));
  EXPECT_EQ(sourceOf(undatedPhoto), "File creation date");

  // Information only: the checks' counts are the same as without the column.
  EXPECT_TRUE(filter->isVisible());
  EXPECT_EQ(filter->text(), "NO CAPTURE DATE: 1");
  EXPECT_EQ(errors->text(), errorsBefore);
  EXPECT_EQ(warnings->text(), warningsBefore);

  QTest::mouseClick(filter, Qt::LeftButton);
  PreviewFilterProxy *proxy = view()->previewProxy();
  ASSERT_EQ(proxy->rowCount(), 1);
  EXPECT_EQ(proxy->index(0, PreviewTableModel::OldPathColumn).data().toString(), undatedPhoto);
  EXPECT_EQ(proxy->index(0, PreviewTableModel::DateFromColumn).data().toString(),
            "File creation date");

  // The stamp off: the column and the filter go, and the table shows every row again.
  ASSERT_NO_FATAL_FAILURE(toggleDateStamp());
  EXPECT_EQ(model->columnCount(), 2);
  EXPECT_FALSE(filter->isVisible());
  EXPECT_EQ(proxy->previewFilesMode(), int(PreviewAll));
  EXPECT_EQ(proxy->rowCount(), 3);
  EXPECT_TRUE(find<QPushButton>("filterAllButton")->isChecked());
}

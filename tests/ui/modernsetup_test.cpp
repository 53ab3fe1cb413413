// The setup screen's parts for the newer formats and the camera-clock shift: the format list
// offers WebP, AVIF, HEIC and JPEG XL with the quality panel (greying one the system cannot
// write), and the date stamp's Shift field moves the preview's names as it is typed.
#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/EncoderSupport.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "tests/support/TestEnv.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/PreviewTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/SetupVC.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct QuietFlow : ScreenFlowDelegate {
  void btnNextFromAddPhotosVcTapped() override {}
  void btnBackFromSetupVCTapped() override {}
  void btnStartNewBatchFromSetupVCTapped() override {}
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &) override {}
  void checkForDeletedPhotosInSourceFolder(bool) override {}
};

// The setup screen over one sample photo (taken 17 August 2006, 09:24:48), shown offscreen.
struct ModernSetup : ::testing::Test {
  QTemporaryDir dir;
  AppDelegate delegate;
  QuietFlow flow;
  QString out = dir.filePath("Out");
  std::unique_ptr<SetupVC> screen;

  void open() {
    const QString src = dir.filePath("Trip");
    QDir().mkpath(src);
    QDir().mkpath(out);
    delegate.loadSupportedImageFormats();
    delegate.arraySelectedImagesToProcess.append(PhotoFile::initWithFileUrl(
        testenv::copyPhoto("jpg/Fujifilm_FinePix_E500.jpg", src, "IMG_100.jpg"), false));
    delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
    delegate.selectedOuputSettingObj->outputFolderPath = out;
    delegate.selectedOuputSettingObj->openOutputFolderAfterProcessing = false;
    screen = std::make_unique<SetupVC>(&delegate, &flow);
    screen->resize(1300, 820);
    screen->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(screen.get()));
    view()->setupViewNotification();
    settle();
  }
  ConvertFormatOrRenameView *view() { return screen->settingsView(); }
  template <class T> T *find(const char *name) {
    T *widget = screen->findChild<T *>(QLatin1String(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
  }
  void settle() {
    QSignalSpy shown(view(), &ConvertFormatOrRenameView::previewShown);
    while (view()->isPreviewBusy())
      ASSERT_TRUE(shown.wait(10000));
  }
  QString newPath() {
    return view()->previewModel()->index(0, PreviewTableModel::NewPathColumn).data().toString();
  }
  void chooseInList(const char *name, const QString &entry) {
    auto *list = find<QComboBox>(name);
    const int target = list->findText(entry);
    ASSERT_GE(target, 0) << qPrintable(entry);
    list->setFocus();
    while (list->currentIndex() != target)
      QTest::keyClick(list, list->currentIndex() < target ? Qt::Key_Down : Qt::Key_Up);
  }
};

} // namespace

TEST_F(ModernSetup, NewerFormatsAreListedWithTheQualityPanel) {
  ASSERT_NO_FATAL_FAILURE(open());
  auto *list = find<QComboBox>("outputFormatList");
  for (const char *format : {"webp", "avif", "heic", "jxl"})
    EXPECT_EQ(list->findText(format), delegate.arrFileFormatsSupported.indexOf(format)) << format;
  EXPECT_EQ(list->findText("webp"), 9);
  EXPECT_EQ(list->findText("jxl"), 12);
  for (const char *format : {"webp", "avif", "heic", "jxl"}) {
    chooseInList("outputFormatList", format);
    settle();
    EXPECT_TRUE(find<QWidget>("qualityPanel")->isVisible()) << format;
    EXPECT_EQ(newPath(), out + "/IMG_100." + format);
    EXPECT_EQ(delegate.selectedRenameSettingObj->outputFormatIndex(), list->currentIndex());
  }
}

TEST_F(ModernSetup, FormatWithoutEncoderIsGreyedAndCannotBeChosen) {
  platform::EncoderSupport::setMissingForTesting({"avif"});
  ASSERT_NO_FATAL_FAILURE(open());
  platform::EncoderSupport::setMissingForTesting({});
  auto *list = find<QComboBox>("outputFormatList");
  auto *rows = qobject_cast<QStandardItemModel *>(list->model());
  ASSERT_NE(rows, nullptr);
  EXPECT_FALSE(rows->item(10)->isEnabled());
  EXPECT_TRUE(rows->item(10)->toolTip().contains("AVIF"));
  EXPECT_TRUE(rows->item(11)->isEnabled());
  // Keyboard steps pass over the greyed entry.
  chooseInList("outputFormatList", "webp");
  list->setFocus();
  QTest::keyClick(list, Qt::Key_Down);
  EXPECT_EQ(list->currentText(), "heic");
}

TEST_F(ModernSetup, ShiftFieldMovesThePreviewAsItIsTyped) {
  ASSERT_NO_FATAL_FAILURE(open());
  QTest::mouseClick(find<QRadioButton>("modifyNamesRadio"), Qt::LeftButton);
  settle();
  auto *stamp = find<QGroupBox>("ruleDateTimeStamp");
  stamp->setFocus();
  QTest::keyClick(stamp, Qt::Key_Space); // taken date by default
  chooseInList("dateFormatList", QStringLiteral("DD-MM-YYYY"));
  settle();
  ASSERT_TRUE(newPath().contains("17-08-2006")) << qPrintable(newPath());

  auto *shift = find<QLineEdit>("dateShiftField");
  EXPECT_EQ(shift->accessibleName(), "Shift");
  shift->setFocus();
  QTest::keyClicks(shift, "-1:00");
  settle();
  // "-1:00" is a whole shift (one hour back): the same day still.
  EXPECT_TRUE(newPath().contains("17-08-2006")) << qPrintable(newPath());
  QTest::keyClicks(shift, ":");
  settle();
  // "-1:00:" is being typed: the last whole shift stays.
  EXPECT_TRUE(newPath().contains("17-08-2006")) << qPrintable(newPath());
  QTest::keyClicks(shift, "00");
  settle();
  // "-1:00:00": one day back.
  EXPECT_TRUE(newPath().contains("16-08-2006")) << qPrintable(newPath());
  EXPECT_EQ(delegate.selectedRenameSettingObj->dictDateTimeStamp.value(RuleKey::Shift).toLongLong(),
            -86400);

  shift->selectAll();
  QTest::keyClick(shift, Qt::Key_Backspace);
  settle();
  EXPECT_TRUE(newPath().contains("17-08-2006")) << qPrintable(newPath());
  EXPECT_FALSE(delegate.selectedRenameSettingObj->dictDateTimeStamp.contains(RuleKey::Shift));

  // Writing the correction back is off until asked, and a click on its box is the whole ask.
  auto *write = find<QCheckBox>("writeDateShiftBox");
  EXPECT_EQ(write->accessibleName(), "Write corrected date into photos");
  EXPECT_FALSE(write->isChecked());
  QTest::mouseClick(write, Qt::LeftButton);
  EXPECT_TRUE(write->isChecked());
  EXPECT_TRUE(
      delegate.selectedRenameSettingObj->dictDateTimeStamp.value(RuleKey::WriteShift).toBool());
  QTest::mouseClick(write, Qt::LeftButton);
  EXPECT_FALSE(delegate.selectedRenameSettingObj->dictDateTimeStamp.contains(RuleKey::WriteShift));
}

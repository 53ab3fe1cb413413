// The setup screen's parts for the newer formats and the camera-clock shift: the format list
// offers WebP, AVIF, HEIC and JPEG XL with the quality panel (greying one the system cannot
// write), and the date stamp's Shift field moves the preview's names as it is typed.
#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/EncoderSupport.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/PreviewTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/SetupVC.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// The setup screen over one sample photo (taken 17 August 2006, 09:24:48), shown offscreen.
struct ModernSetup : SetupScreenFixture {
  void open() {
    const QString src = dir.filePath("Trip");
    QDir().mkpath(src);
    useBatch({testenv::copyPhoto("jpg/Fujifilm_FinePix_E500.jpg", src, "IMG_100.jpg")});
    showScreen();
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
  // "-1:00" is a whole shift (one hour back): the same day still, and said in words.
  auto *meaning = find<QLabel>("dateShiftMeaning");
  EXPECT_TRUE(newPath().contains("17-08-2006")) << qPrintable(newPath());
  EXPECT_EQ(meaning->text(), "1 hour earlier");
  QTest::keyClicks(shift, ":");
  settle();
  // "-1:00:" is being typed: the last whole shift stays.
  EXPECT_TRUE(newPath().contains("17-08-2006")) << qPrintable(newPath());
  EXPECT_EQ(meaning->text(), "HH:MM, D:HH:MM or D:HH:MM:SS");
  QTest::keyClicks(shift, "00");
  settle();
  // "-1:00:00": one day back.
  EXPECT_TRUE(newPath().contains("16-08-2006")) << qPrintable(newPath());
  EXPECT_EQ(meaning->text(), "1 day earlier");
  EXPECT_EQ(delegate.selectedRenameSettingObj->dictDateTimeStamp.value(RuleKey::Shift).toLongLong(),
            -86400);

  shift->selectAll();
  QTest::keyClick(shift, Qt::Key_Backspace);
  settle();
  EXPECT_TRUE(newPath().contains("17-08-2006")) << qPrintable(newPath());
  EXPECT_FALSE(delegate.selectedRenameSettingObj->dictDateTimeStamp.contains(RuleKey::Shift));
  EXPECT_TRUE(meaning->text().isEmpty());

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

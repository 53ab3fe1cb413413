// The setup screen's presets: applying one changes the preview; saving the current settings
// as a new preset, and a damaged preset file named in the panel without hiding the others.
#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/Presets.h"
#include "tests/support/TestEnv.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/PresetsPanel.h"
#include "ui/PreviewTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/SetupVC.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct NoFlow : ScreenFlowDelegate {
  void btnNextFromAddPhotosVcTapped() override {}
  void btnBackFromSetupVCTapped() override {}
  void btnStartNewBatchFromSetupVCTapped() override {}
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &) override {}
  void checkForDeletedPhotosInSourceFolder(bool) override {}
};

struct PresetsOnSetup : ::testing::Test {
  QTemporaryDir dir;
  AppDelegate delegate;
  NoFlow flow;
  std::unique_ptr<SetupVC> screen;
  QString out = dir.filePath("out");
  QString other = dir.filePath("other");

  void SetUp() override {
    QDir(Presets::folder()).removeRecursively();
    QDir().mkpath(out);
    QDir().mkpath(other);
    delegate.loadSupportedImageFormats();
    delegate.arraySelectedImagesToProcess.append(PhotoFile::initWithFileUrl(
        testenv::copyPhoto("jpg/PaintTool_sample.jpg", dir.path(), "shot.jpg"), false));
    delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
    delegate.selectedOuputSettingObj->outputFolderPath = out;
  }
  void open() {
    screen = std::make_unique<SetupVC>(&delegate, &flow);
    screen->resize(1300, 820);
    screen->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(screen.get()));
    view()->setupViewNotification();
    settle();
  }
  ConvertFormatOrRenameView *view() { return screen->settingsView(); }
  void settle() {
    QSignalSpy shown(view(), &ConvertFormatOrRenameView::previewShown);
    while (view()->isPreviewBusy())
      ASSERT_TRUE(shown.wait(10000));
  }
  QString newPath() {
    return view()->previewModel()->index(0, PreviewTableModel::NewPathColumn).data().toString();
  }
  PresetsPanel *panel() { return screen->findChild<PresetsPanel *>(); }
  QPushButton *button(const char *name) {
    return screen->findChild<QPushButton *>(QLatin1String(name));
  }
};

TEST_F(PresetsOnSetup, ApplyingAPresetChangesThePreviewAndSavingKeepsTheCurrentSettings) {
  QString error;
  auto setting = BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  setting->flagRenamingMode = 1;
  setting->outputFormat = 6; // png
  setting->dictAddString = {{RuleKey::State, true}, {RuleKey::Prefix, "wk_"}};
  setting->dictAddDigit = {{RuleKey::State, true},
                           {RuleKey::As, 1},
                           {RuleKey::StartingIndex, 1},
                           {RuleKey::Increment, 1},
                           {RuleKey::Digits, 2}};
  auto options = OutputOptionSettings::initWithDefaults();
  options->outputFolderPath = other;
  ASSERT_TRUE(Presets::save("Weekly", setting->dictionaryRepresentation(),
                            options->dictionaryRepresentation(), &error));
  open();
  EXPECT_EQ(newPath(), out + "/shot.jpg");
  ASSERT_NE(panel(), nullptr);
  EXPECT_EQ(panel()->selectedName(), "Weekly");

  QSignalSpy shown(view(), &ConvertFormatOrRenameView::previewShown);
  QTest::mouseClick(button("presetApply"), Qt::LeftButton);
  ASSERT_TRUE(shown.wait(10000));
  settle();
  EXPECT_EQ(newPath(), other + "/wk_shot01.png");
  EXPECT_EQ(delegate.selectedOuputSettingObj->outputFolderPath, other);

  // The current settings under a new name; the same name again is refused.
  panel()->askName = [](const QString &, const QString &, const QString &) {
    return QStringLiteral("Copy");
  };
  screen->findChild<QAction *>(QStringLiteral("presetSaveNew"))->trigger();
  Presets::Preset saved;
  ASSERT_TRUE(Presets::find("Copy", &saved, &error)) << error.toStdString();
  EXPECT_EQ(saved.settings.value("Output Format").toInt(), 6);
  EXPECT_EQ(saved.options.value("outputFolderPath").toString(), other);
  EXPECT_EQ(panel()->selectedName(), "Copy");
  screen->findChild<QAction *>(QStringLiteral("presetSaveNew"))->trigger();
  EXPECT_TRUE(panel()->message().contains("already exists"));
}

TEST_F(PresetsOnSetup, ADamagedPresetIsNamedAndTheOthersStayUsable) {
  QString error;
  ASSERT_TRUE(Presets::save("Good", {{"Output Format", 3}}, {}, &error));
  testenv::writeFile(Presets::fileForName("Broken"), "<plist><dict><key>");
  open();
  auto *list = screen->findChild<QComboBox *>(QStringLiteral("presetList"));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->count(), 1);
  EXPECT_TRUE(panel()->message().contains(Presets::fileForName("Broken")));
  QSignalSpy shown(view(), &ConvertFormatOrRenameView::previewShown);
  QTest::mouseClick(button("presetApply"), Qt::LeftButton);
  ASSERT_TRUE(shown.wait(10000));
  settle();
  EXPECT_EQ(QFileInfo(newPath()).suffix(), "gif");
}

} // namespace

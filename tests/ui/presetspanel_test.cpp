// The setup screen's presets: applying one changes the preview; saving the current settings
// as a new preset, and a damaged preset file named in the panel without hiding the others.
#include "rename/BatchRenameSetting.h"
#include "rename/Presets.h"
#include "tests/support/SetupScreenFixture.h"
#include "tests/support/TestEnv.h"
#include "ui/PresetsPanel.h"

#include <QAction>
#include <QFileInfo>
#include <QPushButton>

namespace {

struct PresetsOnSetup : SetupScreenFixture {
  QString other = dir.filePath("other");

  void SetUp() override {
    QDir(Presets::folder()).removeRecursively();
    out = dir.filePath("out");
    QDir().mkpath(other);
    useBatch({testenv::copyPhoto("jpg/PaintTool_sample.jpg", dir.path(), "shot.jpg")});
  }
  PresetsPanel *panel() { return screen->findChild<PresetsPanel *>(); }
  // Applies the chosen preset and waits for the preview it brings.
  void apply() {
    QSignalSpy shown(view(), &ConvertFormatOrRenameView::previewShown);
    QTest::mouseClick(find<QPushButton>("presetApply"), Qt::LeftButton);
    ASSERT_TRUE(shown.wait(10000));
    settle();
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
  showScreen();
  EXPECT_EQ(newPath(), out + "/shot.jpg");
  ASSERT_NE(panel(), nullptr);
  EXPECT_EQ(panel()->selectedName(), "Weekly");

  ASSERT_NO_FATAL_FAILURE(apply());
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
  showScreen();
  EXPECT_EQ(find<QComboBox>("presetList")->count(), 1);
  EXPECT_TRUE(panel()->message().contains(Presets::fileForName("Broken")));
  ASSERT_NO_FATAL_FAILURE(apply());
  EXPECT_EQ(QFileInfo(newPath()).suffix(), "gif");
}

} // namespace

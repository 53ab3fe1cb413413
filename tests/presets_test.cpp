// Named presets through `quillmere presets` in a temporary HOME: save, list, use with
// --preset, export and import unchanged, rename and delete, and damaged files that are
// reported by file and key without harming the other presets.
#include "tests/support/TestEnv.h"

#include "platform/PropertyList.h"
#include "rename/OutputOptionSettings.h"
#include "rename/Presets.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

class PresetsTest : public testenv::InOutTest {
protected:
  void SetUp() override {
    InOutTest::SetUp();
    // The temporary HOME lasts for the whole process: each test starts without presets.
    QDir(Presets::folder()).removeRecursively();
  }
};

TEST_F(PresetsTest, SavedPresetRunsListsAndRoundTripsThroughExportAndImport) {
  const auto saved = testenv::runQuillmere({"presets", "save", "Weekly", "--format", "png",
                                            "--copy", out, "--prefix", "wk_", "--number", "suffix",
                                            "--start", "1", "--digits", "3"});
  ASSERT_EQ(saved.exitCode, 0) << saved.err.toStdString();
  const QString file = Presets::fileForName("Weekly");
  ASSERT_TRUE(QFile::exists(file));

  auto listed = testenv::runQuillmere({"presets"});
  EXPECT_EQ(listed.exitCode, 0);
  EXPECT_EQ(listed.out.toStdString(),
            QStringLiteral("Weekly\tpng\tmodify names\tcopy to %1\n").arg(out).toStdString());

  // The preset gives the settings; an option given with it overrides it.
  testenv::copyPhoto("jpg/PaintTool_sample.jpg", in, "x.jpg");
  auto preview = testenv::runQuillmere({"preview", "--preset", "Weekly", in});
  EXPECT_TRUE(preview.out.contains(out + "/wk_x001.png")) << preview.out.toStdString();
  preview = testenv::runQuillmere({"preview", "--preset", "Weekly", "--format", "tif", in});
  EXPECT_TRUE(preview.out.contains(out + "/wk_x001.tif")) << preview.out.toStdString();
  EXPECT_EQ(testenv::runQuillmere({"preview", "--preset", "Nope", in}).exitCode, 64);

  // Export, delete, import: the same file, byte for byte.
  const QByteArray before = testenv::readFile(file);
  const QString exported = dir.filePath("weekly.plist");
  ASSERT_EQ(testenv::runQuillmere({"presets", "export", "Weekly", exported}).exitCode, 0);
  EXPECT_EQ(testenv::runQuillmere({"presets", "export", "Weekly", exported}).exitCode, 1)
      << "an export never writes over a file";
  EXPECT_EQ(testenv::runQuillmere({"presets", "import", exported}).exitCode, 1)
      << "an import never writes over a preset";
  ASSERT_EQ(testenv::runQuillmere({"presets", "delete", "Weekly"}).exitCode, 0);
  EXPECT_FALSE(QFile::exists(file));
  const auto imported = testenv::runQuillmere({"presets", "import", exported});
  ASSERT_EQ(imported.exitCode, 0) << imported.err.toStdString();
  EXPECT_EQ(testenv::readFile(file), before);

  QString error;
  ASSERT_TRUE(Presets::rename("Weekly", "Monthly", &error)) << error.toStdString();
  Presets::Preset preset;
  ASSERT_TRUE(Presets::find("Monthly", &preset, &error));
  EXPECT_EQ(preset.settings.value("Output Format").toInt(), 6);
  EXPECT_FALSE(Presets::find("Weekly", &preset, &error));
  EXPECT_FALSE(Presets::save("a/b", {}, {}, &error));
}

TEST_F(PresetsTest, DamagedPresetIsReportedByFileAndKeyAndHarmsNoOther) {
  QString error;
  ASSERT_TRUE(Presets::save("Good", {{"Output Format", 4}}, {}, &error));
  QDir().mkpath(Presets::folder());
  testenv::writeFile(Presets::fileForName("Garbage"), "not a property list");
  ASSERT_TRUE(platform::PropertyList::writeDictionary(
      Presets::fileForName("Range"),
      {{"Settings", QVariantMap{{"Output Format", 12}}}, {"Options", QVariantMap{}}}));
  ASSERT_TRUE(platform::PropertyList::writeDictionary(
      Presets::fileForName("Digits"),
      {{"Settings", QVariantMap{{"Add Digit", QVariantMap{{"Digits", 15}}}}}}));
  ASSERT_TRUE(platform::PropertyList::writeDictionary(
      Presets::fileForName("Flag"), {{"Options", QVariantMap{{"useSourceFolder", "yes"}}}}));

  const auto listed = testenv::runQuillmere({"presets"});
  EXPECT_EQ(listed.exitCode, 1);
  EXPECT_EQ(listed.out.toStdString(), QStringLiteral("Good\tjpg\tkeep names\tcopy to %1\n")
                                          .arg(OutputOptionSettings::defaultOutputFolderPath())
                                          .toStdString());
  const std::pair<const char *, const char *> reported[] = {
      {"Garbage", "not a property list"},
      {"Range", "\"Settings\" / \"Output Format\" is 12, not a whole number from 0 to 8"},
      {"Digits", "\"Settings\" / \"Add Digit\" / \"Digits\" is 15"},
      {"Flag", "\"Options\" / \"useSourceFolder\" is not a number"}};
  for (const auto &[name, message] : reported)
    EXPECT_TRUE(listed.err.contains(Presets::fileForName(name) + ": " + message))
        << listed.err.toStdString();

  // Using a damaged preset is refused with the same message; the good one still works.
  const auto used = testenv::runQuillmere({"preview", "--preset", "Range", dir.path()});
  EXPECT_EQ(used.exitCode, 64);
  EXPECT_TRUE(used.err.contains("\"Output Format\" is 12")) << used.err.toStdString();
  Presets::Preset good;
  EXPECT_TRUE(Presets::find("Good", &good, &error));
}

} // namespace

// Standard folders, the trash test and the preferences store, inside the throw-away HOME
// the test runner gives the process.
#include "platform/Preferences.h"
#include "platform/StandardFolders.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <tuple>
#include <unistd.h>

using namespace platform;

namespace {

// The runner unsets every XDG_* variable: one is set for a scope, then unset again.
struct ScopedEnv {
  ScopedEnv(const char *name, const QString &value) : name(name) {
    qputenv(name, value.toLocal8Bit());
  }
  ~ScopedEnv() { qunsetenv(name); }
  const char *name;
};

} // namespace

TEST(StandardFoldersTest, FoldersFollowHomeAndXdg) {
  const QString home = QDir::cleanPath(qEnvironmentVariable("HOME"));
  EXPECT_EQ(homeDirectory(), home);
  EXPECT_FALSE(loginName().isEmpty());
  EXPECT_EQ(picturesDirectory(), home + "/Pictures");
  EXPECT_EQ(desktopDirectory(), home + "/Desktop");
  EXPECT_EQ(documentsDirectory(), home + "/Documents");
  EXPECT_EQ(applicationDataDirectory(), home + "/.local/share/org.quillmere.Quillmere");
  EXPECT_EQ(trashDirectory(), home + "/.local/share/Trash");

  {
    ScopedEnv data("XDG_DATA_HOME", home + "/data");
    EXPECT_EQ(trashDirectory(), home + "/data/Trash");
    EXPECT_EQ(applicationDataDirectory(), home + "/data/org.quillmere.Quillmere");
  }
  {
    // A relative XDG_DATA_HOME is invalid and ignored.
    ScopedEnv data("XDG_DATA_HOME", QStringLiteral("relative/data"));
    EXPECT_EQ(trashDirectory(), home + "/.local/share/Trash");
  }
  {
    // Configured user folders win over the defaults.
    const QString config = home + "/cfg";
    testenv::writeFile(config + "/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
    ScopedEnv configHome("XDG_CONFIG_HOME", config);
    EXPECT_EQ(picturesDirectory(), home + "/Bilder");
  }
}

TEST(StandardFoldersTest, TrashTestWithAndWithoutTrailingSlash) {
  const QString trash = trashDirectory();
  const QString uid = QString::number(getuid());
  // Path, inside the trash as a folder (with slash), as a text prefix (without).
  const std::tuple<QString, bool, bool> rows[] = {
      {trash + "/files/IMG_1.JPG", true, true},
      {trash.toUpper() + "/FILES/img.jpg", true, true},
      {trash, false, true},
      {trash + "/", true, true},
      {trash + "2/files/x.jpg", false, true}, // text prefix only
      {trashDirectory().replace("/Trash", "/NotTrash") + "/x.jpg", false, false},
      {"/media/card/.Trash-" + uid + "/files/a.jpg", true, true},
      {"/media/card/.trash-" + uid, false, true},
      {"/MEDIA/Card/.TRASH/" + uid + "/files/a.jpg", true, true},
      {"/.Trash-" + uid + "/files/a.jpg", true, true},
      {"/media/card/.Trash-" + uid + "9/files/a.jpg", false, true},
      {"/media/card/.Trash-" + QString::number(getuid() + 1) + "/files/a.jpg", false, false},
      {"/media/card/Trash/files/a.jpg", false, false},
      {homeDirectory() + "/Pictures/a.jpg", false, false},
      {QString(), false, false}};
  for (const auto &[path, withSlash, withoutSlash] : rows) {
    EXPECT_EQ(isInTrash(path, true), withSlash) << path.toStdString();
    EXPECT_EQ(isInTrash(path, false), withoutSlash) << path.toStdString();
  }
}

class PreferencesTest : public ::testing::Test {
protected:
  void SetUp() override { Preferences::removeAll(); }
  void TearDown() override {
    QFile::remove(Preferences::filePath() + ".corrupt");
    Preferences::removeAll();
  }
};

// Values come back with their types from the store under the config folder of HOME.
TEST_F(PreferencesTest, RoundTripOfValues) {
  const QByteArray archive("\x00\x01\x02\xff\n[General]\nx=1", 18);
  Preferences::setValue("isFirstTimeLaunch", QStringLiteral("yes"));
  EXPECT_EQ(Preferences::filePath(),
            QDir::cleanPath(qEnvironmentVariable("HOME")) + "/.config/Quillmere/Quillmere.ini");
  EXPECT_TRUE(testenv::readFile(Preferences::filePath()).contains("isFirstTimeLaunch=yes"))
      << "written at once";
  Preferences::setValue("appOpenedCount", 7);
  Preferences::setValue("notShowPromotionWindow", true);
  Preferences::setValue("BATCH_RENAME_SETTING_OBJECT", archive);
  Preferences::setValue("appVersion", QStringLiteral("Ünïcode 1.0 = [x]; #"));

  EXPECT_EQ(Preferences::stringValue("isFirstTimeLaunch"), "yes");
  EXPECT_TRUE(Preferences::boolValue("isFirstTimeLaunch"));
  EXPECT_EQ(Preferences::integerValue("appOpenedCount"), 7);
  EXPECT_EQ(Preferences::stringValue("appOpenedCount"), "7");
  EXPECT_TRUE(Preferences::boolValue("notShowPromotionWindow"));
  EXPECT_EQ(Preferences::dataValue("BATCH_RENAME_SETTING_OBJECT"), archive);
  EXPECT_EQ(Preferences::stringValue("appVersion"), QStringLiteral("Ünïcode 1.0 = [x]; #"));

  // Absent keys read as the empty values.
  EXPECT_FALSE(Preferences::contains("PROJECT_SESSION"));
  EXPECT_EQ(Preferences::stringValue("PROJECT_SESSION"), "");
  EXPECT_EQ(Preferences::integerValue("PROJECT_SESSION"), 0);
  EXPECT_TRUE(Preferences::dataValue("PROJECT_SESSION").isEmpty());
  EXPECT_EQ(Preferences::value("PROJECT_SESSION", 5).toInt(), 5);

  Preferences::remove("appOpenedCount");
  EXPECT_FALSE(Preferences::contains("appOpenedCount"));
  EXPECT_TRUE(Preferences::contains("appVersion"));
  EXPECT_TRUE(Preferences::synchronize());
  Preferences::removeAll();
  EXPECT_FALSE(Preferences::contains("appVersion"));
}

TEST_F(PreferencesTest, TextReadAsNumberAndFlag) {
  const std::tuple<const char *, qint64, bool> rows[] = {
      {"12abc", 12, true}, {" -3", -3, true}, {"3.7", 3, true},
      {"no", 0, false},    {"YES", 0, true},  {"true", 0, true},
      {"false", 0, false}, {"007", 7, true},  {"0", 0, false}};
  for (const auto &[text, number, flag] : rows) {
    Preferences::setValue("probe", QString::fromLatin1(text));
    EXPECT_EQ(Preferences::integerValue("probe"), number) << text;
    EXPECT_EQ(Preferences::boolValue("probe"), flag) << text;
  }
}

TEST_F(PreferencesTest, CorruptStoreReadsAsAbsentAndIsReplacedOnWrite) {
  Preferences::setValue("appVersion", QStringLiteral("1.0"));
  const QString path = Preferences::filePath();
  const QByteArray garbage("\x89PNG\r\n\x1a\n\x00\x00[[[\xff\xfe=\x01\x02\nappVersion\n=\n\\", 30);
  ASSERT_FALSE(testenv::writeFile(path, garbage).isEmpty());

  EXPECT_FALSE(Preferences::contains("appVersion"));
  EXPECT_EQ(Preferences::stringValue("appVersion"), "");
  EXPECT_FALSE(Preferences::contains("isFirstTimeLaunch"));

  // A write succeeds and keeps the damaged bytes next to the new store.
  Preferences::setValue("isFirstTimeLaunch", QStringLiteral("yes"));
  EXPECT_EQ(Preferences::stringValue("isFirstTimeLaunch"), "yes");
  QFile aside(path + ".corrupt");
  ASSERT_TRUE(aside.open(QIODevice::ReadOnly));
  EXPECT_EQ(aside.readAll(), garbage);
}

// Standard folders, the trash test and the preferences store, inside the throw-away HOME
// the test runner gives the process.
#include "platform/Preferences.h"
#include "platform/StandardFolders.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <cstdlib>
#include <unistd.h>

using namespace platform;

namespace {

// Sets an environment variable for one test and restores the earlier state after it.
class ScopedEnv {
public:
  ScopedEnv(const char *name, const QString &value) : name_(name) {
    if (const char *old = std::getenv(name)) {
      had_ = true;
      old_ = old;
    }
    setenv(name, value.toLocal8Bit().constData(), 1);
  }
  ~ScopedEnv() {
    if (had_)
      setenv(name_, old_.constData(), 1);
    else
      unsetenv(name_);
  }

private:
  const char *name_;
  bool had_ = false;
  QByteArray old_;
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
  EXPECT_EQ(temporaryDirectory(), QDir::tempPath());

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
  struct Row {
    QString path;
    bool withSlash;
    bool withoutSlash;
  };
  const Row rows[] = {
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
      {QString(), false, false},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(isInTrash(row.path, true), row.withSlash) << row.path.toStdString();
    EXPECT_EQ(isInTrash(row.path, false), row.withoutSlash) << row.path.toStdString();
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

TEST_F(PreferencesTest, StoreLivesUnderConfigOfHome) {
  EXPECT_EQ(Preferences::filePath(),
            QDir::cleanPath(qEnvironmentVariable("HOME")) + "/.config/Quillmere/Quillmere.ini");
  Preferences::setValue("isFirstTimeLaunch", QStringLiteral("yes"));
  EXPECT_TRUE(QFileInfo::exists(Preferences::filePath())); // flushed at once
  QFile file(Preferences::filePath());
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_TRUE(file.readAll().contains("isFirstTimeLaunch=yes"));
}

TEST_F(PreferencesTest, RoundTripOfValues) {
  const QByteArray archive("\x00\x01\x02\xff\n[General]\nx=1", 18);
  Preferences::setValue("isFirstTimeLaunch", QStringLiteral("yes"));
  Preferences::setValue("appOpenedCount", 7);
  Preferences::setValue("notShowPromotionWindow", true);
  Preferences::setValue("BATCH_RENAME_SETTING_OBJECT", archive);
  Preferences::setValue("appVersion", QStringLiteral("Ünïcode 1.0 = [x]; #"));

  EXPECT_TRUE(Preferences::contains("isFirstTimeLaunch"));
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
  EXPECT_FALSE(Preferences::boolValue("PROJECT_SESSION"));
  EXPECT_TRUE(Preferences::dataValue("PROJECT_SESSION").isEmpty());
  EXPECT_EQ(Preferences::value("PROJECT_SESSION", 5).toInt(), 5);

  Preferences::remove("appOpenedCount");
  EXPECT_FALSE(Preferences::contains("appOpenedCount"));
  EXPECT_TRUE(Preferences::contains("appVersion"));
  EXPECT_TRUE(Preferences::synchronize());

  Preferences::removeAll();
  for (const char *key :
       {"isFirstTimeLaunch", "notShowPromotionWindow", "BATCH_RENAME_SETTING_OBJECT", "appVersion"})
    EXPECT_FALSE(Preferences::contains(key)) << key;
}

TEST_F(PreferencesTest, TextReadAsNumberAndFlag) {
  struct Row {
    const char *text;
    qint64 number;
    bool flag;
  };
  const Row rows[] = {{"12abc", 12, true}, {" -3", -3, true}, {"3.7", 3, true},
                      {"no", 0, false},    {"YES", 0, true},  {"true", 0, true},
                      {"false", 0, false}, {"007", 7, true},  {"0", 0, false}};
  for (const Row &row : rows) {
    Preferences::setValue("probe", QString::fromLatin1(row.text));
    EXPECT_EQ(Preferences::integerValue("probe"), row.number) << row.text;
    EXPECT_EQ(Preferences::boolValue("probe"), row.flag) << row.text;
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

#include "app/AppDelegate.h"
#include "platform/Preferences.h"
#include "platform/StandardFolders.h"
#include "tests/support/TestEnv.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace Preferences = platform::Preferences;

inline void PrintTo(const QString &text, std::ostream *out) {
  *out << '"' << text.toStdString() << '"';
}

namespace {

QStringList &loggedLines() {
  static QStringList lines;
  return lines;
}

// Every test starts as a fresh installation: no preferences, no store folder.
class AppDelegateTest : public ::testing::Test {
protected:
  void SetUp() override {
    QFile::remove(Preferences::filePath());
    QFile::remove(Preferences::filePath() + ".corrupt");
    QDir(storeFolder()).removeRecursively();
    QFile::remove(storeFolder()); // a test may have put a file in its place
    loggedLines().clear();
    previousHandler_ =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &line) {
          loggedLines().append(line);
        });
  }
  void TearDown() override { qInstallMessageHandler(previousHandler_); }
  static QString storeFolder() { return platform::applicationDataDirectory(); }
  static QString storeFile() { return storeFolder() + "/OSXCoreDataObjC.storedata"; }

  // One start of the application, as a new process would do it.
  static AppDelegate::RateupDecision launch(AppDelegate *delegate = nullptr) {
    AppDelegate local;
    return (delegate ? delegate : &local)->applicationDidFinishLaunching();
  }
  // Six launches pass quietly; the seventh asks for a rating.
  static void expectQuestionOnSeventhLaunch() {
    for (int n = 1; n <= 6; ++n)
      EXPECT_EQ(launch(), AppDelegate::RateupNone) << "launch " << n;
    EXPECT_EQ(launch(), AppDelegate::RateupShowQuestion);
  }
  // Errors the delegate presents are collected; recoverFromError is the window's answer.
  void collectErrors(AppDelegate &delegate) {
    delegate.presentErrorHandler = [this](const AppError &error) {
      presented.append(error);
      return recoverFromError;
    };
  }
  QList<AppError> presented;
  bool recoverFromError = false;

private:
  QtMessageHandler previousHandler_ = nullptr;
};

// ---- Start-up ----

TEST_F(AppDelegateTest, FirstLaunchWipesEarlierSettings) {
  Preferences::setValue("BATCH_RENAME_SETTING_OBJECT", QByteArray("stale"));
  Preferences::setValue("appOpenedCount", 4);
  Preferences::setValue("appVersion", "1");

  AppDelegate delegate;
  launch(&delegate);
  EXPECT_TRUE(delegate.isFIRST_TIME_LAUNCH);
  EXPECT_FALSE(Preferences::contains("BATCH_RENAME_SETTING_OBJECT"));
  EXPECT_EQ(Preferences::stringValue("isFirstTimeLaunch"), "yes");
  EXPECT_EQ(Preferences::stringValue("isFirstTime"), "yes");
  // The stale count and answer went with the wipe; this launch is the first counted.
  EXPECT_FALSE(Preferences::contains("appVersion"));
  EXPECT_EQ(Preferences::integerValue("appOpenedCount"), 1);

  // A later launch keeps what the user set since.
  Preferences::setValue("OUTPUT_OPTONS_SETTING", QByteArray("mine"));
  AppDelegate second;
  launch(&second);
  EXPECT_FALSE(second.isFIRST_TIME_LAUNCH);
  EXPECT_EQ(Preferences::dataValue("OUTPUT_OPTONS_SETTING"), QByteArray("mine"));

  // Only "isFirstTime" missing: it is added, without a wipe.
  Preferences::remove("isFirstTime");
  launch();
  EXPECT_EQ(Preferences::stringValue("isFirstTime"), "yes");
  EXPECT_EQ(Preferences::dataValue("OUTPUT_OPTONS_SETTING"), QByteArray("mine"));
}

TEST_F(AppDelegateTest, StartUpOrderStateAndConsoleLines) {
  AppDelegate delegate;
  delegate.selectedImageIndex = 5;
  delegate.scaledImgSize = QSizeF(1, 1);
  delegate.isAUTO_CORRECT_ORIENTATION = false;

  QStringList linesWhenWindowOpened;
  qsizetype formatsWhenWindowOpened = -1;
  bool firstLaunchKeyWhenWindowOpened = false;
  delegate.openMainWindowHandler = [&] {
    linesWhenWindowOpened = loggedLines();
    formatsWhenWindowOpened = delegate.arrFileFormatsSupported.size();
    firstLaunchKeyWhenWindowOpened = Preferences::contains("isFirstTimeLaunch");
  };
  launch(&delegate);

  // The window opens after the wipe and the OS version, before the format list is loaded.
  EXPECT_TRUE(firstLaunchKeyWhenWindowOpened);
  EXPECT_EQ(formatsWhenWindowOpened, 0);
  ASSERT_EQ(linesWhenWindowOpened.size(), 2);
  EXPECT_EQ(linesWhenWindowOpened[0], "applicationDidFinishLaunching start");
  EXPECT_TRUE(QRegularExpression(QStringLiteral("^OS Version: \\d+\\.\\d+$"))
                  .match(linesWhenWindowOpened[1])
                  .hasMatch())
      << linesWhenWindowOpened[1].toStdString();
  ASSERT_EQ(loggedLines().size(), 3);
  EXPECT_EQ(loggedLines().last(), "applicationDidFinishLaunching stop");

  // The state set before the launch is reset; the format list is loaded.
  // Indexes 0-8 keep their meaning; the newer formats follow "pdf".
  EXPECT_EQ(delegate.arrFileFormatsSupported,
            QStringList({"Keep original format", "tif", "bmp", "gif", "jpg", "jpeg", "png", "jp2",
                         "pdf", "webp", "avif", "heic", "jxl"}));
  EXPECT_EQ(delegate.scaledImgSize, QSizeF(580, 440));
  EXPECT_EQ(delegate.selectedImageIndex, -1);
  EXPECT_TRUE(delegate.isAUTO_CORRECT_ORIENTATION);
  // Start-up never touches the object store.
  EXPECT_FALSE(delegate.hasManagedObjectContext());
  EXPECT_FALSE(QFileInfo::exists(storeFolder()));
}

TEST_F(AppDelegateTest, HeadlessPreparationLeavesLaunchKeysAlone) {
  Preferences::setValue("BATCH_RENAME_SETTING_OBJECT", QByteArray("stale"));
  AppDelegate delegate;
  delegate.prepareForHeadlessCommand();
  EXPECT_EQ(delegate.arrFileFormatsSupported.size(), 13);
  EXPECT_EQ(Preferences::dataValue("BATCH_RENAME_SETTING_OBJECT"), QByteArray("stale"));
  for (const char *key : {"isFirstTimeLaunch", "isFirstTime", "appOpenedCount", "appVersion"})
    EXPECT_FALSE(Preferences::contains(QString::fromLatin1(key))) << key;
  EXPECT_TRUE(loggedLines().isEmpty()) << loggedLines().join('\n').toStdString();
}

// ---- Launch count and rating question ----

TEST_F(AppDelegateTest, SeventhLaunchAsksAndResetsTheCount) {
  for (int n = 1; n <= 6; ++n) {
    EXPECT_EQ(launch(), AppDelegate::RateupNone) << "launch " << n;
    EXPECT_EQ(Preferences::integerValue("appOpenedCount"), n);
  }
  EXPECT_EQ(launch(), AppDelegate::RateupShowQuestion);
  EXPECT_EQ(Preferences::integerValue("appOpenedCount"), 0);
  // Left unanswered (the window was closed): asked again seven launches later.
  expectQuestionOnSeventhLaunch();
}

TEST_F(AppDelegateTest, NoIsFinalUntilTheVersionChanges) {
  for (int n = 1; n <= 6; ++n)
    launch();
  AppDelegate delegate;
  ASSERT_EQ(launch(&delegate), AppDelegate::RateupShowQuestion);
  int opened = 0;
  delegate.openURLHandler = [&](const QString &) { return ++opened > 0; };
  delegate.alertDidEndClose(AppDelegate::AlertAlternateReturn);
  EXPECT_EQ(opened, 0); // "NO" never opens the store page
  EXPECT_EQ(Preferences::stringValue("appVersion"), AppDelegate::bundleVersion());

  for (int n = 1; n <= 20; ++n) {
    EXPECT_EQ(launch(), AppDelegate::RateupNone) << "launch " << n;
    EXPECT_EQ(Preferences::integerValue("appOpenedCount"), 0);
  }

  // An answer given to an earlier version does not hold for this one.
  Preferences::setValue("appVersion", "0.9");
  expectQuestionOnSeventhLaunch();
}

TEST_F(AppDelegateTest, YesCountsOnlyWhenTheStorePageOpened) {
  AppDelegate delegate;
  delegate.alertDidEndClose(AppDelegate::AlertDefaultReturn, false);
  EXPECT_FALSE(Preferences::contains("appVersion"));
  expectQuestionOnSeventhLaunch();

  // The one-argument form opens the page itself through the window's handler.
  QStringList opened;
  delegate.openURLHandler = [&](const QString &address) {
    opened.append(address);
    return false;
  };
  delegate.alertDidEndClose(AppDelegate::AlertDefaultReturn);
  EXPECT_EQ(opened, QStringList{AppDelegate::storePageAddress()});
  EXPECT_FALSE(Preferences::contains("appVersion"));

  delegate.openURLHandler = [](const QString &) { return true; };
  delegate.alertDidEndClose(AppDelegate::AlertDefaultReturn);
  EXPECT_EQ(Preferences::stringValue("appVersion"), AppDelegate::bundleVersion());
}

// ---- Object store ----

// Records are kept in the store's XML file; quitting saves them without asking.
TEST_F(AppDelegateTest, StoreRoundTripsRecordsInItsXmlFile) {
  const QVariantMap values = {{"name", QStringLiteral("Holiday <&> \"batch\"")},
                              {"count", 42},
                              {"ratio", 0.82},
                              {"done", true},
                              {"when", QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 120), Qt::UTC)},
                              {"blob", QByteArray("\x00\x01\xff", 3)}};
  {
    AppDelegate delegate;
    EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateNow); // no store yet
    auto context = delegate.managedObjectContext();
    ASSERT_TRUE(context);
    EXPECT_TRUE(QFileInfo(storeFolder()).isDir());
    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateNow); // no changes
    auto record = context->insertNewObject("Session");
    for (auto it = values.cbegin(); it != values.cend(); ++it)
      context->setValue(record, it.key(), it.value());
    EXPECT_TRUE(context->hasChanges());
    EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateNow); // saved
    EXPECT_FALSE(context->hasChanges());
  }
  QFile file(storeFile());
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_TRUE(file.readAll().contains("<database model=\"Quillmere\""));

  AppDelegate reopened;
  auto context = reopened.managedObjectContext();
  ASSERT_TRUE(context);
  const auto records = context->objects("Session");
  ASSERT_EQ(records.size(), 1);
  for (auto it = values.cbegin(); it != values.cend(); ++it)
    EXPECT_EQ(records[0]->attributes.value(it.key()), it.value()) << it.key().toStdString();
  // New records do not reuse the identifiers of stored ones.
  EXPECT_NE(context->insertNewObject("Session")->objectID, records[0]->objectID);
}

TEST_F(AppDelegateTest, StoreFolderThatIsAFileIsReportedAndRetried) {
  testenv::writeFile(storeFolder(), "not a folder");
  AppDelegate delegate;
  // Without a window to show it, the error goes to stderr.
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(delegate.persistentStoreCoordinator());
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("Failed to initialize the application's saved data"), std::string::npos);
  EXPECT_NE(err.find("Expected a folder to store application data, found a file ("),
            std::string::npos);

  collectErrors(delegate);
  EXPECT_FALSE(delegate.persistentStoreCoordinator());
  ASSERT_EQ(presented.size(), 1);
  const AppError &error = presented[0];
  EXPECT_EQ(error.description, "Failed to initialize the application's saved data");
  EXPECT_EQ(error.reason,
            QStringLiteral("Expected a folder to store application data, found a file (%1).")
                .arg(storeFolder()));
  EXPECT_FALSE(error.underlying);

  // The application goes on without a store: no context, and quitting is not held up.
  EXPECT_FALSE(delegate.managedObjectContext());
  EXPECT_EQ(presented.size(), 2);
  EXPECT_FALSE(delegate.saveAction());
  EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateNow);
  EXPECT_TRUE(QFileInfo(storeFolder()).isFile()); // the user's file is left alone

  // Each use tries again, so the store comes back once the file is out of the way.
  QFile::remove(storeFolder());
  EXPECT_TRUE(delegate.persistentStoreCoordinator());
  EXPECT_TRUE(delegate.managedObjectContext());
  EXPECT_EQ(presented.size(), 3);
}

TEST_F(AppDelegateTest, UnreadableStoreFileGivesTheGeneralReasonWithItsCause) {
  testenv::writeFile(storeFile(), "<database model=\"Quillmere\"><object entity=");
  AppDelegate delegate;
  collectErrors(delegate);
  EXPECT_FALSE(delegate.managedObjectContext());
  ASSERT_EQ(presented.size(), 1);
  EXPECT_EQ(presented[0].reason,
            "There was an error creating or loading the application's saved data.");
  ASSERT_TRUE(presented[0].underlying);
  EXPECT_TRUE(presented[0].underlying->reason.contains(storeFile()));
  // The damaged file is kept for the user to look at.
  EXPECT_TRUE(QFileInfo::exists(storeFile()));

  testenv::writeFile(storeFile(), "<database model=\"SomethingElse\"/>");
  EXPECT_FALSE(delegate.managedObjectContext());
  ASSERT_EQ(presented.size(), 2);
  EXPECT_TRUE(presented[1].underlying->reason.contains("SomethingElse"));
}

// ---- Quitting ----

// A delegate whose store holds an unsaved record that cannot be written: the store file's
// place is taken by a folder.
class QuitWithUnsavedChanges : public AppDelegateTest {
protected:
  void SetUp() override {
    AppDelegateTest::SetUp();
    collectErrors(delegate);
    delegate.runModalAlertHandler = [this](const AppDelegate::AlertRequest &alert) {
      alerts.append(alert);
      return alertAnswer;
    };
    auto context = delegate.managedObjectContext();
    ASSERT_TRUE(context);
    context->setValue(context->insertNewObject("Session"), "name", "unsaved");
    ASSERT_TRUE(QDir().mkpath(storeFile() + "/blocker"));
  }

  AppDelegate delegate;
  QList<AppDelegate::AlertRequest> alerts;
  int alertAnswer = AppDelegate::AlertFirstButtonReturn;
};

// The answers are inverted: "Quit anyway" keeps the application running, "Cancel" quits; closing
// the window asks the same way, and pending edits that cannot be committed cancel unasked.
TEST_F(QuitWithUnsavedChanges, QuitAnywayKeepsRunningAndCancelQuits) {
  int quits = 0;
  delegate.quitHandler = [&] { ++quits; };
  alertAnswer = AppDelegate::AlertFirstButtonReturn;
  EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateCancel);
  ASSERT_EQ(presented.size(), 1);
  ASSERT_EQ(alerts.size(), 1);
  EXPECT_EQ(alerts[0].messageText, "Could not save changes while quitting. Quit anyway?");
  EXPECT_EQ(alerts[0].informativeText,
            QStringLiteral("Quitting now will lose any changes you have made since the last "
                           "successful save"));
  EXPECT_EQ(alerts[0].buttonTitles, QStringList({"Quit anyway", "Cancel"}));
  EXPECT_TRUE(delegate.managedObjectContext()->hasChanges());
  delegate.handleWindowClose_Main(nullptr);
  EXPECT_EQ(quits, 0);

  alertAnswer = AppDelegate::AlertSecondButtonReturn;
  EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateNow);
  EXPECT_EQ(alerts.size(), 3);
  delegate.terminate();
  EXPECT_EQ(quits, 1);
  delegate.btnQuitApp(); // the quit button does not ask
  EXPECT_EQ(quits, 2);
  EXPECT_EQ(alerts.size(), 4);

  // Recovering from the error cancels without asking.
  recoverFromError = true;
  EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateCancel);
  EXPECT_EQ(presented.size(), 5);
  EXPECT_EQ(alerts.size(), 4);

  delegate.managedObjectContext()->commitEditingHandler = [] { return false; };
  EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateCancel);
  EXPECT_EQ(presented.size(), 5); // not presented: the edits never reached the save
  EXPECT_EQ(alerts.size(), 4);
  EXPECT_TRUE(loggedLines().contains(
      QStringLiteral("AppDelegate:applicationShouldTerminate unable to commit editing to "
                     "terminate")));
}

TEST_F(QuitWithUnsavedChanges, SaveActionPresentsTheFailure) {
  EXPECT_FALSE(delegate.saveAction());
  EXPECT_EQ(presented.size(), 1);
  EXPECT_FALSE(presented[0].reason.isEmpty());
  // Once the place is free the same changes save and quitting goes on at once.
  QDir(storeFile()).removeRecursively();
  EXPECT_TRUE(delegate.saveAction());
  EXPECT_EQ(delegate.applicationShouldTerminate(), AppDelegate::TerminateNow);
  EXPECT_TRUE(alerts.isEmpty());
}

TEST_F(AppDelegateTest, ClosingTheMainWindowAsksToQuit) {
  AppDelegate delegate;
  int quits = 0;
  delegate.quitHandler = [&] { ++quits; };
  QObject window;
  delegate.handleWindowClose_Main(&window);
  EXPECT_EQ(quits, 1);
  EXPECT_TRUE(loggedLines().contains("closing Window Class QObject"));

  // The notification forms go through the event loop, not straight away.
  delegate.mainWindowCloseNotification(&delegate);
  delegate.handleWindowClose(nullptr);
  EXPECT_EQ(quits, 1);
  QCoreApplication::sendPostedEvents();
  EXPECT_EQ(quits, 3);
  EXPECT_TRUE(loggedLines().contains("closing Window Class AppDelegate"));
  EXPECT_TRUE(loggedLines().contains("closing Window Class (null)"));
}

} // namespace

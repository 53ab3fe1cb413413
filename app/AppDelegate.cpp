#include "app/AppDelegate.h"

#include "platform/Files.h"
#include "platform/LibraryLog.h"
#include "platform/Preferences.h"
#include "platform/StandardFolders.h"
#include "platform/SystemInfo.h"

#include <QCoreApplication>
#include <QDebug>
#include <QMetaObject>

#include <cstdio>

namespace {

namespace Preferences = platform::Preferences;

const QString kIsFirstTimeLaunch = QStringLiteral("isFirstTimeLaunch");
const QString kIsFirstTime = QStringLiteral("isFirstTime");
const QString kAppOpenedCount = QStringLiteral("appOpenedCount");
const QString kAppVersion = QStringLiteral("appVersion");
const QString kYes = QStringLiteral("yes");

// Launches counted before the rating question comes (it comes on the next one).
constexpr qint64 kLaunchesBeforeRating = 6;

} // namespace

AppDelegate::AppDelegate(QObject *parent) : QObject(parent) {
  // Whatever the face, libvips' and GLib's warnings go to the debug log, never raw to the user.
  platform::LibraryLog::routeLibraryWarnings();
}

AppDelegate::~AppDelegate() = default;

AppDelegate *AppDelegate::shared() {
  static AppDelegate delegate;
  return &delegate;
}

void AppDelegate::logLine(const QString &line) {
  qInfo().noquote() << line;
}

void AppDelegate::resetInitialState() {
  arraySelectedImagesToProcess.clear();
  arrayAppliedFilters.clear();
  scaledImgSize = QSizeF(580, 440);
  isAUTO_CORRECT_ORIENTATION = true;
  selectedImageIndex = -1;
}

AppDelegate::RateupDecision AppDelegate::applicationDidFinishLaunching() {
  logLine(QStringLiteral("applicationDidFinishLaunching start"));
  resetInitialState();

  // An earlier installation's settings must not leak into a fresh one; this runs before
  // anything else reads the preferences.
  if (!Preferences::contains(kIsFirstTimeLaunch)) {
    isFIRST_TIME_LAUNCH = true;
    Preferences::removeAll();
    Preferences::setValue(kIsFirstTimeLaunch, kYes);
    Preferences::synchronize();
  }
  if (!Preferences::contains(kIsFirstTime)) {
    Preferences::setValue(kIsFirstTime, kYes);
    Preferences::synchronize();
  }

  getOsVersion();
  openMainWindow();
  loadSupportedImageFormats();
  const RateupDecision decision = checkForRateupPopup();
  logLine(QStringLiteral("applicationDidFinishLaunching stop"));
  return decision;
}

void AppDelegate::prepareForHeadlessCommand() {
  resetInitialState();
  loadSupportedImageFormats();
}

const QStringList &AppDelegate::stillImageFormats() {
  static const QStringList list = {QStringLiteral("Keep original format"),
                                   QStringLiteral("tif"),
                                   QStringLiteral("bmp"),
                                   QStringLiteral("gif"),
                                   QStringLiteral("jpg"),
                                   QStringLiteral("jpeg"),
                                   QStringLiteral("png"),
                                   QStringLiteral("jp2"),
                                   QStringLiteral("webp"),
                                   QStringLiteral("avif"),
                                   QStringLiteral("heic"),
                                   QStringLiteral("jxl")};
  return list;
}

void AppDelegate::loadSupportedImageFormats() {
  // "pdf" keeps index 8; the newer formats come after it so saved indexes keep their meaning.
  // They stay in the list when this system cannot write one (the indexes stay put); the
  // screens and the command line ask platform::EncoderSupport before offering it.
  const QStringList &still = stillImageFormats();
  const qsizetype firstModern = still.indexOf(QStringLiteral("webp"));
  arrFileFormatsSupported = still.mid(0, firstModern);
  arrFileFormatsSupported.append(QStringLiteral("pdf"));
  arrFileFormatsSupported.append(still.mid(firstModern));
}

QString AppDelegate::getOsVersion() {
  int major = 0;
  int minor = 0;
  platform::SystemInfo::osVersion(&major, &minor);
  const QString version = QString::asprintf("%d.%d", major, minor);
  logLine(QStringLiteral("OS Version: %1").arg(version));

  isOS_10_7 = version == QLatin1String("10.7");
  isOS_10_8 = version == QLatin1String("10.8");
  isOS_10_9 = version == QLatin1String("10.9");
  isOS_OTHER = !isOS_10_7 && !isOS_10_8 && !isOS_10_9;
  return version;
}

void AppDelegate::openMainWindow() {
  if (openMainWindowHandler)
    openMainWindowHandler();
}

AppDelegate::RateupDecision AppDelegate::checkForRateupPopup() {
  const qint64 count = Preferences::integerValue(kAppOpenedCount);
  Preferences::setValue(kAppOpenedCount, count + 1);
  Preferences::synchronize();

  // Already answered for this version: keep the count at rest.
  if (Preferences::stringValue(kAppVersion) == bundleVersion()) {
    Preferences::setValue(kAppOpenedCount, 0);
    Preferences::synchronize();
    return RateupNone;
  }
  if (count < kLaunchesBeforeRating)
    return RateupNone;

  Preferences::setValue(kAppOpenedCount, 0);
  Preferences::synchronize();
  return RateupShowQuestion;
}

AppDelegate::AlertRequest AppDelegate::rateAppAlert() {
  return {QStringLiteral("Enjoy Using Our App? Please Rate Us"),
          QString(),
          {QStringLiteral("YES"), QStringLiteral("NO")}};
}

QString AppDelegate::storePageAddress() {
  return QStringLiteral("https://flathub.org/apps/" QUILLMERE_APP_ID);
}

QString AppDelegate::helpPageAddress() {
  return QStringLiteral("https://quillmere.org/");
}

QString AppDelegate::bundleVersion() {
  return QStringLiteral(QUILLMERE_BUNDLE_VERSION);
}

void AppDelegate::alertDidEndClose(int returnCode) {
  bool opened = false;
  if (returnCode == AlertDefaultReturn && openURLHandler)
    opened = openURLHandler(storePageAddress());
  alertDidEndClose(returnCode, opened);
}

void AppDelegate::alertDidEndClose(int returnCode, bool pageOpened) {
  // "NO" is final for this version; "YES" counts only when the page really opened, so a
  // failed attempt is asked again later.
  const bool answered =
      returnCode == AlertAlternateReturn || (returnCode == AlertDefaultReturn && pageOpened);
  if (answered) {
    Preferences::setValue(kAppVersion, bundleVersion());
    Preferences::synchronize();
  }
}

QString AppDelegate::applicationDocumentsDirectory() {
  return platform::applicationDataDirectory();
}

std::shared_ptr<ManagedObjectModel> AppDelegate::managedObjectModel() {
  if (!managedObjectModel_)
    managedObjectModel_ = ManagedObjectModel::applicationModel();
  return managedObjectModel_;
}

std::shared_ptr<PersistentStoreCoordinator> AppDelegate::persistentStoreCoordinator() {
  if (persistentStoreCoordinator_)
    return persistentStoreCoordinator_;

  const QString folder = applicationDocumentsDirectory();
  QString failureReason =
      QStringLiteral("There was an error creating or loading the application's saved data.");
  bool shouldFail = false;
  std::shared_ptr<const AppError> underlying;

  bool isDirectory = false;
  if (platform::Files::fileExists(folder, &isDirectory)) {
    if (!isDirectory) {
      failureReason =
          QStringLiteral("Expected a folder to store application data, found a file (%1).")
              .arg(folder);
      shouldFail = true;
    }
  } else {
    const platform::Files::Result made = platform::Files::createDirectory(folder);
    if (!made.ok) {
      AppError error;
      error.domain = QStringLiteral("FileErrorDomain");
      error.code = made.code;
      error.description = QStringLiteral("The folder could not be created.");
      error.reason = made.message;
      underlying = std::make_shared<const AppError>(std::move(error));
    }
  }

  if (!shouldFail && !underlying) {
    auto coordinator = std::make_shared<PersistentStoreCoordinator>(managedObjectModel());
    AppError addError;
    if (coordinator->addPersistentStore(QLatin1String(PersistentStoreCoordinator::XMLStoreType),
                                        folder + QLatin1Char('/') + storeFileName(), &addError))
      persistentStoreCoordinator_ = coordinator;
    else
      underlying = std::make_shared<const AppError>(std::move(addError));
  }

  if (shouldFail || underlying) {
    AppError error;
    error.domain = QStringLiteral("YOUR_ERROR_DOMAIN");
    error.code = 9999;
    error.description = QStringLiteral("Failed to initialize the application's saved data");
    error.reason = failureReason;
    error.underlying = underlying;
    presentError(error);
  }
  return persistentStoreCoordinator_;
}

std::shared_ptr<ManagedObjectContext> AppDelegate::managedObjectContext() {
  if (managedObjectContext_)
    return managedObjectContext_;
  auto coordinator = persistentStoreCoordinator();
  if (!coordinator)
    return nullptr;
  managedObjectContext_ = std::make_shared<ManagedObjectContext>();
  managedObjectContext_->setPersistentStoreCoordinator(coordinator);
  return managedObjectContext_;
}

bool AppDelegate::saveAction() {
  auto context = managedObjectContext();
  if (!context)
    return false;
  if (!context->commitEditing())
    logLine(QStringLiteral("%1:%2 unable to commit editing before saving")
                .arg(QLatin1String(metaObject()->className()), QStringLiteral("saveAction")));
  AppError error;
  if (context->hasChanges() && !context->save(&error)) {
    presentError(error);
    return false;
  }
  return true;
}

bool AppDelegate::presentError(const AppError &error) {
  if (presentErrorHandler)
    return presentErrorHandler(error);
  std::fprintf(stderr, "quillmere: %s\n", qUtf8Printable(error.text()));
  return false;
}

AppDelegate::AlertRequest AppDelegate::quitAnywayAlert() {
  return {QStringLiteral("Could not save changes while quitting. Quit anyway?"),
          QStringLiteral(
              "Quitting now will lose any changes you have made since the last successful save"),
          {QStringLiteral("Quit anyway"), QStringLiteral("Cancel")}};
}

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate() {
  if (!managedObjectContext_)
    return TerminateNow;
  if (!managedObjectContext_->commitEditing()) {
    logLine(QStringLiteral("%1:%2 unable to commit editing to terminate")
                .arg(QLatin1String(metaObject()->className()),
                     QStringLiteral("applicationShouldTerminate")));
    return TerminateCancel;
  }
  if (!managedObjectContext_->hasChanges())
    return TerminateNow;

  AppError error;
  if (managedObjectContext_->save(&error))
    return TerminateNow;
  if (presentError(error))
    return TerminateCancel;

  // Without a window nobody can answer; the error has been printed, so quitting goes on.
  const int answer =
      runModalAlertHandler ? runModalAlertHandler(quitAnywayAlert()) : AlertSecondButtonReturn;
  // The answer is read the other way round: "Quit anyway" (the first button) keeps the
  // application running and "Cancel" quits. Users of earlier versions rely on it.
  if (answer == AlertFirstButtonReturn)
    return TerminateCancel;
  return TerminateNow;
}

void AppDelegate::quitNow() {
  if (quitHandler)
    quitHandler();
  else if (QCoreApplication::instance())
    QCoreApplication::quit();
}

void AppDelegate::terminate() {
  if (applicationShouldTerminate() == TerminateNow)
    quitNow();
}

void AppDelegate::btnQuitApp() {
  quitNow();
}

void AppDelegate::btnHelpTapped() {
  if (openURLHandler)
    openURLHandler(helpPageAddress());
}

void AppDelegate::handleWindowClose(QObject *object) {
  const QString className =
      object ? QLatin1String(object->metaObject()->className()) : QStringLiteral("(null)");
  QMetaObject::invokeMethod(
      this, [this, className] { handleWindowCloseNamed(className); }, Qt::QueuedConnection);
}

void AppDelegate::mainWindowCloseNotification(QObject *object) {
  handleWindowClose(object);
}

void AppDelegate::handleWindowClose_Main(const QObject *object) {
  handleWindowCloseNamed(object ? QLatin1String(object->metaObject()->className())
                                : QStringLiteral("(null)"));
}

void AppDelegate::handleWindowCloseNamed(const QString &className) {
  logLine(QStringLiteral("closing Window Class %1").arg(className));
  terminate();
}

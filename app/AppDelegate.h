#pragma once

#include "app/AppError.h"
#include "app/PersistentStore.h"

#include <QList>
#include <QObject>
#include <QSizeF>
#include <QString>
#include <QStringList>

#include <vips/vips8>

#include <atomic>
#include <functional>
#include <memory>

class PhotoFile;
class AppliedFilter;
class BatchRenameSetting;
class OutputOptionSettings;
class OutputPhotoPath;

// The application object's delegate: owns the application-wide state that every screen
// reads and writes, runs the start-up sequence, counts launches, holds the object store
// and decides how quitting goes. It knows no widgets: the window side installs the
// handlers below; a headless run leaves them unset.
class AppDelegate : public QObject {
  Q_OBJECT

public:
  enum TerminateReply { TerminateCancel = 0, TerminateNow = 1, TerminateLater = 2 };
  // Answers of the rating sheet: "YES" is its default button, "NO" the alternate.
  enum AlertReturn { AlertAlternateReturn = 0, AlertDefaultReturn = 1 };
  // Answers of a modal alert, by the position of the button pressed.
  enum ModalResponse { AlertFirstButtonReturn = 1000, AlertSecondButtonReturn = 1001 };
  enum RateupDecision { RateupNone, RateupShowQuestion };

  struct AlertRequest {
    QString messageText;
    QString informativeText;
    QStringList buttonTitles; // first button first
  };

  explicit AppDelegate(QObject *parent = nullptr);
  ~AppDelegate() override;

  // The process's delegate, made on first use.
  static AppDelegate *shared();

  // --- Application-wide state ---
  QList<std::shared_ptr<PhotoFile>> arraySelectedImagesToProcess;
  QList<std::shared_ptr<AppliedFilter>> arrayAppliedFilters;
  QList<std::shared_ptr<OutputPhotoPath>> arrayDestinationPaths;
  std::shared_ptr<PhotoFile> selectedImageFile;
  vips::VImage selectedImage;
  QSizeF scaledImgSize{580, 440};
  qint32 selectedImageIndex = -1;
  QString currentFilterName;
  std::shared_ptr<BatchRenameSetting> selectedRenameSettingObj;
  std::shared_ptr<OutputOptionSettings> selectedOuputSettingObj;
  QStringList arrFileFormatsSupported;

  bool isSUBWINDOW_OPENED = false;
  bool isAUTO_CORRECT_ORIENTATION = true;
  bool isPHOTO_DLETED_FROM_DIRECTORY = false;
  // The run flag: written on the main thread, read by the batch run's loop.
  std::atomic<bool> isPHOTOS_PROCESSING_IN_PROGERESS{false};
  bool isPHOTOS_APP_INSTALLED = false;
  bool isRENAME_SETTINGS_CHANGED = false;
  bool isSTART_AS_NEW_BATCH = false;
  bool isPROCESSING_WITH_FILES_SYSTEM = false;
  bool isPROCESS_SKIPPED_FILES = false;

  // This launch found no "isFirstTimeLaunch" key.
  bool isFIRST_TIME_LAUNCH = false;
  // Exactly one is set by getOsVersion.
  bool isOS_10_7 = false;
  bool isOS_10_8 = false;
  bool isOS_10_9 = false;
  bool isOS_OTHER = false;

  // --- Handlers the window side installs ---
  // Creates the main window once and shows it.
  std::function<void()> openMainWindowHandler;
  // Shows an error; true when the user recovered from it. Unset: printed to stderr.
  std::function<bool(const AppError &)> presentErrorHandler;
  // Runs a modal alert and returns an AlertFirstButtonReturn-based answer.
  std::function<int(const AlertRequest &)> runModalAlertHandler;
  // Opens a web address; true when it opened.
  std::function<bool(const QString &address)> openURLHandler;
  // Ends the event loop.
  std::function<void()> quitHandler;

  // --- Start-up ---
  // The start-up sequence. Returns whether the window should ask the rating question
  // (it shows it a moment later, once the window is up).
  RateupDecision applicationDidFinishLaunching();
  // What a headless command needs: the initial state and the format list. The launch keys,
  // the first-launch wipe and the rating question belong to the window's start-up.
  void prepareForHeadlessCommand();
  void loadSupportedImageFormats();
  // "Keep original format" then the formats the still-image encoder writes, "tif" to "jp2"
  // then "webp", "avif", "heic", "jxl"; in arrFileFormatsSupported "pdf" sits between "jp2"
  // and "webp" (index 8).
  static const QStringList &stillImageFormats();
  // "major.minor" of the running system; sets one of the OS flags.
  QString getOsVersion();
  void openMainWindow();

  // --- Launch count and rating question ---
  // Counts this launch; RateupShowQuestion when the window should ask for a rating.
  RateupDecision checkForRateupPopup();
  static AlertRequest rateAppAlert();
  static QString storePageAddress();
  // The rating sheet ended: for "YES" opens the store page through openURLHandler.
  void alertDidEndClose(int returnCode);
  // The same with the page already tried: pageOpened tells whether it opened.
  void alertDidEndClose(int returnCode, bool pageOpened);
  static QString bundleVersion();

  // --- Object store ---
  static QString applicationDocumentsDirectory();
  static QString storeFileName() { return QStringLiteral("OSXCoreDataObjC.storedata"); }
  std::shared_ptr<ManagedObjectModel> managedObjectModel();
  // Null when the store cannot be opened (the error has been presented); tried again on
  // the next call.
  std::shared_ptr<PersistentStoreCoordinator> persistentStoreCoordinator();
  std::shared_ptr<ManagedObjectContext> managedObjectContext();
  bool hasManagedObjectContext() const { return managedObjectContext_ != nullptr; }
  // Saves pending changes; false when saving failed (the error has been presented).
  bool saveAction();
  // Presents an error through presentErrorHandler, or prints it; true when recovered.
  bool presentError(const AppError &error);

  // --- Quitting ---
  // Whether quitting may go on: saves pending changes and asks the user when that fails.
  // The window closes its colour panel before asking.
  TerminateReply applicationShouldTerminate();
  static AlertRequest quitAnywayAlert();
  // Asks to quit: quits when applicationShouldTerminate answers TerminateNow.
  void terminate();
  // Quits at once.
  void btnQuitApp();
  void btnHelpTapped();
  static QString helpPageAddress();
  // Both forward to handleWindowClose_Main on the main thread without waiting.
  void handleWindowClose(QObject *object);
  void mainWindowCloseNotification(QObject *object);
  void handleWindowClose_Main(const QObject *object);

private:
  void logLine(const QString &line);
  void resetInitialState();
  void quitNow();
  void handleWindowCloseNamed(const QString &className);

  std::shared_ptr<ManagedObjectModel> managedObjectModel_;
  std::shared_ptr<PersistentStoreCoordinator> persistentStoreCoordinator_;
  std::shared_ptr<ManagedObjectContext> managedObjectContext_;
};

#pragma once

#include "app/AppDelegate.h"
#include "ui/ScreenFlowDelegate.h"

#include <QPoint>
#include <QPointer>
#include <QWidget>

class AddPhotosVC;
class QFrame;
class QLabel;
class QStackedWidget;
class QToolButton;
class SetupVC;
class Sheet;

// The single main window: a frameless window with its own title bar (the two screen buttons
// and the window's buttons), showing the add-photos screen or the setup screen. It switches
// screens, posts the screen-flow notifications and raises the window's alerts and sheets.
class MainWindowController : public QWidget, public ScreenFlowDelegate {
  Q_OBJECT
public:
  explicit MainWindowController(AppDelegate *delegate, QWidget *parent = nullptr);
  ~MainWindowController() override;

  AppDelegate *delegate() const { return delegate_; }
  QWidget *windowMain() { return this; }

  // --- Screens ---
  // 0: the add-photos screen, 1: the setup screen; other codes only re-attach the current one.
  void changeViewController(int code);
  // The screen shown.
  QWidget *viewController() const { return myCurrentViewController; }
  // Each made on first need and kept (null until then).
  QWidget *addPhotosScreen() const { return addPhotosViewController; }
  QWidget *setupScreen() const { return setupViewController; }
  // 0 while the add-photos screen is shown, 3 while the setup screen is.
  int Step = 0;
  bool isFullscreenEnable = false;

  void btnAddPhotosTapped();
  void btnSetupTapped();
  void btnNextFromAddPhotosVcTapped() override;
  void btnNextFromAddFiltersVCTapped();
  void btnBackFromAddFiltersVCTapped();
  void btnBackFromSetupVCTapped() override;
  void btnStartNewBatchFromSetupVCTapped() override;
  void btnProcessSkippedFromSetupVCTapped(const QList<std::shared_ptr<PhotoFile>> &photos) override;
  void resetAllSettingsToStartNewBatch();

  // The no-batch-steps alert (asks whether to go on to the setup screen).
  void showAlertForNoBatchSteps(const QString &title, const QString &message);
  void btnYesOnNobatchStepAlert();
  void btnNoOnNobatchStepAlert();

  // --- Photos gone from disk ---
  void checkForDeletedPhotosInSourceFolder(bool remove) override;
  void showAlertForAllPhotosDeleted();
  void btnOkOnAlertWinTapped();
  void btnOkOnAlertOnPhotoDeletedTapped();

  // --- The window's own buttons ---
  void btnCloseWindowTapped();
  void btnMinimizeWindowTapped();
  void btnZoomWindowTapped();
  // The main window is closing: the application quits (through the delegate's decision).
  void windowWillClose();
  void showPromotionalWindow();
  void openHelpUrl();

  // --- Sheets the delegate asks for ---
  // The rating question; the answer goes to the delegate.
  void showAlertForRateApp();
  // A modal alert as a sheet; answers AppDelegate::AlertFirstButtonReturn + button index.
  int runModalAlert(const AppDelegate::AlertRequest &request);
  // A store error; never recovers.
  bool presentError(const AppError &error);

  // Adds paths to the batch as a drop on the add-photos screen would (`quillmere open`).
  void openPaths(const QStringList &paths);

  // The sheet up over the window, if any.
  Sheet *currentSheet() const;

  QToolButton *closeButton() const { return btnCloseWindow_; }
  QToolButton *minimizeButton() const { return btnMinimizeWindow_; }
  QToolButton *zoomButton() const { return btnZoomWindow_; }
  QToolButton *addPhotosButton() const { return btnAddPhotos_; }
  QToolButton *setupButton() const { return btnSetup_; }
  QWidget *titleBar() const;

  // The window's size on a screen's available area (x, y, w, h) with the screen's full size.
  static QRect frameForScreen(const QRect &available, const QSize &screenSize);

Q_SIGNALS:
  // The screen shown changed (the "viewController" key).
  void viewControllerChanged();

protected:
  void closeEvent(QCloseEvent *event) override;
  void showEvent(QShowEvent *event) override;
  void mousePressEvent(QMouseEvent *event) override;
  void resizeEvent(QResizeEvent *event) override;
  void changeEvent(QEvent *event) override;
  bool eventFilter(QObject *watched, QEvent *event) override;
  void paintEvent(QPaintEvent *event) override;

private:
  void initSetup();
  void setupView();
  void buildTitleBar();
  QWidget *makeAddPhotosScreen();
  QWidget *makeSetupScreen();
  void showScreenButtons();
  Qt::Edges edgesAt(const QPoint &windowPos) const;
  void updateWindowButtons();
  Sheet *showSheet(const QString &title, const QString &message, const QStringList &buttons,
                   std::function<void(int)> done);

  AppDelegate *delegate_;
  QWidget *myCurrentViewController = nullptr;
  QWidget *addPhotosViewController = nullptr;
  QWidget *setupViewController = nullptr;

  QFrame *titleBar_ = nullptr;
  QLabel *titleLabel_ = nullptr;
  QToolButton *btnAddPhotos_ = nullptr;
  QToolButton *btnSetup_ = nullptr;
  QToolButton *btnMinimizeWindow_ = nullptr;
  QToolButton *btnZoomWindow_ = nullptr;
  QToolButton *btnCloseWindow_ = nullptr;
  QStackedWidget *content_ = nullptr;

  QPointer<Sheet> alertPhotoDeleted;
  QPointer<Sheet> alertNoBatchStepsSelected;
  QPoint initialLocation;
  QTimer *endResizeTimer_ = nullptr;
  bool quitting_ = false;
  bool shown_ = false;
};

#include "ui/MainWindowController.h"

#include "app/NotificationCenter.h"
#include "app/Notifications.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "platform/Preferences.h"
#include "ui/AddPhotosVC.h"
#include "ui/SetupVC.h"
#include "ui/Sheet.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QShowEvent>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>

namespace {

constexpr int kResizeMargin = 6;

void logLine(const QString &line) {
  qInfo().noquote() << line;
}

NotificationCenter &center() {
  return NotificationCenter::defaultCenter();
}

QToolButton *makeWindowButton(QWidget *parent, const char *objectName, const QString &iconName,
                              const QString &toolTip) {
  auto *button = new QToolButton(parent);
  button->setObjectName(QLatin1String(objectName));
  Theme::setRole(button, "window");
  button->setIcon(Theme::icon(iconName));
  button->setIconSize(QSize(16, 16));
  button->setToolTip(toolTip);
  button->setAccessibleName(toolTip);
  button->setFocusPolicy(Qt::StrongFocus);
  button->setFixedSize(36, 32);
  return button;
}

} // namespace

MainWindowController::MainWindowController(AppDelegate *delegate, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint), delegate_(delegate) {
  setObjectName(QStringLiteral("MainWindow"));
  setWindowTitle(QStringLiteral("Quillmere"));
  setWindowIcon(QIcon(QStringLiteral(":/icons/org.quillmere.Quillmere.svg")));
  setAttribute(Qt::WA_Hover);
  logLine(QStringLiteral("main windowController awakeFromNib"));
  initSetup();
}

MainWindowController::~MainWindowController() {
  qApp->removeEventFilter(this);
  if (QGuiApplication::overrideCursor())
    QGuiApplication::restoreOverrideCursor();
}

void MainWindowController::initSetup() {
  logLine(QStringLiteral("main windowController initSetup start"));
  setupView();
  auto *layout = new QVBoxLayout(this);
  layout->setContentsMargins(1, 1, 1, 1); // the hairline border is painted in the margin
  layout->setSpacing(0);
  buildTitleBar();
  layout->addWidget(titleBar_);
  content_ = new QStackedWidget(this);
  content_->setObjectName(QStringLiteral("contentView"));
  layout->addWidget(content_, 1);

  endResizeTimer_ = new QTimer(this);
  endResizeTimer_->setSingleShot(true);
  endResizeTimer_->setInterval(250);
  connect(endResizeTimer_, &QTimer::timeout, this,
          [] { center().post(Notifications::WindowEndResizing); });

  changeViewController(0);
  // Presses anywhere in the window reach the edges' resize and the background's drag.
  qApp->installEventFilter(this);
  logLine(QStringLiteral("main windowController initSetup end"));
}

QRect MainWindowController::frameForScreen(const QRect &available, const QSize &screenSize) {
  const float dx = static_cast<float>(available.width()) / 15.0f;
  const float dy = static_cast<float>(available.height()) / 20.0f;
  int width = qMax(static_cast<int>(static_cast<float>(available.width()) - 2 * dx), 1300);
  // At least 1300 wide, but never wider than the screen it is on.
  width = qMin(width, screenSize.width());
  const int height =
      qMin(static_cast<int>(static_cast<float>(available.height()) - 2 * dy), screenSize.height());
  int x = available.x() + static_cast<int>(dx);
  if (x + width > available.x() + available.width())
    x = available.x() + qMax(0, (available.width() - width) / 2);
  return QRect(x, available.y() + static_cast<int>(dy), width, height);
}

void MainWindowController::setupView() {
  QScreen *screen = QGuiApplication::primaryScreen();
  if (!screen) {
    resize(1300, 800);
    return;
  }
  const QRect frame = frameForScreen(screen->availableGeometry(), screen->size());
  setGeometry(frame);
  setMaximumSize(screen->size());
  setMinimumSize(qMin(960, screen->size().width()), qMin(600, screen->size().height()));
}

void MainWindowController::buildTitleBar() {
  titleBar_ = new QFrame(this);
  titleBar_->setObjectName(QStringLiteral("titleBar"));
  Theme::setRole(titleBar_, "titlebar");
  titleBar_->setFixedHeight(Theme::titleBarHeight);
  titleBar_->installEventFilter(this);
  auto *row = new QHBoxLayout(titleBar_);
  row->setContentsMargins(Theme::spacing * 2, 0, Theme::spacing, 0);
  row->setSpacing(Theme::spacing);

  auto *appIcon = new QLabel(titleBar_);
  appIcon->setObjectName(QStringLiteral("appIcon"));
  appIcon->setPixmap(windowIcon().pixmap(QSize(24, 24), devicePixelRatioF()));
  row->addWidget(appIcon);
  titleLabel_ = new QLabel(QStringLiteral("Quillmere"), titleBar_);
  titleLabel_->setObjectName(QStringLiteral("titleLabel"));
  QFont titleFont = Theme::bodyFont();
  titleFont.setWeight(QFont::DemiBold);
  titleLabel_->setFont(titleFont);
  row->addWidget(titleLabel_);
  row->addStretch(1);

  // The two screens, as the steps of the work: add, then rename and convert.
  btnAddPhotos_ = new QToolButton(titleBar_);
  btnAddPhotos_->setObjectName(QStringLiteral("btnAddPhotos"));
  btnAddPhotos_->setText(QStringLiteral("1  Add Photos"));
  btnAddPhotos_->setToolTip(QStringLiteral("Build the batch of photos (Ctrl+1)"));
  btnAddPhotos_->setAccessibleName(QStringLiteral("Add Photos"));
  btnAddPhotos_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_1));
  btnSetup_ = new QToolButton(titleBar_);
  btnSetup_->setObjectName(QStringLiteral("btnSetup"));
  btnSetup_->setText(QStringLiteral("2  Rename && Convert"));
  btnSetup_->setToolTip(
      QStringLiteral("Choose new names, the output format and where the photos go (Ctrl+2)"));
  btnSetup_->setAccessibleName(QStringLiteral("Rename and Convert"));
  btnSetup_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_2));
  for (QToolButton *button : {btnAddPhotos_, btnSetup_}) {
    Theme::setRole(button, "step");
    button->setCheckable(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setFixedHeight(Theme::controlHeight + 2);
    row->addWidget(button);
  }
  // Not an exclusive button group: that would take the unchecked one out of the Tab chain.
  connect(btnAddPhotos_, &QToolButton::clicked, this, [this] { btnAddPhotosTapped(); });
  connect(btnSetup_, &QToolButton::clicked, this, [this] { btnSetupTapped(); });
  row->addStretch(1);

  btnMinimizeWindow_ =
      makeWindowButton(titleBar_, "btnMinimizeWindow", QStringLiteral("window_minimize"),
                       QStringLiteral("Minimise"));
  btnMinimizeWindow_->setCheckable(true);
  btnZoomWindow_ = makeWindowButton(titleBar_, "btnZoomWindow", QStringLiteral("window_zoom"),
                                    QStringLiteral("Full screen (F11)"));
  btnZoomWindow_->setShortcut(QKeySequence(Qt::Key_F11));
  btnCloseWindow_ = makeWindowButton(titleBar_, "btnCloseWindow", QStringLiteral("window_close"),
                                     QStringLiteral("Close"));
  row->addWidget(btnMinimizeWindow_);
  row->addWidget(btnZoomWindow_);
  row->addWidget(btnCloseWindow_);
  connect(btnMinimizeWindow_, &QToolButton::clicked, this, [this] { btnMinimizeWindowTapped(); });
  connect(btnZoomWindow_, &QToolButton::clicked, this, [this] { btnZoomWindowTapped(); });
  connect(btnCloseWindow_, &QToolButton::clicked, this, [this] { btnCloseWindowTapped(); });
}

QWidget *MainWindowController::titleBar() const {
  return titleBar_;
}

QWidget *MainWindowController::makeAddPhotosScreen() {
  return new AddPhotosVC(delegate_, this, content_);
}

QWidget *MainWindowController::makeSetupScreen() {
  return new SetupVC(delegate_, this, content_);
}

void MainWindowController::changeViewController(int code) {
  if (code == 1) {
    if (!setupViewController) {
      setupViewController = makeSetupScreen();
      content_->addWidget(setupViewController);
    }
    myCurrentViewController = setupViewController;
    Step = 3;
    center().post(Notifications::AddPhotosViewDisAppear);
    center().post(Notifications::SetupViewAppear);
  } else if (code == 0) {
    if (!addPhotosViewController) {
      addPhotosViewController = makeAddPhotosScreen();
      content_->addWidget(addPhotosViewController);
    }
    myCurrentViewController = addPhotosViewController;
    center().post(Notifications::SetupViewDisAppear);
    center().post(Notifications::AddPhotosViewAppear);
    Step = 0;
  }
  if (myCurrentViewController) {
    content_->setCurrentWidget(myCurrentViewController);
    myCurrentViewController->setProperty(
        "representedObject",
        static_cast<int>(
            myCurrentViewController->findChildren<QWidget *>(Qt::FindDirectChildrenOnly).size()));
  }
  showScreenButtons();
  Q_EMIT viewControllerChanged();
}

void MainWindowController::showScreenButtons() {
  if (!btnAddPhotos_)
    return;
  btnAddPhotos_->setChecked(Step == 0);
  btnSetup_->setChecked(Step == 3);
}

void MainWindowController::btnAddPhotosTapped() {
  if (myCurrentViewController != addPhotosViewController || !addPhotosViewController)
    changeViewController(0);
  showScreenButtons();
}

void MainWindowController::btnSetupTapped() {
  if (setupViewController && myCurrentViewController == setupViewController) {
    btnSetup_->setChecked(true);
    return;
  }
  changeViewController(1);
}

void MainWindowController::btnNextFromAddPhotosVcTapped() {
  changeViewController(1);
  center().post(Notifications::NextFromBtchEffects);
}

void MainWindowController::btnNextFromAddFiltersVCTapped() {
  changeViewController(1);
}

void MainWindowController::btnBackFromAddFiltersVCTapped() {
  changeViewController(0);
}

void MainWindowController::btnBackFromSetupVCTapped() {
  changeViewController(0);
}

void MainWindowController::btnStartNewBatchFromSetupVCTapped() {
  delegate_->isSTART_AS_NEW_BATCH = true;
  resetAllSettingsToStartNewBatch();
  delegate_->isPHOTO_DLETED_FROM_DIRECTORY = true;
  changeViewController(0);
}

void MainWindowController::btnProcessSkippedFromSetupVCTapped(
    const QList<std::shared_ptr<PhotoFile>> &photos) {
  delegate_->arraySelectedImagesToProcess = photos;
  if (!photos.isEmpty()) {
    delegate_->selectedImageIndex = 0;
    delegate_->isPHOTO_DLETED_FROM_DIRECTORY = true;
  }
  delegate_->isPROCESS_SKIPPED_FILES = true;
  changeViewController(0);
  center().post(Notifications::ProcessSkippedFiles);
}

void MainWindowController::resetAllSettingsToStartNewBatch() {
  delegate_->selectedImage = vips::VImage();
  delegate_->selectedImageFile.reset();
  delegate_->arrayAppliedFilters.clear();
  delegate_->arraySelectedImagesToProcess.clear();
  platform::Preferences::remove(QStringLiteral("PROJECT_SESSION"));
  platform::Preferences::synchronize();
}

void MainWindowController::showAlertForNoBatchSteps(const QString &title, const QString &message) {
  delegate_->isSUBWINDOW_OPENED = true;
  alertNoBatchStepsSelected =
      showSheet(title, message, {QStringLiteral("YES"), QStringLiteral("NO")}, [this](int index) {
        if (index == 0)
          btnYesOnNobatchStepAlert();
        else
          btnNoOnNobatchStepAlert();
      });
}

void MainWindowController::btnYesOnNobatchStepAlert() {
  logLine(QStringLiteral("yes on no batch steps tapped"));
  if (alertNoBatchStepsSelected)
    alertNoBatchStepsSelected->press(0);
  changeViewController(1);
  center().post(Notifications::NextFromBtchEffects);
  delegate_->isSUBWINDOW_OPENED = false;
  updateWindowButtons();
}

void MainWindowController::btnNoOnNobatchStepAlert() {
  delegate_->isSUBWINDOW_OPENED = false;
  if (alertNoBatchStepsSelected)
    alertNoBatchStepsSelected->press(1);
  updateWindowButtons();
}

void MainWindowController::checkForDeletedPhotosInSourceFolder(bool remove) {
  QList<std::shared_ptr<PhotoFile>> &batch = delegate_->arraySelectedImagesToProcess;
  QList<std::shared_ptr<PhotoFile>> copy = batch;
  int present = 0;
  for (qsizetype i = batch.size() - 1; i >= 0; --i) {
    if (platform::Files::fileExists(batch.at(i)->filePath))
      ++present;
    else if (remove)
      copy.removeAt(i);
  }
  batch = copy;
  if (present == 0)
    QTimer::singleShot(200, this, [this] { showAlertForAllPhotosDeleted(); });
}

void MainWindowController::showAlertForAllPhotosDeleted() {
  const QString s =
      delegate_->arraySelectedImagesToProcess.size() >= 2 ? QStringLiteral("s") : QString();
  const QString title = QStringLiteral("PHOTO%1 DELETED").arg(s.toUpper());
  const QString message = QStringLiteral("Photo%1 no longer exists in the Source folder!").arg(s);
  delegate_->isSUBWINDOW_OPENED = true;
  alertPhotoDeleted = showSheet(title, message, {QStringLiteral("OK")},
                                [this](int) { btnOkOnAlertOnPhotoDeletedTapped(); });
}

void MainWindowController::btnOkOnAlertWinTapped() {
  delegate_->isSUBWINDOW_OPENED = false;
  if (Sheet *sheet = currentSheet())
    sheet->press(0);
  updateWindowButtons();
}

void MainWindowController::btnOkOnAlertOnPhotoDeletedTapped() {
  delegate_->isSUBWINDOW_OPENED = false;
  if (alertPhotoDeleted)
    alertPhotoDeleted->press(0);
  updateWindowButtons();
}

void MainWindowController::btnCloseWindowTapped() {
  if (delegate_->isSUBWINDOW_OPENED)
    return;
  if (!delegate_->isPHOTOS_PROCESSING_IN_PROGERESS) {
    windowWillClose();
    return;
  }
  // A run is going on: it is stopped (and summed up), and the application stays.
  center().post(Notifications::ProcessStop);
}

void MainWindowController::btnMinimizeWindowTapped() {
  if (delegate_->isSUBWINDOW_OPENED) {
    btnMinimizeWindow_->setChecked(false);
    return;
  }
  showMinimized();
  btnMinimizeWindow_->setChecked(true);
}

void MainWindowController::btnZoomWindowTapped() {
  if (delegate_->isSUBWINDOW_OPENED)
    return;
  isFullscreenEnable = !isFullscreenEnable;
  if (isFullscreenEnable)
    showFullScreen();
  else
    showNormal();
  btnMinimizeWindow_->setEnabled(!isFullscreenEnable);
  btnZoomWindow_->setIcon(Theme::icon(isFullscreenEnable ? QStringLiteral("window_restore")
                                                         : QStringLiteral("window_zoom")));
  const QString tip = isFullscreenEnable ? QStringLiteral("Leave full screen (F11)")
                                         : QStringLiteral("Full screen (F11)");
  btnZoomWindow_->setToolTip(tip);
  btnZoomWindow_->setAccessibleName(tip);
}

void MainWindowController::windowWillClose() {
  if (quitting_)
    return;
  // The delegate decides: it saves its store and may ask, then quits.
  delegate_->mainWindowCloseNotification(this);
}

void MainWindowController::showPromotionalWindow() {
  if (!platform::Preferences::boolValue(QStringLiteral("notShowPromotionWindow"))) {
    center().post(Notifications::MainWindowClose,
                  {{Notifications::ObjectKey, QVariant::fromValue<QObject *>(this)}});
    hide();
  } else {
    close();
  }
}

void MainWindowController::openHelpUrl() {
  delegate_->btnHelpTapped();
}

void MainWindowController::showAlertForRateApp() {
  delegate_->isSUBWINDOW_OPENED = true;
  updateWindowButtons();
  showSheet(AppDelegate::rateAppAlert().messageText, QString(),
            {QStringLiteral("YES"), QStringLiteral("NO")}, [this](int index) {
              delegate_->isSUBWINDOW_OPENED = false;
              updateWindowButtons();
              delegate_->alertDidEndClose(index == 0 ? AppDelegate::AlertDefaultReturn
                                                     : AppDelegate::AlertAlternateReturn);
            });
}

int MainWindowController::runModalAlert(const AppDelegate::AlertRequest &request) {
  const bool wasOpen = delegate_->isSUBWINDOW_OPENED;
  delegate_->isSUBWINDOW_OPENED = true;
  updateWindowButtons();
  auto *sheet = new Sheet(this, request.messageText, QString(), request.buttonTitles);
  sheet->setInformativeText(request.informativeText);
  const int index = sheet->exec();
  delegate_->isSUBWINDOW_OPENED = wasOpen;
  updateWindowButtons();
  return AppDelegate::AlertFirstButtonReturn + qMax(index, 0);
}

bool MainWindowController::presentError(const AppError &error) {
  runModalAlert({error.description, error.reason, {QStringLiteral("OK")}});
  return false; // nothing here can recover from a store failure
}

void MainWindowController::openPaths(const QStringList &paths) {
  if (paths.isEmpty())
    return;
  if (Step != 0)
    changeViewController(0);
  center().post(Notifications::FileDragDrop, {{Notifications::PathsKey, paths}});
}

Sheet *MainWindowController::currentSheet() const {
  return Sheet::current(this);
}

Sheet *MainWindowController::showSheet(const QString &title, const QString &message,
                                       const QStringList &buttons, std::function<void(int)> done) {
  auto *sheet = new Sheet(this, title, message, buttons, std::move(done));
  connect(sheet, &Sheet::finished, this, [this] { updateWindowButtons(); });
  sheet->open();
  updateWindowButtons();
  return sheet;
}

void MainWindowController::updateWindowButtons() {
  // The window's buttons do nothing while a sheet is up; they look it too.
  const bool active = !delegate_->isSUBWINDOW_OPENED;
  btnCloseWindow_->setEnabled(active);
  btnZoomWindow_->setEnabled(active);
  btnMinimizeWindow_->setEnabled(active && !isFullscreenEnable);
}

void MainWindowController::closeEvent(QCloseEvent *event) {
  // The window stays until the delegate has decided to quit; a close from the desktop (a
  // keyboard shortcut, the taskbar) goes the way of the close button.
  event->ignore();
  btnCloseWindowTapped();
}

void MainWindowController::showEvent(QShowEvent *event) {
  QWidget::showEvent(event);
  if (shown_ || !myCurrentViewController)
    return;
  shown_ = true;
  // Keyboard work starts on the screen, not on the title bar's buttons.
  for (QWidget *w = myCurrentViewController->nextInFocusChain(); w && w != myCurrentViewController;
       w = w->nextInFocusChain()) {
    if (!myCurrentViewController->isAncestorOf(w))
      break;
    if ((w->focusPolicy() & Qt::TabFocus) && w->isEnabled() && w->isVisibleTo(this)) {
      w->setFocus(Qt::TabFocusReason);
      break;
    }
  }
}

Qt::Edges MainWindowController::edgesAt(const QPoint &pos) const {
  Qt::Edges edges;
  if (isFullScreen() || isMaximized())
    return edges;
  if (pos.x() < kResizeMargin)
    edges |= Qt::LeftEdge;
  if (pos.x() >= width() - kResizeMargin)
    edges |= Qt::RightEdge;
  if (pos.y() < kResizeMargin)
    edges |= Qt::TopEdge;
  if (pos.y() >= height() - kResizeMargin)
    edges |= Qt::BottomEdge;
  return edges;
}

void MainWindowController::mousePressEvent(QMouseEvent *event) {
  // A press that no control took: the background. Dragging it moves the window.
  if (event->button() == Qt::LeftButton) {
    initialLocation = event->globalPosition().toPoint();
    event->accept();
    return;
  }
  QWidget::mousePressEvent(event);
}

bool MainWindowController::eventFilter(QObject *watched, QEvent *event) {
  if (watched == titleBar_ && event->type() == QEvent::MouseButtonDblClick) {
    if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
      btnZoomWindowTapped();
      return true;
    }
  }
  auto *widget = qobject_cast<QWidget *>(watched);
  if (!widget || widget->window() != this)
    return QWidget::eventFilter(watched, event);
  switch (event->type()) {
  case QEvent::MouseMove: {
    auto *mouse = static_cast<QMouseEvent *>(event);
    const QPoint pos = mapFromGlobal(mouse->globalPosition().toPoint());
    if (mouse->buttons() == Qt::NoButton) {
      const Qt::Edges edges = edgesAt(pos);
      Qt::CursorShape shape = Qt::ArrowCursor;
      if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
        shape = Qt::SizeFDiagCursor;
      else if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge))
        shape = Qt::SizeBDiagCursor;
      else if (edges & (Qt::LeftEdge | Qt::RightEdge))
        shape = Qt::SizeHorCursor;
      else if (edges & (Qt::TopEdge | Qt::BottomEdge))
        shape = Qt::SizeVerCursor;
      const bool overridden = QGuiApplication::overrideCursor() != nullptr;
      if (edges && !overridden)
        QGuiApplication::setOverrideCursor(shape);
      else if (edges)
        QGuiApplication::changeOverrideCursor(shape);
      else if (overridden)
        QGuiApplication::restoreOverrideCursor();
    } else if ((mouse->buttons() & Qt::LeftButton) && !initialLocation.isNull()) {
      // Moving only once the pointer has travelled keeps double-clicks on the title bar.
      if ((mouse->globalPosition().toPoint() - initialLocation).manhattanLength() >=
          QApplication::startDragDistance()) {
        initialLocation = QPoint();
        if (windowHandle())
          windowHandle()->startSystemMove();
      }
    }
    break;
  }
  case QEvent::MouseButtonPress: {
    auto *mouse = static_cast<QMouseEvent *>(event);
    if (mouse->button() != Qt::LeftButton)
      break;
    const QPoint pos = mapFromGlobal(mouse->globalPosition().toPoint());
    const Qt::Edges edges = edgesAt(pos);
    if (edges && windowHandle()) {
      windowHandle()->startSystemResize(edges);
      return true;
    }
    initialLocation = QPoint();
    break;
  }
  case QEvent::MouseButtonRelease:
    initialLocation = QPoint();
    break;
  default:
    break;
  }
  return QWidget::eventFilter(watched, event);
}

void MainWindowController::resizeEvent(QResizeEvent *event) {
  QWidget::resizeEvent(event);
  center().post(Notifications::WindowResized);
  if (endResizeTimer_)
    endResizeTimer_->start();
}

void MainWindowController::changeEvent(QEvent *event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange) {
    const bool fullScreen = isFullScreen();
    if (fullScreen != isFullscreenEnable && btnZoomWindow_) {
      isFullscreenEnable = fullScreen;
      btnMinimizeWindow_->setEnabled(!fullScreen);
    }
    if (!isMinimized() && btnMinimizeWindow_)
      btnMinimizeWindow_->setChecked(false);
    center().post(Notifications::WindowEndResizing);
  }
}

void MainWindowController::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.fillRect(rect(), Theme::window());
  if (!isFullScreen() && !isMaximized()) {
    painter.setPen(Theme::border().darker(Theme::isDark() ? 80 : 115));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }
}

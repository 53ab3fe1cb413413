#include "ui/SetupVC.h"

#include "app/AppDelegate.h"
#include "app/NotificationCenter.h"
#include "app/Notifications.h"
#include "intake/PhotoFile.h"
#include "platform/Workspace.h"
#include "processing/RunSettings.h"
#include "rename/OutputOptionSettings.h"
#include "ui/ConvertFormatOrRenameView.h"
#include "ui/PreviewPathDelegate.h"
#include "ui/PreviewTableModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/Sheet.h"
#include "ui/Theme.h"
#include "ui/UndoBatchPanel.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// The run's texts, the current photo and the scroll position change many times a second;
// they are shown ten times a second, so the window's thread answers the run's reports
// at once instead of laying out and painting after each.
constexpr int kDisplayMs = 100;

// "Label: value  |  Label: value" with the values picked out.
QString highlightedValues(const QString &line) {
  QStringList parts;
  for (const QString &part : line.split(QStringLiteral("  |  "))) {
    const qsizetype colon = part.indexOf(QStringLiteral(": "));
    if (colon < 0) {
      parts.append(part.toHtmlEscaped());
      continue;
    }
    parts.append(QStringLiteral("%1: <b>%2</b>")
                     .arg(part.left(colon).toHtmlEscaped(), part.mid(colon + 2).toHtmlEscaped()));
  }
  return parts.join(
      QStringLiteral("&nbsp;&nbsp;&nbsp;<span style=\"color:%1\">|</span>&nbsp;&nbsp;&nbsp;")
          .arg(Theme::css(Theme::border())));
}

QLabel *secondaryLabel(const QString &text = QString()) {
  auto *label = new QLabel(text);
  label->setStyleSheet(QStringLiteral("color: %1;").arg(Theme::css(Theme::secondaryText())));
  return label;
}

const QString kLowSpaceTitle = QStringLiteral("NOT ENOUGH SPACE");
const QString kLowSpaceText =
    QStringLiteral("The destination drive has less than 100 MB free. The photo in progress is "
                   "finished and the batch stops there.");

} // namespace

SetupVC::SetupVC(AppDelegate *delegate, ScreenFlowDelegate *flow, QWidget *parent)
    : QWidget(parent), delegate_(delegate), flow_(flow), run_(delegate) {
  setObjectName(QStringLiteral("SetupVC"));
  setWindowTitle(QStringLiteral("SetupVC"));
  pages_ = new QStackedWidget(this);
  settingsView_ = new ConvertFormatOrRenameView(delegate, pages_);
  pages_->addWidget(settingsView_);
  pages_->addWidget(buildRunView());
  pages_->addWidget(buildSummaryView());
  auto *layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(pages_);

  connect(settingsView_, &ConvertFormatOrRenameView::startRequested, this,
          &SetupVC::btnPreviewOnConvertOrRenameVCTapped);
  connect(settingsView_, &ConvertFormatOrRenameView::startRefused, this,
          &SetupVC::showStartRefused);
  connect(settingsView_, &ConvertFormatOrRenameView::backRequested, this, [this] {
    if (flow_)
      flow_->btnBackFromSetupVCTapped();
  });

  // --- The run's reports ---
  connect(&run_, &BatchRun::progressChanged, this, [this](int percentage) {
    pendingProgress_ = percentage;
    if (!frame_->isActive())
      frame_->start();
  });
  connect(&run_, &BatchRun::batchInfoChanged, this, [this](const QString &text) {
    pendingBatchInfo_ = text;
    if (!frame_->isActive())
      frame_->start();
  });
  connect(&run_, &BatchRun::processInfoChanged, this, [this](const QString &text) {
    // Refreshed a hundred times a second; the label only changes when the text does.
    if (bottomLine_->text() != text)
      bottomLine_->setText(text);
  });
  connect(&run_, &BatchRun::photoUpdated, this, &SetupVC::photoUpdated);
  connect(&run_, &BatchRun::resetUIforNewProcess, this, &SetupVC::resetUIforNewProcess);
  connect(&run_, &BatchRun::showSettingsView, this, [this] { showPage(SettingsPage); });
  connect(&run_, &BatchRun::enoughSpacePopupRequested, this, [this] {
    showSheet(kLowSpaceTitle, kLowSpaceText, {tr("OK")},
              [this](int) { run_.btnOkOnEnoughtSpcaecTapped(); });
  });
  connect(&run_, &BatchRun::overwriteWindowRequested, this, [this](const QString &text) {
    showSheet(tr("FILE ALREADY EXISTS"), text, {tr("OK")},
              [this](int) { run_.btnOkOnOverwriteWindowTapped(); });
  });
  connect(&run_, &BatchRun::overwriteWindowClosed, this, &SetupVC::closeSheet);
  connect(&run_, &BatchRun::abortSheetRequested, this, [this](const QString &text) {
    showSheet(tr("STOP THE BATCH?"), text, {tr("No"), tr("Yes")}, [this](int index) {
      if (index == 1)
        run_.btnYesOnAbortTapped();
      else
        run_.btnNoOnAbortTapped();
    });
  });
  connect(&run_, &BatchRun::abortSheetClosed, this, &SetupVC::closeSheet);
  connect(&run_, &BatchRun::alertRequested, this, &SetupVC::showAlert);
  connect(&run_, &BatchRun::runEnded, this, &SetupVC::addSummaryViewIsFinished);
  connect(&run_, &BatchRun::processSkippedRequested, this,
          [this](const QList<std::shared_ptr<PhotoFile>> &photos) {
            if (flow_)
              flow_->btnProcessSkippedFromSetupVCTapped(photos);
          });

  NotificationCenter &center = NotificationCenter::defaultCenter();
  center.addObserver(this, Notifications::SetupViewAppear,
                     [this](const QVariantMap &) { viewWillAppearNotofication(); });
  center.addObserver(this, Notifications::ProcessStart,
                     [this](const QVariantMap &) { processStartNotification(); });
  center.addObserver(this, Notifications::ProcessStop,
                     [this](const QVariantMap &) { stopProcessNotification(); });
  center.addObserver(this, Notifications::DisbleView,
                     [this](const QVariantMap &) { setEnabled(false); });
  center.addObserver(this, Notifications::Enable,
                     [this](const QVariantMap &) { setEnabled(true); });
  center.addObserver(this, Notifications::WindowResized,
                     [this](const QVariantMap &) { windowisResizing(); });
  center.addObserver(this, Notifications::WindowEndResizing,
                     [this](const QVariantMap &) { windowEndResizing(); });
  headerResize_ = new QTimer(this);
  headerResize_->setSingleShot(true);
  headerResize_->setInterval(150);
  connect(headerResize_, &QTimer::timeout, this,
          [] { NotificationCenter::defaultCenter().post(Notifications::ResizeTableHeader); });
}

SetupVC::~SetupVC() {
  NotificationCenter::defaultCenter().removeObserver(this);
}

QWidget *SetupVC::buildRunView() {
  auto *view = new QWidget;
  view->setObjectName(QStringLiteral("runView"));
  auto *layout = new QVBoxLayout(view);
  layout->setContentsMargins(Theme::spacing * 3, Theme::spacing * 3, Theme::spacing * 3,
                             Theme::spacing * 2);
  layout->setSpacing(Theme::spacing * 1.5);

  runTitle_ = new QLabel(tr("Processing photos…"));
  runTitle_->setObjectName(QStringLiteral("runTitle"));
  runTitle_->setFont(Theme::titleFont());
  layout->addWidget(runTitle_);

  progressBar_ = new QProgressBar;
  progressBar_->setObjectName(QStringLiteral("runProgress"));
  progressBar_->setRange(0, 100);
  progressBar_->setAccessibleName(tr("Progress of the batch"));
  progressBar_->setFormat(QStringLiteral("%p %"));
  progressBar_->setMinimumHeight(22);
  layout->addWidget(progressBar_);

  batchInfo_ = new QLabel;
  batchInfo_->setObjectName(QStringLiteral("runBatchInfo"));
  batchInfo_->setTextFormat(Qt::RichText);
  // The run's changing texts keep their place: a new text never lays the view out again.
  batchInfo_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  layout->addWidget(batchInfo_);

  currentFile_ = secondaryLabel();
  currentFile_->setObjectName(QStringLiteral("runCurrentFile"));
  currentFile_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  currentFile_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  layout->addWidget(currentFile_);

  runTable_ = new QTableView;
  runTable_->setObjectName(QStringLiteral("runTable"));
  runTable_->setAccessibleName(tr("Photos of the batch and their results"));
  runTable_->setModel(settingsView_->previewModel());
  runTable_->setItemDelegate(new PreviewPathDelegate(runTable_));
  runTable_->setSelectionBehavior(QAbstractItemView::SelectRows);
  runTable_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  runTable_->setShowGrid(false);
  runTable_->setAlternatingRowColors(true);
  runTable_->setWordWrap(false);
  runTable_->verticalHeader()->setVisible(false);
  runTable_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  runTable_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 12);
  runTable_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  runTable_->horizontalHeader()->setHighlightSections(false);
  layout->addWidget(runTable_, 1);

  auto *bottom = new QHBoxLayout;
  bottomLine_ = secondaryLabel();
  bottomLine_->setObjectName(QStringLiteral("runBottomLine"));
  bottomLine_->setFont(Theme::captionFont());
  bottomLine_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  stopButton_ = new QPushButton(tr("Stop"));
  stopButton_->setObjectName(QStringLiteral("stopButton"));
  stopButton_->setToolTip(tr("Stop the batch after the photo in progress"));
  Theme::setRole(stopButton_, "danger");
  bottom->addWidget(bottomLine_, 1);
  bottom->addWidget(stopButton_);
  layout->addLayout(bottom);
  connect(stopButton_, &QPushButton::clicked, this, &SetupVC::btnStopProcessTapped);

  frame_ = new QTimer(this);
  frame_->setSingleShot(true);
  frame_->setInterval(kDisplayMs);
  connect(frame_, &QTimer::timeout, this, &SetupVC::applyFrame);
  return view;
}

QWidget *SetupVC::buildSummaryView() {
  auto *view = new QWidget;
  view->setObjectName(QStringLiteral("summaryView"));
  auto *outer = new QVBoxLayout(view);
  outer->setContentsMargins(Theme::spacing * 3, Theme::spacing * 4, Theme::spacing * 3,
                            Theme::spacing * 3);
  outer->addStretch(1);

  auto *card = new QFrame;
  card->setObjectName(QStringLiteral("summaryCard"));
  Theme::setRole(card, "card");
  card->setMaximumWidth(820);
  card->setMinimumWidth(680);
  auto *layout = new QVBoxLayout(card);
  layout->setContentsMargins(Theme::spacing * 4, Theme::spacing * 3, Theme::spacing * 4,
                             Theme::spacing * 3);
  layout->setSpacing(Theme::spacing * 2);

  summaryHeader_ = new QLabel;
  summaryHeader_->setObjectName(QStringLiteral("summaryHeader"));
  summaryHeader_->setFont(Theme::titleFont());
  summaryHeader_->setAlignment(Qt::AlignHCenter);
  layout->addWidget(summaryHeader_);

  summaryGrid_ = new QGridLayout;
  summaryGrid_->setHorizontalSpacing(Theme::spacing * 3);
  summaryGrid_->setVerticalSpacing(Theme::spacing);
  summaryGrid_->setColumnStretch(1, 1);
  summaryLabels_ = {QStringLiteral("Batch Count"),
                    QStringLiteral("Total Size"),
                    QStringLiteral("Processing Steps Applied"),
                    QStringLiteral("Photos Processed"),
                    QStringLiteral("Photos not Processed"),
                    QStringLiteral("Photos Skipped"),
                    QStringLiteral("Photos with Error"),
                    QStringLiteral("Time Elapsed")};
  for (int row = 0; row < summaryLabels_.size(); ++row) {
    QLabel *label = secondaryLabel(summaryLabels_.at(row));
    auto *value = new QLabel;
    value->setObjectName(QStringLiteral("summaryValue%1").arg(row));
    QFont bold = value->font();
    bold.setWeight(QFont::DemiBold);
    value->setFont(bold);
    summaryGrid_->addWidget(label, row, 0, Qt::AlignRight);
    summaryGrid_->addWidget(value, row, 1, Qt::AlignLeft);
    summaryValues_.append(value);
  }
  const int folderRow = int(summaryLabels_.size());
  summaryGrid_->addWidget(secondaryLabel(tr("Output Directory")), folderRow, 0, Qt::AlignRight);
  auto *folderCell = new QWidget;
  auto *folderLayout = new QHBoxLayout(folderCell);
  folderLayout->setContentsMargins(0, 0, 0, 0);
  outputFolderText_ = new QLabel;
  outputFolderText_->setObjectName(QStringLiteral("summaryOutputText"));
  outputFolderButton_ = new QPushButton;
  outputFolderButton_->setObjectName(QStringLiteral("outputFolderButton"));
  outputFolderButton_->setToolTip(tr("Open the output folder"));
  Theme::setRole(outputFolderButton_, "flat");
  folderLayout->addWidget(outputFolderText_);
  folderLayout->addWidget(outputFolderButton_);
  folderLayout->addStretch(1);
  summaryGrid_->addWidget(folderCell, folderRow, 1);
  layout->addLayout(summaryGrid_);

  auto *buttons = new QHBoxLayout;
  buttons->setSpacing(Theme::spacing);
  showLogButton_ = new QPushButton(tr("Show Log"));
  showLogButton_->setObjectName(QStringLiteral("showLogButton"));
  showLogButton_->setToolTip(tr("Open the summary log of this run"));
  processSkippedButton_ = new QPushButton(tr("Process Skipped Photos"));
  processSkippedButton_->setObjectName(QStringLiteral("processSkippedButton"));
  processSkippedButton_->setToolTip(
      tr("Start a new batch with the photos that were not processed"));
  backToSettingsButton_ = new QPushButton(tr("Change Settings"));
  backToSettingsButton_->setObjectName(QStringLiteral("backToSettingsButton"));
  backToSettingsButton_->setToolTip(tr("Back to the settings of this batch"));
  startNewBatchButton_ = new QPushButton(tr("Start New Batch"));
  startNewBatchButton_->setObjectName(QStringLiteral("startNewBatchButton"));
  startNewBatchButton_->setToolTip(tr("Empty the batch and add new photos"));
  Theme::setRole(startNewBatchButton_, "primary");
  buttons->addWidget(showLogButton_);
  buttons->addWidget(backToSettingsButton_);
  buttons->addStretch(1);
  buttons->addWidget(processSkippedButton_);
  buttons->addWidget(startNewBatchButton_);
  layout->addSpacing(Theme::spacing);
  layout->addLayout(buttons);
  // Undo of this run and of past ones, from their journals.
  layout->addWidget(new UndoBatchPanel(&run_, card));

  auto *centre = new QHBoxLayout;
  centre->addStretch(1);
  centre->addWidget(card, 3);
  centre->addStretch(1);
  outer->addLayout(centre);
  outer->addStretch(2);

  connect(outputFolderButton_, &QPushButton::clicked, this,
          [this] { run_.btnOpenOutputFolderTapped(); });
  connect(showLogButton_, &QPushButton::clicked, this, [this] { run_.btnShowLogsTapped(); });
  // Both leave for the add-photos screen; this screen shows its settings when it comes back.
  connect(processSkippedButton_, &QPushButton::clicked, this, [this] {
    showPage(SettingsPage);
    run_.btnProcessSkippedFilesTapped();
  });
  connect(startNewBatchButton_, &QPushButton::clicked, this, [this] {
    showPage(SettingsPage);
    if (flow_)
      flow_->btnStartNewBatchFromSetupVCTapped();
  });
  connect(backToSettingsButton_, &QPushButton::clicked, this, &SetupVC::performBackOnSummaryAction);
  return view;
}

Sheet *SetupVC::currentSheet() const {
  return sheet_;
}

SetupVC::Page SetupVC::currentPage() const {
  return Page(pages_->currentIndex());
}

void SetupVC::showPage(Page page) {
  pages_->setCurrentIndex(page);
  if (page == SettingsPage)
    settingsView_->previewModel()->clearRunBatch();
}

void SetupVC::showEvent(QShowEvent *event) {
  QWidget::showEvent(event);
}

void SetupVC::viewWillAppearNotofication() {
  // The screen shows again: the settings of a batch that may have changed since.
  if (currentPage() == SettingsPage && !delegate_->isPHOTOS_PROCESSING_IN_PROGERESS) {
    NotificationCenter::defaultCenter().post(Notifications::SetupConvertAndRename);
    NotificationCenter::defaultCenter().post(Notifications::ResizeTableHeader);
  }
}

void SetupVC::enableBackButton() {
  NotificationCenter::defaultCenter().post(Notifications::EnbalePrevBtn);
}

void SetupVC::windowisResizing() {
  headerResize_->start();
}

void SetupVC::windowEndResizing() {
  headerResize_->stop();
  NotificationCenter::defaultCenter().post(Notifications::ResizeTableHeader);
}

// --- Sheets ---

Sheet *SetupVC::showSheet(const QString &title, const QString &message, const QStringList &buttons,
                          std::function<void(int)> done) {
  closeSheet();
  auto *sheet = new Sheet(window(), title, message, buttons, std::move(done));
  sheet_ = sheet;
  sheet->open();
  return sheet;
}

void SetupVC::closeSheet() {
  if (sheet_) {
    Sheet *sheet = sheet_;
    sheet_ = nullptr;
    sheet->close();
  }
}

void SetupVC::showAlert(int type, const QString &title, const QString &message) {
  showSheet(title.toUpper(), message, {tr("OK")}, [this, type](int) {
    delegate_->isSUBWINDOW_OPENED = false;
    if (type == 107 && flow_)
      flow_->btnStartNewBatchFromSetupVCTapped();
  });
}

void SetupVC::showStartRefused(const QString &message) {
  if (delegate_->isSUBWINDOW_OPENED)
    return;
  delegate_->isSUBWINDOW_OPENED = true;
  showSheet(tr("FILENAME IS BLANK"), message, {tr("OK")},
            [this](int) { delegate_->isSUBWINDOW_OPENED = false; });
}

// --- Starting ---

void SetupVC::btnPreviewOnConvertOrRenameVCTapped() {
  prepared_ = settingsView_->controller().preparedBatch();
  // The checks again: a photo gone since the preview is caught here.
  prepared_.verdicts = calculateErrorFiles(
      prepared_.destinations, prepared_.options && prepared_.options->owerwriteExistingFiles, true);
  for (const QString &line : prepared_.verdicts.consoleLines)
    qInfo().noquote() << line;
  const auto &records = prepared_.destinations;
  switch (prepared_.startGate()) {
  case StartGate::Refuse:
    run_.showAlertWithType(115);
    return;
  case StartGate::Prompt: {
    if (delegate_->isSUBWINDOW_OPENED)
      return;
    delegate_->isSUBWINDOW_OPENED = true;
    const qsizetype problems = prepared_.verdicts.problemCount();
    const QString message =
        tr("%1 of the %2 photos have errors or warnings and will be skipped. Do you want to "
           "start the batch?")
            .arg(problems)
            .arg(records.size());
    showSheet(tr("START THE BATCH?"), message, {tr("Start"), tr("Cancel")}, [this](int index) {
      delegate_->isSUBWINDOW_OPENED = false;
      if (index == 0)
        btnYesOnStartProcessWindowTapped();
    });
    return;
  }
  case StartGate::Start:
    sendStartProcessRequest();
    return;
  }
}

void SetupVC::btnYesOnStartProcessWindowTapped() {
  sendStartProcessRequest();
}

void SetupVC::sendStartProcessRequest() {
  if (prepared_.batch.isEmpty()) {
    showPage(SettingsPage);
    return;
  }
  NotificationCenter::defaultCenter().post(Notifications::ProcessStart);
  showPage(RunPage);
}

void SetupVC::processStartNotification() {
  // The run's rows are the preview's rows, showing results instead of checks.
  PreviewTableModel *model = settingsView_->previewModel();
  model->setPreview(prepared_.destinations, prepared_.verdicts);
  model->setRunBatch(prepared_.batch);
  awake_ = std::make_unique<platform::Workspace::DisplayAwakeAssertion>(
      QStringLiteral("Processing a batch of photos"));
  if (!run_.start(prepared_))
    awake_.reset();
}

void SetupVC::resetUIforNewProcess() {
  runTitle_->setText(tr("Processing photos…"));
  progressBar_->setValue(0);
  pendingProgress_ = -1;
  currentFile_->clear();
  pendingRow_ = -1;
  stopButton_->setEnabled(true);
  runTable_->scrollToTop();
}

void SetupVC::stopProcessNotification() {
  if (delegate_->isPHOTOS_PROCESSING_IN_PROGERESS)
    run_.stopProcessNotification();
}

void SetupVC::btnStopProcessTapped() {
  if (delegate_->isPHOTOS_PROCESSING_IN_PROGERESS)
    run_.btnStopProcessTapped();
}

void SetupVC::photoUpdated(qint64 index) {
  settingsView_->previewModel()->photoUpdated(index);
  pendingRow_ = index;
  if (!frame_->isActive())
    frame_->start();
}

void SetupVC::applyFrame() {
  if (pendingProgress_ >= 0) {
    progressBar_->setValue(pendingProgress_);
    pendingProgress_ = -1;
  }
  if (!pendingBatchInfo_.isEmpty()) {
    batchInfo_->setText(highlightedValues(pendingBatchInfo_));
    batchInfo_->setAccessibleName(pendingBatchInfo_);
    pendingBatchInfo_.clear();
  }
  if (pendingRow_ >= 0) {
    const auto &batch = run_.runBatch();
    if (pendingRow_ < batch.size() && batch.at(pendingRow_))
      currentFile_->setText(batch.at(pendingRow_)->filePath);
    runTable_->scrollTo(settingsView_->previewModel()->index(int(pendingRow_), 0));
    pendingRow_ = -1;
  }
}

QString SetupVC::batchInfoText() const {
  return pendingBatchInfo_.isEmpty() ? batchInfo_->accessibleName() : pendingBatchInfo_;
}

QString SetupVC::processInfoText() const {
  return bottomLine_->text();
}

QString SetupVC::currentFileText() const {
  return currentFile_->text();
}

// --- Summary ---

void SetupVC::setSummaryValue(const QString &label, const QString &value) {
  const qsizetype row = summaryLabels_.indexOf(label);
  if (row >= 0)
    summaryValues_.at(row)->setText(value);
}

QString SetupVC::summaryValue(const QString &label) const {
  if (label == QLatin1String("Output Directory"))
    return outputFolderButton_->isHidden() ? outputFolderText_->text()
                                           : outputFolderButton_->text();
  const qsizetype row = summaryLabels_.indexOf(label);
  return row >= 0 ? summaryValues_.at(row)->text() : QString();
}

QString SetupVC::summaryHeader() const {
  return summaryHeader_->text();
}

void SetupVC::addSummaryViewIsFinished(bool finished) {
  frame_->stop();
  applyFrame();
  settingsView_->previewModel()->flushUpdates();
  awake_.reset();
  closeSheet();
  const SummaryInfo &info = run_.summaryInfo;
  summaryHeader_->setText(info.header);
  setSummaryValue(QStringLiteral("Batch Count"), info.batchCount);
  setSummaryValue(QStringLiteral("Total Size"), info.totalSize);
  setSummaryValue(QStringLiteral("Processing Steps Applied"), info.stepsApplied);
  setSummaryValue(QStringLiteral("Photos Processed"), info.processed);
  setSummaryValue(QStringLiteral("Photos not Processed"), info.notProcessed);
  setSummaryValue(QStringLiteral("Photos Skipped"), info.skipped);
  setSummaryValue(QStringLiteral("Photos with Error"), info.errors);
  // A run within the second has no duration text of its own.
  const QString elapsed = info.timeElapsed.trimmed();
  setSummaryValue(QStringLiteral("Time Elapsed"),
                  elapsed.isEmpty() ? tr("less than a second") : elapsed);
  outputFolderText_->setText(info.outputDirectory);
  outputFolderText_->setVisible(!info.showOpenOutputFolderButton);
  outputFolderButton_->setText(info.outputDirectory);
  outputFolderButton_->setVisible(info.showOpenOutputFolderButton);
  processSkippedButton_->setVisible(info.showProcessSkippedButton);
  showPage(SummaryPage);
  Q_EMIT summaryShown(finished);
}

void SetupVC::performBackOnSummaryAction() {
  // The back button stays off while the screen changes under it, then comes back.
  NotificationCenter::defaultCenter().post(Notifications::DisbalePrevBtn);
  showPage(SettingsPage);
  enableBackButton();
  if (flow_)
    flow_->checkForDeletedPhotosInSourceFolder(false);
  NotificationCenter::defaultCenter().post(Notifications::SetupConvertAndRename);
}

#pragma once

#include "processing/BatchRun.h"
#include "rename/PreflightChecks.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class AppDelegate;
class ConvertFormatOrRenameView;
class QGridLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTableView;
class QTimer;
class ScreenFlowDelegate;
class Sheet;
namespace platform::Workspace {
class DisplayAwakeAssertion;
}

// The setup screen: the rename-and-format settings with their preview, then the run of the
// batch on screen (progress, the current photo, every row's result, stop), then the summary
// with the log, the output folder and the photos to process again. The run itself is the
// engine's BatchRun; this screen shows what it reports and answers its sheets.
class SetupVC : public QWidget {
  Q_OBJECT
public:
  enum Page { SettingsPage = 0, RunPage = 1, SummaryPage = 2 };

  SetupVC(AppDelegate *delegate, ScreenFlowDelegate *flow, QWidget *parent = nullptr);
  ~SetupVC() override;

  ConvertFormatOrRenameView *settingsView() const { return settingsView_; }
  BatchRun &batchRun() { return run_; }
  Page currentPage() const;
  // The sheet this screen has up (abort, low space, overwrite, alerts, start prompt), if any.
  Sheet *currentSheet() const;

  // --- Starting ---
  // The settings view's start: the checks again, then alert 115, the start prompt or the run.
  void btnPreviewOnConvertOrRenameVCTapped();
  void btnYesOnStartProcessWindowTapped();
  // Posts "notificationProcessStart" and shows the run (an empty batch: the settings again).
  void sendStartProcessRequest();
  void processStartNotification();
  void stopProcessNotification();

  // --- Run view ---
  void btnStopProcessTapped();
  QProgressBar *progressBar() const { return progressBar_; }
  QString batchInfoText() const;
  QString processInfoText() const;
  QString currentFileText() const;

  // --- Summary ---
  void addSummaryViewIsFinished(bool finished);
  QString summaryHeader() const;
  // The summary's values by their labels ("Photos Processed" ...).
  QString summaryValue(const QString &label) const;
  QPushButton *outputFolderButton() const { return outputFolderButton_; }
  QPushButton *showLogButton() const { return showLogButton_; }
  QPushButton *processSkippedButton() const { return processSkippedButton_; }
  QPushButton *startNewBatchButton() const { return startNewBatchButton_; }
  QPushButton *stopButton() const { return stopButton_; }
  // Back from the summary to the settings of the same batch.
  void performBackOnSummaryAction();
  void enableBackButton();
  // The window was resized: the preview's columns are fitted again a moment after.
  void windowisResizing();
  void windowEndResizing();

Q_SIGNALS:
  // The run ended and the summary is up.
  void summaryShown(bool finished);

protected:
  void showEvent(QShowEvent *event) override;

private:
  QWidget *buildRunView();
  QWidget *buildSummaryView();
  void viewWillAppearNotofication();
  void showPage(Page page);
  Sheet *showSheet(const QString &title, const QString &message, const QStringList &buttons,
                   std::function<void(int)> done);
  void closeSheet();
  void showAlert(int type, const QString &title, const QString &message);
  void showStartRefused(const QString &message);
  void photoUpdated(qint64 index);
  void applyFrame();
  void resetUIforNewProcess();
  void setSummaryValue(const QString &label, const QString &value);

  AppDelegate *delegate_;
  ScreenFlowDelegate *flow_;
  BatchRun run_;
  // What the start gate read and the run takes: the last preview pass, checked again.
  PreparedBatch prepared_;
  std::unique_ptr<platform::Workspace::DisplayAwakeAssertion> awake_;

  QStackedWidget *pages_ = nullptr;
  ConvertFormatOrRenameView *settingsView_ = nullptr;
  QPointer<Sheet> sheet_;

  // --- Run view ---
  QLabel *runTitle_ = nullptr;
  QProgressBar *progressBar_ = nullptr;
  QLabel *batchInfo_ = nullptr;
  QLabel *currentFile_ = nullptr;
  QTableView *runTable_ = nullptr;
  QLabel *bottomLine_ = nullptr;
  QPushButton *stopButton_ = nullptr;
  // Results arrive faster than they can be read: the latest texts are shown ten times a
  // second.
  QTimer *frame_ = nullptr;
  QTimer *headerResize_ = nullptr;
  QString pendingBatchInfo_;
  int pendingProgress_ = -1;
  qint64 pendingRow_ = -1;

  // --- Summary ---
  QLabel *summaryHeader_ = nullptr;
  QGridLayout *summaryGrid_ = nullptr;
  QStringList summaryLabels_;
  QList<QLabel *> summaryValues_;
  QLabel *outputFolderText_ = nullptr;
  QPushButton *outputFolderButton_ = nullptr;
  QPushButton *showLogButton_ = nullptr;
  QPushButton *processSkippedButton_ = nullptr;
  QPushButton *startNewBatchButton_ = nullptr;
  QPushButton *backToSettingsButton_ = nullptr;
};

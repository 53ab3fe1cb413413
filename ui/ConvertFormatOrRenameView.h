#pragma once

#include "rename/PreviewPass.h"
#include "rename/RenameSettingsEditor.h"

#include <QMap>
#include <QWidget>

#include <functional>
#include <memory>

class AppDelegate;
class PreviewFilterButton;
class PreviewFilterProxy;
class PreviewTableModel;
class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QSlider;
class QTableView;
class QTimer;

// The rename-and-format screen: the rename mode and its eight rules, the output format with
// its quality or compression, where the photos go, and the preview of every new path with
// its checks. Every control writes through the engine's settings editor or output options
// and asks for a new preview; the preview is built on the engine's background queue.
//
// Edits that arrive while a pass runs are folded into one pass that starts when it ends, so
// typing into a large batch previews the latest text next instead of every keystroke in turn.
class ConvertFormatOrRenameView : public QWidget {
  Q_OBJECT
public:
  explicit ConvertFormatOrRenameView(AppDelegate *delegate, QWidget *parent = nullptr);
  ~ConvertFormatOrRenameView() override;

  // The screen opens: read the setting and options and run the first pass (initial).
  void setupViewNotification();
  // The reset button: the rename setting's defaults (the output options stay).
  void resetAllSettings();
  // Sets every control from the setting and options, without asking for a pass.
  void setupUIForUpdatedRenameSettingDictionary();
  // The back button is disabled while the summary is shown, and enabled again after.
  void disablePrevBtn();
  void enablePrevBtn();
  // The window is being resized, or has been: the table's columns follow its width.
  void windowisResizing();
  void windowEndResizing();
  void resizeTableHeader();
  // The settings view is shown again within its screen: as when the screen opens.
  void appearInBatchEffectsView();

  RenamePreviewController &controller() { return controller_; }
  RenameSettingsEditor &editor() { return editor_; }
  PreviewTableModel *previewModel() const { return model_; }
  PreviewFilterProxy *previewProxy() const { return proxy_; }
  QTableView *previewTable() const { return table_; }
  // Whether a pass is running or waiting to run.
  bool isPreviewBusy() const;
  // Passes started since the screen was made (coalescing is visible here).
  int passesStarted() const { return passesStarted_; }
  // The "Total Images: %@  |  Total Size: %@" line.
  QString batchLineText() const;

  // The folder chooser (a dialog by default; tests answer it). Empty: cancelled.
  std::function<QString(QWidget *parent, const QString &current)> chooseFolder;
  // Where the row menu's actions go (the desktop by default).
  std::function<void(const QString &path)> revealPath;
  std::function<void(const QString &path)> openPath;
  std::function<void(const QString &path)> showInfoForPath;

Q_SIGNALS:
  // The start check passed and the delegate holds the settings and destinations.
  void startRequested();
  // The start check refused: the replacement name is blank (the message to show).
  void startRefused(const QString &message);
  void backRequested();
  // A pass has been shown (table reloaded and controls set again from the record).
  void previewShown();

private:
  void buildRenamePanel(QWidget *panel);
  void buildFormatPanel(QWidget *panel);
  void buildDestinationPanel(QWidget *panel);
  QWidget *buildPreviewSide();
  QLineEdit *addTextField(QWidget *group, RenameTextField field, const QString &label,
                          const QString &objectName);
  QLineEdit *addIntegerField(QWidget *group, RenameIntegerField field, const QString &label,
                             const QString &objectName);
  // Greys the output formats this system has no encoder for.
  static void disableFormatsWithoutEncoder(QComboBox *list);
  QComboBox *addOptionList(QWidget *group, int kind, const QString &label,
                           const QString &objectName);
  QGroupBox *addRuleGroup(QWidget *panel, RenameRule rule, const QString &title,
                          const QString &objectName);

  // The typed shift in words beside its field.
  void showDateShiftMeaning();
  // Every edit comes here: a pass now, or one after the running pass.
  void requestPreview();
  void previewUpdated();
  void updateLoadingIndicator();
  void updateFilterButtons();
  void addNoCaptureDateFilter(QHBoxLayout *row, QButtonGroup *group);
  void updateDateFromParts();
  void btnPreviewFilesModeTapped(int tag);
  void btnStartTapped();
  void btnDestinationModeTapped(int tag);
  void btnChooseFolderTapped();
  void showRowMenu(const QPoint &position);

  AppDelegate *delegate_;
  RenamePreviewController controller_;
  RenameSettingsEditor editor_;
  bool bound_ = false;
  bool rebuildPending_ = false;
  bool startWhenReady_ = false;
  int passesStarted_ = 0;

  // --- Rename ---
  QRadioButton *keepNamesRadio_ = nullptr;
  QRadioButton *modifyNamesRadio_ = nullptr;
  QWidget *rulePanel_ = nullptr;
  QMap<RenameRule, QGroupBox *> ruleGroups_;
  QCheckBox *lowerCaseExtensionBox_ = nullptr;
  QMap<RenameTextField, QLineEdit *> textFields_;
  QMap<RenameIntegerField, QLineEdit *> integerFields_;
  QMap<int, QComboBox *> optionLists_;
  QPushButton *resetButton_ = nullptr;

  // --- Format ---
  QComboBox *formatList_ = nullptr;
  QWidget *qualityPanel_ = nullptr;
  QCheckBox *qualityBox_ = nullptr;
  QSlider *qualitySlider_ = nullptr;
  QLabel *qualityLabel_ = nullptr;
  QWidget *compressionPanel_ = nullptr;
  QCheckBox *compressionBox_ = nullptr;
  QSlider *compressionSlider_ = nullptr;
  QLabel *compressionLabel_ = nullptr;
  QLabel *rawNote_ = nullptr;

  // --- Destination ---
  QButtonGroup *destinationModes_ = nullptr;
  QLabel *destinationInfo_ = nullptr;
  QLineEdit *folderField_ = nullptr;
  QLineEdit *dateShiftField_ = nullptr;
  QLabel *dateShiftMeaning_ = nullptr;
  QCheckBox *writeDateShiftBox_ = nullptr;
  QPushButton *chooseFolderButton_ = nullptr;
  QCheckBox *openFolderBox_ = nullptr;
  QCheckBox *overwriteBox_ = nullptr;
  QCheckBox *keepDatesBox_ = nullptr;

  // --- Preview ---
  QLabel *batchLine_ = nullptr;
  QList<PreviewFilterButton *> filterButtons_;
  PreviewFilterButton *noCaptureDateButton_ = nullptr;
  QWidget *loading_ = nullptr;
  QTimer *loadingDelay_ = nullptr;
  // Announces a pass starting, or the last pending one ending, to whoever shows loading.
  void passStarting();
  void passesEnded();
  PreviewTableModel *model_ = nullptr;
  PreviewFilterProxy *proxy_ = nullptr;
  QTableView *table_ = nullptr;
  QLabel *emptyNote_ = nullptr;
  QPushButton *backButton_ = nullptr;
  QPushButton *startButton_ = nullptr;
};

#pragma once

#include "intake/PhotoIntake.h"

#include <QPointer>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class AppDelegate;
class BatchTableModel;
class DropArea;
class OverlayPanel;
class PhotoInformationModel;
class QAbstractItemView;
class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTableView;
class QToolButton;
class QDateTimeEdit;
class ScreenFlowDelegate;
class ThumbnailLoader;

// The add-photos screen: the ways in (files, folders, a folder filtered by dates, a photo
// library, drops), the add run's progress and messages, the batch as thumbnails or as a list,
// its upkeep (ticks, the per-photo menu, removing, missing photos), the information of the
// selected photo and the summary line. The add run and every rule are the engine's
// (PhotoIntake); the screen shows what it reports.
class AddPhotosVC : public QWidget, public AddPhotosListener {
  Q_OBJECT
public:
  // What a file chooser is asked for.
  enum class ChooserKind { Files, Folders, FilteredFolder, Library };
  using Chooser = std::function<QStringList(ChooserKind kind)>;

  AddPhotosVC(AppDelegate *delegate, ScreenFlowDelegate *flow, QWidget *parent = nullptr);
  ~AddPhotosVC() override;

  PhotoIntake &intake() { return *intake_; }
  BatchTableModel *batchModel() const { return batchModel_; }
  PhotoInformationModel *informationModel() const { return informationModel_; }
  ThumbnailLoader *thumbnailLoader() const { return thumbnails_; }
  QListView *thumbnailView() const { return thumbnailView_; }
  QTableView *listView() const { return listView_; }
  QTableView *informationView() const { return informationView_; }
  bool isThumbnailMode() const { return thumbnailMode_; }
  // The summary line as plain text ("Images Count: 3  |  Total Size: 6.00 MB  ").
  QString summaryText() const { return summaryText_; }

  // The chooser shown by the add buttons; tests and the screenshot tour answer it
  // themselves. The default opens a file dialog.
  void setChooser(Chooser chooser) { chooser_ = std::move(chooser); }

  // --- The message panel, the progress panel and the filter sheet ---
  bool isMessageShown() const;
  QString messageTitle() const;
  QString messageText() const;
  QPushButton *messageOkButton() const { return messageOk_; }
  QPushButton *messageRemoveButton() const { return messageRemove_; }
  bool isProgressShown() const;
  QPushButton *stopButton() const { return btnStop_; }
  bool isFilterSheetShown() const;
  QDateTimeEdit *filterFromPicker() const { return pickerFrom_; }
  QDateTimeEdit *filterToPicker() const { return pickerTo_; }
  QLabel *filterNote() const { return filterNote_; }
  QPushButton *filterAddButton() const { return filterAdd_; }

  // --- Buttons (for the keyboard, tests and screenshots) ---
  QPushButton *addPhotosButton() const { return btnAddPhotos_; }
  QPushButton *addFolderButton() const { return btnAddFolder_; }
  QPushButton *addWithFiltersButton() const { return btnAddWithFilters_; }
  QPushButton *libraryButton() const { return btnLibrary_; }
  QPushButton *removeSelectedButton() const { return btnRemoveSelected_; }
  QPushButton *removeAllButton() const { return btnRemoveAll_; }
  // The view-mode button that switches to the other view.
  QToolButton *viewModeButton() const { return thumbnailMode_ ? btnListMode_ : btnThumbMode_; }
  QToolButton *thumbnailModeButton() const { return btnThumbMode_; }
  QToolButton *listModeButton() const { return btnListMode_; }
  QPushButton *nextButton() const { return btnNext_; }

  // --- Actions ---
  void btnAddPhotosTappedWithIndex(int index);
  void btnAddFolderTapped() { btnAddPhotosTappedWithIndex(1); }
  void btnAddPhotoWithFilterTapped();
  void btnAddFilterOnPopupTapped();
  void btnAddIphotosTapped();
  void handleFileDragDropNotification(const QStringList &paths);
  void acceptDrop(const QStringList &paths);
  void btnStopAddingTapped();
  void btnViewPhotosModetapped();
  void changePhotosViewImageMode(bool thumbnails, bool isFirstTime);
  // 0 remove selected, 1 remove all.
  void btnOnRemovePhotoPopupTapped(int tag);
  QList<std::shared_ptr<PhotoFile>> getSelectedIndices() const;
  // The per-photo menu's options for the photo at row (0 reveal, 1 open, 2 get info).
  void btnOnMenuOptionTapped(int option, int row);
  void btnRemoveFromBatchOnAlertTapped();
  void setSeletedPhotoFileWithIndex(int index);
  void updateBatchInformationInBottomView();
  void viewWillAppear();
  void viewWillDisAppear();
  void processWithSkippedFilesNotification();
  void photosDeleted();
  void btnNextTapped();

Q_SIGNALS:
  // An add run is over (every message of it has been shown).
  void addRunFinished();
  // The information table shows the rows of the photo made current.
  void informationLoaded();
  // The message panel came up.
  void messageShown(const QString &title);
  // Every visible thumbnail is on screen (or failed).
  void visibleThumbnailsShown();

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;
  void resizeEvent(QResizeEvent *event) override;
  void changeEvent(QEvent *event) override;

private:
  // AddPhotosListener
  void addPhotosWillInsert(qsizetype first, qsizetype count) override;
  void addPhotosDidInsert() override;
  void addPhotosWillRemove(qsizetype first, qsizetype count) override;
  void addPhotosDidRemove() override;
  void addPhotosMessage(const AddPhotosMessage &message) override;
  void addPhotosWillAdd(bool showProgressPanel) override;
  void addPhotosShowProgressPanel() override;
  void addPhotosProgress(const AddPhotosProgress &progress) override;
  void addPhotosEnded() override;
  void addPhotosFinished() override;
  void addPhotosUnreadableName(const QString &folder) override;

  void buildUi();
  void observeNotifications();
  void applyStyle();
  QWidget *makeHeader();
  QWidget *makeViews();
  QWidget *makeInformationPanel();
  QWidget *makeFooter();
  void makePanels();
  void startAdding(const std::function<AddPhotosStatus()> &start, const QStringList &paths);
  void noteUnreadable(const QStringList &paths);
  QStringList choose(ChooserKind kind);
  QStringList runFileDialog(ChooserKind kind);
  void showMessage(const QString &title, const QString &text, bool ok, bool remove);
  void hideMessage();
  void showProgressPanel();
  void hideProgressPanel();
  void showProgressFrame();
  void setInteractionEnabled(bool on);
  void showPhotosOrDropArea();
  void syncModel();
  void reloadMissingMarks(const QList<int> &missingRows);
  void confirmRemoveSelected(const QList<std::shared_ptr<PhotoFile>> &selected);
  void removeSelected(const QList<std::shared_ptr<PhotoFile>> &selected);
  void afterRemoval();
  void currentRowChanged(int row);
  void loadInformation(const std::shared_ptr<PhotoFile> &photo);
  void showContextMenu(QAbstractItemView *view, const QPoint &pos);
  void scheduleThumbnails();
  void requestVisibleThumbnails();
  void visibleRows(int *first, int *last) const;
  QAbstractItemView *shownView() const;
  void fitGridToWidth();

  AppDelegate *delegate_;
  ScreenFlowDelegate *flow_;
  std::unique_ptr<PhotoIntake> intake_;
  ThumbnailLoader *thumbnails_;
  BatchTableModel *batchModel_;
  PhotoInformationModel *informationModel_;
  Chooser chooser_;
  QThreadPool informationPool_;
  quint64 informationGeneration_ = 0;

  QPushButton *btnAddPhotos_ = nullptr;
  QPushButton *btnAddFolder_ = nullptr;
  QPushButton *btnAddWithFilters_ = nullptr;
  QPushButton *btnLibrary_ = nullptr;
  QPushButton *btnRemoveSelected_ = nullptr;
  QPushButton *btnRemoveAll_ = nullptr;
  QToolButton *btnThumbMode_ = nullptr;
  QToolButton *btnListMode_ = nullptr;
  QPushButton *btnNext_ = nullptr;
  QLabel *countLabel_ = nullptr;
  QStackedWidget *viewStack_ = nullptr;
  DropArea *dropArea_ = nullptr;
  QListView *thumbnailView_ = nullptr;
  QTableView *listView_ = nullptr;
  QTableView *informationView_ = nullptr;
  QLabel *informationTitle_ = nullptr;
  QLabel *dateSource_ = nullptr; // below the table: where the capture date came from
  QLabel *summary_ = nullptr;
  QProgressBar *screenProgress_ = nullptr;
  QWidget *viewsArea_ = nullptr;

  OverlayPanel *messagePanel_ = nullptr;
  QLabel *messageTitle_ = nullptr;
  QLabel *messageText_ = nullptr;
  QPushButton *messageOk_ = nullptr;
  QPushButton *messageRemove_ = nullptr;

  OverlayPanel *progressPanel_ = nullptr;
  QLabel *progressPicture_ = nullptr;
  QProgressBar *panelProgress_ = nullptr;
  QLabel *percentLabel_ = nullptr;
  QLabel *pathLabel_ = nullptr;
  QLabel *progressText_ = nullptr;
  QPushButton *btnStop_ = nullptr;

  OverlayPanel *filterPanel_ = nullptr;
  QDateTimeEdit *pickerFrom_ = nullptr;
  QDateTimeEdit *pickerTo_ = nullptr;
  QLabel *filterNote_ = nullptr;
  QPushButton *filterAdd_ = nullptr;

  QTimer progressFrame_;   // the latest progress step, shown once per frame
  QTimer thumbnailSettle_; // scrolling or resizing has stopped
  QTimer gridSettle_;      // resizing has paused: fit the cells to the width
  AddPhotosProgress lastProgress_;
  bool progressPending_ = false;
  bool thumbnailMode_ = true;
  bool progressPanelWanted_ = false;
  QStringList unreadable_;
  QString summaryText_;
  QString shownPicture_;
  std::shared_ptr<PhotoFile> currentPhoto_;
  QList<QPointer<QWidget>> disabledDuringRun_;
};

#include "ui/AddPhotosVC.h"

#include "app/AppDelegate.h"
#include "app/NotificationCenter.h"
#include "app/Notifications.h"
#include "intake/PhotoFile.h"
#include "metadata/ExifInfo.h"
#include "metadata/InformationTable.h"
#include "platform/FileTypes.h"
#include "platform/StandardFolders.h"
#include "ui/AddPhotosPictures.h"
#include "ui/BatchSortHeader.h"
#include "ui/BatchTableModel.h"
#include "ui/PhotoInformationModel.h"
#include "ui/ScreenFlowDelegate.h"
#include "ui/Sheet.h"
#include "ui/Theme.h"
#include "ui/ThumbnailDelegate.h"
#include "ui/ThumbnailLoader.h"

#include <QAction>
#include <QApplication>
#include <QDateTimeEdit>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QListView>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPixmapCache>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QResizeEvent>
#include <QScrollBar>
#include <QShortcut>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

// --- Pieces of the screen ---

// A card over a dimmed host: the message panel, the progress panel and the filter sheet.
class OverlayPanel : public QWidget {
public:
  explicit OverlayPanel(QWidget *host) : QWidget(host) {
    setAttribute(Qt::WA_NoSystemBackground);
    card_ = new QFrame(this);
    card_->setObjectName(QStringLiteral("addPhotosCard"));
    card_->setFrameShape(QFrame::NoFrame);
    card_->setAutoFillBackground(true);
    host->installEventFilter(this);
    hide();
  }
  QFrame *card() const { return card_; }
  void present() {
    setGeometry(parentWidget()->rect());
    place();
    raise();
    show();
  }

protected:
  bool eventFilter(QObject *watched, QEvent *event) override {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
      setGeometry(parentWidget()->rect());
      place();
    }
    return false;
  }
  void paintEvent(QPaintEvent *) override {
    QPainter p(this);
    QColor veil = palette().color(QPalette::Window).lightness() < 128 ? QColor(0, 0, 0, 120)
                                                                      : QColor(20, 24, 30, 70);
    p.fillRect(rect(), veil);
  }
  // Clicks on the veil stay here: the screen below waits for the card.
  void mousePressEvent(QMouseEvent *event) override { event->accept(); }

private:
  void place() {
    const QSize hint = card_->sizeHint().expandedTo(card_->minimumSizeHint());
    const int w = std::min(std::max(hint.width(), 460), std::max(width() - 32, 200));
    // Wrapped labels need the height their width gives them.
    int needed = hint.height();
    if (QLayout *layout = card_->layout(); layout && layout->hasHeightForWidth())
      needed = std::max(needed, layout->totalHeightForWidth(w));
    const int h = std::min(needed, std::max(height() - 32, 120));
    card_->setGeometry((width() - w) / 2, (height() - h) / 2, w, h);
  }
  QFrame *card_;
};

// The place to drop photos when the batch is empty; drops are posted as
// "FileDragDropNotification" with their "paths".
class DropArea : public QFrame {
public:
  explicit DropArea(QWidget *parent) : QFrame(parent) {
    setAcceptDrops(true);
    setObjectName(QStringLiteral("dropArea"));
    setAccessibleName(QStringLiteral("Drop photos or folders here"));
    setMinimumHeight(220);
  }

protected:
  void dragEnterEvent(QDragEnterEvent *event) override {
    if (hasLocalFiles(event->mimeData())) {
      event->acceptProposedAction();
      hovering_ = true;
      update();
    }
  }
  void dragMoveEvent(QDragMoveEvent *event) override {
    if (hasLocalFiles(event->mimeData()))
      event->acceptProposedAction();
  }
  void dragLeaveEvent(QDragLeaveEvent *) override {
    hovering_ = false;
    update();
  }
  void dropEvent(QDropEvent *event) override {
    hovering_ = false;
    update();
    QStringList paths;
    for (const QUrl &url : event->mimeData()->urls())
      if (url.isLocalFile())
        paths.append(url.toLocalFile());
    if (paths.isEmpty())
      return;
    event->acceptProposedAction();
    NotificationCenter::defaultCenter().post(Notifications::FileDragDrop,
                                             {{Notifications::PathsKey, paths}});
  }
  void paintEvent(QPaintEvent *) override {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPalette &pal = palette();
    const QRectF box = QRectF(rect()).adjusted(24, 24, -24, -24);
    QColor accent = pal.color(QPalette::Highlight);
    QColor line = hovering_ ? accent : pal.color(QPalette::PlaceholderText);
    QColor fill = hovering_ ? accent : pal.color(QPalette::Text);
    fill.setAlpha(hovering_ ? 28 : 8);
    p.setBrush(fill);
    p.setPen(QPen(line, 2, Qt::DashLine));
    p.drawRoundedRect(box, 16, 16);
    // A stack of two photos with an arrow into them.
    const QPointF c(box.center().x(), box.center().y() - 34);
    p.setPen(QPen(line, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(QRectF(c.x() - 34, c.y() - 22, 60, 44), 6, 6);
    p.drawRoundedRect(QRectF(c.x() - 24, c.y() - 32, 60, 44), 6, 6);
    p.drawLine(QPointF(c.x() + 1, c.y() - 62), QPointF(c.x() + 1, c.y() - 40));
    p.drawLine(QPointF(c.x() - 8, c.y() - 49), QPointF(c.x() + 1, c.y() - 40));
    p.drawLine(QPointF(c.x() + 10, c.y() - 49), QPointF(c.x() + 1, c.y() - 40));
    QFont big = font();
    big.setPointSizeF(big.pointSizeF() * 1.5);
    big.setWeight(QFont::DemiBold);
    p.setFont(big);
    p.setPen(pal.color(QPalette::Text));
    p.drawText(QRectF(box.left(), c.y() + 36, box.width(), 34), Qt::AlignCenter,
               QStringLiteral("Drop photos or folders here"));
    p.setFont(font());
    p.setPen(pal.color(QPalette::PlaceholderText));
    p.drawText(QRectF(box.left(), c.y() + 72, box.width(), 24), Qt::AlignCenter,
               QStringLiteral("or use Add Photos (Ctrl+O), Add Folder or Add with Filters above"));
  }

private:
  static bool hasLocalFiles(const QMimeData *data) {
    if (!data || !data->hasUrls())
      return false;
    for (const QUrl &url : data->urls())
      if (url.isLocalFile())
        return true;
    return false;
  }
  bool hovering_ = false;
};

namespace {

// The library chooser's item filter: items the engine would not take are greyed out.
class LibraryItemFilter : public QSortFilterProxyModel {
public:
  LibraryItemFilter(const PhotoIntake *intake, QObject *parent)
      : QSortFilterProxyModel(parent), intake_(intake) {}
  Qt::ItemFlags flags(const QModelIndex &index) const override {
    Qt::ItemFlags f = QSortFilterProxyModel::flags(index);
    const auto *files = qobject_cast<const QFileSystemModel *>(sourceModel());
    if (!files || !index.isValid())
      return f;
    const QString path = files->filePath(mapToSource(index));
    if (!intake_->panelShouldEnableURL(path))
      f &= ~(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    return f;
  }

private:
  const PhotoIntake *intake_;
};

QString imageNameFilter() {
  QStringList patterns;
  QStringList extensions = platform::FileTypes::imageFileExtensions();
  extensions += PhotoIntake::additionalImageExtensions();
  for (const QString &ext : std::as_const(extensions)) {
    const QString pattern = QStringLiteral("*.") + ext;
    if (!patterns.contains(pattern))
      patterns.append(pattern);
  }
  return QStringLiteral("Photos (%1)").arg(patterns.join(QLatin1Char(' ')));
}

QPushButton *makeButton(const QString &text, const QString &toolTip, QWidget *parent) {
  auto *button = new QPushButton(text, parent);
  button->setToolTip(toolTip);
  button->setAccessibleName(text);
  button->setAccessibleDescription(toolTip);
  button->setCursor(Qt::PointingHandCursor);
  button->setMinimumHeight(34);
  return button;
}

QLabel *makeLabel(const QString &text, QWidget *parent, bool wrap = true) {
  auto *label = new QLabel(text, parent);
  label->setWordWrap(wrap);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

QString richSummary(const QString &plain, const QPalette &palette) {
  if (plain.isEmpty())
    return {};
  // Labels in the quiet colour, the figures in the text colour and bold.
  QString html = plain.toHtmlEscaped();
  html.replace(QLatin1String("  "), QLatin1String("&nbsp;&nbsp;"));
  static const QRegularExpression label(QStringLiteral("(Images Count:|Total Size:)"));
  static const QRegularExpression figure(QStringLiteral("(:&nbsp;|: )([^&|]+)"));
  html.replace(figure, QStringLiteral(": <b>\\2</b>"));
  html.replace(label, QStringLiteral("<span style=\"color:%1\">\\1</span>")
                          .arg(palette.color(QPalette::PlaceholderText).name()));
  return html;
}

} // namespace

// --- The screen ---

AddPhotosVC::AddPhotosVC(AppDelegate *delegate, ScreenFlowDelegate *flow, QWidget *parent)
    : QWidget(parent), delegate_(delegate), flow_(flow) {
  setObjectName(QStringLiteral("AddPhotosVC"));
  setAccessibleName(QStringLiteral("Add photos"));
  intake_ = std::make_unique<PhotoIntake>(&delegate_->arraySelectedImagesToProcess, this);
  thumbnails_ = new ThumbnailLoader(this);
  batchModel_ = new BatchTableModel(thumbnails_, this);
  informationModel_ = new PhotoInformationModel(this);
  informationPool_.setMaxThreadCount(1);
  // Room for a few screens of thumbnails scaled to their cells.
  QPixmapCache::setCacheLimit(std::max(QPixmapCache::cacheLimit(), 48 * 1024));

  progressFrame_.setSingleShot(true);
  progressFrame_.setInterval(16);
  connect(&progressFrame_, &QTimer::timeout, this, &AddPhotosVC::showProgressFrame);
  // Thumbnails are asked for once scrolling or resizing has stopped.
  gridSettle_.setSingleShot(true);
  gridSettle_.setInterval(150);
  connect(&gridSettle_, &QTimer::timeout, this, &AddPhotosVC::fitGridToWidth);
  thumbnailSettle_.setSingleShot(true);
  thumbnailSettle_.setInterval(30);
  connect(&thumbnailSettle_, &QTimer::timeout, this, &AddPhotosVC::requestVisibleThumbnails);
  connect(thumbnails_, &ThumbnailLoader::thumbnailReady, batchModel_,
          &BatchTableModel::thumbnailArrived);
  connect(thumbnails_, &ThumbnailLoader::idle, this, &AddPhotosVC::visibleThumbnailsShown);
  connect(batchModel_, &BatchTableModel::pathsDropped, this, &AddPhotosVC::acceptDrop);
  connect(batchModel_, &QAbstractItemModel::rowsInserted, this, &AddPhotosVC::scheduleThumbnails);
  connect(batchModel_, &QAbstractItemModel::rowsRemoved, this, &AddPhotosVC::scheduleThumbnails);
  connect(batchModel_, &QAbstractItemModel::modelReset, this, &AddPhotosVC::scheduleThumbnails);

  buildUi();
  observeNotifications();
  changePhotosViewImageMode(true, true);
  updateBatchInformationInBottomView();
  showPhotosOrDropArea();
}

AddPhotosVC::~AddPhotosVC() {
  NotificationCenter::defaultCenter().removeObserver(this);
  intake_->setListener(nullptr);
  intake_.reset();
  informationPool_.waitForDone();
}

// --- Building ---

void AddPhotosVC::buildUi() {
  auto *root = new QVBoxLayout(this);
  root->setContentsMargins(20, 16, 20, 12);
  root->setSpacing(12);
  root->addWidget(makeHeader());

  auto *splitter = new QSplitter(Qt::Horizontal, this);
  splitter->setChildrenCollapsible(false);
  splitter->addWidget(makeViews());
  splitter->addWidget(makeInformationPanel());
  splitter->setStretchFactor(0, 1);
  splitter->setStretchFactor(1, 0);
  splitter->setSizes({900, 360});
  root->addWidget(splitter, 1);
  root->addWidget(makeFooter());
  makePanels();
  applyStyle();

  auto *remove = new QShortcut(QKeySequence::Delete, this, [this] {
    if (!intake_->isRunning())
      btnOnRemovePhotoPopupTapped(0);
  });
  remove->setContext(Qt::WidgetWithChildrenShortcut);
  auto *add = new QShortcut(QKeySequence::Open, this, [this] { btnAddPhotosTappedWithIndex(0); });
  add->setContext(Qt::WidgetWithChildrenShortcut);

  setTabOrder(btnAddPhotos_, btnAddFolder_);
  setTabOrder(btnAddFolder_, btnAddWithFilters_);
  setTabOrder(btnAddWithFilters_, btnLibrary_);
  setTabOrder(btnLibrary_, btnThumbMode_);
  setTabOrder(btnThumbMode_, btnListMode_);
  setTabOrder(btnListMode_, btnRemoveSelected_);
  setTabOrder(btnRemoveSelected_, btnRemoveAll_);
  setTabOrder(btnRemoveAll_, thumbnailView_);
  setTabOrder(thumbnailView_, listView_);
  setTabOrder(listView_, informationView_);
  setTabOrder(informationView_, btnNext_);
}

QWidget *AddPhotosVC::makeHeader() {
  auto *header = new QWidget(this);
  auto *row = new QHBoxLayout(header);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(8);

  btnAddPhotos_ = makeButton(QStringLiteral("Add Photos"),
                             QStringLiteral("Choose photos to add to the batch (Ctrl+O)"), header);
  btnAddPhotos_->setIcon(Theme::icon(QStringLiteral("add_photos"), Theme::accentText()));
  btnAddPhotos_->setObjectName(QStringLiteral("primaryButton"));
  btnAddFolder_ =
      makeButton(QStringLiteral("Add Folder"),
                 QStringLiteral("Add every photo of folders and their sub-folders"), header);
  btnAddFolder_->setIcon(Theme::icon(QStringLiteral("add_folder")));
  btnAddWithFilters_ =
      makeButton(QStringLiteral("Add with Filters"),
                 QStringLiteral("Add the photos of a folder taken between two dates"), header);
  btnAddWithFilters_->setIcon(Theme::icon(QStringLiteral("calendar_filter")));
  btnLibrary_ = makeButton(QStringLiteral("Photo Library"),
                           QStringLiteral("Click here to add iPhoto/Photos library"), header);
  btnLibrary_->setIcon(Theme::icon(QStringLiteral("photo_library")));

  connect(btnAddPhotos_, &QPushButton::clicked, this, [this] { btnAddPhotosTappedWithIndex(0); });
  connect(btnAddFolder_, &QPushButton::clicked, this, &AddPhotosVC::btnAddFolderTapped);
  connect(btnAddWithFilters_, &QPushButton::clicked, this,
          &AddPhotosVC::btnAddPhotoWithFilterTapped);
  connect(btnLibrary_, &QPushButton::clicked, this, &AddPhotosVC::btnAddIphotosTapped);

  row->addWidget(btnAddPhotos_);
  row->addWidget(btnAddFolder_);
  row->addWidget(btnAddWithFilters_);
  row->addWidget(btnLibrary_);
  row->addStretch(1);

  // The two view modes side by side; the shown one has the active icon.
  auto *modes = new QFrame(header);
  modes->setObjectName(QStringLiteral("viewModes"));
  auto *modeRow = new QHBoxLayout(modes);
  modeRow->setContentsMargins(2, 2, 2, 2);
  modeRow->setSpacing(2);
  btnThumbMode_ = new QToolButton(modes);
  btnListMode_ = new QToolButton(modes);
  for (QToolButton *button : {btnThumbMode_, btnListMode_}) {
    button->setAutoRaise(true);
    button->setIconSize(QSize(20, 20));
    button->setMinimumSize(34, 30);
    button->setCursor(Qt::PointingHandCursor);
    modeRow->addWidget(button);
  }
  btnThumbMode_->setToolTip(QStringLiteral("Show the photos as thumbnails"));
  btnThumbMode_->setAccessibleName(QStringLiteral("Thumbnail view"));
  btnListMode_->setToolTip(QStringLiteral("Show the photos as a list"));
  btnListMode_->setAccessibleName(QStringLiteral("List view"));
  connect(btnThumbMode_, &QToolButton::clicked, this, [this] {
    if (!thumbnailMode_)
      btnViewPhotosModetapped();
  });
  connect(btnListMode_, &QToolButton::clicked, this, [this] {
    if (thumbnailMode_)
      btnViewPhotosModetapped();
  });
  btnRemoveSelected_ = makeButton(
      QStringLiteral("Remove Selected"),
      QStringLiteral("Remove the selected or ticked photos from the batch (Delete)"), header);
  btnRemoveAll_ = makeButton(QStringLiteral("Remove All"),
                             QStringLiteral("Remove every photo from the batch"), header);
  connect(btnRemoveSelected_, &QPushButton::clicked, this,
          [this] { btnOnRemovePhotoPopupTapped(0); });
  connect(btnRemoveAll_, &QPushButton::clicked, this, [this] { btnOnRemovePhotoPopupTapped(1); });
  row->addWidget(modes);
  row->addSpacing(8);
  row->addWidget(btnRemoveSelected_);
  row->addWidget(btnRemoveAll_);
  return header;
}

QWidget *AddPhotosVC::makeViews() {
  viewsArea_ = new QWidget(this);
  auto *column = new QVBoxLayout(viewsArea_);
  column->setContentsMargins(0, 0, 0, 0);
  viewStack_ = new QStackedWidget(viewsArea_);
  column->addWidget(viewStack_);

  dropArea_ = new DropArea(viewStack_);
  viewStack_->addWidget(dropArea_);

  thumbnailView_ = new QListView(viewStack_);
  thumbnailView_->setObjectName(QStringLiteral("thumbnailView"));
  thumbnailView_->setAccessibleName(QStringLiteral("Photos as thumbnails"));
  thumbnailView_->setModel(batchModel_);
  thumbnailView_->setModelColumn(BatchTableModel::NameColumn);
  thumbnailView_->setViewMode(QListView::ListMode);
  thumbnailView_->setFlow(QListView::LeftToRight);
  thumbnailView_->setWrapping(true);
  thumbnailView_->setResizeMode(QListView::Adjust);
  thumbnailView_->setMovement(QListView::Static);
  thumbnailView_->setUniformItemSizes(true);
  // A resize lays out every cell again; in batches the window keeps answering meanwhile.
  thumbnailView_->setLayoutMode(QListView::Batched);
  thumbnailView_->setBatchSize(4000);
  thumbnailView_->setGridSize(
      ThumbnailDelegate::cellSizeForWidth(ThumbnailDelegate::kMinimumWidth));
  thumbnailView_->viewport()->installEventFilter(this);
  thumbnailView_->setItemDelegate(new ThumbnailDelegate(thumbnailView_));
  thumbnailView_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  thumbnailView_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  thumbnailView_->verticalScrollBar()->setSingleStep(24);
  thumbnailView_->setMouseTracking(true);
  thumbnailView_->setFrameShape(QFrame::NoFrame);
  viewStack_->addWidget(thumbnailView_);

  listView_ = new QTableView(viewStack_);
  listView_->setObjectName(QStringLiteral("listView"));
  listView_->setAccessibleName(QStringLiteral("Photos as a list"));
  listView_->setModel(batchModel_);
  listView_->setSelectionBehavior(QAbstractItemView::SelectRows);
  listView_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  listView_->setShowGrid(false);
  listView_->setAlternatingRowColors(true);
  listView_->setWordWrap(false);
  listView_->setFrameShape(QFrame::NoFrame);
  listView_->verticalHeader()->hide();
  // Fixed rows and columns: nothing is measured per row, whatever the batch's size.
  listView_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  listView_->verticalHeader()->setDefaultSectionSize(30);
  QHeaderView *columns = listView_->horizontalHeader();
  columns->setSectionResizeMode(QHeaderView::Interactive);
  columns->setStretchLastSection(true);
  columns->setHighlightSections(false);
  columns->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  listView_->setColumnWidth(BatchTableModel::TickColumn, 36);
  listView_->setColumnWidth(BatchTableModel::NameColumn, 240);
  listView_->setColumnWidth(BatchTableModel::SizeColumn, 90);
  listView_->setColumnWidth(BatchTableModel::DimensionsColumn, 120);
  listView_->setColumnWidth(BatchTableModel::TypeColumn, 64);
  listView_->setColumnWidth(BatchTableModel::ModifiedColumn, 170);
  listView_->setItemDelegateForColumn(BatchTableModel::TickColumn, new TickDelegate(listView_));
  listView_->setIconSize(QSize(16, 16));
  viewStack_->addWidget(listView_);
  // The headers sort the batch itself: both views, the preview and the run follow.
  new BatchSortHeader(
      delegate_, columns, batchModel_, [this] { return !intake_->isRunning(); }, this);

  for (QAbstractItemView *view : {static_cast<QAbstractItemView *>(thumbnailView_),
                                  static_cast<QAbstractItemView *>(listView_)}) {
    view->setAcceptDrops(true);
    view->viewport()->setAcceptDrops(true);
    view->setDragDropMode(QAbstractItemView::DropOnly);
    view->setDropIndicatorShown(false);
    view->setDefaultDropAction(Qt::CopyAction);
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(view, &QWidget::customContextMenuRequested, this,
            [this, view](const QPoint &pos) { showContextMenu(view, pos); });
    connect(view->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this, view](const QModelIndex &current) {
              if (view == shownView())
                currentRowChanged(current.isValid() ? current.row() : -1);
            });
    connect(view->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &AddPhotosVC::scheduleThumbnails);
  }
  return viewsArea_;
}

QWidget *AddPhotosVC::makeInformationPanel() {
  auto *panel = new QFrame(this);
  panel->setObjectName(QStringLiteral("informationPanel"));
  panel->setMinimumWidth(300);
  auto *column = new QVBoxLayout(panel);
  column->setContentsMargins(14, 12, 14, 12);
  column->setSpacing(8);
  informationTitle_ = new QLabel(QStringLiteral("Information"), panel);
  QFont heading = informationTitle_->font();
  heading.setWeight(QFont::DemiBold);
  heading.setPointSizeF(heading.pointSizeF() * 1.1);
  informationTitle_->setFont(heading);
  column->addWidget(informationTitle_);

  informationView_ = new QTableView(panel);
  informationView_->setObjectName(QStringLiteral("informationView"));
  informationView_->setAccessibleName(QStringLiteral("Information of the selected photo"));
  informationView_->setModel(informationModel_);
  informationView_->setShowGrid(false);
  informationView_->setFrameShape(QFrame::NoFrame);
  informationView_->setSelectionBehavior(QAbstractItemView::SelectRows);
  informationView_->setSelectionMode(QAbstractItemView::SingleSelection);
  informationView_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  informationView_->setWordWrap(false);
  informationView_->setAlternatingRowColors(true);
  informationView_->verticalHeader()->hide();
  informationView_->horizontalHeader()->hide();
  informationView_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  informationView_->verticalHeader()->setDefaultSectionSize(26);
  informationView_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  informationView_->horizontalHeader()->setMinimumSectionSize(60);
  informationView_->horizontalHeader()->setStretchLastSection(true);
  informationView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  informationView_->setTextElideMode(Qt::ElideRight);
  column->addWidget(informationView_, 1);
  dateSource_ = new QLabel(panel);
  dateSource_->setObjectName(QStringLiteral("dateSourceLabel"));
  dateSource_->setAccessibleName(QStringLiteral("Date source"));
  dateSource_->setTextInteractionFlags(Qt::TextSelectableByKeyboard | Qt::TextSelectableByMouse);
  column->addWidget(dateSource_);
  return panel;
}

QWidget *AddPhotosVC::makeFooter() {
  auto *footer = new QWidget(this);
  auto *row = new QHBoxLayout(footer);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(12);
  screenProgress_ = new QProgressBar(footer);
  screenProgress_->setRange(0, 100);
  screenProgress_->setTextVisible(false);
  screenProgress_->setFixedWidth(160);
  screenProgress_->setMaximumHeight(6);
  screenProgress_->setAccessibleName(QStringLiteral("Adding progress"));
  screenProgress_->hide();
  row->addWidget(screenProgress_);
  summary_ = new QLabel(footer);
  summary_->setObjectName(QStringLiteral("summaryLine"));
  summary_->setAlignment(Qt::AlignCenter);
  summary_->setTextFormat(Qt::RichText);
  summary_->setAccessibleName(QStringLiteral("Batch summary"));
  row->addWidget(summary_, 1);
  btnNext_ = makeButton(QStringLiteral("Next: Rename && Convert"),
                        QStringLiteral("Go on to choosing names, format and destination"), footer);
  btnNext_->setAccessibleName(QStringLiteral("Next: Rename & Convert"));
  btnNext_->setObjectName(QStringLiteral("primaryButton"));
  btnNext_->setIcon(Theme::icon(QStringLiteral("arrow_right"), Theme::accentText()));
  btnNext_->setLayoutDirection(Qt::RightToLeft);
  connect(btnNext_, &QPushButton::clicked, this, &AddPhotosVC::btnNextTapped);
  row->addWidget(btnNext_);
  return footer;
}

void AddPhotosVC::makePanels() {
  // The message panel.
  messagePanel_ = new OverlayPanel(this);
  {
    auto *column = new QVBoxLayout(messagePanel_->card());
    column->setContentsMargins(28, 24, 28, 20);
    column->setSpacing(12);
    messageTitle_ = makeLabel({}, messagePanel_->card());
    messageTitle_->setObjectName(QStringLiteral("panelTitle"));
    messageTitle_->setAlignment(Qt::AlignCenter);
    QFont heading = messageTitle_->font();
    heading.setWeight(QFont::Bold);
    heading.setPointSizeF(heading.pointSizeF() * 1.15);
    heading.setLetterSpacing(QFont::PercentageSpacing, 104);
    messageTitle_->setFont(heading);
    messageText_ = makeLabel({}, messagePanel_->card());
    messageText_->setAlignment(Qt::AlignCenter);
    column->addWidget(messageTitle_);
    column->addWidget(messageText_);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    messageRemove_ = makeButton(QStringLiteral("Remove from Batch"),
                                QStringLiteral("Remove the photos that are no longer on disk"),
                                messagePanel_->card());
    messageOk_ = makeButton(QStringLiteral("OK"), QStringLiteral("Close this message"),
                            messagePanel_->card());
    messageOk_->setObjectName(QStringLiteral("primaryButton"));
    messageOk_->setMinimumWidth(96);
    messageOk_->setDefault(true);
    buttons->addWidget(messageRemove_);
    buttons->addWidget(messageOk_);
    buttons->addStretch(1);
    column->addLayout(buttons);
    connect(messageOk_, &QPushButton::clicked, this, &AddPhotosVC::hideMessage);
    connect(messageRemove_, &QPushButton::clicked, this,
            &AddPhotosVC::btnRemoveFromBatchOnAlertTapped);
  }

  // The progress panel, over the views only.
  progressPanel_ = new OverlayPanel(viewsArea_);
  {
    auto *column = new QVBoxLayout(progressPanel_->card());
    column->setContentsMargins(28, 24, 28, 20);
    column->setSpacing(10);
    auto *top = new QHBoxLayout;
    progressPicture_ = new QLabel(progressPanel_->card());
    progressPicture_->setFixedSize(56, 56);
    progressPicture_->setScaledContents(true);
    progressPicture_->setAccessibleName(QStringLiteral("Progress picture"));
    auto *titles = new QVBoxLayout;
    auto *title = new QLabel(QStringLiteral("Adding photos"), progressPanel_->card());
    QFont heading = title->font();
    heading.setWeight(QFont::DemiBold);
    heading.setPointSizeF(heading.pointSizeF() * 1.15);
    title->setFont(heading);
    progressText_ = makeLabel({}, progressPanel_->card());
    progressText_->setAccessibleName(QStringLiteral("Photos added"));
    titles->addWidget(title);
    titles->addWidget(progressText_);
    top->addWidget(progressPicture_);
    top->addSpacing(8);
    top->addLayout(titles, 1);
    percentLabel_ = new QLabel(progressPanel_->card());
    QFont big = percentLabel_->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setWeight(QFont::DemiBold);
    percentLabel_->setFont(big);
    percentLabel_->setAccessibleName(QStringLiteral("Per cent added"));
    top->addWidget(percentLabel_);
    column->addLayout(top);
    panelProgress_ = new QProgressBar(progressPanel_->card());
    panelProgress_->setRange(0, 100);
    panelProgress_->setTextVisible(false);
    panelProgress_->setFixedHeight(8);
    panelProgress_->setAccessibleName(QStringLiteral("Adding progress"));
    column->addWidget(panelProgress_);
    pathLabel_ = new QLabel(progressPanel_->card());
    pathLabel_->setAccessibleName(QStringLiteral("Folder being added"));
    pathLabel_->setMinimumWidth(100);
    column->addWidget(pathLabel_);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    btnStop_ = makeButton(QStringLiteral("Stop"),
                          QStringLiteral("Stop adding; the photos added so far stay"),
                          progressPanel_->card());
    btnStop_->setMinimumWidth(96);
    connect(btnStop_, &QPushButton::clicked, this, &AddPhotosVC::btnStopAddingTapped);
    buttons->addWidget(btnStop_);
    column->addLayout(buttons);
  }

  // The filter sheet.
  filterPanel_ = new OverlayPanel(this);
  {
    auto *column = new QVBoxLayout(filterPanel_->card());
    column->setContentsMargins(28, 24, 28, 20);
    column->setSpacing(12);
    auto *title = new QLabel(QStringLiteral("Add Photos Taken Between"), filterPanel_->card());
    QFont heading = title->font();
    heading.setWeight(QFont::DemiBold);
    heading.setPointSizeF(heading.pointSizeF() * 1.15);
    title->setFont(heading);
    column->addWidget(title);
    auto *hint = makeLabel(QStringLiteral("Photos are chosen by the date they were taken, or by "
                                          "their file date when they carry none. Both dates are "
                                          "included."),
                           filterPanel_->card());
    hint->setObjectName(QStringLiteral("caption"));
    column->addWidget(hint);
    auto *form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setHorizontalSpacing(12);
    const QDateTime now = QDateTime::currentDateTime();
    pickerFrom_ = new QDateTimeEdit(now.addMonths(-1), filterPanel_->card());
    pickerTo_ = new QDateTimeEdit(now, filterPanel_->card());
    for (QDateTimeEdit *picker : {pickerFrom_, pickerTo_}) {
      picker->setCalendarPopup(true);
      picker->setDisplayFormat(QStringLiteral("d MMM yyyy  HH:mm"));
      picker->setMinimumHeight(32);
    }
    pickerFrom_->setAccessibleName(QStringLiteral("From"));
    pickerTo_->setAccessibleName(QStringLiteral("To"));
    form->addRow(QStringLiteral("From"), pickerFrom_);
    form->addRow(QStringLiteral("To"), pickerTo_);
    column->addLayout(form);
    filterNote_ = makeLabel({}, filterPanel_->card());
    filterNote_->setObjectName(QStringLiteral("redNote"));
    filterNote_->setAccessibleName(QStringLiteral("Date error"));
    filterNote_->hide();
    column->addWidget(filterNote_);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *cancel = makeButton(QStringLiteral("Cancel"), QStringLiteral("Close without adding"),
                              filterPanel_->card());
    filterAdd_ = makeButton(QStringLiteral("Choose Folder…"),
                            QStringLiteral("Choose the folder to add from"), filterPanel_->card());
    filterAdd_->setObjectName(QStringLiteral("primaryButton"));
    filterAdd_->setDefault(true);
    buttons->addWidget(cancel);
    buttons->addWidget(filterAdd_);
    column->addLayout(buttons);
    connect(cancel, &QPushButton::clicked, this, [this] {
      filterPanel_->hide();
      delegate_->isSUBWINDOW_OPENED = false;
    });
    connect(filterAdd_, &QPushButton::clicked, this, &AddPhotosVC::btnAddFilterOnPopupTapped);
    setTabOrder(pickerFrom_, pickerTo_);
    setTabOrder(pickerTo_, cancel);
    setTabOrder(cancel, filterAdd_);
  }
}

void AddPhotosVC::applyStyle() {
  const QPalette pal = palette();
  const bool dark = pal.color(QPalette::Window).lightness() < 128;
  const QString base = pal.color(QPalette::Base).name();
  const QString border = dark ? QStringLiteral("#3a3f47") : QStringLiteral("#dde1e6");
  const QString accent = pal.color(QPalette::Highlight).name();
  const QString accentText = pal.color(QPalette::HighlightedText).name();
  const QString secondary = pal.color(QPalette::PlaceholderText).name();
  setStyleSheet(
      QStringLiteral("#addPhotosCard { background: %1; border: 1px solid %2; border-radius: 14px; }"
                     "#informationPanel { background: %1; border: 1px solid %2; "
                     "border-radius: 10px; }"
                     "QPushButton#primaryButton { background: %3; color: %4; border: none; "
                     "border-radius: 6px; padding: 6px 16px; font-weight: 600; }"
                     "QPushButton#primaryButton:hover { background: %3; }"
                     "QPushButton#primaryButton:disabled { background: %2; color: %5; }"
                     "#viewModes { border: 1px solid %2; border-radius: 8px; }"
                     "#viewModes QToolButton { border: none; border-radius: 6px; }"
                     "#viewModes QToolButton[active=\"true\"] { background: %2; }"
                     "QLabel#redNote { color: #d64541; font-weight: 600; }"
                     "QLabel#caption { color: %5; }"
                     "QProgressBar { border: none; border-radius: 4px; background: %2; }"
                     "QProgressBar::chunk { border-radius: 4px; background: %3; }")
          .arg(base, border, accent, accentText, secondary));
}

void AddPhotosVC::observeNotifications() {
  NotificationCenter &center = NotificationCenter::defaultCenter();
  center.addObserver(this, Notifications::FileDragDrop, [this](const QVariantMap &info) {
    handleFileDragDropNotification(info.value(Notifications::PathsKey).toStringList());
  });
  center.addObserver(this, Notifications::AddPhotosViewAppear,
                     [this](const QVariantMap &) { viewWillAppear(); });
  center.addObserver(this, Notifications::AddPhotosViewDisAppear,
                     [this](const QVariantMap &) { viewWillDisAppear(); });
  center.addObserver(this, Notifications::PhotosDeleted,
                     [this](const QVariantMap &) { photosDeleted(); });
  center.addObserver(this, Notifications::ProcessSkippedFiles,
                     [this](const QVariantMap &) { processWithSkippedFilesNotification(); });
}

// --- Adding ---

QStringList AddPhotosVC::choose(ChooserKind kind) {
  delegate_->isSUBWINDOW_OPENED = true;
  const QStringList paths = chooser_ ? chooser_(kind) : runFileDialog(kind);
  delegate_->isSUBWINDOW_OPENED = false;
  return paths;
}

QStringList AddPhotosVC::runFileDialog(ChooserKind kind) {
  QFileDialog dialog(window());
  dialog.setOption(QFileDialog::DontUseNativeDialog,
                   kind == ChooserKind::Library ||
                       QGuiApplication::platformName() == QLatin1String("offscreen"));
  dialog.setWindowModality(Qt::WindowModal);
  switch (kind) {
  case ChooserKind::Files:
    dialog.setWindowTitle(QStringLiteral("Add Photos"));
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setNameFilters({imageNameFilter(), QStringLiteral("All files (*)")});
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("Add"));
    dialog.setDirectory(platform::picturesDirectory());
    break;
  case ChooserKind::Folders:
  case ChooserKind::FilteredFolder:
    dialog.setWindowTitle(kind == ChooserKind::Folders ? QStringLiteral("Add Folder")
                                                       : QStringLiteral("Add with Filters"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("Add"));
    dialog.setDirectory(platform::picturesDirectory());
    break;
  case ChooserKind::Library:
    dialog.setWindowTitle(QStringLiteral("Photo Library"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setLabelText(QFileDialog::Accept, PhotoIntake::libraryChooserButtonTitle());
    dialog.setProxyModel(new LibraryItemFilter(intake_.get(), &dialog));
    dialog.setDirectory(platform::picturesDirectory());
    break;
  }
  if (dialog.exec() != QDialog::Accepted)
    return {};
  return dialog.selectedFiles();
}

void AddPhotosVC::noteUnreadable(const QStringList &paths) {
  unreadable_.clear();
  for (const QString &path : paths) {
    const QFileInfo info(path);
    if (!info.exists())
      unreadable_.append(QStringLiteral("%1 (not found)").arg(path));
    else if (info.isDir() && (!info.isReadable() || !info.isExecutable()))
      unreadable_.append(QStringLiteral("%1 (no permission to read it)").arg(path));
  }
}

void AddPhotosVC::startAdding(const std::function<AddPhotosStatus()> &start,
                              const QStringList &paths) {
  if (intake_->isRunning())
    return;
  noteUnreadable(paths);
  const AddPhotosStatus status = start();
  if (status.code == AddPhotosStatus::Code::Busy)
    showMessage(QStringLiteral("PLEASE WAIT"),
                QStringLiteral("Photos are being added. Stop the current run to start another."),
                true, false);
}

void AddPhotosVC::btnAddPhotosTappedWithIndex(int index) {
  if (index < 0 || index > 2 || intake_->isRunning() || delegate_->isSUBWINDOW_OPENED)
    return;
  const ChooserKind kind = index == 0   ? ChooserKind::Files
                           : index == 1 ? ChooserKind::Folders
                                        : ChooserKind::FilteredFolder;
  const QStringList paths = choose(kind);
  if (paths.isEmpty())
    return;
  startAdding([&] { return intake_->btnAddPhotosTappedWithIndex(index, paths); }, paths);
}

void AddPhotosVC::btnAddPhotoWithFilterTapped() {
  if (intake_->isRunning() || delegate_->isSUBWINDOW_OPENED)
    return;
  filterNote_->hide();
  delegate_->isSUBWINDOW_OPENED = true;
  filterPanel_->present();
  pickerFrom_->setFocus();
}

void AddPhotosVC::btnAddFilterOnPopupTapped() {
  const AddPhotosStatus status =
      intake_->btnAddFilterOnPopupTapped(pickerFrom_->dateTime(), pickerTo_->dateTime());
  if (status.code == AddPhotosStatus::Code::DatesRefused) {
    filterNote_->setText(status.message);
    filterNote_->show();
    return;
  }
  filterPanel_->hide();
  delegate_->isSUBWINDOW_OPENED = false;
  if (status.started())
    btnAddPhotosTappedWithIndex(2);
}

void AddPhotosVC::btnAddIphotosTapped() {
  if (intake_->isRunning() || delegate_->isSUBWINDOW_OPENED)
    return;
  intake_->pathType = 2;
  const QStringList paths = choose(ChooserKind::Library);
  if (paths.isEmpty())
    return;
  startAdding([&] { return intake_->btnAddIphotosTapped(paths); }, paths);
}

void AddPhotosVC::handleFileDragDropNotification(const QStringList &paths) {
  if (paths.isEmpty())
    return;
  startAdding([&] { return intake_->handleFileDragDropNotification(paths); }, paths);
}

void AddPhotosVC::acceptDrop(const QStringList &paths) {
  if (paths.isEmpty())
    return;
  startAdding([&] { return intake_->acceptDrop(paths); }, paths);
}

void AddPhotosVC::btnStopAddingTapped() {
  intake_->btnStopAddingTapped();
  btnStop_->setEnabled(false);
  btnStop_->setText(QStringLiteral("Stopping…"));
}

// --- What the add run reports ---

void AddPhotosVC::addPhotosMessage(const AddPhotosMessage &message) {
  if (message.kind == AddPhotosMessage::Kind::Trash) {
    // The system's alert: an empty message and one button.
    auto *sheet =
        new Sheet(window(), message.title, message.text,
                  {message.buttonTitle.isEmpty() ? QStringLiteral("OK") : message.buttonTitle});
    sheet->setObjectName(QStringLiteral("trashAlert"));
    sheet->open();
    Q_EMIT messageShown(message.title);
    return;
  }
  if (message.kind == AddPhotosMessage::Kind::PhotoNotAvailable && currentPhoto_)
    batchModel_->markMissing(currentPhoto_.get());
  showMessage(message.title, message.text, message.showsOk, message.showsRemove);
}

void AddPhotosVC::addPhotosWillAdd(bool withPanel) {
  progressPanelWanted_ = withPanel;
  // The panel covers the views while adding: new rows are shown four times a second.
  batchModel_->setInsertInterval(250);
  lastProgress_ = AddPhotosProgress{};
  lastProgress_.pictureName = QStringLiteral("fill_1.png");
  progressPending_ = true;
  showProgressFrame();
  if (withPanel)
    showProgressPanel();
  setInteractionEnabled(false);
}

void AddPhotosVC::addPhotosShowProgressPanel() {
  showProgressPanel();
}

void AddPhotosVC::addPhotosWillInsert(qsizetype first, qsizetype count) {
  batchModel_->batchWillInsert(first, count);
}

void AddPhotosVC::addPhotosDidInsert() {
  batchModel_->batchDidInsert(delegate_->arraySelectedImagesToProcess);
}

void AddPhotosVC::addPhotosWillRemove(qsizetype first, qsizetype count) {
  batchModel_->batchWillRemove(first, count);
}

void AddPhotosVC::addPhotosDidRemove() {
  batchModel_->batchDidRemove();
}

void AddPhotosVC::addPhotosProgress(const AddPhotosProgress &progress) {
  // What is shown waits for the next frame: ten thousand steps cost one repaint a frame.
  lastProgress_ = progress;
  progressPending_ = true;
  if (!progressFrame_.isActive())
    progressFrame_.start();
}

void AddPhotosVC::showProgressFrame() {
  if (!progressPending_)
    return;
  progressPending_ = false;
  const AddPhotosProgress &p = lastProgress_;
  screenProgress_->setValue(p.percent);
  panelProgress_->setValue(p.percent);
  percentLabel_->setText(p.percentText.isEmpty() ? QStringLiteral("0 %") : p.percentText);
  pathLabel_->setText(pathLabel_->fontMetrics().elidedText(p.pathText, Qt::ElideMiddle,
                                                           std::max(pathLabel_->width(), 200)));
  pathLabel_->setToolTip(p.pathText);
  progressText_->setText(p.progressText);
  if (p.pictureName != shownPicture_) {
    shownPicture_ = p.pictureName;
    const qreal ratio = devicePixelRatioF();
    QPixmap picture = QPixmap::fromImage(
        AddPhotosPictures::image(p.pictureName)
            .scaled(QSize(56, 56) * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    picture.setDevicePixelRatio(ratio);
    progressPicture_->setPixmap(picture);
  }
}

void AddPhotosVC::addPhotosEnded() {
  batchModel_->setInsertInterval(0);
  progressPending_ = true;
  showProgressFrame();
  updateBatchInformationInBottomView();
  showPhotosOrDropArea();
  setInteractionEnabled(true);
}

void AddPhotosVC::addPhotosFinished() {
  batchModel_->setInsertInterval(0);
  hideProgressPanel();
  setInteractionEnabled(true);
  syncModel();
  updateBatchInformationInBottomView();
  showPhotosOrDropArea();
  if (!unreadable_.isEmpty()) {
    const QString list = unreadable_.join(QLatin1Char('\n'));
    if (isMessageShown())
      messageText_->setText(messageText_->text() + QStringLiteral("\n\nNot read:\n") + list);
    else
      showMessage(unreadable_.size() > 1 ? QStringLiteral("ITEMS CANNOT BE READ")
                                         : QStringLiteral("ITEM CANNOT BE READ"),
                  list, true, false);
    unreadable_.clear();
  }
  if (shownView() && !shownView()->currentIndex().isValid() && batchModel_->rowCount() > 0)
    shownView()->setCurrentIndex(batchModel_->index(0, BatchTableModel::NameColumn));
  scheduleThumbnails();
  Q_EMIT addRunFinished();
}

void AddPhotosVC::addPhotosUnreadableName(const QString &folder) {
  unreadable_.append(
      QStringLiteral("%1 (a file name there is not valid UTF-8 and was skipped)").arg(folder));
}

// --- Panels ---

void AddPhotosVC::showMessage(const QString &title, const QString &text, bool ok, bool remove) {
  messageTitle_->setText(title);
  messageText_->setText(text);
  messageText_->setVisible(!text.isEmpty());
  messageOk_->setVisible(ok);
  messageRemove_->setVisible(remove);
  messagePanel_->present();
  (ok ? messageOk_ : messageRemove_)->setFocus();
  Q_EMIT messageShown(title);
}

void AddPhotosVC::hideMessage() {
  messagePanel_->hide();
}

bool AddPhotosVC::isMessageShown() const {
  return messagePanel_->isVisible();
}
QString AddPhotosVC::messageTitle() const {
  return messageTitle_->text();
}
QString AddPhotosVC::messageText() const {
  return messageText_->text();
}
bool AddPhotosVC::isProgressShown() const {
  return progressPanel_->isVisible();
}
bool AddPhotosVC::isFilterSheetShown() const {
  return filterPanel_->isVisible();
}

void AddPhotosVC::showProgressPanel() {
  btnStop_->setEnabled(true);
  btnStop_->setText(QStringLiteral("Stop"));
  viewStack_->setCurrentWidget(shownView());
  progressPanel_->present();
  screenProgress_->show();
  btnStop_->setFocus();
}

void AddPhotosVC::hideProgressPanel() {
  progressPanel_->hide();
  screenProgress_->hide();
}

void AddPhotosVC::setInteractionEnabled(bool on) {
  for (QWidget *w :
       std::initializer_list<QWidget *>{btnAddPhotos_, btnAddFolder_, btnAddWithFilters_,
                                        btnLibrary_, btnRemoveSelected_, btnRemoveAll_, btnNext_})
    w->setEnabled(on);
  batchModel_->setTickingEnabled(on);
}

void AddPhotosVC::showPhotosOrDropArea() {
  if (batchModel_->rowCount() == 0 && !intake_->isRunning())
    viewStack_->setCurrentWidget(dropArea_);
  else
    viewStack_->setCurrentWidget(shownView());
  const bool any = batchModel_->rowCount() > 0;
  btnRemoveSelected_->setEnabled(any && !intake_->isRunning());
  btnRemoveAll_->setEnabled(any && !intake_->isRunning());
}

// --- Views ---

QAbstractItemView *AddPhotosVC::shownView() const {
  return thumbnailMode_ ? static_cast<QAbstractItemView *>(thumbnailView_)
                        : static_cast<QAbstractItemView *>(listView_);
}

void AddPhotosVC::btnViewPhotosModetapped() {
  changePhotosViewImageMode(!thumbnailMode_, false);
}

void AddPhotosVC::changePhotosViewImageMode(bool thumbnails, bool isFirstTime) {
  const int current = shownView()->currentIndex().row();
  thumbnailMode_ = thumbnails;
  btnThumbMode_->setIcon(AddPhotosPictures::icon(thumbnails
                                                     ? QStringLiteral("thumbview_active_icon.png")
                                                     : QStringLiteral("thumbview_icon.png")));
  btnListMode_->setIcon(AddPhotosPictures::icon(thumbnails
                                                    ? QStringLiteral("listview_icon.png")
                                                    : QStringLiteral("listview_active_icon.png")));
  btnThumbMode_->setProperty("active", thumbnails);
  btnListMode_->setProperty("active", !thumbnails);
  for (QToolButton *button : {btnThumbMode_, btnListMode_}) {
    button->style()->unpolish(button);
    button->style()->polish(button);
  }
  if (!isFirstTime && current >= 0 && current < batchModel_->rowCount())
    shownView()->setCurrentIndex(batchModel_->index(current, BatchTableModel::NameColumn));
  showPhotosOrDropArea();
  scheduleThumbnails();
}

void AddPhotosVC::scheduleThumbnails() {
  if (thumbnailMode_)
    thumbnailSettle_.start();
}

void AddPhotosVC::visibleRows(int *first, int *last) const {
  *first = -1;
  *last = -1;
  const int rows = batchModel_->rowCount();
  if (rows == 0 || !thumbnailView_->isVisible())
    return;
  // The cells lie on a fixed grid, left to right: the first visible line and the number of
  // lines the viewport spans give the range without asking the view about every cell.
  const QSize grid = thumbnailView_->gridSize();
  QModelIndex top = thumbnailView_->indexAt(QPoint(grid.width() / 2, 1));
  if (!top.isValid())
    top = thumbnailView_->indexAt(QPoint(grid.width() / 2, grid.height() / 2));
  if (!top.isValid())
    return;
  const QSize viewport = thumbnailView_->viewport()->size();
  const int perRow = std::max(1, viewport.width() / std::max(1, grid.width()));
  const int lineTop = thumbnailView_->visualRect(top).top();
  const int lines = (viewport.height() - lineTop + grid.height() - 1) / std::max(1, grid.height());
  *first = top.row() - top.row() % perRow;
  *last = std::min(rows - 1, *first + perRow * std::max(1, lines) - 1);
}

void AddPhotosVC::requestVisibleThumbnails() {
  // While photos are added the progress panel covers the views, and the add has the cores.
  if (intake_->isRunning())
    return;
  int first = -1, last = -1;
  visibleRows(&first, &last);
  batchModel_->setVisibleRows(first, last);
  QStringList paths;
  for (int row = first; row >= 0 && row <= last; ++row)
    if (!batchModel_->isMissing(row))
      paths.append(batchModel_->photoAt(row)->filePath);
  thumbnails_->request(paths);
}

void AddPhotosVC::syncModel() {
  if (!intake_->isRunning())
    batchModel_->syncWithBatch(delegate_->arraySelectedImagesToProcess);
}

void AddPhotosVC::reloadMissingMarks(const QList<int> &missingRows) {
  QSet<const PhotoFile *> missing;
  const auto &batch = delegate_->arraySelectedImagesToProcess;
  for (int row : missingRows)
    if (row >= 0 && row < batch.size())
      missing.insert(batch.at(row).get());
  batchModel_->setMissing(missing);
}

// --- Selection and information ---

void AddPhotosVC::currentRowChanged(int row) {
  if (row < 0 || row >= batchModel_->rowCount()) {
    currentPhoto_.reset();
    informationModel_->setRows({});
    return;
  }
  setSeletedPhotoFileWithIndex(row);
}

void AddPhotosVC::setSeletedPhotoFileWithIndex(int index) {
  if (index < 0 || index >= batchModel_->rowCount())
    return;
  currentPhoto_ = batchModel_->photoAt(index);
  if (!intake_->isRunning()) {
    delegate_->selectedImageIndex = index;
    delegate_->selectedImageFile = currentPhoto_;
  }
  if (!QFileInfo::exists(currentPhoto_->filePath)) {
    batchModel_->markMissing(currentPhoto_.get());
    if (!intake_->isRunning() && index < delegate_->arraySelectedImagesToProcess.size())
      intake_->photoNotAvailableOnIndex(index);
  }
  loadInformation(currentPhoto_);
}

void AddPhotosVC::loadInformation(const std::shared_ptr<PhotoFile> &photo) {
  const quint64 generation = ++informationGeneration_;
  informationTitle_->setText(photo->fileName);
  informationTitle_->setToolTip(photo->filePath);
  const QString path = photo->filePath;
  // Reading the properties touches the disk: off the window's thread.
  informationPool_.start([this, path, generation] {
    const std::shared_ptr<ExifInfo> exif = ExifInfo::initWithFile(path);
    const QList<QVariantMap> rows = InformationTable::createArrayToUpdateMetaDataWithNode(
        InformationTable::FileFacts::forPath(path), exif.get());
    const QString source = exif->dateSourceText();
    QMetaObject::invokeMethod(
        this,
        [this, rows, source, generation] {
          if (generation != informationGeneration_)
            return;
          informationModel_->setRows(rows);
          dateSource_->setText(QStringLiteral("Date Source: %1").arg(source));
          Q_EMIT informationLoaded();
        },
        Qt::QueuedConnection);
  });
}

// --- Upkeep ---

QList<std::shared_ptr<PhotoFile>> AddPhotosVC::getSelectedIndices() const {
  if (!thumbnailMode_) {
    const QList<std::shared_ptr<PhotoFile>> ticked = batchModel_->tickedPhotos();
    if (!ticked.isEmpty())
      return ticked;
  }
  // The thumbnail view selects one column only: rows are taken from any selected cell.
  QSet<int> unique;
  for (const QModelIndex &index : shownView()->selectionModel()->selectedIndexes())
    unique.insert(index.row());
  QList<int> rows(unique.cbegin(), unique.cend());
  std::sort(rows.begin(), rows.end());
  QList<std::shared_ptr<PhotoFile>> photos;
  for (int row : rows)
    photos.append(batchModel_->photoAt(row));
  return photos;
}

void AddPhotosVC::btnOnRemovePhotoPopupTapped(int tag) {
  if (delegate_->isSUBWINDOW_OPENED || intake_->isRunning())
    return;
  if (tag == 1) {
    if (delegate_->arraySelectedImagesToProcess.isEmpty())
      return;
    const AddPhotosSheet text = intake_->btnOnRemovePhotoPopupTapped(1, 0);
    delegate_->isSUBWINDOW_OPENED = true;
    auto *sheet =
        new Sheet(window(), text.title, text.text,
                  {QStringLiteral("Remove"), QStringLiteral("Cancel")}, [this](int index) {
                    delegate_->isSUBWINDOW_OPENED = false;
                    if (index != 0)
                      return;
                    intake_->btnYesOnRemoveAllPhotoTapped();
                    afterRemoval();
                  });
    sheet->setObjectName(QStringLiteral("removeAllSheet"));
    sheet->open();
    return;
  }
  confirmRemoveSelected(getSelectedIndices());
}

void AddPhotosVC::confirmRemoveSelected(const QList<std::shared_ptr<PhotoFile>> &selected) {
  const AddPhotosSheet text = intake_->btnOnRemovePhotoPopupTapped(0, int(selected.size()));
  if (selected.isEmpty())
    return; // the engine sent the "NO PHOTO TO DELETE" message
  delegate_->isSUBWINDOW_OPENED = true;
  auto *sheet =
      new Sheet(window(), text.title, text.text,
                {QStringLiteral("Remove"), QStringLiteral("Cancel")}, [this, selected](int index) {
                  delegate_->isSUBWINDOW_OPENED = false;
                  if (index == 0)
                    removeSelected(selected);
                });
  sheet->setObjectName(QStringLiteral("removeSelectedSheet"));
  sheet->open();
}

void AddPhotosVC::removeSelected(const QList<std::shared_ptr<PhotoFile>> &selected) {
  intake_->btnYesOnRemoveSelectedPhotoTapped(selected);
  afterRemoval();
  if (batchModel_->rowCount() > 0) {
    shownView()->setCurrentIndex(batchModel_->index(0, BatchTableModel::NameColumn));
    setSeletedPhotoFileWithIndex(0);
  }
}

void AddPhotosVC::afterRemoval() {
  syncModel();
  if (batchModel_->rowCount() == 0) {
    currentPhoto_.reset();
    informationModel_->setRows({});
    informationTitle_->setText(QStringLiteral("Information"));
  }
  updateBatchInformationInBottomView();
  showPhotosOrDropArea();
  NotificationCenter::defaultCenter().post(Notifications::RemovePhotosFromAddPhoto);
}

void AddPhotosVC::btnOnMenuOptionTapped(int option, int row) {
  if (row < 0 || row >= batchModel_->rowCount())
    return;
  const std::shared_ptr<PhotoFile> photo = batchModel_->photoAt(row);
  if (!intake_->btnOnMenuOptionTapped(option, photo))
    showMessage(QStringLiteral("CANNOT OPEN"),
                QStringLiteral("The desktop could not show %1.").arg(photo->filePath), true, false);
}

void AddPhotosVC::showContextMenu(QAbstractItemView *view, const QPoint &pos) {
  const QModelIndex index = view->indexAt(pos);
  if (!index.isValid() || intake_->isRunning())
    return;
  if (!view->selectionModel()->isRowSelected(index.row(), {}))
    view->setCurrentIndex(index);
  const int row = index.row();
  QMenu menu(this);
  menu.setAccessibleName(QStringLiteral("Photo menu"));
  menu.addAction(QStringLiteral("Show in File Manager"), this,
                 [this, row] { btnOnMenuOptionTapped(0, row); });
  menu.addAction(QStringLiteral("Open"), this, [this, row] { btnOnMenuOptionTapped(1, row); });
  menu.addAction(QStringLiteral("Get Info"), this, [this, row] { btnOnMenuOptionTapped(2, row); });
  menu.addSeparator();
  menu.addAction(QStringLiteral("Remove from Batch…"), this,
                 [this] { btnOnRemovePhotoPopupTapped(0); });
  menu.exec(view->viewport()->mapToGlobal(pos));
}

void AddPhotosVC::btnRemoveFromBatchOnAlertTapped() {
  hideMessage();
  intake_->btnRemoveFromBatchOnAlertTapped();
  afterRemoval();
}

void AddPhotosVC::updateBatchInformationInBottomView() {
  summaryText_ = intake_->updateBatchInformationInBottomView();
  summary_->setText(richSummary(summaryText_, palette()));
  summary_->setToolTip(summaryText_);
}

// --- Being shown ---

void AddPhotosVC::viewWillAppear() {
  thumbnails_->clear();
  syncModel();
  const QList<int> missing = intake_->viewWillAppear(delegate_->isSTART_AS_NEW_BATCH);
  reloadMissingMarks(missing);
  if (delegate_->isPHOTO_DLETED_FROM_DIRECTORY) {
    syncModel();
    updateBatchInformationInBottomView();
    const int row = delegate_->selectedImageIndex;
    if (row >= 0 && row < batchModel_->rowCount())
      shownView()->setCurrentIndex(batchModel_->index(row, BatchTableModel::NameColumn));
  }
  updateBatchInformationInBottomView();
  showPhotosOrDropArea();
  scheduleThumbnails();
}

void AddPhotosVC::viewWillDisAppear() {
  hideMessage();
  thumbnailSettle_.stop();
  thumbnails_->request({});
}

void AddPhotosVC::processWithSkippedFilesNotification() {
  intake_->rebuildDictFileAdded();
  syncModel();
  updateBatchInformationInBottomView();
  showPhotosOrDropArea();
  thumbnails_->clear();
  scheduleThumbnails();
}

void AddPhotosVC::photosDeleted() {
  syncModel();
  updateBatchInformationInBottomView();
  showPhotosOrDropArea();
}

void AddPhotosVC::btnNextTapped() {
  if (intake_->isRunning() || delegate_->isSUBWINDOW_OPENED)
    return;
  if (flow_)
    flow_->btnNextFromAddPhotosVcTapped();
}

bool AddPhotosVC::eventFilter(QObject *watched, QEvent *event) {
  // The cells widen to fill each line once resizing pauses: a new grid lays out every row.
  if (watched == thumbnailView_->viewport() && event->type() == QEvent::Resize)
    gridSettle_.start();
  return QWidget::eventFilter(watched, event);
}

void AddPhotosVC::fitGridToWidth() {
  const int width = thumbnailView_->viewport()->width();
  // A few pixels of slack: the view wraps a line that fills its width exactly.
  const int columns = std::max(1, (width - 4) / ThumbnailDelegate::kMinimumWidth);
  const QSize grid = ThumbnailDelegate::cellSizeForWidth(
      std::max(ThumbnailDelegate::kMinimumWidth, (width - 4) / columns));
  if (grid != thumbnailView_->gridSize())
    thumbnailView_->setGridSize(grid);
}

void AddPhotosVC::resizeEvent(QResizeEvent *event) {
  QWidget::resizeEvent(event);
  scheduleThumbnails();
}

void AddPhotosVC::changeEvent(QEvent *event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) {
    applyStyle();
    summary_->setText(richSummary(summaryText_, palette()));
  }
}

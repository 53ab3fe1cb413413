#include "ui/BatchSortHeader.h"

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "ui/BatchTableModel.h"

#include <QActionGroup>
#include <QHeaderView>
#include <QMenu>

BatchSortHeader::BatchSortHeader(AppDelegate *delegate, QHeaderView *header, BatchTableModel *model,
                                 std::function<bool()> canSort, QObject *parent)
    : QObject(parent), delegate_(delegate), header_(header), model_(model),
      canSort_(std::move(canSort)) {
  header->setSectionsClickable(true);
  header->setSortIndicatorShown(false);
  header->setContextMenuPolicy(Qt::CustomContextMenu);
  header->setToolTip(tr("Click a column to sort the batch by it; right-click for every order"));
  connect(header, &QHeaderView::sectionClicked, this, &BatchSortHeader::sectionClicked);
  connect(header, &QWidget::customContextMenuRequested, this, &BatchSortHeader::showMenu);
}

BatchSortHeader::~BatchSortHeader() {
  if (worker_.joinable())
    worker_.join();
}

int BatchSortHeader::columnForKey(BatchOrder::Key key) {
  switch (key) {
  case BatchOrder::Key::Added:
    return BatchTableModel::TickColumn;
  case BatchOrder::Key::Name:
    return BatchTableModel::NameColumn;
  case BatchOrder::Key::Size:
    return BatchTableModel::SizeColumn;
  case BatchOrder::Key::Modified:
    return BatchTableModel::ModifiedColumn;
  case BatchOrder::Key::Taken:
    break;
  }
  return -1;
}

void BatchSortHeader::sectionClicked(int column) {
  const BatchOrder::Key keys[] = {BatchOrder::Key::Added, BatchOrder::Key::Name,
                                  BatchOrder::Key::Size, BatchOrder::Key::Modified};
  for (BatchOrder::Key key : keys) {
    if (columnForKey(key) == column) {
      // The same column again turns the order round; "as added" has one direction only.
      const bool descending = key == key_ && key != BatchOrder::Key::Added ? !descending_ : false;
      sortBy(key, descending);
      return;
    }
  }
  showIndicator(); // a column without an order keeps the current one shown
}

void BatchSortHeader::showMenu(const QPoint &position) {
  if (!header_)
    return;
  QMenu menu(header_);
  auto *group = new QActionGroup(&menu);
  const std::pair<BatchOrder::Key, QString> orders[] = {
      {BatchOrder::Key::Added, tr("As Added")},
      {BatchOrder::Key::Name, tr("Name")},
      {BatchOrder::Key::Taken, tr("Capture Date")},
      {BatchOrder::Key::Modified, tr("Modification Date")},
      {BatchOrder::Key::Size, tr("Size")},
  };
  for (const auto &[key, title] : orders) {
    QAction *action = menu.addAction(tr("Sort by %1").arg(title));
    action->setCheckable(true);
    action->setChecked(key == key_);
    group->addAction(action);
    connect(action, &QAction::triggered, this, [this, k = key] { sortBy(k, descending_); });
  }
  menu.addSeparator();
  QAction *reverse = menu.addAction(tr("Descending"));
  reverse->setCheckable(true);
  reverse->setChecked(descending_);
  connect(reverse, &QAction::triggered, this, [this](bool on) { sortBy(key_, on); });
  menu.exec(header_->mapToGlobal(position));
}

void BatchSortHeader::sortBy(BatchOrder::Key key, bool descending) {
  if ((canSort_ && !canSort_()) || delegate_->isPHOTOS_PROCESSING_IN_PROGERESS) {
    showIndicator();
    return;
  }
  key_ = key;
  descending_ = descending;
  showIndicator();
  const QList<std::shared_ptr<PhotoFile>> before = delegate_->arraySelectedImagesToProcess;
  if (key != BatchOrder::Key::Taken) {
    apply(before, BatchOrder::sorted(before, key, descending));
    return;
  }
  // Capture dates open every file: read them on a thread of their own.
  if (worker_.joinable())
    worker_.join();
  const quint64 generation = ++generation_;
  // The destructor joins the thread, so this outlives it; a result that arrives after the
  // object is gone is dropped with its event.
  worker_ = std::thread([this, before, key, descending, generation] {
    const auto after = BatchOrder::sorted(before, key, descending);
    QMetaObject::invokeMethod(
        this,
        [this, before, after, generation] {
          if (generation == generation_)
            apply(before, after);
        },
        Qt::QueuedConnection);
  });
}

void BatchSortHeader::apply(const QList<std::shared_ptr<PhotoFile>> &before,
                            const QList<std::shared_ptr<PhotoFile>> &after) {
  // Photos added or removed meanwhile: this order is out of date.
  if (delegate_->arraySelectedImagesToProcess != before || (canSort_ && !canSort_()) ||
      delegate_->isPHOTOS_PROCESSING_IN_PROGERESS)
    return;
  delegate_->arraySelectedImagesToProcess = after;
  model_->syncWithBatch(after);
  Q_EMIT sorted();
}

void BatchSortHeader::showIndicator() {
  if (!header_)
    return;
  const int column = columnForKey(key_);
  const bool shown = column >= 0 && key_ != BatchOrder::Key::Added;
  header_->setSortIndicatorShown(shown);
  if (shown)
    header_->setSortIndicator(column, descending_ ? Qt::DescendingOrder : Qt::AscendingOrder);
}

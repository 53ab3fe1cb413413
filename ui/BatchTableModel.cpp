#include "ui/BatchTableModel.h"

#include "intake/PhotoFile.h"
#include "ui/AddPhotosPictures.h"
#include "ui/ThumbnailLoader.h"

#include <QLocale>
#include <QMimeData>
#include <QUrl>

namespace {

QStringList localPaths(const QMimeData *data) {
  QStringList paths;
  if (!data || !data->hasUrls())
    return paths;
  for (const QUrl &url : data->urls())
    if (url.isLocalFile())
      paths.append(url.toLocalFile());
  return paths;
}

} // namespace

BatchTableModel::BatchTableModel(ThumbnailLoader *thumbnails, QObject *parent)
    : QAbstractTableModel(parent), thumbnails_(thumbnails),
      notAvailable_(AddPhotosPictures::image(QStringLiteral("not_av_big.png"))),
      notAvailableIcon_(AddPhotosPictures::icon(QStringLiteral("not_av_big.png"))) {
  // One frame's worth of thumbnails goes to the views at once.
  frame_.setSingleShot(true);
  frame_.setInterval(16);
  connect(&frame_, &QTimer::timeout, this, &BatchTableModel::emitFrameChanges);
  insertTimer_.setSingleShot(true);
  connect(&insertTimer_, &QTimer::timeout, this, &BatchTableModel::flushInserts);
}

int BatchTableModel::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : int(rows_.size());
}

int BatchTableModel::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : ColumnCount;
}

QVariant BatchTableModel::data(const QModelIndex &index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
    return {};
  const PhotoFile &photo = *rows_.at(index.row());
  const bool missing = missing_.contains(&photo);
  switch (role) {
  case Qt::DisplayRole:
    switch (index.column()) {
    case NameColumn:
      return photo.fileName;
    case SizeColumn:
      return photo.fileSizeAsString;
    case DimensionsColumn:
      return photo.width > 0 && photo.height > 0
                 ? QStringLiteral("%1 × %2").arg(qint64(photo.width)).arg(qint64(photo.height))
                 : QStringLiteral("---");
    case TypeColumn:
      return photo.fileExtension.toUpper();
    case ModifiedColumn:
      return QLocale().toString(photo.fileModifiedDate, QLocale::ShortFormat);
    case FolderColumn:
      return photo.fileContainerFolderName;
    default:
      return {};
    }
  case Qt::ToolTipRole:
    return missing ? QStringLiteral("%1\nNot available at its source location").arg(photo.filePath)
                   : photo.filePath;
  case Qt::CheckStateRole:
    if (index.column() == TickColumn)
      return ticked_.contains(&photo) ? Qt::Checked : Qt::Unchecked;
    return {};
  case Qt::AccessibleTextRole:
    return index.column() == TickColumn ? QStringLiteral("Tick %1").arg(photo.fileName)
                                        : data(index, Qt::DisplayRole);
  case Qt::DecorationRole:
    // The list shows only the not-available mark; the thumbnail view draws ThumbnailRole.
    if (index.column() == NameColumn && missing)
      return notAvailableIcon_;
    return {};
  case ThumbnailRole:
    if (missing)
      return notAvailable_;
    if (const QImage *thumbnail = thumbnails_ ? thumbnails_->cached(photo.filePath) : nullptr)
      return *thumbnail;
    return {};
  case Qt::TextAlignmentRole:
    if (index.column() == SizeColumn || index.column() == DimensionsColumn)
      return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
  case PhotoRole:
    return QVariant::fromValue(static_cast<const void *>(&photo));
  case FilePathRole:
    return photo.filePath;
  case SizeTextRole:
    return QStringLiteral("Size %1").arg(photo.fileSizeAsString);
  case MissingRole:
    return missing;
  case ThumbnailStateRole:
    if (thumbnails_ && thumbnails_->cached(photo.filePath))
      return 1;
    return thumbnails_ && thumbnails_->failed(photo.filePath) ? 2 : 0;
  default:
    return {};
  }
}

bool BatchTableModel::setData(const QModelIndex &index, const QVariant &value, int role) {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid) ||
      role != Qt::CheckStateRole || index.column() != TickColumn || !tickingEnabled_)
    return false;
  const PhotoFile *photo = rows_.at(index.row()).get();
  if (value.value<Qt::CheckState>() == Qt::Checked)
    ticked_.insert(photo);
  else
    ticked_.remove(photo);
  Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
  return true;
}

Qt::ItemFlags BatchTableModel::flags(const QModelIndex &index) const {
  if (!index.isValid())
    return Qt::ItemIsDropEnabled;
  Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled;
  if (index.column() == TickColumn && tickingEnabled_)
    f |= Qt::ItemIsUserCheckable;
  return f;
}

QVariant BatchTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount)
    return {};
  if (role == Qt::DisplayRole) {
    switch (section) {
    case NameColumn:
      return QStringLiteral("Name");
    case SizeColumn:
      return QStringLiteral("Size");
    case DimensionsColumn:
      return QStringLiteral("Dimensions");
    case TypeColumn:
      return QStringLiteral("Type");
    case ModifiedColumn:
      return QStringLiteral("Modified");
    case FolderColumn:
      return QStringLiteral("Folder");
    default:
      return QString();
    }
  }
  if (role == Qt::ToolTipRole && section == TickColumn)
    return QStringLiteral("Ticked photos are removed by Remove Selected");
  return {};
}

QStringList BatchTableModel::mimeTypes() const {
  return {QStringLiteral("text/uri-list")};
}

Qt::DropActions BatchTableModel::supportedDropActions() const {
  return Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
}

bool BatchTableModel::canDropMimeData(const QMimeData *data, Qt::DropAction, int, int,
                                      const QModelIndex &) const {
  return !localPaths(data).isEmpty();
}

bool BatchTableModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int, int,
                                   const QModelIndex &) {
  const QStringList paths = localPaths(data);
  if (paths.isEmpty() || action == Qt::IgnoreAction)
    return false;
  Q_EMIT pathsDropped(paths);
  // The files stay where they are: the batch only refers to them.
  return false;
}

void BatchTableModel::batchWillInsert(qsizetype first, qsizetype count) {
  // Rows are taken from the batch after the change; the model's own list stays a prefix of
  // the batch until then.
  (void)first;
  (void)count;
}

void BatchTableModel::batchDidInsert(const Batch &batch) {
  source_ = &batch;
  if (insertInterval_ <= 0)
    flushInserts();
  else if (!insertTimer_.isActive())
    insertTimer_.start(insertInterval_);
}

void BatchTableModel::setInsertInterval(int ms) {
  insertInterval_ = ms;
  if (ms <= 0)
    flushInserts();
}

void BatchTableModel::flushInserts() {
  insertTimer_.stop();
  if (!source_)
    return;
  const Batch &batch = *source_;
  source_ = nullptr;
  // Every change is announced, so the rows are still the batch's first rows: checking the
  // last one catches a batch replaced behind the model's back.
  if (batch.size() <= rows_.size() ||
      (!rows_.isEmpty() && batch.at(rows_.size() - 1) != rows_.last())) {
    syncWithBatch(batch);
    return;
  }
  beginInsertRows({}, int(rows_.size()), int(batch.size() - 1));
  rows_.append(batch.mid(rows_.size()));
  endInsertRows();
}

void BatchTableModel::batchWillRemove(qsizetype first, qsizetype count) {
  flushInserts();
  if (count <= 0 || first < 0 || first + count > rows_.size())
    return;
  removeFirst_ = first;
  removeCount_ = count;
  beginRemoveRows({}, int(first), int(first + count - 1));
}

void BatchTableModel::batchDidRemove() {
  if (removeFirst_ < 0)
    return;
  for (qsizetype r = removeFirst_; r < removeFirst_ + removeCount_; ++r) {
    ticked_.remove(rows_.at(r).get());
    missing_.remove(rows_.at(r).get());
  }
  rows_.remove(removeFirst_, removeCount_);
  removeFirst_ = -1;
  endRemoveRows();
}

void BatchTableModel::syncWithBatch(const Batch &batch) {
  source_ = nullptr;
  insertTimer_.stop();
  // Only removals: take away runs of missing rows from the end, so the rest stay put.
  bool onlyRemovals = batch.size() <= rows_.size();
  if (onlyRemovals) {
    qsizetype j = 0;
    for (qsizetype i = 0; i < rows_.size() && j < batch.size(); ++i)
      if (rows_.at(i) == batch.at(j))
        ++j;
    onlyRemovals = j == batch.size();
  }
  if (onlyRemovals) {
    const QSet<const PhotoFile *> kept = [&] {
      QSet<const PhotoFile *> s;
      s.reserve(batch.size());
      for (const auto &p : batch)
        s.insert(p.get());
      return s;
    }();
    int last = int(rows_.size()) - 1;
    while (last >= 0) {
      if (kept.contains(rows_.at(last).get())) {
        --last;
        continue;
      }
      int first = last;
      while (first > 0 && !kept.contains(rows_.at(first - 1).get()))
        --first;
      beginRemoveRows({}, first, last);
      for (int r = first; r <= last; ++r) {
        ticked_.remove(rows_.at(r).get());
        missing_.remove(rows_.at(r).get());
      }
      rows_.remove(first, last - first + 1);
      endRemoveRows();
      last = first - 1;
    }
    return;
  }
  if (batch.size() > rows_.size() && std::equal(rows_.cbegin(), rows_.cend(), batch.cbegin())) {
    beginInsertRows({}, int(rows_.size()), int(batch.size() - 1));
    rows_.append(batch.mid(rows_.size()));
    endInsertRows();
    return;
  }
  beginResetModel();
  rows_ = batch;
  ticked_.clear();
  missing_.clear();
  endResetModel();
}

int BatchTableModel::rowOfPhoto(const PhotoFile *photo) const {
  for (qsizetype i = 0; i < rows_.size(); ++i)
    if (rows_.at(i).get() == photo)
      return int(i);
  return -1;
}

bool BatchTableModel::isTicked(int row) const {
  return row >= 0 && row < rows_.size() && ticked_.contains(rows_.at(row).get());
}

QList<std::shared_ptr<PhotoFile>> BatchTableModel::tickedPhotos() const {
  QList<std::shared_ptr<PhotoFile>> photos;
  if (ticked_.isEmpty())
    return photos;
  for (const auto &photo : rows_)
    if (ticked_.contains(photo.get()))
      photos.append(photo);
  return photos;
}

void BatchTableModel::clearTicks() {
  if (ticked_.isEmpty())
    return;
  ticked_.clear();
  if (!rows_.isEmpty())
    Q_EMIT dataChanged(index(0, TickColumn), index(int(rows_.size()) - 1, TickColumn),
                       {Qt::CheckStateRole});
}

void BatchTableModel::setMissing(const QSet<const PhotoFile *> &missing) {
  if (missing == missing_)
    return;
  missing_ = missing;
  if (!rows_.isEmpty())
    Q_EMIT dataChanged(index(0, 0), index(int(rows_.size()) - 1, ColumnCount - 1),
                       {Qt::DecorationRole, ThumbnailRole, Qt::ToolTipRole, MissingRole});
}

void BatchTableModel::markMissing(const PhotoFile *photo) {
  if (!photo || missing_.contains(photo))
    return;
  missing_.insert(photo);
  const int row = rowOfPhoto(photo);
  if (row >= 0)
    Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1),
                       {Qt::DecorationRole, ThumbnailRole, Qt::ToolTipRole, MissingRole});
}

bool BatchTableModel::isMissing(int row) const {
  return row >= 0 && row < rows_.size() && missing_.contains(rows_.at(row).get());
}

void BatchTableModel::setVisibleRows(int first, int last) {
  visibleFirst_ = first;
  visibleLast_ = last;
}

void BatchTableModel::thumbnailArrived() {
  thumbnailsDirty_ = true;
  if (!frame_.isActive())
    frame_.start();
}

void BatchTableModel::emitFrameChanges() {
  if (!thumbnailsDirty_)
    return;
  thumbnailsDirty_ = false;
  const int last = std::min(visibleLast_, int(rows_.size()) - 1);
  if (visibleFirst_ >= 0 && visibleFirst_ <= last)
    Q_EMIT dataChanged(index(visibleFirst_, NameColumn), index(last, NameColumn),
                       {ThumbnailRole, ThumbnailStateRole});
}

#include "ui/PreviewTableModel.h"

#include "intake/PhotoFile.h"
#include "metadata/ExifInfo.h"
#include "platform/BackgroundRelease.h"
#include "rename/OutputPhotoPath.h"

#include <QSet>

#include <algorithm>
#include <utility>

namespace {

// A frame at 60 Hz: results that arrive faster are announced together.
constexpr int kFrameMs = 16;

const QString kWaiting = QStringLiteral("Waiting to be processed.");

} // namespace

qsizetype nameStartInPath(const QString &path) {
  return path.lastIndexOf(QLatin1Char('/')) + 1;
}

NameChange nameChange(QStringView oldName, QStringView newName) {
  const auto splitAt = [](QStringView name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? dot : name.size();
  };
  const qsizetype oldDot = splitAt(oldName);
  const qsizetype newDot = splitAt(newName);
  const QStringView oldBase = oldName.left(oldDot);
  const QStringView newBase = newName.left(newDot);
  NameChange change;
  qsizetype head = 0;
  while (head < oldBase.size() && head < newBase.size() && oldBase.at(head) == newBase.at(head))
    ++head;
  qsizetype tail = 0;
  while (tail < oldBase.size() - head && tail < newBase.size() - head &&
         oldBase.at(oldBase.size() - 1 - tail) == newBase.at(newBase.size() - 1 - tail))
    ++tail;
  change.baseStart = head;
  change.baseLength = newBase.size() - head - tail;
  if (oldName.mid(oldDot) != newName.mid(newDot)) {
    // The extension without its dot, unless the dot itself is what changed.
    const bool hasDot = newDot < newName.size();
    change.extensionStart = hasDot && oldDot < oldName.size() ? newDot + 1 : newDot;
    change.extensionLength = newName.size() - change.extensionStart;
  }
  return change;
}

PreviewTableModel::PreviewTableModel(QObject *parent) : QAbstractTableModel(parent) {
  frame_.setSingleShot(true);
  frame_.setInterval(kFrameMs);
  connect(&frame_, &QTimer::timeout, this, &PreviewTableModel::flushUpdates);
}

void PreviewTableModel::setPreview(const QList<std::shared_ptr<OutputPhotoPath>> &records,
                                   const ErrorFiles &errors) {
  beginResetModel();
  QList<std::shared_ptr<OutputPhotoPath>> previous = std::exchange(records_, records);
  ErrorFiles previousErrors = std::exchange(errors_, errors);
  kinds_.clear();
  // The filters show the records the checks sorted into errors and warnings; most batches
  // have none, and then no row needs a look.
  if (!errors.arrayAllErrors.isEmpty() || !errors.arrayAllWarnings.isEmpty()) {
    QSet<const OutputPhotoPath *> errorRecords, warningRecords;
    for (const auto &record : errors.arrayAllErrors)
      errorRecords.insert(record.get());
    for (const auto &record : errors.arrayAllWarnings)
      warningRecords.insert(record.get());
    kinds_.resize(records_.size());
    for (qsizetype row = 0; row < records_.size(); ++row) {
      const OutputPhotoPath *record = records_.at(row).get();
      kinds_[row] = errorRecords.contains(record)     ? KindError
                    : warningRecords.contains(record) ? KindWarning
                                                      : KindReady;
    }
  }
  // A pass computes every record with the same rule: the first tells whether the taken date
  // was read. Counting the fallbacks reads a byte per record, once per pass.
  // (Read through const access only: the list is shared with the pass's result, and a
  // detached copy of a hundred thousand records would cost the window's thread dearly.)
  showsDateFrom_ =
      !records_.isEmpty() && records_.constFirst() && records_.constFirst()->captureDateSource >= 0;
  noCaptureDateCount_ = 0;
  if (showsDateFrom_) {
    for (const auto &record : std::as_const(records_))
      if (record && record->captureDateSource == qint8(ExifInfo::DateSource::None))
        ++noCaptureDateCount_;
  }
  dirtyFirst_ = dirtyLast_ = -1;
  endResetModel();
  // The superseded pass is freed elsewhere: a hundred thousand records take tens of
  // milliseconds, which the window's thread must not spend between two frames.
  platform::BackgroundRelease::release(std::move(previousErrors));
  platform::BackgroundRelease::release(std::move(previous));
}

void PreviewTableModel::setRunBatch(const QList<std::shared_ptr<PhotoFile>> &batch) {
  batch_ = batch;
  progressed_ = 0;
  if (!records_.isEmpty())
    Q_EMIT dataChanged(index(0, 0), index(int(records_.size()) - 1, columnCount() - 1));
}

void PreviewTableModel::clearRunBatch() {
  flushUpdates();
  batch_.clear();
  progressed_ = 0;
  if (!records_.isEmpty())
    Q_EMIT dataChanged(index(0, 0), index(int(records_.size()) - 1, columnCount() - 1));
}

void PreviewTableModel::photoUpdated(qint64 row) {
  if (row < 0 || row >= records_.size())
    return;
  progressed_ = std::max(progressed_, row + 1);
  dirtyFirst_ = dirtyFirst_ < 0 ? row : std::min(dirtyFirst_, row);
  dirtyLast_ = std::max(dirtyLast_, row);
  if (!frame_.isActive())
    frame_.start();
}

void PreviewTableModel::flushUpdates() {
  frame_.stop();
  if (dirtyFirst_ < 0)
    return;
  const int first = int(dirtyFirst_);
  const int last = int(std::min<qint64>(dirtyLast_, records_.size() - 1));
  dirtyFirst_ = dirtyLast_ = -1;
  if (first > last)
    return;
  ++updateSignals_;
  Q_EMIT dataChanged(index(first, 0), index(last, columnCount() - 1),
                     {Qt::DecorationRole, Qt::ToolTipRole, StatusIconRole});
}

QVariant PreviewTableModel::dateFromData(const OutputPhotoPath &record, int role) const {
  switch (role) {
  case Qt::DisplayRole:
  case Qt::ToolTipRole:
  case Qt::AccessibleTextRole: {
    // The same text as the information's "Date Source" row and the preview command's column.
    const QString name = ExifInfo::dateSourceName(ExifInfo::DateSource(record.captureDateSource));
    return record.captureZoneOffset.isEmpty() ? name
                                              : name + QLatin1Char(' ') + record.captureZoneOffset;
  }
  case SourcePathRole:
    return record.oldFilePath;
  default:
    return QVariant();
  }
}

PreviewTableModel::RowKind PreviewTableModel::rowKind(int row) const {
  if (kinds_.isEmpty() || row < 0 || row >= kinds_.size())
    return KindReady;
  return RowKind(kinds_.at(row));
}

int PreviewTableModel::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : int(records_.size());
}

int PreviewTableModel::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : showsDateFrom_ ? ColumnCount : DateFromColumn;
}

bool PreviewTableModel::hasNoCaptureDate(int row) const {
  if (!showsDateFrom_ || row < 0 || row >= records_.size() || !records_.at(row))
    return false;
  return records_.at(row)->captureDateSource == qint8(ExifInfo::DateSource::None);
}

QVariant PreviewTableModel::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || index.row() >= records_.size() || index.column() >= columnCount())
    return QVariant();
  const int row = index.row();
  const OutputPhotoPath *record = records_.at(row).get();
  if (!record)
    return QVariant();
  if (index.column() == DateFromColumn)
    return dateFromData(*record, role);
  const bool newColumn = index.column() == NewPathColumn;
  const PhotoFile *photo = row < batch_.size() && batch_.at(row) ? batch_.at(row).get() : nullptr;
  const auto statusIcon = [&]() -> StatusIcon {
    if (photo) {
      if (row >= progressed_)
        return IconPending;
      switch (photo->processStatus) {
      case 1:
        return IconProcessed;
      case 2:
        return IconError;
      case 3:
        return IconSkipped;
      default:
        return IconPending;
      }
    }
    switch (rowKind(row)) {
    case KindError:
      return IconError;
    case KindWarning:
      return IconWarning;
    default:
      return IconReady;
    }
  };
  switch (role) {
  case Qt::DisplayRole:
  case Qt::EditRole:
    return newColumn ? record->filePath : record->oldFilePath;
  case Qt::ToolTipRole:
    if (!newColumn)
      return record->oldFilePath;
    if (photo)
      return row < progressed_ && !photo->processInfoMessage.isEmpty() ? photo->processInfoMessage
                                                                       : kWaiting;
    return rowStatusForRecord(*record, errors_).toolTip;
  case Qt::AccessibleTextRole:
    return newColumn ? record->filePath : record->oldFilePath;
  case Qt::AccessibleDescriptionRole:
    if (!newColumn)
      return QVariant();
    return data(index, Qt::ToolTipRole);
  case StatusIconRole:
    return newColumn ? QVariant(int(statusIcon())) : QVariant();
  case RowKindRole:
    return int(rowKind(row));
  case NameStartRole:
    return int(nameStartInPath(newColumn ? record->filePath : record->oldFilePath));
  case SourcePathRole:
    return record->oldFilePath;
  default:
    return QVariant();
  }
}

QVariant PreviewTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
    return QAbstractTableModel::headerData(section, orientation, role);
  switch (section) {
  case OldPathColumn:
    return tr("Current Photo Path");
  case NewPathColumn:
    return tr("New Photo Path");
  case DateFromColumn:
    return showsDateFrom_ ? tr("Date From") : QVariant();
  default:
    return QVariant();
  }
}

PreviewFilterProxy::PreviewFilterProxy(QObject *parent) : QSortFilterProxyModel(parent) {
  // The rows keep batch order; a result during a run never moves a row in or out.
  setDynamicSortFilter(false);
}

void PreviewFilterProxy::setPreviewFilesMode(int mode) {
  if (mode == mode_)
    return;
  mode_ = mode;
  invalidateRowsFilter();
}

bool PreviewFilterProxy::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const {
  if (mode_ == PreviewAll)
    return true;
  const auto *model = qobject_cast<const PreviewTableModel *>(sourceModel());
  if (!model)
    return true;
  Q_UNUSED(sourceParent);
  if (mode_ == PreviewTableModel::NoCaptureDateFilter)
    return model->hasNoCaptureDate(sourceRow);
  const PreviewTableModel::RowKind kind = model->rowKind(sourceRow);
  return mode_ == PreviewErrors ? kind == PreviewTableModel::KindError
                                : kind == PreviewTableModel::KindWarning;
}

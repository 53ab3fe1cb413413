#pragma once

#include <QAbstractTableModel>
#include <QIcon>
#include <QImage>
#include <QList>
#include <QSet>
#include <QTimer>

#include <memory>

class PhotoFile;
class ThumbnailLoader;

// The batch as the add-photos screen's two views see it: one row per photo, in batch order.
// The model keeps its own list of the batch's records, changed on the owner's thread as the
// add run announces each change (one insertion per slice of the run, not per photo), so the
// views never depend on when the batch itself is read. Thumbnails that arrive are shown with
// one dataChanged per frame.
class BatchTableModel : public QAbstractTableModel {
  Q_OBJECT
public:
  using Batch = QList<std::shared_ptr<PhotoFile>>;

  enum Column {
    TickColumn,
    NameColumn,
    SizeColumn,
    DimensionsColumn,
    TypeColumn,
    ModifiedColumn,
    FolderColumn,
    ColumnCount
  };
  enum Role {
    PhotoRole = Qt::UserRole + 1, // const PhotoFile * (for the delegates)
    FilePathRole,
    SizeTextRole,       // "Size 2.10 MB"
    MissingRole,        // the file has gone from disk
    ThumbnailStateRole, // 0 waiting, 1 made, 2 failed
    ThumbnailRole,      // QImage: the thumbnail, or the not-available picture
  };

  explicit BatchTableModel(ThumbnailLoader *thumbnails, QObject *parent = nullptr);

  int rowCount(const QModelIndex &parent = {}) const override;
  int columnCount(const QModelIndex &parent = {}) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex &index, const QVariant &value, int role) override;
  Qt::ItemFlags flags(const QModelIndex &index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  QStringList mimeTypes() const override;
  Qt::DropActions supportedDropActions() const override;
  bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                       const QModelIndex &parent) const override;
  bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                    const QModelIndex &parent) override;

  // --- Keeping step with the batch (owner's thread only) ---
  // The add run announces each change of the batch; between a will and its did the batch
  // is read for the rows that arrived (always at the end) or drop the rows that went.
  void batchWillInsert(qsizetype first, qsizetype count);
  void batchDidInsert(const Batch &batch);
  // While a long add runs, rows may be shown in larger steps (every interval ms) instead of
  // each slice of the run: a view re-lays out all its rows on each insertion.
  void setInsertInterval(int ms);
  void flushInserts();
  void batchWillRemove(qsizetype first, qsizetype count);
  void batchDidRemove();
  // The batch changed without notice (a new batch, skipped photos sent back): rows become
  // the batch's. Removals of records still present keep the rest of the rows (and the
  // views' places).
  void syncWithBatch(const Batch &batch);

  const std::shared_ptr<PhotoFile> &photoAt(int row) const { return rows_.at(row); }
  int rowOfPhoto(const PhotoFile *photo) const;
  const Batch &photos() const { return rows_; }

  // Ticks of the list view (by record, so they survive removals of other rows).
  bool isTicked(int row) const;
  QList<std::shared_ptr<PhotoFile>> tickedPhotos() const;
  void clearTicks();
  // While the add run adds photos, ticking is refused.
  void setTickingEnabled(bool on) { tickingEnabled_ = on; }

  // Photos whose file has gone: their cells show the not-available picture.
  void setMissing(const QSet<const PhotoFile *> &missing);
  void markMissing(const PhotoFile *photo);
  bool isMissing(int row) const;

  // Rows first..last are on screen: their thumbnails are refreshed together with the next
  // frame when any arrives.
  void setVisibleRows(int first, int last);
  void thumbnailArrived();

  // Paths dropped on a view, for the screen.
Q_SIGNALS:
  void pathsDropped(const QStringList &paths);

private:
  void emitFrameChanges();

  ThumbnailLoader *thumbnails_;
  Batch rows_;
  const Batch *source_ = nullptr; // the batch whose announced rows wait to be shown
  QTimer insertTimer_;
  int insertInterval_ = 0;
  qsizetype insertFirst_ = -1; // an announced change under way
  qsizetype insertCount_ = 0;
  qsizetype removeFirst_ = -1;
  qsizetype removeCount_ = 0;
  QSet<const PhotoFile *> ticked_;
  QSet<const PhotoFile *> missing_;
  QTimer frame_;
  int visibleFirst_ = -1;
  int visibleLast_ = -1;
  bool thumbnailsDirty_ = false;
  bool tickingEnabled_ = true;
  QImage notAvailable_;
  QIcon notAvailableIcon_;
};

#pragma once

#include "rename/PreflightChecks.h"

#include <QAbstractTableModel>
#include <QList>
#include <QSortFilterProxyModel>
#include <QTimer>
#include <QVector>

#include <memory>

class OutputPhotoPath;
class PhotoFile;

// The preview of a batch: one row per destination record, in batch order, with the source
// path and the new path. The rows are the engine's own records; nothing is copied per row,
// so a million photos cost two pointers and a status byte each.
//
// During a run the same rows show each photo's result instead of its pre-flight status.
// Results arrive one by one from the run; they are gathered and announced with one
// dataChanged per frame.
class PreviewTableModel : public QAbstractTableModel {
  Q_OBJECT
public:
  // The "Date From" column is there only when the names use the taken date.
  enum Column { OldPathColumn = 0, NewPathColumn = 1, DateFromColumn = 2, ColumnCount = 3 };
  // The filter beside the preview's three: photos whose taken date fell back to the file's.
  enum { NoCaptureDateFilter = 3 };
  // The kind of a row, as the filters and the status icon see it.
  enum RowKind : quint8 { KindReady = 0, KindError = 1, KindWarning = 2 };
  // What the status icon shows.
  enum StatusIcon {
    IconReady,
    IconError,
    IconWarning,
    IconPending,   // run: not reached yet
    IconProcessed, // run: written
    IconSkipped,   // run: skipped
  };
  enum Role {
    RowKindRole = Qt::UserRole + 1, // RowKind
    StatusIconRole,                 // StatusIcon
    NameStartRole,                  // where the new name starts in the new path
    SourcePathRole,                 // the row's source photo (oldFilePath)
  };

  explicit PreviewTableModel(QObject *parent = nullptr);

  // A preview pass's result: the destination records and their checks.
  void setPreview(const QList<std::shared_ptr<OutputPhotoPath>> &records, const ErrorFiles &errors);
  // The run shows the photos' results (processStatus and processInfoMessage of the batch,
  // parallel to the records); off, the pre-flight status shows again.
  void setRunBatch(const QList<std::shared_ptr<PhotoFile>> &batch);
  void clearRunBatch();
  bool isShowingRun() const { return !batch_.isEmpty(); }
  // A photo's result was recorded: its row is repainted with the next frame.
  void photoUpdated(qint64 row);
  // Sends the gathered row changes now (tests and the end of a run).
  void flushUpdates();

  RowKind rowKind(int row) const;
  // The records carry where their taken date came from (the names use it).
  bool showsDateFrom() const { return showsDateFrom_; }
  // Rows whose taken date is the file's creation date (0 without the column).
  qsizetype noCaptureDateCount() const { return noCaptureDateCount_; }
  bool hasNoCaptureDate(int row) const;
  std::shared_ptr<OutputPhotoPath> recordAt(int row) const { return records_.value(row); }
  const ErrorFiles &errors() const { return errors_; }

  // How many dataChanged signals the run's updates have caused (benchmarks and tests).
  qint64 updateSignalsSent() const { return updateSignals_; }

  int rowCount(const QModelIndex &parent = QModelIndex()) const override;
  int columnCount(const QModelIndex &parent = QModelIndex()) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation,
                      int role = Qt::DisplayRole) const override;

private:
  QVariant dateFromData(const OutputPhotoPath &record, int role) const;

  QList<std::shared_ptr<OutputPhotoPath>> records_;
  QList<std::shared_ptr<PhotoFile>> batch_;
  ErrorFiles errors_;
  QVector<quint8> kinds_; // empty when every row is ready
  QTimer frame_;
  qint64 progressed_ = 0; // rows the run has reported
  qint64 dirtyFirst_ = -1;
  qint64 dirtyLast_ = -1;
  qint64 updateSignals_ = 0;
  bool showsDateFrom_ = false;
  qsizetype noCaptureDateCount_ = 0;
};

// The preview filters: all rows, rows with errors, rows with warnings, rows without a capture
// date (tags 0, 1, 2, 3).
class PreviewFilterProxy : public QSortFilterProxyModel {
  Q_OBJECT
public:
  explicit PreviewFilterProxy(QObject *parent = nullptr);
  void setPreviewFilesMode(int mode);
  int previewFilesMode() const { return mode_; }

protected:
  bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
  int mode_ = PreviewAll;
};

// The name of a path after its last "/", and where it starts.
qsizetype nameStartInPath(const QString &path);
// The parts of a new name that differ from the source's name, within newName: in the base
// name, what is left once the common beginning and end are taken away; and the extension
// when it differs (its case too). A length of 0 means unchanged.
struct NameChange {
  qsizetype baseStart = 0;
  qsizetype baseLength = 0;
  qsizetype extensionStart = 0;
  qsizetype extensionLength = 0;
};
NameChange nameChange(QStringView oldName, QStringView newName);

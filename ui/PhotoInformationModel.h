#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QVariantMap>

// The information table of the selected photo: the engine's rows ("title", "value"), one
// row each, in two columns.
class PhotoInformationModel : public QAbstractTableModel {
  Q_OBJECT
public:
  using QAbstractTableModel::QAbstractTableModel;

  int rowCount(const QModelIndex &parent = {}) const override;
  int columnCount(const QModelIndex &parent = {}) const override;
  QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  void setRows(const QList<QVariantMap> &rows);
  const QList<QVariantMap> &rows() const { return rows_; }
  // The value of the row titled title, or a null string.
  QString value(const QString &title) const;

private:
  QList<QVariantMap> rows_;
};

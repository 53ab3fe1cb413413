#include "ui/PhotoInformationModel.h"

int PhotoInformationModel::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : int(rows_.size());
}

int PhotoInformationModel::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : 2;
}

QVariant PhotoInformationModel::data(const QModelIndex &index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
    return {};
  const QVariantMap &row = rows_.at(index.row());
  const QString key = index.column() == 0 ? QStringLiteral("title") : QStringLiteral("value");
  switch (role) {
  case Qt::DisplayRole:
  case Qt::ToolTipRole:
  case Qt::AccessibleTextRole:
    return row.value(key).toString();
  case Qt::TextAlignmentRole:
    return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
  default:
    return {};
  }
}

QVariant PhotoInformationModel::headerData(int section, Qt::Orientation orientation,
                                           int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section > 1)
    return {};
  return section == 0 ? QStringLiteral("Property") : QStringLiteral("Value");
}

void PhotoInformationModel::setRows(const QList<QVariantMap> &rows) {
  beginResetModel();
  rows_ = rows;
  endResetModel();
}

QString PhotoInformationModel::value(const QString &title) const {
  for (const QVariantMap &row : rows_)
    if (row.value(QStringLiteral("title")).toString() == title)
      return row.value(QStringLiteral("value")).toString();
  return {};
}

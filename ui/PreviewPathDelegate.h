#pragma once

#include "ui/PreviewTableModel.h"

#include <QStyledItemDelegate>

class QPainter;

// Draws a path of the preview: the folder muted, the name in full; in the new-path column
// the row's status icon first and the parts of the new name that differ from the source's
// name picked out, so a user sees at a glance what the rules did. A long path gives up its
// folder first (elided from the left): the name is what the user checks.
class PreviewPathDelegate : public QStyledItemDelegate {
  Q_OBJECT
public:
  explicit PreviewPathDelegate(QObject *parent = nullptr);

  void paint(QPainter *painter, const QStyleOptionViewItem &option,
             const QModelIndex &index) const override;
  QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

// The status icons of the preview and the run, drawn as vectors so they stay sharp at any
// scale and follow the palette.
void paintStatusIcon(QPainter *painter, const QRectF &rect, PreviewTableModel::StatusIcon icon,
                     const QPalette &palette);
QColor statusColor(PreviewTableModel::StatusIcon icon, const QPalette &palette);

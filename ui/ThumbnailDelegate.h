#pragma once

#include <QStyledItemDelegate>

// A cell of the thumbnail view: the picture fitted in a square, the file name and "Size …"
// below, a placeholder while the thumbnail is made and the not-available picture for a file
// that has gone. Paints only what it is handed; never loads anything.
class ThumbnailDelegate : public QStyledItemDelegate {
  Q_OBJECT
public:
  using QStyledItemDelegate::QStyledItemDelegate;

  // The cell's size (the view's grid); the picture takes its width.
  static QSize cellSize();

  void paint(QPainter *painter, const QStyleOptionViewItem &option,
             const QModelIndex &index) const override;
  QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

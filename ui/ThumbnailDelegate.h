#pragma once

#include <QStyledItemDelegate>

// A cell of the thumbnail view: the picture fitted in a square, the file name and "Size …"
// below, a placeholder while the thumbnail is made and the not-available picture for a file
// that has gone. Paints only what it is handed; never loads anything.
class ThumbnailDelegate : public QStyledItemDelegate {
  Q_OBJECT
public:
  using QStyledItemDelegate::QStyledItemDelegate;

  // The narrowest cell; the view widens its cells to fill each line.
  static constexpr int kMinimumWidth = 176;
  // A cell of the given width: a square picture and two lines of text.
  static QSize cellSizeForWidth(int width) { return {width, width + 44}; }

  void paint(QPainter *painter, const QStyleOptionViewItem &option,
             const QModelIndex &index) const override;
  QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

// The tick column of the list view: the tick pictures, toggled by a click anywhere in the
// cell or by Space.
class TickDelegate : public QStyledItemDelegate {
  Q_OBJECT
public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter *painter, const QStyleOptionViewItem &option,
             const QModelIndex &index) const override;
  bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
};

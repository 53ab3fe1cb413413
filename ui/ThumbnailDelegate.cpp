#include "ui/ThumbnailDelegate.h"

#include "ui/BatchTableModel.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

QSize ThumbnailDelegate::cellSize() {
  return {184, 220};
}

QSize ThumbnailDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const {
  return cellSize() - QSize(8, 8);
}

void ThumbnailDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const {
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setRenderHint(QPainter::SmoothPixmapTransform);
  const QPalette &palette = option.palette;
  const QRectF cell = QRectF(option.rect).adjusted(4, 4, -4, -4);
  const bool selected = option.state & QStyle::State_Selected;
  const bool hovered = option.state & QStyle::State_MouseOver;

  QPainterPath card;
  card.addRoundedRect(cell, 8, 8);
  QColor fill = palette.color(QPalette::Base);
  if (hovered && !selected)
    fill = palette.color(QPalette::AlternateBase);
  painter->fillPath(card, fill);
  if (selected) {
    painter->setPen(QPen(palette.color(QPalette::Highlight), 2.5));
    painter->drawPath(card);
  }

  const qreal pad = 10;
  const QRectF pictureBox(cell.left() + pad, cell.top() + pad, cell.width() - 2 * pad,
                          cell.width() - 2 * pad);
  const QVariant decoration = index.data(Qt::DecorationRole);
  const QImage picture = decoration.value<QImage>();
  if (!picture.isNull()) {
    QSizeF fitted = QSizeF(picture.size()).scaled(pictureBox.size(), Qt::KeepAspectRatio);
    // Small pictures are not blown up past twice their size.
    if (fitted.width() > picture.width() * 2)
      fitted = QSizeF(picture.size()) * 2;
    const QRectF target(pictureBox.center().x() - fitted.width() / 2,
                        pictureBox.center().y() - fitted.height() / 2, fitted.width(),
                        fitted.height());
    painter->drawImage(target, picture);
  } else {
    // Waiting for the thumbnail, or it cannot be made: a quiet frame.
    QColor placeholder = palette.color(QPalette::Text);
    placeholder.setAlpha(18);
    painter->fillRect(pictureBox.adjusted(12, 12, -12, -12), placeholder);
    if (index.data(BatchTableModel::ThumbnailStateRole).toInt() == 2) {
      QColor mark = palette.color(QPalette::PlaceholderText);
      painter->setPen(mark);
      painter->drawText(pictureBox, Qt::AlignCenter, QStringLiteral("No preview"));
    }
  }

  const qreal textTop = pictureBox.bottom() + 8;
  const QRectF nameRect(cell.left() + pad, textTop, cell.width() - 2 * pad,
                        option.fontMetrics.height());
  painter->setPen(palette.color(QPalette::Text));
  painter->setFont(option.font);
  painter->drawText(nameRect, Qt::AlignHCenter | Qt::AlignVCenter,
                    option.fontMetrics.elidedText(index.data(Qt::DisplayRole).toString(),
                                                  Qt::ElideMiddle, int(nameRect.width())));
  QFont small = option.font;
  small.setPointSizeF(small.pointSizeF() * 0.88);
  painter->setFont(small);
  QColor secondary = palette.color(QPalette::PlaceholderText);
  const bool missing = index.data(BatchTableModel::MissingRole).toBool();
  painter->setPen(missing ? QColor(214, 69, 65) : secondary);
  const QRectF sizeRect(nameRect.left(), nameRect.bottom() + 2, nameRect.width(),
                        QFontMetricsF(small).height());
  painter->drawText(sizeRect, Qt::AlignHCenter | Qt::AlignVCenter,
                    missing ? QStringLiteral("Not available")
                            : index.data(BatchTableModel::SizeTextRole).toString());
  if (option.state & QStyle::State_HasFocus && selected) {
    QPen focus(palette.color(QPalette::Highlight), 1, Qt::DotLine);
    painter->setPen(focus);
    painter->drawRoundedRect(cell.adjusted(3, 3, -3, -3), 6, 6);
  }
  painter->restore();
}

#include "ui/ThumbnailDelegate.h"

#include "ui/AddPhotosPictures.h"
#include "ui/BatchTableModel.h"
#include "ui/Theme.h"

#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>

QSize ThumbnailDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const {
  return cellSizeForWidth(kMinimumWidth);
}

void ThumbnailDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const {
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setRenderHint(QPainter::SmoothPixmapTransform);
  const QRectF cell = QRectF(option.rect).adjusted(4, 4, -4, -4);
  const bool selected = option.state & QStyle::State_Selected;
  const bool hovered = option.state & QStyle::State_MouseOver;

  QPainterPath card;
  card.addRoundedRect(cell, 10, 10);
  QColor fill = Theme::surface();
  if (selected) {
    QColor tint = Theme::accent();
    tint.setAlpha(Theme::isDark() ? 60 : 30);
    painter->fillPath(card, fill);
    fill = tint;
  } else if (hovered) {
    fill = Theme::surfaceRaised();
  }
  painter->fillPath(card, fill);
  painter->setPen(QPen(selected ? Theme::accent() : Theme::border(), selected ? 2.0 : 1.0));
  painter->drawPath(card);

  const qreal pad = 10;
  const QRectF pictureBox(cell.left() + pad, cell.top() + pad, cell.width() - 2 * pad,
                          cell.width() - 2 * pad);
  const QImage picture = index.data(BatchTableModel::ThumbnailRole).value<QImage>();
  const bool missing = index.data(BatchTableModel::MissingRole).toBool();
  if (!picture.isNull()) {
    QSizeF fitted = QSizeF(picture.size()).scaled(pictureBox.size(), Qt::KeepAspectRatio);
    // Small pictures are not blown up past twice their size.
    if (fitted.width() > picture.width() * 2)
      fitted = QSizeF(picture.size()) * 2;
    if (missing)
      fitted = fitted.scaled(pictureBox.size() * 0.6, Qt::KeepAspectRatio);
    const QRectF target(pictureBox.center().x() - fitted.width() / 2,
                        pictureBox.center().y() - fitted.height() / 2, fitted.width(),
                        fitted.height());
    // Scaled once for the cell's size and kept: smooth scaling on every paint would cost a
    // frame's time while scrolling.
    const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
    const QSize pixels = (fitted * ratio).toSize();
    const QString key = QStringLiteral("quillmere-thumb:%1:%2x%3")
                            .arg(picture.cacheKey())
                            .arg(pixels.width())
                            .arg(pixels.height());
    QPixmap scaled;
    if (!QPixmapCache::find(key, &scaled)) {
      scaled = QPixmap::fromImage(
          picture.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
      QPixmapCache::insert(key, scaled);
    }
    painter->drawPixmap(target, scaled, QRectF(scaled.rect()));
  } else {
    // Waiting for the thumbnail, or it cannot be made: a quiet frame.
    QColor placeholder = Theme::text();
    placeholder.setAlpha(14);
    QPainterPath frame;
    frame.addRoundedRect(pictureBox.adjusted(8, 18, -8, -18), 6, 6);
    painter->fillPath(frame, placeholder);
    if (index.data(BatchTableModel::ThumbnailStateRole).toInt() == 2) {
      painter->setPen(Theme::secondaryText());
      painter->drawText(pictureBox, Qt::AlignCenter, QStringLiteral("No preview"));
    }
  }

  const QFontMetricsF nameMetrics(option.font);
  const QRectF nameRect(cell.left() + pad, pictureBox.bottom() + 8, cell.width() - 2 * pad,
                        nameMetrics.height());
  painter->setPen(Theme::text());
  painter->setFont(option.font);
  painter->drawText(nameRect, Qt::AlignHCenter | Qt::AlignVCenter,
                    nameMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideMiddle,
                                           nameRect.width()));
  QFont small = option.font;
  small.setPointSizeF(small.pointSizeF() * 0.88);
  painter->setFont(small);
  painter->setPen(missing ? Theme::error() : Theme::secondaryText());
  const QRectF sizeRect(nameRect.left(), nameRect.bottom() + 2, nameRect.width(),
                        QFontMetricsF(small).height());
  painter->drawText(sizeRect, Qt::AlignHCenter | Qt::AlignVCenter,
                    missing ? QStringLiteral("Not available")
                            : index.data(BatchTableModel::SizeTextRole).toString());
  if ((option.state & QStyle::State_HasFocus) && !selected) {
    painter->setPen(QPen(Theme::accent(), 1, Qt::DashLine));
    painter->drawRoundedRect(cell.adjusted(2, 2, -2, -2), 8, 8);
  }
  painter->restore();
}

void TickDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const {
  // Only the row's background and the tick picture: no check box of the style.
  if (option.state & QStyle::State_Selected)
    painter->fillRect(option.rect, option.palette.brush(QPalette::Highlight));
  else if (option.features & QStyleOptionViewItem::Alternate)
    painter->fillRect(option.rect, option.palette.brush(QPalette::AlternateBase));
  const bool ticked = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
  const QIcon icon = AddPhotosPictures::icon(ticked ? QStringLiteral("checked_sq_icon.png")
                                                    : QStringLiteral("unchecked_icon.png"));
  const QSize size(18, 18);
  const QRect target(
      option.rect.center() - QPoint(size.width() / 2, size.height() / 2) + QPoint(1, 1), size);
  icon.paint(painter, target, Qt::AlignCenter,
             (index.flags() & Qt::ItemIsUserCheckable) ? QIcon::Normal : QIcon::Disabled);
}

bool TickDelegate::editorEvent(QEvent *event, QAbstractItemModel *model,
                               const QStyleOptionViewItem &option, const QModelIndex &index) {
  if (!(index.flags() & Qt::ItemIsUserCheckable))
    return false;
  bool toggle = false;
  if (event->type() == QEvent::MouseButtonRelease) {
    const auto *mouse = static_cast<QMouseEvent *>(event);
    toggle = mouse->button() == Qt::LeftButton && option.rect.contains(mouse->position().toPoint());
  } else if (event->type() == QEvent::MouseButtonDblClick) {
    return true; // a double click is two ticks, not an edit
  } else if (event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent *>(event)->key();
    toggle = key == Qt::Key_Space || key == Qt::Key_Select;
  }
  if (!toggle)
    return false;
  const bool ticked = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
  return model->setData(index, ticked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

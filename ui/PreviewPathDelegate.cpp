#include "ui/PreviewPathDelegate.h"

#include "ui/Theme.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace {

// One run of text drawn in its own pen and, for a changed part, on a tinted ground.
struct Run {
  QString text;
  enum Kind { Folder, Name, Changed } kind;
};

} // namespace

QColor statusColor(PreviewTableModel::StatusIcon icon, const QPalette &palette) {
  switch (icon) {
  case PreviewTableModel::IconReady:
  case PreviewTableModel::IconProcessed:
    return Theme::success();
  case PreviewTableModel::IconError:
    return Theme::error();
  case PreviewTableModel::IconWarning:
    return Theme::warning();
  case PreviewTableModel::IconSkipped:
  case PreviewTableModel::IconPending:
    break;
  }
  return palette.color(QPalette::Disabled, QPalette::Text);
}

void paintStatusIcon(QPainter *painter, const QRectF &rect, PreviewTableModel::StatusIcon icon,
                     const QPalette &palette) {
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  const QColor colour = statusColor(icon, palette);
  const qreal side = std::min(rect.width(), rect.height());
  const QRectF box(rect.center().x() - side / 2, rect.center().y() - side / 2, side, side);
  const qreal line = std::max<qreal>(1.5, side / 9);
  const QColor mark = palette.color(QPalette::Base);
  QPen pen(mark, line, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
  switch (icon) {
  case PreviewTableModel::IconReady:
  case PreviewTableModel::IconProcessed: {
    painter->setPen(Qt::NoPen);
    painter->setBrush(colour);
    painter->drawEllipse(box.adjusted(0.5, 0.5, -0.5, -0.5));
    painter->setPen(pen);
    QPainterPath tick;
    tick.moveTo(box.left() + side * 0.28, box.top() + side * 0.52);
    tick.lineTo(box.left() + side * 0.44, box.top() + side * 0.68);
    tick.lineTo(box.left() + side * 0.72, box.top() + side * 0.36);
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(tick);
    break;
  }
  case PreviewTableModel::IconError: {
    painter->setPen(Qt::NoPen);
    painter->setBrush(colour);
    painter->drawEllipse(box.adjusted(0.5, 0.5, -0.5, -0.5));
    painter->setPen(pen);
    const qreal a = side * 0.33, b = side * 0.67;
    painter->drawLine(QPointF(box.left() + a, box.top() + a),
                      QPointF(box.left() + b, box.top() + b));
    painter->drawLine(QPointF(box.left() + b, box.top() + a),
                      QPointF(box.left() + a, box.top() + b));
    break;
  }
  case PreviewTableModel::IconWarning: {
    QPainterPath triangle;
    triangle.moveTo(box.center().x(), box.top() + side * 0.06);
    triangle.lineTo(box.right() - side * 0.02, box.bottom() - side * 0.08);
    triangle.lineTo(box.left() + side * 0.02, box.bottom() - side * 0.08);
    triangle.closeSubpath();
    painter->setPen(QPen(colour, line * 0.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(colour);
    painter->drawPath(triangle);
    painter->setPen(pen);
    painter->drawLine(QPointF(box.center().x(), box.top() + side * 0.36),
                      QPointF(box.center().x(), box.top() + side * 0.62));
    painter->drawPoint(QPointF(box.center().x(), box.top() + side * 0.77));
    break;
  }
  case PreviewTableModel::IconSkipped: {
    painter->setPen(Qt::NoPen);
    painter->setBrush(colour);
    painter->drawEllipse(box.adjusted(0.5, 0.5, -0.5, -0.5));
    painter->setPen(pen);
    painter->drawLine(QPointF(box.left() + side * 0.3, box.center().y()),
                      QPointF(box.right() - side * 0.3, box.center().y()));
    break;
  }
  case PreviewTableModel::IconPending:
    painter->setPen(QPen(colour, line * 0.8));
    painter->setBrush(Qt::NoBrush);
    painter->drawEllipse(box.adjusted(line, line, -line, -line));
    break;
  }
  painter->restore();
}

PreviewPathDelegate::PreviewPathDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

QSize PreviewPathDelegate::sizeHint(const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const {
  Q_UNUSED(index);
  // Every row has the same height: the view never measures a row.
  const int height = option.fontMetrics.height() + 10;
  return QSize(200, height);
}

void PreviewPathDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const {
  QStyleOptionViewItem opt = option;
  initStyleOption(&opt, index);
  const QString path = opt.text;
  opt.text.clear();
  const QWidget *widget = opt.widget;
  QStyle *style = widget ? widget->style() : QApplication::style();
  // The row's ground, selection and focus as the style draws them.
  style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);

  const bool selected = opt.state & QStyle::State_Selected;
  const QPalette &palette = opt.palette;
  const QPalette::ColorGroup group =
      opt.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
  const QColor textColour =
      palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
  QColor folderColour = textColour;
  folderColour.setAlphaF(selected ? 0.75f : 0.55f);

  QRect area = opt.rect.adjusted(6, 0, -6, 0);
  const QVariant iconValue = index.data(PreviewTableModel::StatusIconRole);
  if (iconValue.isValid()) {
    const int side = std::min(16, opt.rect.height() - 8);
    const QRectF iconRect(area.left(), opt.rect.center().y() - side / 2.0 + 0.5, side, side);
    paintStatusIcon(painter, iconRect, PreviewTableModel::StatusIcon(iconValue.toInt()), palette);
    area.setLeft(area.left() + side + 8);
  }

  const qsizetype nameStart = index.data(PreviewTableModel::NameStartRole).toInt();
  const QString folder = path.left(nameStart);
  const QString name = path.mid(nameStart);
  QList<Run> runs;
  if (iconValue.isValid()) {
    const QString source = index.data(PreviewTableModel::SourcePathRole).toString();
    const QStringView oldName = QStringView(source).mid(nameStartInPath(source));
    const NameChange change = nameChange(oldName, name);
    qsizetype at = 0;
    const auto add = [&](qsizetype start, qsizetype length) {
      if (length <= 0)
        return;
      if (start > at)
        runs.append({name.mid(at, start - at), Run::Name});
      runs.append({name.mid(start, length), Run::Changed});
      at = start + length;
    };
    add(change.baseStart, change.baseLength);
    add(change.extensionStart, change.extensionLength);
    if (at < name.size())
      runs.append({name.mid(at), Run::Name});
  } else {
    runs.append({name, Run::Name});
  }

  const QFontMetrics metrics(opt.font);
  int nameWidth = 0;
  for (const Run &run : runs)
    nameWidth += metrics.horizontalAdvance(run.text) + (run.kind == Run::Changed ? 2 : 0);
  const int folderRoom = std::max(0, area.width() - nameWidth);
  const QString folderText = metrics.elidedText(folder, Qt::ElideLeft, folderRoom);

  painter->save();
  painter->setClipRect(area);
  painter->setFont(opt.font);
  const int baseline =
      opt.rect.top() + (opt.rect.height() - metrics.height()) / 2 + metrics.ascent();
  int x = area.left();
  painter->setPen(folderColour);
  painter->drawText(QPoint(x, baseline), folderText);
  x += metrics.horizontalAdvance(folderText);
  QColor changedGround = Theme::accent();
  changedGround.setAlphaF(selected ? 0.45f : 0.22f);
  for (const Run &run : runs) {
    const int width = metrics.horizontalAdvance(run.text);
    if (run.kind == Run::Changed) {
      const QRect ground(x, opt.rect.top() + 3, width + 2, opt.rect.height() - 6);
      painter->setPen(Qt::NoPen);
      painter->setBrush(changedGround);
      painter->drawRoundedRect(ground, 3, 3);
      x += 1;
    }
    painter->setPen(textColour);
    painter->drawText(QPoint(x, baseline), run.text);
    x += width + (run.kind == Run::Changed ? 1 : 0);
  }
  painter->restore();
}

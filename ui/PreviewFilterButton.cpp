#include "ui/PreviewFilterButton.h"

#include <QStyleOptionButton>
#include <QStylePainter>

PreviewFilterButton::PreviewFilterButton(QWidget *parent) : QPushButton(parent) {
  setCheckable(true);
  setAutoExclusive(true);
  QFont small = font();
  small.setPointSizeF(std::max(8.0, small.pointSizeF() - 1));
  small.setWeight(QFont::DemiBold);
  setFont(small);
}

void PreviewFilterButton::setWordColour(const QColor &colour) {
  wordColour_ = colour;
  update();
}

QSize PreviewFilterButton::sizeHint() const {
  const QSize hint = QPushButton::sizeHint();
  return QSize(std::max(hint.width(), fontMetrics().horizontalAdvance(text()) + 28), hint.height());
}

void PreviewFilterButton::paintEvent(QPaintEvent *) {
  QStylePainter painter(this);
  QStyleOptionButton option;
  initStyleOption(&option);
  const QString title = option.text;
  option.text.clear();
  painter.drawControl(QStyle::CE_PushButton, option);

  const qsizetype colon = title.indexOf(QLatin1Char(':'));
  const QString word = colon < 0 ? title : title.left(colon + 1);
  const QString rest = colon < 0 ? QString() : title.mid(colon + 1);
  const QFontMetrics metrics(font());
  const int width = metrics.horizontalAdvance(word) + metrics.horizontalAdvance(rest);
  const QRect area = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
  int x = area.left() + (area.width() - width) / 2;
  const int baseline = area.top() + (area.height() - metrics.height()) / 2 + metrics.ascent();
  const QColor text =
      palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText);
  painter.setPen(wordColour_.isValid() && isEnabled() ? wordColour_ : text);
  painter.drawText(QPoint(x, baseline), word);
  x += metrics.horizontalAdvance(word);
  painter.setPen(text);
  painter.drawText(QPoint(x, baseline), rest);
}

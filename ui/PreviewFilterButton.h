#pragma once

#include <QColor>
#include <QPushButton>

// A preview filter button ("ALL", "ERRORS: 3", "WARNINGS: 1"): the word before the colon is
// drawn in the filter's own colour, the number in the text colour, so the counts stand out
// without reading the labels. The whole title stays the button's text (and accessible name).
class PreviewFilterButton : public QPushButton {
  Q_OBJECT
public:
  explicit PreviewFilterButton(QWidget *parent = nullptr);
  // The colour of the word; invalid draws it like the rest.
  void setWordColour(const QColor &colour);
  QSize sizeHint() const override;

protected:
  void paintEvent(QPaintEvent *event) override;

private:
  QColor wordColour_;
};

#pragma once

#include <QFrame>
#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QLabel;
class QPushButton;

// A sheet: a card over a dimmed window that holds the window's attention until one of its
// buttons is pressed (Return presses the focused button or the default, the first one; Escape
// the last, which is the default too when it is the only one). It lives inside the window, so it
// moves, scales and is grabbed with it, and tab focus stays within it while it is up.
class Sheet : public QWidget {
  Q_OBJECT
public:
  // buttons: titles, the default first. done (may be empty) gets the index pressed.
  Sheet(QWidget *window, const QString &title, const QString &message, const QStringList &buttons,
        std::function<void(int index)> done = {});

  // Replaces the card's body with a widget of the caller's (a form, a picker); the buttons stay.
  void setBody(QWidget *body);
  void setInformativeText(const QString &text);

  // Shows the sheet without waiting.
  void open();
  // Shows the sheet and runs an event loop until a button is pressed; returns its index.
  int exec();
  // Presses button index as the user would.
  void press(int index);

  QString title() const;
  QString message() const;
  QList<QPushButton *> buttons() const { return buttons_; }
  QFrame *card() const { return card_; }

  // The sheet currently up over window, if any.
  static Sheet *current(const QWidget *window);

Q_SIGNALS:
  void finished(int index);

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;
  void paintEvent(QPaintEvent *event) override;
  void keyPressEvent(QKeyEvent *event) override;
  bool focusNextPrevChild(bool next) override;

private:
  void fitToWindow();

  QFrame *card_;
  QLabel *title_;
  QLabel *message_;
  QLabel *informative_;
  QWidget *body_ = nullptr;
  QList<QPushButton *> buttons_;
  std::function<void(int)> done_;
  QWidget *previousFocus_ = nullptr;
  int result_ = -1;
  bool finished_ = false;
};

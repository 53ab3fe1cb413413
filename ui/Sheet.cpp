#include "ui/Sheet.h"

#include "ui/Theme.h"

#include <QApplication>
#include <QEvent>
#include <QEventLoop>
#include <QGraphicsDropShadowEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

Sheet::Sheet(QWidget *window, const QString &title, const QString &message,
             const QStringList &buttons, std::function<void(int)> done)
    : QWidget(window), done_(std::move(done)) {
  setObjectName(QStringLiteral("sheet"));
  setAttribute(Qt::WA_DeleteOnClose);
  hide();

  card_ = new QFrame(this);
  card_->setObjectName(QStringLiteral("sheetCard"));
  Theme::setRole(card_, "card");
  card_->setAccessibleName(title);
  auto *shadow = new QGraphicsDropShadowEffect(card_);
  shadow->setBlurRadius(40);
  shadow->setOffset(0, 8);
  shadow->setColor(QColor(0, 0, 0, Theme::isDark() ? 160 : 70));
  card_->setGraphicsEffect(shadow);

  auto *layout = new QVBoxLayout(card_);
  layout->setContentsMargins(28, 24, 28, 20);
  layout->setSpacing(Theme::spacing * 1.5);

  title_ = new QLabel(title, card_);
  title_->setObjectName(QStringLiteral("sheetTitle"));
  title_->setFont(Theme::headingFont());
  title_->setWordWrap(true);
  title_->setAlignment(Qt::AlignHCenter);
  layout->addWidget(title_);

  message_ = new QLabel(message, card_);
  message_->setObjectName(QStringLiteral("sheetMessage"));
  message_->setWordWrap(true);
  message_->setAlignment(Qt::AlignHCenter);
  message_->setVisible(!message.isEmpty());
  layout->addWidget(message_);

  informative_ = new QLabel(card_);
  informative_->setObjectName(QStringLiteral("sheetInformative"));
  Theme::setRole(informative_, "secondary");
  informative_->setWordWrap(true);
  informative_->setAlignment(Qt::AlignHCenter);
  informative_->hide();
  layout->addWidget(informative_);

  auto *row = new QHBoxLayout;
  row->setSpacing(Theme::spacing);
  row->addStretch();
  // The default button sits on the right, the way desktop dialogs place it.
  for (int i = buttons.size() - 1; i >= 0; --i) {
    auto *button = new QPushButton(buttons.at(i), card_);
    button->setObjectName(QStringLiteral("sheetButton%1").arg(i));
    button->setMinimumWidth(96);
    button->setAutoDefault(false);
    if (i == 0)
      Theme::setRole(button, "primary");
    connect(button, &QPushButton::clicked, this, [this, i] { press(i); });
    row->addWidget(button);
    buttons_.prepend(button);
  }
  row->addStretch();
  layout->addSpacing(Theme::spacing / 2);
  layout->addLayout(row);
  // Tab goes from the default button leftwards, as the buttons read.
  for (int i = 0; i + 1 < buttons_.size(); ++i)
    setTabOrder(buttons_.at(i), buttons_.at(i + 1));

  window->installEventFilter(this);
}

void Sheet::setBody(QWidget *body) {
  auto *layout = static_cast<QVBoxLayout *>(card_->layout());
  if (body_) {
    layout->removeWidget(body_);
    body_->deleteLater();
  }
  body_ = body;
  body->setParent(card_);
  layout->insertWidget(3, body);
  fitToWindow();
}

void Sheet::setInformativeText(const QString &text) {
  informative_->setText(text);
  informative_->setVisible(!text.isEmpty());
}

QString Sheet::title() const {
  return title_->text();
}

QString Sheet::message() const {
  return message_->text();
}

Sheet *Sheet::current(const QWidget *window) {
  if (!window)
    return nullptr;
  const QList<Sheet *> sheets = window->findChildren<Sheet *>(Qt::FindDirectChildrenOnly);
  for (auto it = sheets.crbegin(); it != sheets.crend(); ++it)
    if (!(*it)->finished_ && (*it)->isVisible())
      return *it;
  return nullptr;
}

void Sheet::open() {
  previousFocus_ = QApplication::focusWidget();
  fitToWindow();
  show();
  raise();
  if (!buttons_.isEmpty())
    buttons_.first()->setFocus(Qt::ActiveWindowFocusReason);
  else
    setFocus();
}

int Sheet::exec() {
  QPointer<Sheet> guard(this);
  QEventLoop loop;
  connect(this, &Sheet::finished, &loop, [&loop](int index) { loop.exit(index); });
  open();
  const int index = loop.exec(QEventLoop::DialogExec);
  Q_UNUSED(guard);
  return index;
}

void Sheet::press(int index) {
  if (finished_)
    return;
  finished_ = true;
  result_ = index;
  hide();
  if (previousFocus_ && previousFocus_->isVisible())
    previousFocus_->setFocus();
  // The caller's answer may open the next sheet; this one is gone by then.
  if (done_)
    done_(index);
  Q_EMIT finished(index);
  close();
}

void Sheet::fitToWindow() {
  QWidget *window = parentWidget();
  if (!window)
    return;
  setGeometry(window->rect());
  const int width = qBound(360, window->width() / 3, 520);
  card_->setFixedWidth(width);
  card_->adjustSize();
  const QSize size = card_->sizeHint().expandedTo(QSize(width, 0));
  card_->setGeometry((window->width() - width) / 2,
                     qMax(60, (window->height() - size.height()) / 3), width, size.height());
}

bool Sheet::eventFilter(QObject *watched, QEvent *event) {
  if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible())
    fitToWindow();
  return QWidget::eventFilter(watched, event);
}

void Sheet::paintEvent(QPaintEvent *) {
  QPainter painter(this);
  painter.fillRect(rect(), Theme::overlay());
}

void Sheet::keyPressEvent(QKeyEvent *event) {
  if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !buttons_.isEmpty()) {
    auto *focused = qobject_cast<QPushButton *>(focusWidget());
    const int index = buttons_.indexOf(focused);
    press(index >= 0 ? index : 0);
    return;
  }
  if (event->key() == Qt::Key_Escape && !buttons_.isEmpty()) {
    press(buttons_.size() - 1);
    return;
  }
  // Keys never reach the screen under the sheet.
  event->accept();
}

bool Sheet::focusNextPrevChild(bool next) {
  // Focus goes round the card's own controls only.
  QList<QWidget *> chain;
  for (QWidget *w = nextInFocusChain(); w && w != this; w = w->nextInFocusChain())
    if (card_->isAncestorOf(w) && w->isVisible() && w->isEnabled() &&
        (w->focusPolicy() & Qt::TabFocus))
      chain << w;
  if (chain.isEmpty())
    return true;
  const int at = chain.indexOf(focusWidget());
  const int count = static_cast<int>(chain.size());
  const int to = at < 0 ? 0 : (at + (next ? 1 : count - 1)) % count;
  chain.at(to)->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
  return true;
}

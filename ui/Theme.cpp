#include "ui/Theme.h"

#include <QApplication>
#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPixmapCache>
#include <QStyle>
#include <QStyleFactory>
#include <QSvgRenderer>
#include <QWidget>

namespace Theme {

namespace {

bool gDark = false;

struct Colours {
  QColor window, surface, raised, border, text, secondary, accent, accentText, success, warning,
      error;
};

const Colours &colours() {
  static const Colours light{
      QColor(0xf4, 0xf5, 0xf7), QColor(0xff, 0xff, 0xff), QColor(0xfa, 0xfa, 0xfb),
      QColor(0xdc, 0xde, 0xe3), QColor(0x1d, 0x1f, 0x24), QColor(0x5f, 0x64, 0x6e),
      QColor(0x25, 0x63, 0xeb), QColor(0xff, 0xff, 0xff), QColor(0x15, 0x80, 0x3d),
      QColor(0xb4, 0x53, 0x09), QColor(0xc8, 0x1e, 0x1e)};
  static const Colours dark{
      QColor(0x1b, 0x1c, 0x20), QColor(0x24, 0x26, 0x2b), QColor(0x2b, 0x2d, 0x33),
      QColor(0x3a, 0x3d, 0x45), QColor(0xe8, 0xe9, 0xec), QColor(0xa3, 0xa8, 0xb3),
      QColor(0x4c, 0x8d, 0xff), QColor(0xff, 0xff, 0xff), QColor(0x4a, 0xc2, 0x6b),
      QColor(0xf0, 0xa2, 0x3a), QColor(0xff, 0x6b, 0x6b)};
  return gDark ? dark : light;
}

// The desktop's choice, read from the palette the platform theme gave the application.
bool desktopPrefersDark() {
  const QPalette palette = QApplication::palette();
  return palette.color(QPalette::Window).lightness() <
         palette.color(QPalette::WindowText).lightness();
}

QPalette makePalette() {
  const Colours &c = colours();
  QPalette p;
  p.setColor(QPalette::Window, c.window);
  p.setColor(QPalette::WindowText, c.text);
  // Unstyled check boxes and radio buttons are filled with Base and outlined by a darker
  // Window; on a dark window they need a lighter fill to be seen at all.
  p.setColor(QPalette::Base, gDark ? c.raised.lighter(145) : c.surface);
  p.setColor(QPalette::AlternateBase, c.raised);
  p.setColor(QPalette::ToolTipBase, c.raised);
  p.setColor(QPalette::ToolTipText, c.text);
  p.setColor(QPalette::PlaceholderText, c.secondary);
  p.setColor(QPalette::Text, c.text);
  p.setColor(QPalette::Button, c.raised);
  p.setColor(QPalette::ButtonText, c.text);
  p.setColor(QPalette::BrightText, c.error);
  p.setColor(QPalette::Highlight, c.accent);
  p.setColor(QPalette::HighlightedText, c.accentText);
  p.setColor(QPalette::Link, c.accent);
  p.setColor(QPalette::Light, c.raised.lighter(110));
  p.setColor(QPalette::Midlight, c.border.lighter(105));
  p.setColor(QPalette::Mid, c.border);
  p.setColor(QPalette::Dark, c.border.darker(130));
  p.setColor(QPalette::Shadow, QColor(0, 0, 0, 90));
  const QColor disabledText = gDark ? c.secondary.darker(140) : c.secondary.lighter(140);
  for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    p.setColor(QPalette::Disabled, role, disabledText);
  p.setColor(QPalette::Disabled, QPalette::Highlight, c.border);
  return p;
}

QString styleSheet() {
  const Colours &c = colours();
  const QString hover = css(gDark ? c.raised.lighter(125) : c.raised.darker(106));
  const QString accentHover = css(gDark ? c.accent.lighter(115) : c.accent.darker(112));
  return QStringLiteral(R"(
QToolTip { color: %text; background: %raised; border: 1px solid %border; padding: 4px; }
QPushButton, QToolButton { border: 1px solid %border; border-radius: 6px; background: %raised;
  color: %text; padding: 5px 14px; min-height: 20px; }
QPushButton:hover, QToolButton:hover { background: %hover; }
QPushButton:focus, QToolButton:focus { border: 2px solid %accent; padding: 4px 13px; }
QPushButton:disabled, QToolButton:disabled { color: %secondary; }
QPushButton[role="primary"], QToolButton[role="primary"] { background: %accent;
  color: %accentText; border: 1px solid %accent; font-weight: 600; }
QPushButton[role="primary"]:hover, QToolButton[role="primary"]:hover { background: %accentHover; }
QPushButton[role="primary"]:focus, QToolButton[role="primary"]:focus { border: 2px solid %text; }
QPushButton[role="danger"] { color: %error; }
QToolButton[role="flat"] { border: 1px solid transparent; background: transparent; padding: 4px; }
QToolButton[role="flat"]:hover { background: %hover; }
QToolButton[role="flat"]:focus { border: 2px solid %accent; padding: 3px; }
QToolButton[role="step"] { border: 1px solid transparent; background: transparent;
  padding: 6px 14px; border-radius: 16px; color: %secondary; font-weight: 600; }
QToolButton[role="step"]:hover { background: %hover; color: %text; }
QToolButton[role="step"]:checked { background: %accent; color: %accentText; }
QToolButton[role="step"]:focus { border: 2px solid %accent; padding: 5px 13px; }
QToolButton[role="step"]:checked:focus { border: 2px solid %ring; }
QToolButton[role="window"] { border: none; background: transparent; border-radius: 6px;
  padding: 6px; min-height: 0; }
QToolButton[role="window"]:hover { background: %hover; }
QToolButton[role="window"]:focus { border: 2px solid %accent; padding: 4px; }
QToolButton#btnCloseWindow:hover { background: %error; }
QLineEdit, QSpinBox, QDateTimeEdit, QComboBox { border: 1px solid %border; border-radius: 6px;
  padding: 4px 8px; background: %surface; color: %text; min-height: 20px;
  selection-background-color: %accent; }
QLineEdit:focus, QSpinBox:focus, QDateTimeEdit:focus, QComboBox:focus { border: 2px solid %accent;
  padding: 3px 7px; }
QProgressBar { border: none; border-radius: 4px; background: %border; max-height: 8px;
  text-align: center; }
QProgressBar::chunk { border-radius: 4px; background: %accent; }
QHeaderView::section { background: %raised; color: %secondary; border: none;
  border-bottom: 1px solid %border; padding: 6px 8px; font-weight: 600; }
QAbstractItemView { border: 1px solid %border; border-radius: 8px; background: %surface;
  alternate-background-color: %raised; selection-background-color: %accent;
  selection-color: %accentText; }
QAbstractItemView:focus { border: 1px solid %accent; }
QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }
QScrollBar::handle:vertical { background: %border; border-radius: 3px; min-height: 32px; }
QScrollBar::handle:vertical:hover { background: %secondary; }
QScrollBar:horizontal { background: transparent; height: 10px; margin: 2px; }
QScrollBar::handle:horizontal { background: %border; border-radius: 3px; min-width: 32px; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
QFrame[role="card"] { background: %surface; border: 1px solid %border; border-radius: 10px; }
QFrame[role="titlebar"] { background: %raised; border: none; border-bottom: 1px solid %border; }
QLabel[role="secondary"] { color: %secondary; }
QLabel[role="error"] { color: %error; }
)")
      .replace(QLatin1String("%accentHover"), accentHover)
      .replace(QLatin1String("%ring"), css(gDark ? c.accent.lighter(150) : c.accent.darker(160)))
      .replace(QLatin1String("%accentText"), css(c.accentText))
      .replace(QLatin1String("%accent"), css(c.accent))
      .replace(QLatin1String("%text"), css(c.text))
      .replace(QLatin1String("%raised"), css(c.raised))
      .replace(QLatin1String("%border"), css(c.border))
      .replace(QLatin1String("%surface"), css(c.surface))
      .replace(QLatin1String("%secondary"), css(c.secondary))
      .replace(QLatin1String("%hover"), hover)
      .replace(QLatin1String("%error"), css(c.error));
}

// The roles the pictures name instead of colours (see scripts/make-icons).
void fillRoleColours(QByteArray &svg, const QColor &current) {
  svg.replace("currentColor", current.name().toLatin1());
  svg.replace("accentColor", accent().name().toLatin1());
  svg.replace("trackColor", border().name().toLatin1());
  svg.replace("successColor", success().name().toLatin1());
  svg.replace("warningColor", warning().name().toLatin1());
  svg.replace("errorColor", error().name().toLatin1());
  svg.replace("surfaceColor", surface().name().toLatin1());
}

// Renders an SVG of the resource file with its "currentColor" drawn in a tint, at whatever
// size and scale the icon is asked for.
class TintedSvgEngine : public QIconEngine {
public:
  TintedSvgEngine(QByteArray svg, QColor tint, QColor disabled)
      : svg_(std::move(svg)), tint_(std::move(tint)), disabled_(std::move(disabled)) {}

  void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override {
    QByteArray data = svg_;
    fillRoleColours(data, mode == QIcon::Disabled ? disabled_ : tint_);
    QSvgRenderer renderer(data);
    if (mode == QIcon::Disabled)
      painter->setOpacity(0.45);
    QSizeF size = renderer.defaultSize();
    size.scale(rect.size(), Qt::KeepAspectRatio);
    const QRectF target(rect.x() + (rect.width() - size.width()) / 2,
                        rect.y() + (rect.height() - size.height()) / 2, size.width(),
                        size.height());
    renderer.render(painter, target);
  }

  QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override {
    return scaledPixmap(size, mode, state, 1.0);
  }

  // size is in device pixels already (QIcon::pixmap multiplies it by scale).
  QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state,
                       qreal scale) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    {
      QPainter painter(&pixmap);
      painter.setRenderHint(QPainter::Antialiasing);
      paint(&painter, QRect(QPoint(0, 0), size), mode, state);
    }
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
  }

  QIconEngine *clone() const override { return new TintedSvgEngine(svg_, tint_, disabled_); }

private:
  QByteArray svg_;
  QColor tint_;
  QColor disabled_;
};

QByteArray resourceSvg(const QString &name) {
  initResources();
  static QHash<QString, QByteArray> cache;
  const auto found = cache.constFind(name);
  if (found != cache.cend())
    return *found;
  QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
  QByteArray data;
  if (file.open(QIODevice::ReadOnly))
    data = file.readAll();
  cache.insert(name, data);
  return data;
}

} // namespace

void apply(QApplication &application) {
  initResources();
  const QByteArray forced = qgetenv("QUILLMERE_THEME").toLower();
  if (forced == "dark")
    gDark = true;
  else if (forced == "light")
    gDark = false;
  else
    gDark = desktopPrefersDark();
  // Fusion draws the same on every desktop and takes the palette whole.
  application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  application.setPalette(makePalette());
  application.setStyleSheet(styleSheet());
  QFont font = application.font();
  if (font.pointSizeF() < 10)
    font.setPointSizeF(10);
  application.setFont(font);
}

bool isDark() {
  return gDark;
}

QColor accent() {
  return colours().accent;
}
QColor accentText() {
  return colours().accentText;
}
QColor window() {
  return colours().window;
}
QColor surface() {
  return colours().surface;
}
QColor surfaceRaised() {
  return colours().raised;
}
QColor border() {
  return colours().border;
}
QColor text() {
  return colours().text;
}
QColor secondaryText() {
  return colours().secondary;
}
QColor success() {
  return colours().success;
}
QColor warning() {
  return colours().warning;
}
QColor error() {
  return colours().error;
}
QColor overlay() {
  return gDark ? QColor(0, 0, 0, 150) : QColor(20, 22, 28, 110);
}

QString css(const QColor &colour) {
  if (colour.alpha() == 255)
    return colour.name();
  return QStringLiteral("rgba(%1, %2, %3, %4)")
      .arg(colour.red())
      .arg(colour.green())
      .arg(colour.blue())
      .arg(colour.alpha());
}

QFont titleFont() {
  QFont font = QApplication::font();
  font.setPointSizeF(font.pointSizeF() * 1.4);
  font.setWeight(QFont::DemiBold);
  return font;
}

QFont headingFont() {
  QFont font = QApplication::font();
  font.setPointSizeF(font.pointSizeF() * 1.1);
  font.setWeight(QFont::DemiBold);
  font.setLetterSpacing(QFont::PercentageSpacing, 104);
  return font;
}

QFont bodyFont() {
  return QApplication::font();
}

QFont captionFont() {
  QFont font = QApplication::font();
  font.setPointSizeF(font.pointSizeF() * 0.9);
  return font;
}

QIcon icon(const QString &name, const QColor &tint) {
  const QByteArray svg = resourceSvg(name);
  if (svg.isEmpty())
    return {};
  const QColor colour = tint.isValid() ? tint : text();
  return QIcon(new TintedSvgEngine(svg, colour, colour));
}

QPixmap picture(const QString &name, const QSize &size, qreal devicePixelRatio) {
  QString base = name;
  if (base.endsWith(QLatin1String(".png"), Qt::CaseInsensitive))
    base.chop(4);
  const QString key = QStringLiteral("quillmere-picture:%1:%2x%3@%4")
                          .arg(base)
                          .arg(size.width())
                          .arg(size.height())
                          .arg(devicePixelRatio);
  QPixmap pixmap;
  if (QPixmapCache::find(key, &pixmap))
    return pixmap;
  QByteArray svg = resourceSvg(base);
  if (svg.isEmpty())
    svg = resourceSvg(QStringLiteral("fill_1"));
  // Pictures draw their neutral strokes in the secondary text colour.
  fillRoleColours(svg, secondaryText());
  QSvgRenderer renderer(svg);
  pixmap = QPixmap(size * devicePixelRatio);
  pixmap.fill(Qt::transparent);
  {
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(size * devicePixelRatio)));
  }
  pixmap.setDevicePixelRatio(devicePixelRatio);
  QPixmapCache::insert(key, pixmap);
  return pixmap;
}

void setRole(QWidget *widget, const char *role) {
  widget->setProperty("role", QString::fromLatin1(role));
  widget->style()->unpolish(widget);
  widget->style()->polish(widget);
}

} // namespace Theme

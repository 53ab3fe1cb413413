#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QString>

class QApplication;
class QWidget;

// The look shared by every screen: the palette (light or dark, following the desktop unless
// QUILLMERE_THEME=light|dark forces one), accent and status colours, spacing and fonts, and
// the icons of the resource file tinted for the palette. Screens take colours from here
// instead of writing their own.
namespace Theme {

// Registers the pictures of resources/*.qrc (they live in a static library); idempotent.
void initResources();
// Sets the style, palette and style sheet of the application. Called once, before any window.
void apply(QApplication &application);
// The palette in use is dark.
bool isDark();

// --- Colours ---
QColor accent();        // buttons that go on, selection, progress
QColor accentText();    // text on accent()
QColor window();        // the window's background
QColor surface();       // cards, panels and lists on window()
QColor surfaceRaised(); // headers, the title bar
QColor border();        // hairlines between areas
QColor text();          // body text
QColor secondaryText(); // captions, hints, summaries
QColor success();       // processed, ready
QColor warning();       // warnings
QColor error();         // errors, the red note
QColor overlay();       // the veil behind a sheet
// "#rrggbb" of a colour, for style sheets.
QString css(const QColor &colour);

// --- Metrics (logical pixels; Qt scales them) ---
constexpr int spacing = 8; // the unit of every gap
constexpr int radius = 8;  // corners of cards and buttons
constexpr int titleBarHeight = 48;
constexpr int controlHeight = 32;

// --- Fonts ---
QFont titleFont();   // screen titles
QFont headingFont(); // panel titles (upper case texts)
QFont bodyFont();
QFont captionFont(); // secondary lines

// --- Icons ---
// An icon of resources/ui.qrc by name without extension ("tick", "grid_view"), drawn in
// tint (text() when invalid) and sharp at any scale. Multi-colour pictures keep their
// colours.
QIcon icon(const QString &name, const QColor &tint = {});
// The picture of a resource name as the engine gives it ("fill_70", "fill_1.png",
// "not_av_big.png"), at size logical pixels for widget's scale.
QPixmap picture(const QString &name, const QSize &size, qreal devicePixelRatio = 1.0);

// Applies the "role" property used by the style sheet (e.g. "primary", "flat", "danger") and
// repolishes the widget.
void setRole(QWidget *widget, const char *role);

} // namespace Theme

#include "ui/Theme.h"

#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <gtest/gtest.h>

namespace {

// Share of pixels that are not transparent.
double coverage(const QImage &image) {
  int drawn = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (qAlpha(image.pixel(x, y)) > 0)
        ++drawn;
  return static_cast<double>(drawn) / (image.width() * image.height());
}

} // namespace

// Every picture the screens name is in the resource file and is drawn, at 100% and at 200%,
// under the names the engine gives (with or without ".png").
TEST(Theme, EveryNamedPictureIsDrawnSharpAtAnyScale) {
  QStringList names = {"not_av_big.png",     "fill_1.png",           "checked_sq_icon.png",
                       "unchecked_icon.png", "all_correct.png",      "error_button.png",
                       "warning_button.png", "thumbview_icon.png",   "thumbview_active_icon",
                       "listview_icon",      "listview_active_icon", "tick",
                       "status_skipped",     "status_pending",       "org.quillmere.Quillmere"};
  for (int n = 0; n <= 105; ++n)
    names << QStringLiteral("fill_%1").arg(n);
  for (const QString &name : std::as_const(names)) {
    SCOPED_TRACE(name.toStdString());
    const QPixmap one = Theme::picture(name, QSize(32, 32), 1.0);
    const QPixmap two = Theme::picture(name, QSize(32, 32), 2.0);
    ASSERT_FALSE(one.isNull());
    EXPECT_EQ(two.size(), QSize(64, 64)); // drawn at the device's pixels, not scaled up
    EXPECT_EQ(two.devicePixelRatio(), 2.0);
    if (name != QStringLiteral("fill_0") && name != QStringLiteral("fill_1.png")) {
      EXPECT_GT(coverage(two.toImage()), 0.02);
    }
  }
  // The rings fill up with the percentage.
  EXPECT_LT(coverage(Theme::picture(QStringLiteral("fill_10"), QSize(64, 64)).toImage()),
            coverage(Theme::picture(QStringLiteral("fill_90"), QSize(64, 64)).toImage()));
}

TEST(Theme, IconsTakeTheirTintAndScale) {
  for (const QString name : {"window_close", "window_minimize", "window_zoom", "window_restore",
                             "thumbview_icon", "listview_icon"}) {
    SCOPED_TRACE(name.toStdString());
    const QIcon icon = Theme::icon(name, QColor(Qt::red));
    ASSERT_FALSE(icon.isNull());
    const QImage image = icon.pixmap(QSize(24, 24), 2.0).toImage();
    EXPECT_EQ(image.size(), QSize(48, 48));
    bool red = false, other = false;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) {
        const QColor c = image.pixelColor(x, y);
        if (c.alpha() < 200)
          continue;
        (c.red() > 200 && c.green() < 60 && c.blue() < 60 ? red : other) = true;
      }
    EXPECT_TRUE(red);
    EXPECT_FALSE(other);
  }
  EXPECT_TRUE(Theme::icon(QStringLiteral("no_such_icon")).isNull());
}

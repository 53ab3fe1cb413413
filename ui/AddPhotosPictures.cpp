#include "ui/AddPhotosPictures.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QStringList>

namespace AddPhotosPictures {

namespace {

QString baseName(const QString &name) {
  QString base = name;
  if (base.endsWith(QLatin1String(".png")) || base.endsWith(QLatin1String(".svg")))
    base.chop(4);
  return base;
}

// The not-available picture drawn by hand: a photo frame crossed out.
QImage drawnNotAvailable() {
  QImage image(256, 256, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  const QColor grey(140, 140, 140);
  p.setPen(QPen(grey, 10, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  p.drawRoundedRect(QRectF(38, 58, 180, 140), 14, 14);
  p.setPen(QPen(QColor(214, 69, 65), 14, Qt::SolidLine, Qt::RoundCap));
  p.drawLine(QPointF(70, 80), QPointF(186, 176));
  p.drawLine(QPointF(186, 80), QPointF(70, 176));
  return image;
}

// The progress picture fill_N drawn by hand: a ring filled to N per cent (105 is complete).
QImage drawnFill(int percent) {
  QImage image(128, 128, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF ring(12, 12, 104, 104);
  p.setPen(QPen(QColor(128, 128, 128, 70), 12));
  p.drawEllipse(ring);
  p.setPen(QPen(QColor(47, 128, 237), 12, Qt::SolidLine, Qt::RoundCap));
  const int span = std::min(percent, 100) * 360 * 16 / 100;
  p.drawArc(ring, 90 * 16, -span);
  return image;
}

} // namespace

bool exists(const QString &name) {
  return !Theme::picture(baseName(name), QSize(8, 8)).isNull();
}

QImage image(const QString &name) {
  const QPixmap drawn = Theme::picture(baseName(name), QSize(256, 256));
  if (!drawn.isNull())
    return drawn.toImage();
  if (name.startsWith(QLatin1String("not_av_big")))
    return drawnNotAvailable();
  if (name.startsWith(QLatin1String("fill_")))
    return drawnFill(baseName(name).mid(5).toInt());
  return {};
}

QIcon icon(const QString &name) {
  const QIcon themed = Theme::icon(baseName(name));
  if (!themed.isNull())
    return themed;
  return QIcon(QPixmap::fromImage(image(name)));
}

} // namespace AddPhotosPictures

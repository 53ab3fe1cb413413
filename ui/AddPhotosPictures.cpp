#include "ui/AddPhotosPictures.h"

#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QStringList>

namespace AddPhotosPictures {

namespace {

QString resourcePath(const QString &name) {
  QString base = name;
  if (base.endsWith(QLatin1String(".png")) || base.endsWith(QLatin1String(".svg")))
    base.chop(4);
  static const QStringList folders = {QStringLiteral(":/icons/"), QStringLiteral(":/"),
                                      QStringLiteral(":/icons/addphotos/"),
                                      QStringLiteral(":/images/")};
  static const QStringList suffixes = {QStringLiteral(".svg"), QStringLiteral(".png")};
  for (const QString &folder : folders)
    for (const QString &suffix : suffixes) {
      const QString path = folder + base + suffix;
      if (QFile::exists(path))
        return path;
    }
  return {};
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
  return !resourcePath(name).isEmpty();
}

QImage image(const QString &name) {
  const QString path = resourcePath(name);
  if (!path.isEmpty()) {
    QImage loaded(path);
    if (!loaded.isNull())
      return loaded;
  }
  if (name.startsWith(QLatin1String("not_av_big")))
    return drawnNotAvailable();
  if (name.startsWith(QLatin1String("fill_"))) {
    QString digits = name.mid(5);
    digits.remove(QLatin1String(".png"));
    return drawnFill(digits.toInt());
  }
  return {};
}

QIcon icon(const QString &name) {
  const QString path = resourcePath(name);
  if (!path.isEmpty())
    return QIcon(path);
  return QIcon(QPixmap::fromImage(image(name)));
}

} // namespace AddPhotosPictures

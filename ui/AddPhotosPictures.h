#pragma once

#include <QIcon>
#include <QImage>
#include <QString>

// The named pictures of the add-photos screen ("not_av_big.png", "fill_70", the view-mode
// icons), looked up in the application's resources by the name the screen uses, with or
// without its ".png"; a picture drawn here stands in when the resources lack one, so the
// screen never shows an empty cell.
namespace AddPhotosPictures {

QImage image(const QString &name);
QIcon icon(const QString &name);
// True when the resources hold a picture of that name.
bool exists(const QString &name);

} // namespace AddPhotosPictures

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

// The newer output formats (WebP, AVIF, HEIC, JPEG XL) are written by libvips through
// libwebp, libheif and libjxl, which a system may have built without one of their encoders.
// Whether each is really there is found out by writing a tiny picture once, at first use.
namespace platform::EncoderSupport {

// "webp", "avif", "heic", "jxl": the format list's names of the newer formats, in its order.
const QStringList &modernFormats();

// Whether the running system can write the format named as in the format list. The older
// formats (and "Keep original format", "pdf") always can.
bool canEncode(const QString &format);

// The message of a setting that asks for a format the system cannot write.
QString unavailableMessage(const QString &format);

// Test hook: formats treated as missing from now on (empty: the system's own answer).
void setMissingForTesting(const QStringList &formats);

// A JPEG XL codestream in the ISO base media container with its "Exif" and "xml " boxes, so
// the photo's EXIF and XMP travel with it (libjxl's codestream alone holds the colour profile
// but no metadata). Empty exifTiff and xmp give the container with the codestream only.
QByteArray jxlContainer(QByteArrayView codestream, QByteArrayView exifTiff, QByteArrayView xmp);

} // namespace platform::EncoderSupport

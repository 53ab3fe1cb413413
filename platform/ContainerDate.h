#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QIODevice>
#include <QString>

#include <optional>

// The creation date an ISO base media file (HEIF, image sequences, QuickTime) keeps in its
// own boxes rather than in EXIF or XMP: the QuickTime metadata key
// "com.apple.quicktime.creationdate" (local time with its zone offset) first, else the movie
// header's creation time (UTC, shown in local time). Only box headers and the few small boxes
// that hold dates are read, so a large file costs a handful of seeks.
namespace platform::ContainerDate {

struct Found {
  QDateTime wallClock; // the local time the photo was taken, like EXIF's
  QString zoneOffset;  // "+02:00" when the file gives one
  bool fromQuickTimeKeys = false;
};

std::optional<Found> read(QIODevice &device);
std::optional<Found> readFile(const QString &path);
std::optional<Found> readBuffer(const QByteArray &bytes);

} // namespace platform::ContainerDate

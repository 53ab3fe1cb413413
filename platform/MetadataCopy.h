#pragma once

#include "platform/EncodedFile.h"

#include <QByteArray>
#include <QString>

// Carries a photo's EXIF, IPTC and XMP from its source file into a freshly encoded output
// (JPEG, PNG, TIFF, JPEG 2000, WebP), with Exiv2, and embeds the ICC profile its pixels are
// in. The encoder writes pixels only; this step adds what describes them.
namespace platform::MetadataCopy {

struct Options {
  bool carryMetadata = true;     // the source's EXIF, IPTC and XMP; false: the profile only
  bool resetOrientation = false; // "Orientation" 1 in IFD0 and XMP (the pixels are upright)
  int pixelWidth = 0;            // the output's size, written over the EXIF pixel dimensions
  int pixelHeight = 0;
  QByteArray colourProfile; // an ICC profile to embed; empty: none (the pixels are sRGB)
  // "YYYY:MM:DD HH:MM:SS" written over the carried DateTimeOriginal and CreateDate (a camera
  // clock corrected by the user); empty: the source's dates as they are.
  QString takenDate;
};

// Replaces the encoded output with the same file carrying the source's metadata and the
// colour profile, rewritten in memory so the file is written once, metadata and all. False
// (with *reason) when the output could not be rewritten; a source without readable metadata
// is not an error: there is simply nothing to carry.
bool copyIntoEncoded(const QString &source, EncodedFile *encoded, const Options &options,
                     QString *reason = nullptr);

// The source's metadata fit for the output as the blobs libvips' savers attach: the EXIF as a
// TIFF structure (no "Exif" header) and the XMP packet, each empty when the source has none.
// For containers Exiv2 cannot rewrite (HEIF, AVIF, JPEG XL). False (with *reason) when
// Exiv2 fails on metadata it could read.
bool metadataBlobs(const QString &source, const Options &options, QByteArray *exifTiff,
                   QByteArray *xmpPacket, QString *reason = nullptr);

// Test and diagnosis helper: the text value of one Exiv2 key ("Exif.Image.Orientation",
// "Xmp.tiff.Orientation", "Iptc.Application2.Keywords"), empty when absent or unreadable.
QString readValue(const QString &path, const QString &key);

// Test and diagnosis helper: the ICC profile embedded in the file, empty when none.
QByteArray readColourProfile(const QString &path);

} // namespace platform::MetadataCopy

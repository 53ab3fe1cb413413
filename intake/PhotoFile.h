#pragma once

#include <QDateTime>
#include <QString>

#include <memory>
#include <vips/vips8>

// One photo of the batch. Records are owned by the batch list; only processStatus and
// processInfoMessage change after the record joins the batch (the batch run writes them).
class PhotoFile {
public:
  // The record of the file at path; lib marks a photo taken from a photo library. Never
  // fails: a file whose image properties cannot be read gets width and height 0, which the
  // add run takes as damaged or unsupported.
  static std::shared_ptr<PhotoFile> initWithFileUrl(const QString &path, bool isIphoto);

  QString filePath;
  QString fileName;
  QString fileExtension; // case kept, no dot
  double width = 0;      // as displayed: swapped for the quarter-turn orientations
  double height = 0;
  QString fileSizeAsString;
  double fileSizeInBytes = 0;
  QDateTime fileCreationDate;
  QDateTime fileModifiedDate;
  QString fileContainerFolderName;
  // The add-photos screen keeps thumbnails in its own cache keyed by filePath, so this stays
  // empty.
  vips::VImage thumbnailImg;
  QString fileURL; // the same text as filePath
  double rep_width = 0;
  double rep_height = 0;
  bool isIphotosNode = false;
  qint32 processStatus = 0; // 0 not processed, 1 processed, 2 error, 3 skipped
  QString processInfoMessage;
  // When the record joined a batch: ties in a sorted batch keep this order, and the "as
  // added" order restores it.
  quint64 addedOrder = nextAddedOrder();
  static quint64 nextAddedOrder();

  // The capture date in the file's EXIF (invalid when it has none), for the taken-date
  // stamp. Read once and kept with the file's size and modification time: a later call reads
  // the file again only when either has changed, so a preview pass does not open every photo
  // again. Safe to call from several threads.
  QDateTime captureDateOfFile() const { return captureDateOfFile(nullptr, nullptr); }
  // The same, with which of the file's dates gave it (an ExifInfo::DateSource) and the zone
  // offset the file gives with it; both are kept with the date.
  QDateTime captureDateOfFile(int *source, QString *zoneOffset) const;

private:
  mutable qint64 captureDateSize_ = -1; // -1: not read yet
  mutable qint64 captureDateModifiedNs_ = 0;
  mutable QDateTime captureDate_;
  mutable int captureDateSource_ = 0;
  mutable QString captureZoneOffset_;
};

namespace intake {

// The rule that turns the stored pixel size into the displayed one: EXIF orientations 5 to 8
// turn the picture by a quarter, so width and height trade places.
void displayedSize(int orientation, double pixelWidth, double pixelHeight, double *width,
                   double *height);

// The size of an EPS file from its "%%BoundingBox:" comment (also inside a DOS EPS binary
// wrapper, and at the end when the header defers it with "(atend)"); false when none is found.
bool encapsulatedPostScriptSize(const QString &path, double *width, double *height);

// The size of a PICT file as the image library's PICT reader sees it; false when the reader
// is missing, refused by policy, or cannot read the file.
bool pictSize(const QString &path, double *width, double *height);

} // namespace intake

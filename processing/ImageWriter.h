#pragma once

#include "platform/EncodedFile.h"
#include "processing/RunSettings.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

#include <vips/vips8>

class PhotoFile;

// What one write ended with. status and message are what the run records for the photo:
// 1 "File processed successfully"; 3 when a file appeared at the destination and overwriting
// is off; 2 when the photo could not be encoded or its file not written, the message then
// saying why in one line. produced tells whether this write put a file in place, and reason
// why not when it did not.
struct WriteReport {
  qint32 status = 1;
  QString message = QStringLiteral("File processed successfully");
  bool produced = false;
  QString reason;
  // The output was removed because the run was stopped during compression: the photo
  // counts as not processed.
  bool removedOnStop = false;
};

// The image writer: one loaded photo into its output file. Every output is encoded into a
// temporary file in the destination folder and renamed into place, so no file ever carries
// its final name half-written.
class ImageWriter {
public:
  RunSettings settings;

  // The compression handshake with the run driver: called with true before the compressor
  // starts and false once it is done; then stopRequested is asked, and when it answers true
  // the output is removed and stopProcessAfterCompletionCompression is called.
  std::function<void(bool)> setCompressionInProgress;
  std::function<bool()> takeStopRequestWhileCompression;
  std::function<void()> stopProcessAfterCompletionCompression;
  // Called for each photo whose output this writer put in place, after the source has gone
  // to the trash in move mode: the source, the output, where the source went in the trash
  // and where a replaced file went (each empty when none). The run's journal listens.
  std::function<void(const QString &source, const QString &output, const QString &sourceInTrash,
                     const QString &replacedInTrash)>
      onWritten;

  // The entry point for every photo that is to be written. encoded, when given, is what
  // encodeAhead made of this photo for this destination: the still-image path then only
  // puts it in place.
  WriteReport saveImgInDirectoryFilteredImg(const vips::VImage &image, const QString &newPath,
                                            int repType, const PhotoFile &photo,
                                            const EncodedFile *encoded = nullptr);
  // The still-image path; false (with *reason) when no file was put in place.
  bool saveImageUsingDefaultMethodInDirectoryFilteredImg(const vips::VImage &image,
                                                         const QString &newPath, int repType,
                                                         const PhotoFile &photo, QString *reason,
                                                         bool *alreadyExists,
                                                         const EncodedFile *encoded = nullptr);
  // The file the still-image path would write for the photo, properties included, made in
  // memory ahead of the photo's turn (it touches no file but the source it reads). None when
  // the photo takes the PDF path or the compression branch, or cannot be encoded: its turn
  // then does the whole job. Safe on any thread while the run writes other photos.
  // properties are the source's (getImageeExifDict), read once by the caller.
  std::optional<EncodedFile> encodeAhead(const vips::VImage &image, const QString &newPath,
                                         int repType, const PhotoFile &photo,
                                         const QVariantMap &properties) const;
  // Whether a destination takes the still-image path (else the PDF path).
  static bool takesStillImagePath(const QString &newPath);
  // The PDF path: a page appended to the document at newPath, or a new document.
  bool saveImageUsingImageMagick(const vips::VImage &image, const QString &newPath,
                                 const PhotoFile &photo, QString *reason, bool *alreadyExists);
  // The image as a one-page document "singlePagePdfDoc.pdf" in folder, or, when that name is
  // taken, "singlePagePdfDoc N.pdf" with the first free N: an existing document is never
  // replaced. The path written, or empty when nothing was.
  QString createSinglePagePdfDocAtPath(const QString &folder, const vips::VImage &image);

  // The photo's messages of a failed write.
  static QString encoderFailedMessage(const QString &reason);
  static QString notWrittenMessage(const QString &reason);
  static QString notDecodedMessage();

  // The encoder's quality factor for the settings (the quality branch, else 0.98).
  static float qualityFactor(const RunSettings &settings);
  // Whether the settings take the quality branch (keep original, jpg, jpeg, jp2, webp, avif,
  // heic, jxl).
  static bool usesQualityBranch(const RunSettings &settings);
  // The JPEG quality of a PDF page: 82, or chosen by compressionRatio (0-9: 90 down to 27)
  // when the compression check box is on.
  static int pdfPageQuality(const RunSettings &settings);
  // The representation type that a destination extension names (case-insensitive), or -1.
  static int repTypeForExtension(const QString &extension);
  // The application's picture folder ("Quillmere" in the user's Pictures folder).
  static QString pictureFolderPath();

private:
  // An overwrite moves the file it replaces to the trash first, so the run can be undone;
  // the file comes back when nothing could be put in its place.
  void keepReplacedFile(const QString &newPath);
  void restoreReplacedFile(const QString &newPath);
  QString replacedInTrash_;
  // How the still-image path writes a photo: the encoder and its quality, or the compressor.
  struct StillPlan {
    int repType = 0;
    float factor = 0.98f;
    bool compression = false; // through an intermediate PNG and the compressor
  };
  StillPlan stillPlan(const QString &newPath, int repType) const;
  // The photo's capture date moved by the settings' clock correction, as EXIF writes it, when
  // the run writes it into the outputs; empty otherwise (no correction, or no capture date).
  QString writtenTakenDate(const PhotoFile &photo) const;
  // The bitmap the encoders take, turned by hand when automatic correction is off, with the
  // source's properties.
  struct Bitmap {
    vips::VImage bitmap;
    QVariantMap properties;
    int orientation = 0;
  };
  static Bitmap bitmapForWriting(const vips::VImage &image, const QVariantMap &properties);
  // The encoded file put in place through a temporary file in the destination folder.
  bool commitStill(const EncodedFile &encoded, const QString &newPath, QString *reason,
                   bool *alreadyExists);
  void makePictureFolderIfNeeded(const QString &newPath);
  bool removedOnStop_ = false;
  // Where the last failed write failed: its encoder, or putting its file in place.
  enum class Failure { None, Encoding, Writing };
  Failure failure_ = Failure::None;
};

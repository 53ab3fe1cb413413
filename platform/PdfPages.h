#pragma once

#include <QByteArray>
#include <QString>

// PDF documents built with qpdf: a page made of one JPEG picture, appended after the last
// page of an existing document or starting a new one.
namespace platform::PdfPages {

struct JpegPicture {
  QByteArray bytes; // a complete baseline or progressive JPEG stream
  int width = 0;    // pixels
  int height = 0;
  int components = 3; // 1 grey, 3 RGB
  double dpiX = 72;   // the page measures the picture at this resolution
  double dpiY = 72;
  // The ICC profile the picture's colours are in, given to the page as an ICC-based colour
  // space; empty, or not of the picture's components: device RGB or grey.
  QByteArray colourProfile;
};

// Reads the document at pdfPath when one exists (else starts an empty one), appends one page
// showing picture over the whole page, and writes the result to outputPath. False (with
// *reason) when the existing document cannot be read or the result cannot be written.
bool appendJpegPage(const QString &pdfPath, const QString &outputPath, const JpegPicture &picture,
                    QString *reason = nullptr);

// Test and diagnosis helper: the number of pages, or -1 when the file is no readable PDF.
int pageCount(const QString &pdfPath);

// Test and diagnosis helper: the ICC profile of the colour space of the picture on page
// pageIndex (from 0); empty when the picture's colour space is not ICC-based or the page
// has no picture.
QByteArray pagePictureProfile(const QString &pdfPath, int pageIndex);

} // namespace platform::PdfPages

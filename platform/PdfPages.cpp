#include "platform/PdfPages.h"

#include <QFile>
#include <QFileInfo>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include <cstdio>

namespace platform::PdfPages {

namespace {

std::string nativePath(const QString &path) {
  return QFile::encodeName(path).toStdString();
}

std::string number(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.4f", value);
  return text;
}

// The number of components an ICC profile describes, from its header's colour space; 0 for a
// space a page picture cannot be in.
int profileComponents(const QByteArray &profile) {
  if (profile.size() < 128)
    return 0;
  const QByteArray space = profile.mid(16, 4);
  if (space == "RGB ")
    return 3;
  if (space == "GRAY")
    return 1;
  return 0;
}

QPDFObjectHandle colourSpace(QPDF &pdf, const JpegPicture &picture) {
  const char *device = picture.components == 1 ? "/DeviceGray" : "/DeviceRGB";
  if (profileComponents(picture.colourProfile) != picture.components)
    return QPDFObjectHandle::newName(device);
  // Written as it stands; the writer compresses it with the rest of the document.
  QPDFObjectHandle profile = QPDFObjectHandle::newStream(
      &pdf, std::string(picture.colourProfile.constData(), size_t(picture.colourProfile.size())));
  profile.getDict().replaceKey("/N", QPDFObjectHandle::newInteger(picture.components));
  profile.getDict().replaceKey("/Alternate", QPDFObjectHandle::newName(device));
  QPDFObjectHandle space = QPDFObjectHandle::newArray();
  space.appendItem(QPDFObjectHandle::newName("/ICCBased"));
  space.appendItem(profile);
  return space;
}

} // namespace

bool appendJpegPage(const QString &pdfPath, const QString &outputPath, const JpegPicture &picture,
                    QString *reason) {
  if (picture.bytes.isEmpty() || picture.width <= 0 || picture.height <= 0) {
    if (reason)
      *reason = QStringLiteral("no picture for the page");
    return false;
  }
  try {
    // qpdf keeps the file names it is given as pointers: they must outlive the calls.
    const std::string inputName = nativePath(pdfPath);
    const std::string outputName = nativePath(outputPath);
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    if (QFileInfo(pdfPath).isFile())
      pdf.processFile(inputName.c_str());
    else
      pdf.emptyPDF();

    QPDFObjectHandle image = QPDFObjectHandle::newStream(
        &pdf, std::string(picture.bytes.constData(), size_t(picture.bytes.size())));
    QPDFObjectHandle imageDict = image.getDict();
    imageDict.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    imageDict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
    imageDict.replaceKey("/Width", QPDFObjectHandle::newInteger(picture.width));
    imageDict.replaceKey("/Height", QPDFObjectHandle::newInteger(picture.height));
    imageDict.replaceKey("/ColorSpace", colourSpace(pdf, picture));
    imageDict.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(8));
    imageDict.replaceKey("/Filter", QPDFObjectHandle::newName("/DCTDecode"));

    const double pageWidth = picture.width * 72.0 / (picture.dpiX > 0 ? picture.dpiX : 72.0);
    const double pageHeight = picture.height * 72.0 / (picture.dpiY > 0 ? picture.dpiY : 72.0);
    const std::string drawing =
        "q " + number(pageWidth) + " 0 0 " + number(pageHeight) + " 0 0 cm /Im1 Do Q\n";
    QPDFObjectHandle contents = QPDFObjectHandle::newStream(&pdf, drawing);

    QPDFObjectHandle xobjects = QPDFObjectHandle::newDictionary();
    xobjects.replaceKey("/Im1", image);
    QPDFObjectHandle resources = QPDFObjectHandle::newDictionary();
    resources.replaceKey("/XObject", xobjects);
    resources.replaceKey("/ProcSet", QPDFObjectHandle::parse("[/PDF /ImageC /ImageB]"));

    QPDFObjectHandle mediaBox = QPDFObjectHandle::newArray();
    mediaBox.appendItem(QPDFObjectHandle::newInteger(0));
    mediaBox.appendItem(QPDFObjectHandle::newInteger(0));
    mediaBox.appendItem(QPDFObjectHandle::newReal(pageWidth, 4));
    mediaBox.appendItem(QPDFObjectHandle::newReal(pageHeight, 4));

    QPDFObjectHandle page = QPDFObjectHandle::newDictionary();
    page.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    page.replaceKey("/MediaBox", mediaBox);
    page.replaceKey("/Resources", resources);
    page.replaceKey("/Contents", contents);
    page = pdf.makeIndirectObject(page);

    QPDFPageDocumentHelper(pdf).addPage(QPDFPageObjectHelper(page), false);

    QPDFWriter writer(pdf, outputName.c_str());
    writer.setStaticID(false);
    writer.write();
    return true;
  } catch (const std::exception &error) {
    if (reason)
      *reason = QString::fromLocal8Bit(error.what());
    return false;
  }
}

int pageCount(const QString &pdfPath) {
  try {
    const std::string name = nativePath(pdfPath);
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    pdf.processFile(name.c_str());
    return int(QPDFPageDocumentHelper(pdf).getAllPages().size());
  } catch (const std::exception &) {
    return -1;
  }
}

QByteArray pagePictureProfile(const QString &pdfPath, int pageIndex) {
  try {
    const std::string name = nativePath(pdfPath);
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    pdf.processFile(name.c_str());
    const std::vector<QPDFPageObjectHelper> pages = QPDFPageDocumentHelper(pdf).getAllPages();
    if (pageIndex < 0 || size_t(pageIndex) >= pages.size())
      return {};
    for (auto &[key, image] : QPDFPageObjectHelper(pages[size_t(pageIndex)]).getImages()) {
      QPDFObjectHandle space = image.getDict().getKey("/ColorSpace");
      if (!space.isArray() || space.getArrayNItems() != 2 ||
          !space.getArrayItem(0).isNameAndEquals("/ICCBased") || !space.getArrayItem(1).isStream())
        continue;
      const std::shared_ptr<Buffer> data = space.getArrayItem(1).getStreamData();
      return QByteArray(reinterpret_cast<const char *>(data->getBuffer()),
                        qsizetype(data->getSize()));
    }
  } catch (const std::exception &) {
  }
  return {};
}

} // namespace platform::PdfPages

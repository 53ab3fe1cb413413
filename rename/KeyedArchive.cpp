#include "rename/KeyedArchive.h"

#include "platform/PropertyList.h"

#include <QDateTime>
#include <QLocale>
#include <QXmlStreamWriter>

namespace KeyedArchive {

namespace {

void writeValue(QXmlStreamWriter &xml, const QVariant &value);

void writeDict(QXmlStreamWriter &xml, const QVariantMap &dict) {
  xml.writeStartElement(QStringLiteral("dict"));
  for (auto it = dict.cbegin(); it != dict.cend(); ++it) {
    xml.writeTextElement(QStringLiteral("key"), it.key());
    writeValue(xml, it.value());
  }
  xml.writeEndElement();
}

void writeValue(QXmlStreamWriter &xml, const QVariant &value) {
  switch (value.typeId()) {
  case QMetaType::Bool:
    xml.writeEmptyElement(value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
    return;
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::Long:
  case QMetaType::ULong:
  case QMetaType::LongLong:
  case QMetaType::Short:
  case QMetaType::UShort:
    xml.writeTextElement(QStringLiteral("integer"), QString::number(value.toLongLong()));
    return;
  case QMetaType::ULongLong:
    xml.writeTextElement(QStringLiteral("integer"), QString::number(value.toULongLong()));
    return;
  case QMetaType::Double:
  case QMetaType::Float:
    // Shortest text that reads back as the same double, in C notation.
    xml.writeTextElement(QStringLiteral("real"),
                         QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest));
    return;
  case QMetaType::QDateTime:
    xml.writeTextElement(QStringLiteral("date"), value.toDateTime().toUTC().toString(Qt::ISODate));
    return;
  case QMetaType::QByteArray:
    xml.writeTextElement(QStringLiteral("data"),
                         QString::fromLatin1(value.toByteArray().toBase64()));
    return;
  case QMetaType::QVariantMap:
    writeDict(xml, value.toMap());
    return;
  case QMetaType::QVariantList:
  case QMetaType::QStringList: {
    xml.writeStartElement(QStringLiteral("array"));
    for (const QVariant &item : value.toList())
      writeValue(xml, item);
    xml.writeEndElement();
    return;
  }
  default:
    // Anything else (no value included) is kept as its text, so the archive stays readable.
    xml.writeTextElement(QStringLiteral("string"), value.toString());
    return;
  }
}

} // namespace

QByteArray archivedData(const Fields &fields) {
  QByteArray out;
  QXmlStreamWriter xml(&out);
  xml.setAutoFormatting(true);
  xml.setAutoFormattingIndent(-1);
  xml.writeStartDocument();
  xml.writeDTD(QStringLiteral("<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">"));
  xml.writeStartElement(QStringLiteral("plist"));
  xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
  xml.writeStartElement(QStringLiteral("dict"));
  for (const auto &field : fields) {
    xml.writeTextElement(QStringLiteral("key"), field.first);
    // A field that holds nothing is archived as the empty text: it reads back as 0 or empty.
    if (field.second.isValid())
      writeValue(xml, field.second);
    else
      xml.writeTextElement(QStringLiteral("string"), QString());
  }
  xml.writeEndElement();
  xml.writeEndElement();
  xml.writeEndDocument();
  return out;
}

bool unarchive(const QByteArray &data, QVariantMap *fields, QString *error) {
  return platform::PropertyList::parseDictionary(data, fields, error);
}

} // namespace KeyedArchive

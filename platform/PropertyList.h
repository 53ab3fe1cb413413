#pragma once

#include <QString>
#include <QVariantMap>

// XML property lists as QVariantMap: dict -> QVariantMap, array -> QVariantList,
// string -> QString, integer -> qlonglong, real -> double, true/false -> bool,
// date -> QDateTime, data -> QByteArray.
namespace platform::PropertyList {

// False (and an empty map) when the file is missing or not a dictionary plist.
bool readDictionary(const QString &path, QVariantMap *out, QString *error = nullptr);
bool parseDictionary(const QByteArray &xml, QVariantMap *out, QString *error = nullptr);
QByteArray toXml(const QVariantMap &dictionary);
// Written to a temporary file and renamed into place, so a failure leaves the old file.
bool writeDictionary(const QString &path, const QVariantMap &dictionary, QString *error = nullptr);

} // namespace platform::PropertyList

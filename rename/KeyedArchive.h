#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QVariant>
#include <QVariantMap>

// The keyed archive of a settings record: an XML property list whose top-level keys keep
// the order the record archives them in (readers do not depend on it, but a person
// comparing archives does). Values: strings, booleans, integers, reals, dates, data, lists
// and dictionaries, as the property-list reader gives them back.
namespace KeyedArchive {

using Fields = QList<QPair<QString, QVariant>>;

QByteArray archivedData(const Fields &fields);

// False (with a reason) when data is not a property-list dictionary.
bool unarchive(const QByteArray &data, QVariantMap *fields, QString *error = nullptr);

} // namespace KeyedArchive

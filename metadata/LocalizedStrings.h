#pragma once

#include <QString>
#include <QVariant>

// Labels of the screens, looked up by their "ID_" keys in the resource "Language_EN.plist".
namespace CommonFunc {

// The label of key, ready to be used as a format: "DONOT_TRANSLATE_INTEGER_VALUE" becomes
// "%d" and "DONOT_TRANSLATE_STRING_VALUE" becomes "%@". A key without a label gives "(null)".
QString getLocalizedStringForKey(const QString &key);

// The text of one label entry after the placeholders are replaced ("(null)" for none).
QString localizedFormatFromEntry(const QVariant &entry);

} // namespace CommonFunc

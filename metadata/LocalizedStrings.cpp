#include "metadata/LocalizedStrings.h"

#include "app/Resources.h"
#include "platform/PropertyList.h"

#include <QDebug>
#include <QVariantMap>

namespace CommonFunc {

namespace {

// Loaded on first use and kept for the life of the process.
const QVariantMap &labels() {
  static const QVariantMap table = [] {
    QVariantMap dictionary;
    const QString path =
        Resources::pathForResource(QStringLiteral("Language_EN"), QStringLiteral("plist"));
    QString error;
    if (path.isEmpty() || !platform::PropertyList::readDictionary(path, &dictionary, &error))
      qWarning().noquote() << "Labels not loaded from Language_EN.plist:" << error;
    return dictionary;
  }();
  return table;
}

} // namespace

QString localizedFormatFromEntry(const QVariant &entry) {
  if (!entry.isValid() || entry.isNull())
    return QStringLiteral("(null)");
  QString text = entry.toString();
  text.replace(QLatin1String("DONOT_TRANSLATE_INTEGER_VALUE"), QLatin1String("%d"));
  text.replace(QLatin1String("DONOT_TRANSLATE_STRING_VALUE"), QLatin1String("%@"));
  return text;
}

QString getLocalizedStringForKey(const QString &key) {
  return localizedFormatFromEntry(labels().value(key));
}

} // namespace CommonFunc

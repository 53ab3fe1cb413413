#include "platform/PropertyList.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QTimeZone>

#include <plist/plist.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>
#include <memory>

namespace platform::PropertyList {

namespace {

// Property list dates count seconds from 2001-01-01 00:00:00 UTC.
constexpr qint64 kReferenceDateMsecs = 978307200000LL;

// Files larger than this are not property lists this application wrote or reads.
constexpr qint64 kMaxFileSize = 64LL * 1024 * 1024;

struct PlistDeleter {
  void operator()(void *node) const { plist_free(static_cast<plist_t>(node)); }
};
using Plist = std::unique_ptr<void, PlistDeleter>;

// libplist reads and writes numbers with the C library's locale functions; under a
// locale with a decimal comma "0.85" would read as 0. The thread uses the C locale while
// libplist runs (its text handling is its own, so only the numbers change).
class CLocaleScope {
public:
  CLocaleScope() {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t(0));
    if (cLocale)
      previous_ = uselocale(cLocale);
  }
  ~CLocaleScope() {
    if (previous_)
      uselocale(previous_);
  }
  CLocaleScope(const CLocaleScope &) = delete;
  CLocaleScope &operator=(const CLocaleScope &) = delete;

private:
  locale_t previous_ = locale_t(0);
};

void setError(QString *error, const QString &message) {
  if (error)
    *error = message;
}

QString takeString(char *text) {
  QString result = QString::fromUtf8(text ? text : "");
  std::free(text);
  return result;
}

QVariant toVariant(plist_t node, int depth);

QVariantMap dictToMap(plist_t node, int depth) {
  QVariantMap map;
  plist_dict_iter iter = nullptr;
  plist_dict_new_iter(node, &iter);
  if (!iter)
    return map;
  while (true) {
    char *key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(node, iter, &key, &value);
    if (!value) {
      std::free(key);
      break;
    }
    const QString name = takeString(key);
    const QVariant converted = toVariant(value, depth + 1);
    if (converted.isValid())
      map.insert(name, converted);
  }
  std::free(iter);
  return map;
}

QVariant toVariant(plist_t node, int depth) {
  // Nesting this deep is not a real document; stop rather than exhaust the stack.
  if (!node || depth > 512)
    return {};
  switch (plist_get_node_type(node)) {
  case PLIST_DICT:
    return dictToMap(node, depth);
  case PLIST_ARRAY: {
    QVariantList list;
    const uint32_t size = plist_array_get_size(node);
    for (uint32_t i = 0; i < size; ++i) {
      const QVariant item = toVariant(plist_array_get_item(node, i), depth + 1);
      if (item.isValid())
        list.append(item);
    }
    return list;
  }
  case PLIST_STRING: {
    char *text = nullptr;
    plist_get_string_val(node, &text);
    return takeString(text);
  }
  case PLIST_KEY: {
    char *text = nullptr;
    plist_get_key_val(node, &text);
    return takeString(text);
  }
  case PLIST_BOOLEAN: {
    uint8_t value = 0;
    plist_get_bool_val(node, &value);
    return value != 0;
  }
  case PLIST_UINT: {
    // Negative integers are kept as their two's complement.
    uint64_t value = 0;
    plist_get_uint_val(node, &value);
    return static_cast<qlonglong>(value);
  }
  case PLIST_UID: {
    uint64_t value = 0;
    plist_get_uid_val(node, &value);
    return static_cast<qlonglong>(value);
  }
  case PLIST_REAL: {
    double value = 0;
    plist_get_real_val(node, &value);
    return value;
  }
  case PLIST_DATA: {
    char *bytes = nullptr;
    uint64_t length = 0;
    plist_get_data_val(node, &bytes, &length);
    QByteArray data(bytes ? bytes : "", bytes ? static_cast<qsizetype>(length) : 0);
    std::free(bytes);
    return data;
  }
  case PLIST_DATE: {
    int32_t seconds = 0;
    int32_t micros = 0;
    plist_get_date_val(node, &seconds, &micros);
    const qint64 msecs = kReferenceDateMsecs + qint64(seconds) * 1000 + micros / 1000;
    return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::utc());
  }
  default:
    return {};
  }
}

plist_t fromVariant(const QVariant &value, int depth);

plist_t mapToDict(const QVariantMap &map, int depth) {
  plist_t dict = plist_new_dict();
  for (auto it = map.cbegin(); it != map.cend(); ++it) {
    if (plist_t item = fromVariant(it.value(), depth + 1))
      plist_dict_set_item(dict, it.key().toUtf8().constData(), item);
  }
  return dict;
}

plist_t listToArray(const QVariantList &list, int depth) {
  plist_t array = plist_new_array();
  for (const QVariant &element : list) {
    if (plist_t item = fromVariant(element, depth + 1))
      plist_array_append_item(array, item);
  }
  return array;
}

plist_t dateNode(const QDateTime &date) {
  const qint64 msecs = date.toMSecsSinceEpoch() - kReferenceDateMsecs;
  qint64 seconds = msecs / 1000;
  qint64 remainder = msecs % 1000;
  if (remainder < 0) {
    seconds -= 1;
    remainder += 1000;
  }
  if (seconds < std::numeric_limits<int32_t>::min() ||
      seconds > std::numeric_limits<int32_t>::max())
    return nullptr;
  return plist_new_date(static_cast<int32_t>(seconds), static_cast<int32_t>(remainder * 1000));
}

// Values without a property-list form (an invalid QVariant, unknown types) are left out.
plist_t fromVariant(const QVariant &value, int depth) {
  if (depth > 512 || !value.isValid())
    return nullptr;
  switch (value.metaType().id()) {
  case QMetaType::QVariantMap:
    return mapToDict(value.toMap(), depth);
  case QMetaType::QVariantHash: {
    QVariantMap map;
    const QVariantHash hash = value.toHash();
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
      map.insert(it.key(), it.value());
    return mapToDict(map, depth);
  }
  case QMetaType::QVariantList:
  case QMetaType::QStringList:
    return listToArray(value.toList(), depth);
  case QMetaType::Bool:
    return plist_new_bool(value.toBool() ? 1 : 0);
  case QMetaType::Int:
  case QMetaType::Long:
  case QMetaType::LongLong:
  case QMetaType::Short:
  case QMetaType::Char:
  case QMetaType::SChar:
    return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
  case QMetaType::UInt:
  case QMetaType::ULong:
  case QMetaType::ULongLong:
  case QMetaType::UShort:
  case QMetaType::UChar:
    return plist_new_uint(value.toULongLong());
  case QMetaType::Double:
  case QMetaType::Float:
    return plist_new_real(value.toDouble());
  case QMetaType::QByteArray: {
    const QByteArray bytes = value.toByteArray();
    return plist_new_data(bytes.constData(), static_cast<uint64_t>(bytes.size()));
  }
  case QMetaType::QDateTime: {
    const QDateTime date = value.toDateTime();
    return date.isValid() ? dateNode(date) : nullptr;
  }
  case QMetaType::QDate: {
    const QDate date = value.toDate();
    return date.isValid() ? dateNode(date.startOfDay(QTimeZone::utc())) : nullptr;
  }
  case QMetaType::QString:
    return plist_new_string(value.toString().toUtf8().constData());
  default:
    if (value.canConvert<QString>())
      return plist_new_string(value.toString().toUtf8().constData());
    return nullptr;
  }
}

} // namespace

bool parseDictionary(const QByteArray &xml, QVariantMap *out, QString *error) {
  if (out)
    out->clear();
  if (xml.isEmpty() || xml.size() > kMaxFileSize) {
    setError(error, QStringLiteral("The property list is empty or too large."));
    return false;
  }
  const CLocaleScope cLocale;
  plist_t root = nullptr;
  // Binary property lists are read as well; XML is what this application writes.
  plist_from_memory(xml.constData(), static_cast<uint32_t>(xml.size()), &root);
  Plist owner(root);
  if (!root) {
    setError(error, QStringLiteral("The property list could not be parsed."));
    return false;
  }
  if (plist_get_node_type(root) != PLIST_DICT) {
    setError(error, QStringLiteral("The property list is not a dictionary."));
    return false;
  }
  if (out)
    *out = dictToMap(root, 0);
  return true;
}

bool readDictionary(const QString &path, QVariantMap *out, QString *error) {
  if (out)
    out->clear();
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    setError(
        error,
        QStringLiteral("The file \"%1\" could not be opened: %2").arg(path, file.errorString()));
    return false;
  }
  if (file.size() > kMaxFileSize) {
    setError(error, QStringLiteral("The file \"%1\" is too large for a property list.").arg(path));
    return false;
  }
  return parseDictionary(file.readAll(), out, error);
}

QByteArray toXml(const QVariantMap &dictionary) {
  const CLocaleScope cLocale;
  Plist root(mapToDict(dictionary, 0));
  char *xml = nullptr;
  uint32_t length = 0;
  plist_to_xml(static_cast<plist_t>(root.get()), &xml, &length);
  if (!xml)
    return {};
  QByteArray result(xml, static_cast<qsizetype>(length));
  plist_to_xml_free(xml);
  return result;
}

bool writeDictionary(const QString &path, const QVariantMap &dictionary, QString *error) {
  const QByteArray xml = toXml(dictionary);
  if (xml.isEmpty()) {
    setError(error, QStringLiteral("The property list could not be encoded."));
    return false;
  }
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) {
    setError(
        error,
        QStringLiteral("The file \"%1\" could not be written: %2").arg(path, file.errorString()));
    return false;
  }
  if (file.write(xml) != xml.size() || !file.commit()) {
    setError(
        error,
        QStringLiteral("The file \"%1\" could not be written: %2").arg(path, file.errorString()));
    return false;
  }
  return true;
}

} // namespace platform::PropertyList

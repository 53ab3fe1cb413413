#include "app/PersistentStore.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

const QString kErrorDomain = QStringLiteral("PersistentStoreErrorDomain");

enum StoreErrorCode {
  UnsupportedStoreType = 1,
  StoreReadFailed = 2,
  StoreCorrupt = 3,
  StoreModelMismatch = 4,
  StoreWriteFailed = 5,
  NoStore = 6,
};

AppError storeError(StoreErrorCode code, const QString &description, const QString &reason) {
  AppError error;
  error.domain = kErrorDomain;
  error.code = code;
  error.description = description;
  error.reason = reason;
  return error;
}

void setError(AppError *target, AppError error) {
  if (target)
    *target = std::move(error);
}

QString typeName(const QVariant &value) {
  switch (value.typeId()) {
  case QMetaType::Bool:
    return QStringLiteral("boolean");
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
    return QStringLiteral("integer");
  case QMetaType::Double:
  case QMetaType::Float:
    return QStringLiteral("double");
  case QMetaType::QDateTime:
    return QStringLiteral("date");
  case QMetaType::QByteArray:
    return QStringLiteral("binary");
  default:
    return QStringLiteral("string");
  }
}

QString valueText(const QVariant &value) {
  switch (value.typeId()) {
  case QMetaType::Bool:
    return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
  case QMetaType::Double:
  case QMetaType::Float:
    return QString::number(value.toDouble(), 'g', 17);
  case QMetaType::QDateTime:
    return value.toDateTime().toUTC().toString(Qt::ISODateWithMs);
  case QMetaType::QByteArray:
    return QString::fromLatin1(value.toByteArray().toBase64());
  default:
    return value.toString();
  }
}

bool valueFromText(const QString &type, const QString &text, QVariant *value) {
  bool ok = true;
  if (type == QLatin1String("string"))
    *value = text;
  else if (type == QLatin1String("integer"))
    *value = text.toLongLong(&ok);
  else if (type == QLatin1String("double"))
    *value = text.toDouble(&ok);
  else if (type == QLatin1String("boolean")) {
    ok = text == QLatin1String("true") || text == QLatin1String("false");
    *value = text == QLatin1String("true");
  } else if (type == QLatin1String("date")) {
    const QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
    ok = date.isValid();
    *value = date;
  } else if (type == QLatin1String("binary"))
    *value = QByteArray::fromBase64(text.toLatin1());
  else
    ok = false;
  return ok;
}

// Reads <database model="..."><object entity id><attribute name type>text</attribute>...
bool readStore(QIODevice *device, const QString &modelName, QList<ManagedObject> *objects,
               QString *problem) {
  QXmlStreamReader xml(device);
  if (!xml.readNextStartElement() || xml.name() != QLatin1String("database")) {
    *problem = QStringLiteral("not a store file");
    return false;
  }
  const QString model = xml.attributes().value(QLatin1String("model")).toString();
  if (model != modelName) {
    *problem = QStringLiteral("the store was written for the model \"%1\"").arg(model);
    return false;
  }
  while (xml.readNextStartElement()) {
    if (xml.name() != QLatin1String("object")) {
      xml.skipCurrentElement();
      continue;
    }
    ManagedObject object;
    object.entityName = xml.attributes().value(QLatin1String("entity")).toString();
    object.objectID = xml.attributes().value(QLatin1String("id")).toString();
    while (xml.readNextStartElement()) {
      if (xml.name() != QLatin1String("attribute")) {
        xml.skipCurrentElement();
        continue;
      }
      const QString name = xml.attributes().value(QLatin1String("name")).toString();
      const QString type = xml.attributes().value(QLatin1String("type")).toString();
      const QString text = xml.readElementText();
      QVariant value;
      if (!valueFromText(type, text, &value)) {
        *problem =
            QStringLiteral("unreadable value of \"%1\" at line %2").arg(name).arg(xml.lineNumber());
        return false;
      }
      object.attributes.insert(name, value);
    }
    if (object.entityName.isEmpty() || object.objectID.isEmpty()) {
      *problem = QStringLiteral("a record without entity or id at line %1").arg(xml.lineNumber());
      return false;
    }
    objects->append(object);
  }
  if (xml.hasError()) {
    *problem = QStringLiteral("%1 at line %2").arg(xml.errorString()).arg(xml.lineNumber());
    return false;
  }
  return true;
}

} // namespace

std::shared_ptr<ManagedObjectModel> ManagedObjectModel::applicationModel() {
  return std::make_shared<ManagedObjectModel>(QStringLiteral("Quillmere"));
}

PersistentStoreCoordinator::PersistentStoreCoordinator(std::shared_ptr<ManagedObjectModel> model)
    : model_(std::move(model)) {}

bool PersistentStoreCoordinator::addPersistentStore(const QString &type, const QString &path,
                                                    AppError *error) {
  const QString description = QStringLiteral("The store could not be opened.");
  if (type != QLatin1String(XMLStoreType)) {
    setError(error, storeError(UnsupportedStoreType, description,
                               QStringLiteral("Unsupported store type \"%1\".").arg(type)));
    return false;
  }
  QList<ManagedObject> objects;
  const QFileInfo info(path);
  if (info.exists() || info.isSymLink()) {
    QFile file(path);
    if (info.isDir() || !file.open(QIODevice::ReadOnly)) {
      setError(error, storeError(StoreReadFailed, description,
                                 QStringLiteral("%1: %2").arg(
                                     path, info.isDir() ? QStringLiteral("is a folder")
                                                        : file.errorString())));
      return false;
    }
    QString problem;
    if (!readStore(&file, model_ ? model_->name() : QString(), &objects, &problem)) {
      setError(error,
               storeError(StoreCorrupt, description, QStringLiteral("%1: %2").arg(path, problem)));
      return false;
    }
  }
  path_ = path;
  stored_ = objects;
  return true;
}

bool PersistentStoreCoordinator::writeObjects(const QList<ManagedObject> &objects,
                                              AppError *error) {
  const QString description = QStringLiteral("The data could not be saved.");
  if (path_.isEmpty()) {
    setError(error, storeError(NoStore, description, QStringLiteral("No store has been added.")));
    return false;
  }
  QSaveFile file(path_);
  if (!file.open(QIODevice::WriteOnly)) {
    setError(error, storeError(StoreWriteFailed, description,
                               QStringLiteral("%1: %2").arg(path_, file.errorString())));
    return false;
  }
  QXmlStreamWriter xml(&file);
  xml.setAutoFormatting(true);
  xml.writeStartDocument();
  xml.writeStartElement(QStringLiteral("database"));
  xml.writeAttribute(QStringLiteral("model"), model_ ? model_->name() : QString());
  for (const ManagedObject &object : objects) {
    xml.writeStartElement(QStringLiteral("object"));
    xml.writeAttribute(QStringLiteral("entity"), object.entityName);
    xml.writeAttribute(QStringLiteral("id"), object.objectID);
    for (auto it = object.attributes.cbegin(); it != object.attributes.cend(); ++it) {
      xml.writeStartElement(QStringLiteral("attribute"));
      xml.writeAttribute(QStringLiteral("name"), it.key());
      xml.writeAttribute(QStringLiteral("type"), typeName(it.value()));
      xml.writeCharacters(valueText(it.value()));
      xml.writeEndElement();
    }
    xml.writeEndElement();
  }
  xml.writeEndElement();
  xml.writeEndDocument();
  if (xml.hasError() || !file.commit()) {
    setError(error, storeError(StoreWriteFailed, description,
                               QStringLiteral("%1: %2").arg(path_, file.errorString())));
    return false;
  }
  stored_ = objects;
  return true;
}

void ManagedObjectContext::setPersistentStoreCoordinator(
    std::shared_ptr<PersistentStoreCoordinator> coordinator) {
  coordinator_ = std::move(coordinator);
  objects_.clear();
  hasChanges_ = false;
  nextID_ = 1;
  if (!coordinator_)
    return;
  for (const ManagedObject &stored : coordinator_->storedObjects()) {
    objects_.append(std::make_shared<ManagedObject>(stored));
    bool numeric = false;
    const qint64 id = stored.objectID.mid(1).toLongLong(&numeric);
    if (numeric && id >= nextID_)
      nextID_ = id + 1;
  }
}

std::shared_ptr<ManagedObject> ManagedObjectContext::insertNewObject(const QString &entityName) {
  auto object = std::make_shared<ManagedObject>();
  object->entityName = entityName;
  object->objectID = QStringLiteral("p%1").arg(nextID_++);
  objects_.append(object);
  hasChanges_ = true;
  return object;
}

void ManagedObjectContext::setValue(const std::shared_ptr<ManagedObject> &object,
                                    const QString &key, const QVariant &value) {
  if (!object)
    return;
  object->attributes.insert(key, value);
  hasChanges_ = true;
}

void ManagedObjectContext::deleteObject(const std::shared_ptr<ManagedObject> &object) {
  if (objects_.removeAll(object) > 0)
    hasChanges_ = true;
}

QList<std::shared_ptr<ManagedObject>>
ManagedObjectContext::objects(const QString &entityName) const {
  if (entityName.isEmpty())
    return objects_;
  QList<std::shared_ptr<ManagedObject>> result;
  for (const auto &object : objects_)
    if (object->entityName == entityName)
      result.append(object);
  return result;
}

bool ManagedObjectContext::save(AppError *error) {
  if (!hasChanges_)
    return true;
  if (!coordinator_) {
    setError(error, storeError(NoStore, QStringLiteral("The data could not be saved."),
                               QStringLiteral("The context has no store.")));
    return false;
  }
  QList<ManagedObject> snapshot;
  snapshot.reserve(objects_.size());
  for (const auto &object : objects_)
    snapshot.append(*object);
  if (!coordinator_->writeObjects(snapshot, error))
    return false;
  hasChanges_ = false;
  return true;
}

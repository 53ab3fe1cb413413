#pragma once

#include "app/AppError.h"

#include <QList>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

// The application's object store: records kept in one XML file. Nothing in the batch flow
// stores objects yet; the store exists so unsaved changes are saved (or reported) on quit.

// The data model: names the store's content so a file written by another model is refused.
class ManagedObjectModel {
public:
  explicit ManagedObjectModel(QString name) : name_(std::move(name)) {}
  // The application's model, "Quillmere".
  static std::shared_ptr<ManagedObjectModel> applicationModel();
  const QString &name() const { return name_; }

private:
  QString name_;
};

// One stored record: an entity name, a stable identifier and its attributes.
struct ManagedObject {
  QString entityName;
  QString objectID;
  QVariantMap attributes;
};

// Binds the model to the XML store file and reads and writes it.
class PersistentStoreCoordinator {
public:
  static constexpr const char *XMLStoreType = "XML";

  explicit PersistentStoreCoordinator(std::shared_ptr<ManagedObjectModel> model);

  // Opens the store of the given type at path: an existing file is read and checked; a
  // missing one is created at the first save. False with *error when it cannot be used.
  bool addPersistentStore(const QString &type, const QString &path, AppError *error);

  const std::shared_ptr<ManagedObjectModel> &managedObjectModel() const { return model_; }
  QString storePath() const { return path_; }
  bool hasStore() const { return !path_.isEmpty(); }

  // The records as last read or written.
  const QList<ManagedObject> &storedObjects() const { return stored_; }
  // Replaces the file's content atomically.
  bool writeObjects(const QList<ManagedObject> &objects, AppError *error);

private:
  std::shared_ptr<ManagedObjectModel> model_;
  QString path_;
  QList<ManagedObject> stored_;
};

// The working set of records and their unsaved changes.
class ManagedObjectContext {
public:
  void setPersistentStoreCoordinator(std::shared_ptr<PersistentStoreCoordinator> coordinator);
  const std::shared_ptr<PersistentStoreCoordinator> &persistentStoreCoordinator() const {
    return coordinator_;
  }

  std::shared_ptr<ManagedObject> insertNewObject(const QString &entityName);
  void setValue(const std::shared_ptr<ManagedObject> &object, const QString &key,
                const QVariant &value);
  void deleteObject(const std::shared_ptr<ManagedObject> &object);
  // Records of entityName (every record when empty), in insertion order.
  QList<std::shared_ptr<ManagedObject>> objects(const QString &entityName = {}) const;

  bool hasChanges() const { return hasChanges_; }

  // Asks the bound editors to hand over pending input; true when there are none.
  bool commitEditing() { return commitEditingHandler ? commitEditingHandler() : true; }
  std::function<bool()> commitEditingHandler;

  // Writes every record to the store; true when there was nothing to save.
  bool save(AppError *error);

private:
  std::shared_ptr<PersistentStoreCoordinator> coordinator_;
  QList<std::shared_ptr<ManagedObject>> objects_;
  qint64 nextID_ = 1;
  bool hasChanges_ = false;
};

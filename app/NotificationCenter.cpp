#include "app/NotificationCenter.h"

#include <QObject>

NotificationCenter &NotificationCenter::defaultCenter() {
  static NotificationCenter center;
  return center;
}

NotificationCenter::~NotificationCenter() {
  QMutexLocker lock(&mutex_);
  for (const QMetaObject::Connection &connection : std::as_const(destroyedConnections_))
    QObject::disconnect(connection);
}

void NotificationCenter::addObserver(const QObject *observer, const QString &name,
                                     Handler handler) {
  if (!observer || !handler)
    return;
  QMutexLocker lock(&mutex_);
  entries_.append(Entry{nextId_++, observer, name, std::move(handler)});
  if (!destroyedConnections_.contains(observer)) {
    // Direct: the registrations go before the object's memory does, whatever its thread.
    destroyedConnections_.insert(observer,
                                 QObject::connect(observer, &QObject::destroyed,
                                                  [this, observer] { removeObserver(observer); }));
  }
}

void NotificationCenter::removeObserver(const QObject *observer) {
  QMutexLocker lock(&mutex_);
  entries_.removeIf([observer](const Entry &entry) { return entry.observer == observer; });
  const auto connection = destroyedConnections_.constFind(observer);
  if (connection != destroyedConnections_.cend()) {
    QObject::disconnect(*connection);
    destroyedConnections_.erase(connection);
  }
}

bool NotificationCenter::isRegistered(quint64 id) const {
  for (const Entry &entry : entries_)
    if (entry.id == id)
      return true;
  return false;
}

void NotificationCenter::post(const QString &name, const QVariantMap &userInfo) {
  QList<Entry> matching;
  {
    QMutexLocker lock(&mutex_);
    for (const Entry &entry : std::as_const(entries_))
      if (entry.name == name)
        matching.append(entry);
  }
  // Handlers run unlocked so that they may post and register in turn.
  for (const Entry &entry : std::as_const(matching)) {
    {
      QMutexLocker lock(&mutex_);
      if (!isRegistered(entry.id))
        continue;
    }
    entry.handler(userInfo);
  }
}

int NotificationCenter::observerCount(const QString &name) const {
  QMutexLocker lock(&mutex_);
  int count = 0;
  for (const Entry &entry : entries_)
    if (entry.name == name)
      ++count;
  return count;
}

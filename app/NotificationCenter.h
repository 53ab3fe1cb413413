#pragma once

#include <QHash>
#include <QList>
#include <QMetaObject>
#include <QMutex>
#include <QString>
#include <QVariantMap>

#include <functional>

class QObject;

// The one application-wide notification centre through which screens and views talk to one
// another by name (see app/Notifications.h). Delivery is synchronous, on the posting thread,
// in the order the observers registered. An observer is dropped when its QObject is destroyed,
// so no handler outlives the object it belongs to.
class NotificationCenter {
public:
  using Handler = std::function<void(const QVariantMap &userInfo)>;

  static NotificationCenter &defaultCenter();

  NotificationCenter() = default;
  ~NotificationCenter();
  NotificationCenter(const NotificationCenter &) = delete;
  NotificationCenter &operator=(const NotificationCenter &) = delete;

  // observer must not be null; one observer may register for several names, and for one name
  // more than once (each handler is called).
  void addObserver(const QObject *observer, const QString &name, Handler handler);
  // Drops every registration of observer.
  void removeObserver(const QObject *observer);
  // Calls every handler registered for name, in registration order, before returning. A
  // handler may post, add or remove observers; one removed meanwhile is not called.
  void post(const QString &name, const QVariantMap &userInfo = {});

  // How many registrations there are for name (tests, diagnostics).
  int observerCount(const QString &name) const;

private:
  struct Entry {
    quint64 id;
    const QObject *observer;
    QString name;
    Handler handler;
  };

  bool isRegistered(quint64 id) const;

  mutable QMutex mutex_;
  QList<Entry> entries_;
  QHash<const QObject *, QMetaObject::Connection> destroyedConnections_;
  quint64 nextId_ = 1;
};

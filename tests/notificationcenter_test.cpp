#include "app/NotificationCenter.h"
#include "app/Notifications.h"

#include <QObject>
#include <QStringList>
#include <QThread>
#include <gtest/gtest.h>

#include <memory>

namespace {

const QString kName = "notificationTest";

} // namespace

TEST(NotificationCenter, DeliversSynchronouslyInRegistrationOrderWithUserInfo) {
  NotificationCenter center;
  QObject first, second;
  QStringList calls;
  QVariantMap received;
  center.addObserver(&second, kName, [&](const QVariantMap &info) {
    calls << "second";
    received = info;
  });
  center.addObserver(&first, kName, [&](const QVariantMap &) { calls << "first"; });
  center.addObserver(&second, kName, [&](const QVariantMap &) { calls << "again"; });
  center.addObserver(&first, "other", [&](const QVariantMap &) { calls << "other"; });

  center.post(kName, {{Notifications::PathsKey, QStringList{"/a.jpg"}}});
  // Every handler has run by the time post returns, in the order of registration.
  EXPECT_EQ(calls, (QStringList{"second", "first", "again"}));
  EXPECT_EQ(received.value(Notifications::PathsKey).toStringList(), QStringList{"/a.jpg"});

  calls.clear();
  center.post("nobody");
  EXPECT_TRUE(calls.isEmpty());
}

TEST(NotificationCenter, ObserversGoWhenRemovedOrDestroyed) {
  NotificationCenter center;
  int calls = 0;
  auto observer = std::make_unique<QObject>();
  QObject kept;
  center.addObserver(observer.get(), kName, [&](const QVariantMap &) { ++calls; });
  center.addObserver(observer.get(), "other", [&](const QVariantMap &) { ++calls; });
  center.addObserver(&kept, kName, [&](const QVariantMap &) { calls += 10; });
  EXPECT_EQ(center.observerCount(kName), 2);

  observer.reset(); // every registration of a destroyed object goes with it
  EXPECT_EQ(center.observerCount(kName), 1);
  EXPECT_EQ(center.observerCount("other"), 0);
  center.post(kName);
  center.post("other");
  EXPECT_EQ(calls, 10);

  center.removeObserver(&kept);
  center.post(kName);
  EXPECT_EQ(calls, 10);
  // Registering again after a removal works, and the destroyed hook is made anew.
  center.addObserver(&kept, kName, [&](const QVariantMap &) { ++calls; });
  center.post(kName);
  EXPECT_EQ(calls, 11);
}

TEST(NotificationCenter, HandlersMayChangeTheRegistrationsWhileBeingDelivered) {
  NotificationCenter center;
  QStringList calls;
  auto later = std::make_unique<QObject>();
  QObject first, nested;
  center.addObserver(&first, kName, [&](const QVariantMap &) {
    calls << "first";
    later.reset(); // destroys an observer still waiting for this same post
    center.addObserver(&nested, kName, [&](const QVariantMap &) { calls << "new"; });
    center.post("inner");
  });
  center.addObserver(later.get(), kName, [&](const QVariantMap &) { calls << "gone"; });
  center.addObserver(&nested, "inner", [&](const QVariantMap &) { calls << "inner"; });

  center.post(kName);
  // The destroyed observer is not called; one added during the post waits for the next one.
  EXPECT_EQ(calls, (QStringList{"first", "inner"}));
  calls.clear();
  center.removeObserver(&first);
  center.post(kName);
  EXPECT_EQ(calls, QStringList{"new"});
}

TEST(NotificationCenter, DeliveredOnThePostingThread) {
  NotificationCenter center;
  QObject observer;
  QThread *deliveredOn = nullptr;
  center.addObserver(&observer, kName,
                     [&](const QVariantMap &) { deliveredOn = QThread::currentThread(); });
  std::unique_ptr<QThread> thread(QThread::create([&] { center.post(kName); }));
  thread->start();
  ASSERT_TRUE(thread->wait(10000));
  EXPECT_EQ(deliveredOn, thread.get());
}

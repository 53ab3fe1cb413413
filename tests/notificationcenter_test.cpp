#include "app/NotificationCenter.h"
#include "app/Notifications.h"

#include <QObject>
#include <QStringList>
#include <QThread>
#include <gtest/gtest.h>

#include <memory>

namespace {

const QString kName = QStringLiteral("notificationTest");

} // namespace

TEST(NotificationCenter, DeliversSynchronouslyInRegistrationOrderWithUserInfo) {
  NotificationCenter center;
  QObject first, second;
  QStringList calls;
  QVariantMap received;
  center.addObserver(&second, kName, [&](const QVariantMap &info) {
    calls << QStringLiteral("second");
    received = info;
  });
  center.addObserver(&first, kName, [&](const QVariantMap &) { calls << QStringLiteral("first"); });
  center.addObserver(&second, kName,
                     [&](const QVariantMap &) { calls << QStringLiteral("again"); });
  center.addObserver(&first, QStringLiteral("other"),
                     [&](const QVariantMap &) { calls << QStringLiteral("other"); });

  center.post(kName, {{Notifications::PathsKey, QStringList{QStringLiteral("/a.jpg")}}});
  // Every handler has run by the time post returns, in the order of registration.
  EXPECT_EQ(calls, (QStringList{QStringLiteral("second"), QStringLiteral("first"),
                                QStringLiteral("again")}));
  EXPECT_EQ(received.value(Notifications::PathsKey).toStringList(),
            QStringList{QStringLiteral("/a.jpg")});

  calls.clear();
  center.post(QStringLiteral("nobody"));
  EXPECT_TRUE(calls.isEmpty());
}

TEST(NotificationCenter, ObserversGoWhenRemovedOrDestroyed) {
  NotificationCenter center;
  int calls = 0;
  auto observer = std::make_unique<QObject>();
  QObject kept;
  center.addObserver(observer.get(), kName, [&](const QVariantMap &) { ++calls; });
  center.addObserver(observer.get(), QStringLiteral("other"),
                     [&](const QVariantMap &) { ++calls; });
  center.addObserver(&kept, kName, [&](const QVariantMap &) { calls += 10; });
  EXPECT_EQ(center.observerCount(kName), 2);

  observer.reset(); // every registration of a destroyed object goes with it
  EXPECT_EQ(center.observerCount(kName), 1);
  EXPECT_EQ(center.observerCount(QStringLiteral("other")), 0);
  center.post(kName);
  center.post(QStringLiteral("other"));
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
    calls << QStringLiteral("first");
    later.reset(); // destroys an observer still waiting for this same post
    center.addObserver(&nested, kName,
                       [&](const QVariantMap &) { calls << QStringLiteral("new"); });
    center.post(QStringLiteral("inner"));
  });
  center.addObserver(later.get(), kName,
                     [&](const QVariantMap &) { calls << QStringLiteral("gone"); });
  center.addObserver(&nested, QStringLiteral("inner"),
                     [&](const QVariantMap &) { calls << QStringLiteral("inner"); });

  center.post(kName);
  // The destroyed observer is not called; one added during the post waits for the next one.
  EXPECT_EQ(calls, (QStringList{QStringLiteral("first"), QStringLiteral("inner")}));
  calls.clear();
  center.removeObserver(&first);
  center.post(kName);
  EXPECT_EQ(calls, QStringList{QStringLiteral("new")});
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

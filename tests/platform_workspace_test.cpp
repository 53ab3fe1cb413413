// The desktop calls with no session bus and with a private bus that has no desktop
// services: each reports failure quickly instead of hanging, and the messages sent have
// the form the desktop services expect.
#include "platform/Workspace.h"
#include "tests/support/TestEnv.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

#include <cstdlib>

using namespace platform;

namespace {

// Each call below may wait for one bus round trip at most, never for a timeout chain.
constexpr qint64 kQuickMs = 2500;

void leaveDesktop() {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
}

// Showing a photo, its properties and keeping the display awake all fail, quickly.
void desktopCallsFailQuickly(const QString &photo) {
  QElapsedTimer timer;
  timer.start();
  EXPECT_FALSE(Workspace::revealInFileManager(photo));
  EXPECT_FALSE(Workspace::showProperties(photo));
  {
    Workspace::DisplayAwakeAssertion assertion(QStringLiteral("Processing photos"));
    EXPECT_FALSE(assertion.held());
  }
  EXPECT_LT(timer.elapsed(), kQuickMs);
}

} // namespace

TEST(WorkspaceTest, WithoutSessionBusEverythingFailsQuickly) {
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  unsetenv("XDG_RUNTIME_DIR");
  leaveDesktop();
  QTemporaryDir dir;
  const QString photo = testenv::writeFile(dir.filePath("a.jpg"), "x");

  desktopCallsFailQuickly(photo);
  QElapsedTimer timer;
  timer.start();
  EXPECT_FALSE(Workspace::openPath(photo));
  EXPECT_FALSE(Workspace::revealInFileManager(dir.filePath("missing.jpg")));
  EXPECT_FALSE(Workspace::openPath(QString()));
  EXPECT_LT(timer.elapsed(), kQuickMs);
}

TEST(WorkspaceTest, PrivateBusWithoutDesktopServices) {
  const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
  const QString monitor = QStandardPaths::findExecutable(QStringLiteral("dbus-monitor"));
  if (daemon.isEmpty() || monitor.isEmpty())
    GTEST_SKIP() << "dbus-daemon or dbus-monitor is not installed";
  leaveDesktop();

  // A session bus of our own whose FileManager1 can be "started" but exits at once, so
  // the calls really go out and fail the way a broken file manager would.
  QTemporaryDir busDir;
  const QString services = busDir.filePath(QStringLiteral("services"));
  testenv::writeFile(services + QStringLiteral("/org.freedesktop.FileManager1.service"),
                     "[D-BUS Service]\nName=org.freedesktop.FileManager1\nExec=/bin/false\n");
  const QString config = testenv::writeFile(
      busDir.filePath(QStringLiteral("session.conf")),
      QStringLiteral("<busconfig><type>session</type><listen>unix:tmpdir=%1</listen>"
                     "<servicedir>%2</servicedir><policy context=\"default\">"
                     "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                     "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>")
          .arg(busDir.path(), services)
          .toUtf8());
  QProcess bus;
  bus.start(daemon, {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                     QStringLiteral("--print-address=1")});
  ASSERT_TRUE(bus.waitForStarted(5000));
  QByteArray address;
  for (int i = 0; i < 50 && !address.contains('\n'); ++i) {
    bus.waitForReadyRead(100);
    address += bus.readAllStandardOutput();
  }
  address = address.trimmed();
  ASSERT_FALSE(address.isEmpty());
  setenv("DBUS_SESSION_BUS_ADDRESS", address.constData(), 1);

  // Watches what the application asks of the desktop.
  QProcess watcher;
  watcher.start(monitor,
                {QStringLiteral("--address"), QString::fromUtf8(address),
                 QStringLiteral("type='method_call',interface='org.freedesktop.FileManager1'"),
                 QStringLiteral("type='method_call',interface='org.freedesktop.ScreenSaver'")});
  ASSERT_TRUE(watcher.waitForStarted(5000));
  QThread::msleep(300);

  QTemporaryDir dir;
  const QString photo = testenv::writeFile(dir.filePath("My Photo.jpg"), "x");
  desktopCallsFailQuickly(photo);

  QThread::msleep(300);
  watcher.terminate();
  watcher.waitForFinished(3000);
  const QString seen = QString::fromUtf8(watcher.readAllStandardOutput());
  EXPECT_TRUE(seen.contains(QStringLiteral("member=ShowItems"))) << seen.toStdString();
  EXPECT_TRUE(seen.contains(QStringLiteral("member=ShowItemProperties"))) << seen.toStdString();
  EXPECT_TRUE(seen.contains(QStringLiteral("\"file://") + dir.path() + "/My%20Photo.jpg\""))
      << seen.toStdString();
  EXPECT_TRUE(seen.contains(QStringLiteral("member=Inhibit"))) << seen.toStdString();
  EXPECT_TRUE(seen.contains(QStringLiteral("\"Processing photos\""))) << seen.toStdString();

  // A file manager that is slow to start (this one never claims its name) was reached:
  // no second window is opened by the fallback and the call returns after its time limit.
  const QString sendTool = QStandardPaths::findExecutable(QStringLiteral("dbus-send"));
  if (!sendTool.isEmpty()) {
    testenv::writeFile(services + QStringLiteral("/org.freedesktop.FileManager1.service"),
                       "[D-BUS Service]\nName=org.freedesktop.FileManager1\nExec=/bin/true\n");
    QProcess reload;
    reload.start(sendTool,
                 {QStringLiteral("--address=") + QString::fromUtf8(address),
                  QStringLiteral("--print-reply"), QStringLiteral("--dest=org.freedesktop.DBus"),
                  QStringLiteral("/org/freedesktop/DBus"),
                  QStringLiteral("org.freedesktop.DBus.ReloadConfig")});
    ASSERT_TRUE(reload.waitForFinished(5000));
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(Workspace::revealInFileManager(photo));
    EXPECT_LT(timer.elapsed(), 3000 + kQuickMs);
  }

  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  bus.terminate();
  bus.waitForFinished(3000);
}

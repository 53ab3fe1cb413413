#include "platform/Workspace.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <QUrl>

namespace platform::Workspace {

namespace {

constexpr int kCallTimeoutMs = 3000;

const QString kFileManagerService = QStringLiteral("org.freedesktop.FileManager1");
const QString kFileManagerPath = QStringLiteral("/org/freedesktop/FileManager1");
const QString kScreenSaverService = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kScreenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");

// The session bus, or none. Without an address Qt would try to autolaunch a bus; a
// headless run has nothing to talk to, so that is skipped.
bool sessionBusAvailable() {
  if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") &&
      !QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus")))
    return false;
  return QDBusConnection::sessionBus().isConnected();
}

// Asks the bus itself; every question has the same short time limit.
QDBusMessage askBus(const QString &method, const QVariantList &arguments = {}) {
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
      QStringLiteral("org.freedesktop.DBus"), method);
  call.setArguments(arguments);
  return QDBusConnection::sessionBus().call(call, QDBus::Block, kCallTimeoutMs);
}

// A service that is running or that the bus can start on demand.
bool serviceReachable(const QString &service) {
  const QDBusReply<bool> owned = askBus(QStringLiteral("NameHasOwner"), {service});
  if (owned.isValid() && owned.value())
    return true;
  const QDBusReply<QStringList> activatable = askBus(QStringLiteral("ListActivatableNames"));
  return activatable.isValid() && activatable.value().contains(service);
}

// Calls a FileManager1 method with the file's URI. A reply that is late still means the
// request reached a file manager that is starting up, so only a real error is a failure.
bool callFileManager(const QString &method, const QString &path) {
  if (!sessionBusAvailable() || !serviceReachable(kFileManagerService))
    return false;
  QDBusMessage call = QDBusMessage::createMethodCall(kFileManagerService, kFileManagerPath,
                                                     kFileManagerService, method);
  call << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
  const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, kCallTimeoutMs);
  if (reply.type() == QDBusMessage::ReplyMessage)
    return true;
  const QString error = reply.errorName();
  return error == QStringLiteral("org.freedesktop.DBus.Error.NoReply") ||
         error == QStringLiteral("org.freedesktop.DBus.Error.Timeout");
}

// xdg-open needs a desktop to show something on; without one it would only fail later.
bool openWithDesktop(const QString &target) {
  if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
    return false;
  const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
  if (opener.isEmpty())
    return false;
  return QProcess::startDetached(opener, {target});
}

QString absolute(const QString &path) {
  return QFileInfo(path).absoluteFilePath();
}

} // namespace

bool openPath(const QString &path) {
  if (path.isEmpty() || !QFileInfo::exists(path))
    return false;
  return openWithDesktop(absolute(path));
}

bool revealInFileManager(const QString &path) {
  if (path.isEmpty() || !QFileInfo::exists(path))
    return false;
  const QString target = absolute(path);
  if (callFileManager(QStringLiteral("ShowItems"), target))
    return true;
  const QFileInfo info(target);
  return openWithDesktop(info.isDir() ? target : info.absolutePath());
}

bool showProperties(const QString &path) {
  if (path.isEmpty() || !QFileInfo::exists(path))
    return false;
  return callFileManager(QStringLiteral("ShowItemProperties"), absolute(path));
}

DisplayAwakeAssertion::DisplayAwakeAssertion(const QString &reason) {
  if (!sessionBusAvailable())
    return;
  QDBusMessage call = QDBusMessage::createMethodCall(
      kScreenSaverService, kScreenSaverPath, kScreenSaverService, QStringLiteral("Inhibit"));
  call << QStringLiteral("Quillmere") << reason;
  const QDBusReply<uint> reply =
      QDBusConnection::sessionBus().call(call, QDBus::Block, kCallTimeoutMs);
  if (reply.isValid())
    cookie_ = reply.value();
}

DisplayAwakeAssertion::~DisplayAwakeAssertion() {
  if (cookie_ == 0)
    return;
  // No reply is awaited: the inhibition also ends when this connection closes.
  QDBusMessage call = QDBusMessage::createMethodCall(
      kScreenSaverService, kScreenSaverPath, kScreenSaverService, QStringLiteral("UnInhibit"));
  call << cookie_;
  QDBusConnection::sessionBus().send(call);
}

} // namespace platform::Workspace

#pragma once

#include <QString>

// The desktop around the application. Each call reports whether it worked.
namespace platform::Workspace {

bool openPath(const QString &path);            // default application for a file or folder
bool revealInFileManager(const QString &path); // FileManager1 over D-Bus, else open the folder
bool showProperties(const QString &path);      // FileManager1.ShowItemProperties where available

// Keeps the display awake while alive (org.freedesktop.ScreenSaver.Inhibit).
class DisplayAwakeAssertion {
public:
  explicit DisplayAwakeAssertion(const QString &reason);
  ~DisplayAwakeAssertion();
  DisplayAwakeAssertion(const DisplayAwakeAssertion &) = delete;
  DisplayAwakeAssertion &operator=(const DisplayAwakeAssertion &) = delete;
  bool held() const { return cookie_ != 0; }

private:
  unsigned cookie_ = 0;
};

} // namespace platform::Workspace

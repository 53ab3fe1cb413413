#include "platform/SystemInfo.h"

#include <QFile>
#include <QRegularExpression>

#include <atomic>
#include <sys/utsname.h>

namespace platform::SystemInfo {

namespace {

std::atomic<double> scaleOverride{0.0};

// "22.04" -> 22, 4; "12" -> 12, 0; "6.1.0-13-amd64" -> 6, 1.
bool splitVersion(const QString &text, int *major, int *minor) {
  static const QRegularExpression leading(QStringLiteral("^(\\d+)(?:\\.(\\d+))?"));
  const auto match = leading.match(text.trimmed());
  if (!match.hasMatch())
    return false;
  *major = match.captured(1).toInt();
  *minor = match.captured(2).isEmpty() ? 0 : match.captured(2).toInt();
  return true;
}

QString osReleaseVersionId() {
  for (const char *path : {"/etc/os-release", "/usr/lib/os-release"}) {
    QFile file(QString::fromLatin1(path));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
      continue;
    while (!file.atEnd()) {
      const QString line = QString::fromUtf8(file.readLine()).trimmed();
      if (!line.startsWith(QStringLiteral("VERSION_ID=")))
        continue;
      QString value = line.mid(11);
      if (value.size() >= 2 &&
          (value.front() == QLatin1Char('"') || value.front() == QLatin1Char('\'')) &&
          value.back() == value.front())
        value = value.mid(1, value.size() - 2);
      return value;
    }
    return {};
  }
  return {};
}

} // namespace

void osVersion(int *major, int *minor) {
  int foundMajor = 0;
  int foundMinor = 0;
  if (!splitVersion(osReleaseVersionId(), &foundMajor, &foundMinor)) {
    utsname name{};
    if (uname(&name) != 0 ||
        !splitVersion(QString::fromLatin1(name.release), &foundMajor, &foundMinor)) {
      foundMajor = 0;
      foundMinor = 0;
    }
  }
  if (major)
    *major = foundMajor;
  if (minor)
    *minor = foundMinor;
}

double backingScaleFactor() {
  const double factor = scaleOverride.load();
  return factor > 0.0 ? factor : 1.0;
}

void setBackingScaleFactorForTesting(double factor) {
  scaleOverride.store(factor);
}

} // namespace platform::SystemInfo

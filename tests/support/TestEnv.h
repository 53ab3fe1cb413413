#pragma once

#include <QString>
#include <QTemporaryDir>

namespace testenv {

// Gives the process a throw-away HOME, drops every XDG_* variable and pins the locale
// and time zone, so no test can touch the user's files or depend on the machine.
void isolateProcess();

// The folder of sample photos; tests copy from it and never write there.
QString photosDir();

// Test fixtures committed with the tests (tests/data).
QString dataDir();

// The built `quillmere` binary, for end-to-end tests of the headless commands.
QString quillmereBinary();

// Copies a sample photo (path relative to photosDir()) into folder, keeping its name
// unless newName is given, and returns the copy's path.
QString copyPhoto(const QString &relativePath, const QString &folder, const QString &newName = {});

// Writes bytes to a new file and returns its path.
QString writeFile(const QString &path, const QByteArray &bytes);

// Sets or replaces one environment variable for the rest of the test (TZ re-read).
void setTimeZone(const char *tz);

struct ProcessResult {
  int exitCode = -1;
  QString out;
  QString err;
};

// Runs the quillmere binary with args in the test's environment and waits for it.
ProcessResult runQuillmere(const QStringList &args, const QString &workingDir = {});

} // namespace testenv

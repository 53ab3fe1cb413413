#pragma once

#include <QString>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <string>

namespace testenv {

// Gives the process a throw-away HOME, drops every XDG_* variable and pins the locale
// and time zone, so no test can touch the user's files or depend on the machine.
void isolateProcess();

// The folder of sample photos committed with the tests (tests/data/photos); tests copy from
// it and never write there.
QString photosDir();

// The path of one sample photo or folder of them (relative to photosDir()). A photo that is not
// there fails the calling test with its path: a missing sample must never turn into a silently
// empty check.
QString photo(const QString &relativePath);

// Test fixtures committed with the tests (tests/data).
QString dataDir();

// The built `quillmere` binary, for end-to-end tests of the headless commands.
QString quillmereBinary();

// Copies a sample photo (path relative to photosDir()) into folder, keeping its name
// unless newName is given, and returns the copy's path. A missing sample or a failed copy
// fails the calling test and gives an empty path.
QString copyPhoto(const QString &relativePath, const QString &folder, const QString &newName = {});

// A readable name for a row of a parameterised test: letters and digits kept, every other
// run of characters one underscore ("0.97 KB" gives "0_97_KB"; nothing gives "empty").
std::string testName(const QString &text);

// A name that tells literal texts apart: each sign spelt out ("-3" gives "minus_3", " " gives
// "space", "/a.b" gives "slash_a_dot_b"), for rows whose texts differ only in their signs.
std::string textName(const QString &text);

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

// The whole of a file, or nothing when it cannot be read.
QByteArray readFile(const QString &path);

// count copies (big_00.jpg, big_01.jpg, ...) of one noisy 3000 x 2000 JPEG in folder: slow
// enough to encode that a run can be interrupted midway.
void makeNoisyPhotos(const QString &folder, int count);

struct InterruptedRun {
  bool stillRunning = false; // the command had not ended before the signal
  int exitCode = -1;         // -1 when the signal killed it
  QString out;
};

// Runs the quillmere binary, waits until its progress on stderr shows `progress` ("2/12"),
// sends it `signal` and waits for it to end.
InterruptedRun interruptQuillmere(const QStringList &args, const QByteArray &progress, int signal);

// A test with a temporary folder holding "in" (made) and "out" (left for the run to make).
class InOutTest : public ::testing::Test {
protected:
  void SetUp() override;
  QTemporaryDir dir;
  QString in;
  QString out;
};

} // namespace testenv

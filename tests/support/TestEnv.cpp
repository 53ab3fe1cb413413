#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>
#include <vips/vips8>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <string>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace testenv {

void isolateProcess() {
  std::vector<std::string> xdg;
  for (char **e = environ; *e; ++e) {
    std::string entry(*e);
    if (entry.rfind("XDG_", 0) == 0)
      xdg.push_back(entry.substr(0, entry.find('=')));
  }
  for (const auto &name : xdg)
    unsetenv(name.c_str());

  static std::string home; // must outlive the process: QTemporaryDir would need an app
  char pattern[] = "/tmp/quillmere-test-home-XXXXXX";
  if (const char *made = mkdtemp(pattern))
    home = made;
  setenv("HOME", home.c_str(), 1);
  setenv("LC_ALL", "en_US.UTF-8", 1);
  setenv("TZ", "UTC", 1);
  tzset();
  std::atexit([] {
    if (!home.empty())
      QDir(QString::fromStdString(home)).removeRecursively();
  });
}

QString photosDir() {
  return QStringLiteral(QUILLMERE_PHOTOS_DIR);
}

QString photo(const QString &relativePath) {
  const QString path = photosDir() + QLatin1Char('/') + relativePath;
  if (!QFileInfo::exists(path))
    ADD_FAILURE() << "missing sample photo: " << path.toStdString();
  return path;
}

QString dataDir() {
  return QStringLiteral(QUILLMERE_TEST_DATA_DIR);
}

QString quillmereBinary() {
  return QStringLiteral(QUILLMERE_BINARY);
}

QString copyPhoto(const QString &relativePath, const QString &folder, const QString &newName) {
  const QString source = photo(relativePath);
  const QString target =
      folder + QLatin1Char('/') + (newName.isEmpty() ? QFileInfo(source).fileName() : newName);
  QDir().mkpath(folder);
  QFile::remove(target);
  if (!QFile::copy(source, target)) {
    ADD_FAILURE() << "could not copy " << source.toStdString() << " to " << target.toStdString();
    return {};
  }
  QFile::setPermissions(target,
                        QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
  return target;
}

std::string testName(const QString &text) {
  std::string name;
  bool gap = false;
  for (const QChar c : text) {
    if (c.unicode() < 128 && c.isLetterOrNumber()) {
      if (gap && !name.empty())
        name += '_';
      name += char(c.unicode());
      gap = false;
    } else {
      gap = true;
    }
  }
  return name.empty() ? std::string("empty") : name;
}

std::string textName(const QString &text) {
  static const std::pair<char, const char *> kWords[] = {
      {'-', "minus"}, {'+', "plus"},  {' ', "space"}, {'.', "dot"},
      {'/', "slash"}, {'_', "under"}, {':', "colon"}, {',', "comma"}};
  std::string name;
  bool inWord = false;
  for (const QChar c : text) {
    const char16_t u = c.unicode();
    std::string token;
    if (u < 128 && c.isLetterOrNumber()) {
      if (!inWord && !name.empty())
        name += '_';
      name += char(u);
      inWord = true;
      continue;
    }
    token = "u" + QString::number(u, 16).toStdString();
    for (const auto &[sign, word] : kWords)
      if (u == char16_t(sign))
        token = word;
    name += (name.empty() ? "" : "_") + token;
    inWord = false;
  }
  return name.empty() ? std::string("empty") : name;
}

QString writeFile(const QString &path, const QByteArray &bytes) {
  QDir().mkpath(QFileInfo(path).absolutePath());
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
    return {};
  file.write(bytes);
  return path;
}

void setTimeZone(const char *tz) {
  setenv("TZ", tz, 1);
  tzset();
}

ProcessResult runQuillmere(const QStringList &args, const QString &workingDir) {
  QProcess process;
  process.setProgram(quillmereBinary());
  process.setArguments(args);
  if (!workingDir.isEmpty())
    process.setWorkingDirectory(workingDir);
  process.start();
  process.closeWriteChannel();
  ProcessResult result;
  if (!process.waitForFinished(240000)) {
    process.kill();
    process.waitForFinished();
    return result;
  }
  result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
  result.out = QString::fromUtf8(process.readAllStandardOutput());
  result.err = QString::fromUtf8(process.readAllStandardError());
  return result;
}

QByteArray readFile(const QString &path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void makeNoisyPhotos(const QString &folder, int count) {
  QDir().mkpath(folder);
  const vips::VImage noise =
      vips::VImage::gaussnoise(3000, 2000, vips::VImage::option()->set("sigma", 60))
          .bandjoin({vips::VImage::gaussnoise(3000, 2000), vips::VImage::gaussnoise(3000, 2000)})
          .cast(VIPS_FORMAT_UCHAR)
          .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  const QString first = folder + QStringLiteral("/big_00.jpg");
  noise.jpegsave(QFile::encodeName(first).data(), vips::VImage::option()->set("Q", 90));
  for (int i = 1; i < count; ++i)
    QFile::copy(first, QStringLiteral("%1/big_%2.jpg").arg(folder).arg(i, 2, 10, QChar('0')));
}

InterruptedRun interruptQuillmere(const QStringList &args, const QByteArray &progress, int signal) {
  QProcess process;
  process.start(quillmereBinary(), args);
  InterruptedRun result;
  if (!process.waitForStarted())
    return result;
  QByteArray err;
  while (!err.contains(progress) && process.state() == QProcess::Running) {
    process.waitForReadyRead(200);
    err += process.readAllStandardError();
  }
  result.stillRunning = process.state() == QProcess::Running;
  if (result.stillRunning) // a process that has ended has no id: kill(0) would hit the tests
    ::kill(pid_t(process.processId()), signal);
  process.waitForFinished(120000);
  if (process.exitStatus() == QProcess::NormalExit)
    result.exitCode = process.exitCode();
  result.out = QString::fromUtf8(process.readAllStandardOutput());
  return result;
}

void InOutTest::SetUp() {
  ASSERT_TRUE(dir.isValid());
  in = dir.filePath(QStringLiteral("in"));
  out = dir.filePath(QStringLiteral("out"));
  QDir().mkpath(in);
}

} // namespace testenv

// `quillmere run` end to end in a temporary HOME: exit statuses, the gate and its prompt,
// the summary and the log, photos that produce no file, Ctrl-C, and kill -9 safety.
#include "tests/support/TestEnv.h"

#include "platform/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>

#include <vips/vips8>

namespace {

QString logPathFrom(const QString &out) {
  const QRegularExpressionMatch match =
      QRegularExpression("^Log: (.+)$", QRegularExpression::MultilineOption).match(out);
  return match.hasMatch() ? match.captured(1) : QString();
}

QString readAll(const QString &path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

bool decodes(const QString &path) {
  try {
    vips::VImage image = vips::VImage::new_from_file(QFile::encodeName(path).constData(),
                                                     vips::VImage::option()->set("fail", true));
    return image.avg() >= 0;
  } catch (const vips::VError &) {
    return false;
  }
}

// Noisy 3000 x 2000 photos: slow enough to encode that a run can be interrupted midway.
void makeBigPhotos(const QString &folder, int count) {
  QDir().mkpath(folder);
  const vips::VImage noise =
      (vips::VImage::gaussnoise(3000, 2000, vips::VImage::option()->set("sigma", 60)))
          .bandjoin({vips::VImage::gaussnoise(3000, 2000), vips::VImage::gaussnoise(3000, 2000)})
          .cast(VIPS_FORMAT_UCHAR)
          .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  const QString first = folder + "/big_00.jpg";
  noise.jpegsave(QFile::encodeName(first).data(), vips::VImage::option()->set("Q", 90));
  for (int i = 1; i < count; ++i)
    QFile::copy(first, QStringLiteral("%1/big_%2.jpg").arg(folder).arg(i, 2, 10, QChar('0')));
}

class RunCommandTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    in = dir.filePath("in");
    out = dir.filePath("out");
    QDir().mkpath(in);
  }
  QTemporaryDir dir;
  QString in;
  QString out;
};

TEST_F(RunCommandTest, FinishedRunPrintsTheSummaryAndTheLog) {
  testenv::copyPhoto("jpg/Canon_40D.jpg", in);
  testenv::copyPhoto("jpg/orientation/portrait_6.jpg", in);
  const auto result = testenv::runQuillmere({"run", "--copy", out, "--format", "tif", in});
  ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
  EXPECT_TRUE(result.out.startsWith("Process Finished!\nBatch Count: 2\n"))
      << result.out.toStdString();
  EXPECT_TRUE(result.out.contains("Photos Processed: 2\n"));
  EXPECT_TRUE(result.out.contains("Output Directory: " + out + "\n"));
  const QString log = logPathFrom(result.out);
  ASSERT_FALSE(log.isEmpty());
  EXPECT_TRUE(log.startsWith(platform::documentsDirectory() + "/Quillmere/Quillmere_LogSummary_"));
  EXPECT_TRUE(readAll(log).contains("Status: Completed\n"));
  EXPECT_TRUE(decodes(out + "/Canon_40D.tif"));
  EXPECT_TRUE(decodes(out + "/portrait_6.tif"));
  // Console diagnostics stay off the command's output.
  EXPECT_FALSE(result.err.contains("save image at path"));
  EXPECT_FALSE(result.err.contains("Memory Capacity"));
}

TEST_F(RunCommandTest, TheGatePromptsRefusesAndAnswersYes) {
  testenv::copyPhoto("jpg/Canon_40D.jpg", in);
  testenv::copyPhoto("jpg/Nikon_D70.jpg", in);
  QDir().mkpath(out);
  testenv::writeFile(out + "/Canon_40D.jpg", "already here");

  // Some problems and no terminal to ask: declined.
  auto declined = testenv::runQuillmere({"run", "--copy", out, "--format", "jpg", in});
  EXPECT_EQ(declined.exitCode, 3) << declined.err.toStdString();
  EXPECT_FALSE(QFileInfo::exists(out + "/Nikon_D70.jpg"));

  auto yes = testenv::runQuillmere({"run", "--yes", "--copy", out, "--format", "jpg", in});
  EXPECT_EQ(yes.exitCode, 1) << yes.err.toStdString();
  EXPECT_TRUE(yes.out.contains("Photos Skipped: 1\n"));
  EXPECT_EQ(readAll(out + "/Canon_40D.jpg"), "already here");
  EXPECT_TRUE(decodes(out + "/Nikon_D70.jpg"));
  EXPECT_TRUE(readAll(logPathFrom(yes.out))
                  .contains("Photos Skipped (File already exists in destination folder) :1\n"));

  // Every destination taken now: refused.
  auto refused = testenv::runQuillmere({"run", "--yes", "--copy", out, "--format", "jpg", in});
  EXPECT_EQ(refused.exitCode, 2);
  EXPECT_TRUE(refused.err.contains("ERROR/WARNING: Batch Process cannot be initiated."));

  EXPECT_EQ(testenv::runQuillmere({"run", "--copy", out}).exitCode, 64);
  EXPECT_EQ(testenv::runQuillmere({"run", "--bogus", in}).exitCode, 64);
}

TEST_F(RunCommandTest, APhotoThatProducesNoFileIsCountedApartAndMoveKeepsItsSource) {
  testenv::copyPhoto("jpg/Canon_40D.jpg", in);
  const QString blocked = testenv::copyPhoto("jpg/Nikon_D70.jpg", in);
  // A folder squats on the second photo's output name: overwriting cannot replace it.
  QDir().mkpath(out + "/Nikon_D70.png");
  const auto result =
      testenv::runQuillmere({"run", "--move", out, "--overwrite", "--format", "png", in});
  EXPECT_EQ(result.exitCode, 1) << result.out.toStdString() << result.err.toStdString();
  EXPECT_TRUE(result.out.contains("Photos Processed: 2\n"));
  EXPECT_TRUE(result.out.contains("Photos not written: 1\n"));
  EXPECT_TRUE(result.err.contains("quillmere: not written: " + out + "/Nikon_D70.png"));
  EXPECT_TRUE(decodes(out + "/Canon_40D.png"));
  EXPECT_FALSE(QFileInfo::exists(in + "/Canon_40D.jpg"));
  EXPECT_TRUE(QFileInfo::exists(platform::trashDirectory() + "/files/Canon_40D.jpg"));
  EXPECT_TRUE(QFileInfo::exists(blocked));
  EXPECT_TRUE(QFileInfo(out + "/Nikon_D70.png").isDir());
  EXPECT_TRUE(QDir(out).entryList({".quillmere-*"}, QDir::Files | QDir::Hidden).isEmpty());
}

TEST_F(RunCommandTest, CtrlCFinishesThePhotoInFlightAndLogsTheInterruption) {
  makeBigPhotos(in, 12);
  QProcess process;
  process.setProgram(testenv::quillmereBinary());
  process.setArguments({"run", "--copy", out, "--format", "png", "--compression", "9", in});
  process.start();
  ASSERT_TRUE(process.waitForStarted());
  // Wait for the first photo's line, then interrupt.
  QByteArray err;
  while (!err.contains("1/12") && process.state() == QProcess::Running) {
    process.waitForReadyRead(500);
    err += process.readAllStandardError();
  }
  ::kill(pid_t(process.processId()), SIGINT);
  ASSERT_TRUE(process.waitForFinished(120000));
  const QString output = QString::fromUtf8(process.readAllStandardOutput());
  EXPECT_EQ(process.exitCode(), 130) << output.toStdString();
  EXPECT_TRUE(output.startsWith("Process Stopped!\n"));
  const QString log = readAll(logPathFrom(output));
  EXPECT_TRUE(log.contains("Status: Process interrupted by user\n"));
  const QStringList written = QDir(out).entryList(QDir::Files | QDir::Hidden);
  EXPECT_GE(written.size(), 1);
  EXPECT_LT(written.size(), 12);
  for (const QString &name : written) {
    EXPECT_TRUE(name.endsWith(".png")) << name.toStdString();
    EXPECT_TRUE(decodes(out + "/" + name)) << name.toStdString();
  }
  EXPECT_TRUE(log.contains(QStringLiteral("Photos Processed : %1\n").arg(written.size())));
  EXPECT_EQ(QDir(in).entryList(QDir::Files).size(), 12);
}

// A run killed outright leaves every source and every finished output whole; the next run
// clears the dead run's temporary file away.
TEST_F(RunCommandTest, KillNineLeavesSourcesIntactAndOutputsComplete) {
  makeBigPhotos(in, 12);
  QProcess process;
  process.setProgram(testenv::quillmereBinary());
  process.setArguments({"run", "--move", out, "--format", "tif", "--compression", "9", in});
  process.start();
  ASSERT_TRUE(process.waitForStarted());
  QByteArray err;
  while (!err.contains("2/12") && process.state() == QProcess::Running) {
    process.waitForReadyRead(500);
    err += process.readAllStandardError();
  }
  ::kill(pid_t(process.processId()), SIGKILL);
  process.waitForFinished(30000);

  int moved = 0;
  for (int i = 0; i < 12; ++i) {
    const QString name = QStringLiteral("big_%1").arg(i, 2, 10, QChar('0'));
    const bool sourceHere = QFileInfo::exists(in + "/" + name + ".jpg");
    const bool inTrash = QFileInfo::exists(platform::trashDirectory() + "/files/" + name + ".jpg");
    const bool output = QFileInfo::exists(out + "/" + name + ".tif");
    EXPECT_TRUE(sourceHere || inTrash) << name.toStdString();
    if (inTrash) {
      ++moved;
      EXPECT_TRUE(output) << name.toStdString();
    }
    if (output) {
      EXPECT_TRUE(decodes(out + "/" + name + ".tif")) << name.toStdString();
    }
  }
  EXPECT_GE(moved, 1);
  const QStringList partial = QDir(out).entryList({".quillmere-*"}, QDir::Files | QDir::Hidden);
  EXPECT_LE(partial.size(), 1);

  // The remaining photos, run again: the dead run's temporary file is removed.
  const auto again = testenv::runQuillmere({"run", "--yes", "--move", out, "--format", "tif", in});
  EXPECT_EQ(again.exitCode, 0) << again.err.toStdString();
  EXPECT_TRUE(QDir(out).entryList({".quillmere-*"}, QDir::Files | QDir::Hidden).isEmpty());
  EXPECT_EQ(QDir(out).entryList({"*.tif"}, QDir::Files).size(), 12);
}

} // namespace

// `quillmere run` end to end in a temporary HOME: exit statuses, the gate and its prompt,
// the summary and the log, photos that produce no file, Ctrl-C, and kill -9 safety.
#include "tests/support/TestEnv.h"

#include "platform/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

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
  return QString::fromUtf8(testenv::readFile(path));
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

class RunCommandTest : public testenv::InOutTest {};

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

// A damaged photo in a batch of five: an error with its reason in the summary and the log,
// no output under its name, its source kept in move mode, and not a line of the decoder's
// warnings on the terminal.
TEST_F(RunCommandTest, ADamagedPhotoIsAnErrorAndKeepsItsSource) {
  for (const char *mode : {"--copy", "--move"}) {
    SCOPED_TRACE(mode);
    const QString folder = dir.filePath(QStringLiteral("in%1").arg(mode));
    const QString outFolder = dir.filePath(QStringLiteral("out%1").arg(mode));
    for (const char *sample : {"jpg/Canon_40D.jpg", "jpg/Nikon_D70.jpg", "jpg/corrupted.jpg",
                               "jpg/gps/DSCN0010.jpg", "jpg/orientation/portrait_6.jpg"})
      testenv::copyPhoto(sample, folder);
    const QString damaged = folder + "/corrupted.jpg";
    const QByteArray before = testenv::readFile(damaged);
    const auto result = testenv::runQuillmere({"run", mode, outFolder, "--format", "jpg", folder});
    EXPECT_EQ(result.exitCode, 1) << result.out.toStdString() << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("Batch Count: 5\n"));
    EXPECT_TRUE(result.out.contains("Photos Processed: 4\n"));
    EXPECT_TRUE(result.out.contains("Photos with Error: 1\n"));
    EXPECT_FALSE(result.out.contains("not written"));
    const QString log = readAll(logPathFrom(result.out));
    EXPECT_TRUE(log.contains("Errors: 1\n"));
    EXPECT_TRUE(log.contains("Photos Processed : 4\n"));
    EXPECT_TRUE(log.contains("\n1\tError(The photo could not be decoded.)\t" + damaged + "\n"))
        << log.toStdString();
    EXPECT_EQ(result.err.count("VIPS"), 0) << result.err.toStdString();
    QStringList outputs = QDir(outFolder).entryList(QDir::Files | QDir::Hidden);
    outputs.sort();
    EXPECT_EQ(outputs,
              (QStringList{"Canon_40D.jpg", "DSCN0010.jpg", "Nikon_D70.jpg", "portrait_6.jpg"}));
    // Move mode trashed the four written; the damaged one is where it was, unchanged.
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), qstrcmp(mode, "--move") ? 5 : 1);
    EXPECT_TRUE(testenv::readFile(damaged) == before);
  }
}

// A name the file system refuses to take is an error with the system's own reason, and the
// photo is not counted processed; the source stays in move mode.
TEST_F(RunCommandTest, AWriteRefusedByTheSystemIsAnError) {
  testenv::copyPhoto("jpg/Canon_40D.jpg", in);
  const QString blocked = testenv::copyPhoto("jpg/Nikon_D70.jpg", in);
  // A folder squats on the second photo's output name: overwriting cannot replace it.
  QDir().mkpath(out + "/Nikon_D70.png");
  const auto result =
      testenv::runQuillmere({"run", "--move", out, "--overwrite", "--format", "png", in});
  EXPECT_EQ(result.exitCode, 1) << result.out.toStdString() << result.err.toStdString();
  EXPECT_TRUE(result.out.contains("Photos Processed: 1\n"));
  EXPECT_TRUE(result.out.contains("Photos with Error: 1\n"));
  EXPECT_TRUE(result.err.contains(blocked + ": The file could not be written: Is a directory"))
      << result.err.toStdString();
  EXPECT_TRUE(decodes(out + "/Canon_40D.png"));
  EXPECT_FALSE(QFileInfo::exists(in + "/Canon_40D.jpg"));
  EXPECT_TRUE(QFileInfo::exists(platform::trashDirectory() + "/files/Canon_40D.jpg"));
  EXPECT_TRUE(QFileInfo::exists(blocked));
  EXPECT_TRUE(QFileInfo(out + "/Nikon_D70.png").isDir());
  EXPECT_TRUE(QDir(out).entryList({".quillmere-*"}, QDir::Files | QDir::Hidden).isEmpty());
}

// Two runs at once on two batches, both through the compression step, while a preview of
// both runs: each run writes exactly its own photos, whole.
TEST_F(RunCommandTest, TwoRunsAndAPreviewAtOnceKeepApart) {
  const QStringList first = {"jpg/Canon_40D.jpg", "jpg/Nikon_D70.jpg", "jpg/gps/DSCN0010.jpg"};
  const QStringList second = {"jpg/orientation/portrait_6.jpg", "jpg/Fujifilm_FinePix_E500.jpg",
                              "jpg/orientation/landscape_6.jpg"};
  for (const QString &sample : first)
    testenv::copyPhoto(sample, in + "/a");
  for (const QString &sample : second)
    testenv::copyPhoto(sample, in + "/b");
  QProcess processes[3];
  processes[0].start(testenv::quillmereBinary(), {"run", "--copy", out + "/a", "--format", "png",
                                                  "--compression", "9", in + "/a"});
  processes[1].start(testenv::quillmereBinary(), {"run", "--copy", out + "/b", "--format", "png",
                                                  "--compression", "9", in + "/b"});
  processes[2].start(testenv::quillmereBinary(),
                     {"preview", "--copy", out + "/c", in + "/a", in + "/b"});
  QStringList logs;
  for (QProcess &process : processes) {
    ASSERT_TRUE(process.waitForFinished(240000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    if (&process != &processes[2])
      logs << logPathFrom(QString::fromUtf8(process.readAllStandardOutput()));
  }
  // Each run has a log of its own, even when both started in the same second.
  ASSERT_EQ(logs.size(), 2);
  EXPECT_NE(logs[0], logs[1]);
  EXPECT_TRUE(readAll(logs[0]).contains("Photos Processed : 3\n"));
  EXPECT_TRUE(readAll(logs[1]).contains("Photos Processed : 3\n"));
  for (const auto &[batch, samples] :
       {std::pair{QString("a"), first}, std::pair{QString("b"), second}}) {
    EXPECT_EQ(QDir(out + "/" + batch).entryList(QDir::Files | QDir::Hidden).size(), 3);
    for (const QString &sample : samples) {
      // Each output is whole and has the size of its own source, upright.
      const QString name = QFileInfo(sample).completeBaseName() + ".png";
      const QString written = out + "/" + batch + "/" + name;
      ASSERT_TRUE(decodes(written)) << name.toStdString();
      const vips::VImage source = vips::VImage::new_from_file(
          QFile::encodeName(testenv::photosDir() + "/" + sample).constData(),
          vips::VImage::option()->set("autorotate", true));
      const vips::VImage output =
          vips::VImage::new_from_file(QFile::encodeName(written).constData());
      EXPECT_EQ(output.width(), source.width()) << name.toStdString();
      EXPECT_EQ(output.height(), source.height()) << name.toStdString();
    }
  }
  EXPECT_EQ(processes[2].readAllStandardOutput().count("File is ready to process."), 6);
}

TEST_F(RunCommandTest, CtrlCFinishesThePhotoInFlightAndLogsTheInterruption) {
  testenv::makeNoisyPhotos(in, 12);
  const auto run = testenv::interruptQuillmere(
      {"run", "--copy", out, "--format", "png", "--compression", "9", in}, "1/12", SIGINT);
  ASSERT_TRUE(run.stillRunning);
  EXPECT_EQ(run.exitCode, 130) << run.out.toStdString();
  EXPECT_TRUE(run.out.startsWith("Process Stopped!\n"));
  const QString log = readAll(logPathFrom(run.out));
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
  testenv::makeNoisyPhotos(in, 12);
  ASSERT_TRUE(
      testenv::interruptQuillmere(
          {"run", "--move", out, "--format", "tif", "--compression", "9", in}, "2/12", SIGKILL)
          .stillRunning);

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

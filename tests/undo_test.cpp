// `quillmere undo` and `quillmere runs` end to end in a temporary HOME: every mode is run,
// undone and compared with the folders as they were, by name and content; a changed output
// is left alone and reported; a run killed with kill -9 is undone as far as it went.
#include "tests/support/TestEnv.h"

#include "processing/RunJournal.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>

#include <gtest/gtest.h>

#include <csignal>

namespace {

// Every file below root: relative path to a hash of its bytes.
QMap<QString, QByteArray> snapshot(const QString &root) {
  QMap<QString, QByteArray> files;
  QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
  while (it.hasNext()) {
    const QString path = it.next();
    files.insert(
        QDir(root).relativeFilePath(path),
        QCryptographicHash::hash(testenv::readFile(path), QCryptographicHash::Sha1).toHex());
  }
  return files;
}

std::string listed(const QMap<QString, QByteArray> &files) {
  return files.keys().join(' ').toStdString();
}

struct Mode {
  const char *name;
  QStringList options; // OUT stands for the output folder
  bool existingOutputs = false;
};

// Each test starts with no journal of earlier runs.
class CleanJournal : public testenv::InOutTest {
protected:
  void SetUp() override {
    InOutTest::SetUp();
    QDir(RunJournal::folder()).removeRecursively();
    QDir().mkpath(out);
  }
};

using UndoAfterKill = CleanJournal;

class UndoTest : public CleanJournal, public ::testing::WithParamInterface<Mode> {
protected:
  void SetUp() override {
    CleanJournal::SetUp();
    for (const char *name : {"a.jpg", "b.jpg", "c.jpg"})
      testenv::copyPhoto("jpg/PaintTool_sample.jpg", in, name);
  }
  QStringList runArgs(const Mode &mode) {
    QStringList args = {"run", "--yes"};
    for (const QString &option : mode.options)
      args << (option == "OUT" ? out : option);
    return args << in;
  }
};

TEST_P(UndoTest, UndoRestoresTheFoldersAndLeavesAChangedOutputAlone) {
  const Mode mode = GetParam();
  if (mode.existingOutputs) {
    // Files the run will replace (an overwrite), or PDFs it will append to.
    QStringList first = runArgs(mode);
    first.removeAll("--overwrite");
    ASSERT_EQ(testenv::runQuillmere(first).exitCode, 0);
    QDir(RunJournal::folder()).removeRecursively();
    // Replaced files of their own content (a PDF stays a PDF to be appended to).
    for (const QString &name : QDir(out).entryList({"*.png"}, QDir::Files))
      testenv::writeFile(out + "/" + name, "the user's own " + name.toUtf8());
  }
  const auto beforeIn = snapshot(in);
  const auto beforeOut = snapshot(out);

  const auto run = testenv::runQuillmere(runArgs(mode));
  ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
  ASSERT_TRUE(snapshot(in) != beforeIn || snapshot(out) != beforeOut);
  const auto runs = testenv::runQuillmere({"runs"});
  EXPECT_TRUE(runs.out.contains("\t3 photos\t")) << runs.out.toStdString();
  EXPECT_TRUE(runs.out.contains("\tnot undone\n")) << runs.out.toStdString();

  const auto undone = testenv::runQuillmere({"undo"});
  EXPECT_EQ(undone.exitCode, 0) << undone.err.toStdString();
  EXPECT_EQ(snapshot(in), beforeIn) << listed(snapshot(in));
  EXPECT_EQ(snapshot(out), beforeOut) << listed(snapshot(out));
  EXPECT_TRUE(testenv::runQuillmere({"runs"}).out.contains("\tundone\n"));
  EXPECT_EQ(testenv::runQuillmere({"undo"}).exitCode, 0) << "nothing left: still success";

  // Again, with one output changed after the run.
  ASSERT_EQ(testenv::runQuillmere(runArgs(mode)).exitCode, 0);
  RunInfo last = RunJournal::runs().first();
  ASSERT_EQ(last.records.size(), 3);
  const QString changed = last.records.at(1).output;
  {
    QFile file(changed);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("changed by hand");
  }
  const QByteArray changedBytes =
      snapshot(QFileInfo(changed).absolutePath()).value(QFileInfo(changed).fileName());
  const auto partly = testenv::runQuillmere({"undo", last.id});
  EXPECT_EQ(partly.exitCode, 1);
  EXPECT_TRUE(partly.err.contains("changed since the run, left alone: " + changed))
      << partly.err.toStdString();
  EXPECT_EQ(snapshot(QFileInfo(changed).absolutePath()).value(QFileInfo(changed).fileName()),
            changedBytes);
  for (int i : {0, 2}) {
    const JournalRecord &r = last.records.at(i);
    EXPECT_TRUE(QFile::exists(r.source)) << r.source.toStdString();
    if (!mode.existingOutputs) {
      EXPECT_FALSE(QFile::exists(r.output)) << r.output.toStdString();
    }
  }
  EXPECT_TRUE(testenv::runQuillmere({"runs"}).out.contains("\tpartly undone\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Modes, UndoTest,
    ::testing::Values(Mode{"Copy", {"--copy", "OUT", "--format", "png"}},
                      Mode{"Move", {"--move", "OUT", "--format", "png"}},
                      Mode{"Beside", {"--beside", "--format", "png"}},
                      Mode{"Overwrite", {"--copy", "OUT", "--format", "png", "--overwrite"}, true},
                      Mode{"PdfAppend", {"--copy", "OUT", "--format", "pdf", "--overwrite"}, true}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(UndoAfterKill, EveryPhotoTheKilledRunFinishedIsUndone) {
  testenv::makeNoisyPhotos(in, 12);
  const auto beforeIn = snapshot(in);
  ASSERT_TRUE(testenv::interruptQuillmere({"run", "--yes", "--move", out, "--format", "tif", in},
                                          "3/12", SIGKILL)
                  .stillRunning)
      << "the run ended before it could be killed";

  const RunInfo killed = RunJournal::runs().first();
  EXPECT_GE(killed.records.size(), 2);
  const auto undone = testenv::runQuillmere({"undo"});
  EXPECT_EQ(undone.exitCode, 0) << undone.err.toStdString();
  // Every source is back; what is left in the output folder is the dead run's temporary file
  // for the photo it was writing, which the next run into the folder clears.
  EXPECT_EQ(snapshot(in), beforeIn);
  for (const QString &name : snapshot(out).keys())
    EXPECT_TRUE(name.endsWith(".part")) << name.toStdString();
}

} // namespace

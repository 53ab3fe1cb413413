// The add run and the batch upkeep, driven on copies of the sample photos in a temporary
// folder: what is added, in which order, and exactly which messages the user sees.

#include "intake/AddPhotosConsole.h"
#include "intake/ImageFileInfo.h"
#include "intake/PhotoFile.h"
#include "intake/PhotoIntake.h"
#include "platform/StandardFolders.h"
#include "tests/support/TestEnv.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

inline void PrintTo(const QString &text, std::ostream *out) {
  *out << '"' << text.toStdString() << '"';
}

namespace {

const char *kSmall = "jpg/Fujifilm_FinePix_E500.jpg"; // taken 2006:08:17 09:24:48
const char *kOther = "jpg/Olympus_C8080WZ.jpg";       // taken 2006:10:22 15:44:29
const char *kThird = "jpg/Sony_HDR-HC3.jpg";

// The alerts exactly as the user reads them ("TITLE: text").
const QStringList kPhotoExists = {"PHOTO EXISTS: Photo already exists in batch!"};
const QStringList kNoPhotos = {"NO PHOTOS TO ADD: There are no new photos to add"};
const QStringList kOneRefused = {"FILES CANNOT BE ADDED: File cannot be added. They are either "
                                 "damaged or not supported by application."};

// Records what the screen would show, in order, and keeps its own copy of the batch, changed
// only by the insertion and removal notices, as a table model would. Every notice, every other
// listener call and every check() must find the batch equal to that copy (outside a notice pair)
// and come on the owner's thread; anything else is a fault, noted in faults.
struct Recorder : AddPhotosListener {
  const PhotoIntake::Batch *batch = nullptr;
  PhotoIntake::Batch rows;
  std::thread::id owner = std::this_thread::get_id();
  QStringList faults;
  QList<QPair<qsizetype, qsizetype>> inserts, removals;
  enum class Open { None, Insert, Remove } open = Open::None;
  qsizetype openFirst = 0, openCount = 0;
  QList<AddPhotosMessage> messages;
  QList<AddPhotosProgress> progress;
  QStringList unreadableFolders;
  int willAdd = 0, ended = 0, finished = 0, panels = 0, examined = 0;
  bool lastShowProgressPanel = false;
  std::function<void(const AddPhotosProgress &)> onProgress;
  std::function<void()> onWillAdd;

  void watch(const PhotoIntake::Batch *b) {
    batch = b;
    rows = *b;
  }
  void fault(const QString &what) {
    if (faults.size() < 20)
      faults.append(what);
  }
  // Called at every listener call and by the tests' timers.
  void check(const char *where) {
    if (std::this_thread::get_id() != owner)
      fault(QStringLiteral("%1 off the owner's thread").arg(where));
    if (batch && open == Open::None && *batch != rows)
      fault(QStringLiteral("%1: the batch changed without a notice").arg(where));
  }
  void addPhotosWillInsert(qsizetype first, qsizetype count) override {
    check("will insert");
    if (open != Open::None || first != rows.size() || count <= 0)
      fault(QStringLiteral("bad insert %1+%2 of %3").arg(first).arg(count).arg(rows.size()));
    open = Open::Insert;
    openFirst = first;
    openCount = count;
  }
  void addPhotosDidInsert() override {
    if (open != Open::Insert || batch->size() != rows.size() + openCount ||
        batch->mid(0, rows.size()) != rows)
      fault(QStringLiteral("insert of %1 rows not as announced").arg(openCount));
    rows = *batch;
    inserts.append({openFirst, openCount});
    open = Open::None;
    check("did insert");
  }
  void addPhotosWillRemove(qsizetype first, qsizetype count) override {
    check("will remove");
    if (open != Open::None || first < 0 || count <= 0 || first + count > rows.size())
      fault(QStringLiteral("bad removal %1+%2 of %3").arg(first).arg(count).arg(rows.size()));
    open = Open::Remove;
    openFirst = first;
    openCount = count;
  }
  void addPhotosDidRemove() override {
    PhotoIntake::Batch expected = rows;
    expected.remove(openFirst, openCount);
    if (open != Open::Remove || *batch != expected)
      fault(QStringLiteral("removal %1+%2 not as announced").arg(openFirst).arg(openCount));
    rows = *batch;
    removals.append({openFirst, openCount});
    open = Open::None;
    check("did remove");
  }
  void addPhotosMessage(const AddPhotosMessage &m) override {
    check("message");
    messages.append(m);
  }
  void addPhotosExaminedForFilter(const std::shared_ptr<ImageFileInfo> &) override {
    check("examined");
    ++examined;
  }
  void addPhotosWillAdd(bool showProgressPanel) override {
    check("will add");
    lastShowProgressPanel = showProgressPanel;
    ++willAdd;
    if (onWillAdd)
      onWillAdd();
  }
  void addPhotosShowProgressPanel() override {
    check("panel");
    ++panels;
  }
  void addPhotosProgress(const AddPhotosProgress &p) override {
    check("progress");
    progress.append(p);
    if (onProgress)
      onProgress(p);
  }
  void addPhotosEnded() override {
    check("ended");
    ++ended;
  }
  void addPhotosFinished() override {
    check("finished");
    ++finished;
  }
  void addPhotosUnreadableName(const QString &folder) override {
    check("unreadable");
    unreadableFolders.append(folder);
  }

  QStringList shown() const {
    QStringList lines;
    for (const auto &m : messages)
      lines.append(m.title + ": " + m.text);
    return lines;
  }
  void clear() {
    messages.clear();
    progress.clear();
    unreadableFolders.clear();
    inserts.clear();
    removals.clear();
    willAdd = ended = finished = panels = examined = 0;
  }
};

// One progress report as the panel shows it: bar | percent text | picture | progress text.
QString panel(const AddPhotosProgress &p) {
  return QStringLiteral("%1 | %2 | %3 | %4")
      .arg(p.percent)
      .arg(p.percentText, p.pictureName, p.progressText);
}

class AddRun : public ::testing::Test {
protected:
  QTemporaryDir dir;
  PhotoIntake::Batch batch;
  Recorder seen;
  PhotoIntake engine{&batch, &seen};

  AddRun() { seen.watch(&batch); }
  void TearDown() override {
    seen.check("end of test");
    EXPECT_EQ(seen.faults, QStringList());
  }

  QString path(const QString &name) const { return dir.path() + '/' + name; }
  QString photo(const QString &name, const char *sample = kSmall) {
    const QFileInfo full(path(name));
    return testenv::copyPhoto(sample, full.path(), full.fileName());
  }
  // Copies n photos into folder as 00.jpg, 01.jpg, ...
  QString folderOf(const QString &folder, int n) {
    for (int i = 0; i < n; ++i)
      photo(folder + QStringLiteral("/%1.jpg").arg(i, 2, 10, QLatin1Char('0')));
    return path(folder);
  }
  AddPhotosStatus add(const QStringList &paths, int index = 0) {
    seen.clear();
    const AddPhotosStatus status = engine.btnAddPhotosTappedWithIndex(index, paths);
    engine.waitForFinished();
    return status;
  }
  void addLibrary(const QString &library) {
    seen.clear();
    engine.btnAddIphotosTapped({library});
    engine.waitForFinished();
  }
  QStringList relative(const QStringList &paths) const {
    QStringList names;
    for (const QString &p : paths)
      names.append(QDir(dir.path()).relativeFilePath(p));
    return names;
  }
  QStringList batchNames() const {
    QStringList paths;
    for (const auto &p : batch)
      paths.append(p->filePath);
    return relative(paths);
  }
  void expectKeysMatchBatch() const {
    EXPECT_EQ(engine.dictFileAdded.size(), batch.size());
    for (const auto &p : batch)
      EXPECT_TRUE(engine.dictFileAdded.contains(p->filePath)) << p->filePath.toStdString();
  }
};

TEST_F(AddRun, DuplicatesAcrossRunsAndTheCountersMessageQuirks) {
  const QString a = photo("a.jpg"), b = photo("b.jpg", kOther);
  const QString t1 = testenv::writeFile(path("notes.txt"), "x");
  const QString t2 = testenv::writeFile(path("doc.odt"), "x");
  const QString t3 = testenv::writeFile(path("c.Ptif"), "x");
  ASSERT_TRUE(add({a}).started());
  EXPECT_EQ(batchNames(), QStringList{"a.jpg"});
  EXPECT_TRUE(seen.messages.isEmpty());

  add({a});
  EXPECT_EQ(seen.shown(), kPhotoExists);
  EXPECT_EQ(seen.willAdd, 0);

  // A new photo with a duplicate: the refused-files message, not PHOTO EXISTS, once.
  add({a, b});
  EXPECT_EQ(batch.size(), 2);
  EXPECT_EQ(seen.shown(), QStringList{"FILE CANNOT BE ADDED: File cannot be added. It is either "
                                      "damaged or not supported by application."});

  add({a, b});
  EXPECT_EQ(seen.shown(), QStringList{"PHOTOS EXISTS: Photos already exist in batch!"});
  EXPECT_TRUE(seen.messages.first().showsOk);
  EXPECT_FALSE(seen.messages.first().showsRemove);

  // Only unsupported files: singular title and "It is", however many there are.
  add({t1, t2, t3});
  EXPECT_EQ(seen.shown(), QStringList{"FILE CANNOT BE ADDED: Some files cannot be added. It is "
                                      "either damaged or not supported by application."});

  // A duplicate and an unsupported file with nothing new: PHOTO EXISTS.
  add({a, t1});
  EXPECT_EQ(seen.shown(), kPhotoExists);

  // Two new photos and two unsupported ones: plural title, "Some files", "They are".
  add({photo("c.jpg"), t1, photo("d.jpg"), t2});
  EXPECT_EQ(seen.shown(), QStringList{"FILES CANNOT BE ADDED: Some files cannot be added. They "
                                      "are either damaged or not supported by application."});
  EXPECT_EQ(batch.size(), 4);
  expectKeysMatchBatch();
}

TEST_F(AddRun, ExactCaseExtraExtensions) {
  const char *tiff = "tiff/Arbitro.tiff";
  add({photo("m.Ptif", tiff), photo("l.ptif", tiff), photo("u.PTIF", tiff)});
  EXPECT_EQ(batchNames(), (QStringList{"l.ptif", "u.PTIF"}));
  EXPECT_EQ(seen.shown(), kOneRefused);

  // The MIME database knows most of these in any case; only the listed spellings count, even
  // for files that decode.
  const QByteArray grey = "P5\n4 3\n255\n" + QByteArray(12, '\x80');
  const QByteArray colour = "P6\n4 3\n255\n" + QByteArray(36, '\x40');
  QStringList paths;
  for (const char *name : {"x.Pgm", "x.Ppm", "x.Pnm", "x.Jpc", "x.Eps", "x.Pct"})
    paths.append(testenv::writeFile(path(name), colour));
  // "P7" is the listed upper-case spelling, not a mixed one.
  paths << testenv::writeFile(path("a.pgm"), grey) << testenv::writeFile(path("b.PGM"), grey)
        << testenv::writeFile(path("c.ppm"), colour) << testenv::writeFile(path("d.PNM"), colour)
        << testenv::writeFile(path("e.P7"), colour);
  add(paths);
  EXPECT_EQ(batchNames(),
            (QStringList{"l.ptif", "u.PTIF", "a.pgm", "b.PGM", "c.ppm", "d.PNM", "e.P7"}));
  EXPECT_EQ(seen.shown(), QStringList{"FILES CANNOT BE ADDED: Some files cannot be added. They "
                                      "are either damaged or not supported by application."});
}

TEST_F(AddRun, FlatAndDeepFolderListing) {
  for (const char *name : {"a.jpg", "B.JPG", "c.Jpg", ".hidden.jpg", "sub/d.jpg",
                           "sub/deeper/e.jpg", ".secret/f.jpg", "Viewer.app/g.jpg"})
    photo(QStringLiteral("top/") + name);
  testenv::writeFile(path("top/readme"), "x");

  EXPECT_EQ(relative(engine.listFolder(path("top"), false)),
            (QStringList{"top/.hidden.jpg", "top/B.JPG", "top/a.jpg"}));
  EXPECT_EQ(relative(engine.listFolder(path("top"), true)),
            (QStringList{"top/B.JPG", "top/a.jpg", "top/c.Jpg", "top/readme", "top/sub/d.jpg",
                         "top/sub/deeper/e.jpg"}));
}

TEST_F(AddRun, ProgressTextsAndPictures) {
  const QString ten = folderOf("ten", 10);
  add({ten});
  ASSERT_EQ(seen.progress.size(), 10);
  EXPECT_EQ(panel(seen.progress[6]), "70 | 70 % | fill_70 | 7 of 10 photos added");
  EXPECT_EQ(seen.progress[6].pathText, "Photo path: : " + ten);
  EXPECT_TRUE(seen.progress.last().complete);
  EXPECT_EQ(panel(seen.progress.last()), "100 | 100 % | fill_105 | 10 photos added");
  EXPECT_TRUE(seen.lastShowProgressPanel);

  add({folderOf("seven", 7)});
  ASSERT_EQ(seen.progress.size(), 7);
  EXPECT_EQ(panel(seen.progress[2]), "42 | 40 % | fill_40 | 3 of 7 photos added");
  EXPECT_EQ(seen.progress[0].pictureName, "fill_10");

  add({photo("one.jpg")});
  ASSERT_EQ(seen.progress.size(), 1);
  EXPECT_EQ(panel(seen.progress[0]), "100 | 100 % | fill_105 | 1 photo added");
}

TEST_F(AddRun, StopMidRunKeepsWhatWasReported) {
  // Photos come over two at a time: the stop at the first report leaves most of them out.
  engine.setQueueLimitForTesting(2);
  const QString twenty = folderOf("twenty", 20);
  seen.onProgress = [&](const AddPhotosProgress &p) {
    if (p.photosAdded == 1)
      engine.btnStopAddingTapped();
  };
  add({twenty});
  EXPECT_FALSE(engine.isRunning());
  EXPECT_FALSE(engine.isPHOTOS_PROCESSING_IN_PROGERESS);
  // Exactly the photos reported as added are in the batch, each reported once.
  ASSERT_FALSE(seen.progress.isEmpty());
  EXPECT_EQ(batch.size(), seen.progress.size());
  EXPECT_EQ(engine.photosAdded.load(), seen.progress.size());
  EXPECT_LT(batch.size(), 10);
  EXPECT_GE(seen.ended, 1);
  EXPECT_TRUE(seen.messages.isEmpty());
  expectKeysMatchBatch();

  // The rest can be added afterwards, after the first ones, in the folder's order.
  seen.onProgress = nullptr;
  add({twenty});
  ASSERT_EQ(batch.size(), 20);
  for (int i = 0; i < 20; ++i)
    EXPECT_EQ(batchNames()[i], QStringLiteral("twenty/%1.jpg").arg(i, 2, 10, QLatin1Char('0')));
}

TEST_F(AddRun, LimitOneByOneAndInsideAFolder) {
  engine.setMaxPhotosLimitForTesting(3);
  QStringList files;
  for (int i = 0; i < 4; ++i)
    files.append(photo(QStringLiteral("single/%1.jpg").arg(i)));

  add(files.mid(0, 3));
  EXPECT_EQ(batch.size(), 3);
  EXPECT_TRUE(seen.messages.isEmpty());

  engine.btnYesOnRemoveAllPhotoTapped();
  add(files);
  EXPECT_TRUE(batch.isEmpty());
  EXPECT_EQ(seen.shown(), QStringList{"PHOTOS LIMIT EXCEEDED: Photo limit exceeded! A Batch of 3 "
                                      "photos can be processed at a time."});

  // Inside a folder the limit trips one photo later: 4 are counted and added, 5 are not.
  add({folderOf("four", 4)});
  EXPECT_EQ(batch.size(), 4);
  add({folderOf("five", 5)});
  EXPECT_EQ(batch.size(), 4);
  ASSERT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::LimitExceeded);
}

TEST_F(AddRun, DateFilterBordersAndTheRedNote) {
  const QString folder = path("dated");
  photo("dated/early.jpg", kSmall);
  photo("dated/later.jpg", kOther);
  const QDateTime early(QDate(2006, 8, 17), QTime(9, 24, 48));
  const QDateTime later(QDate(2006, 10, 22), QTime(15, 44, 29));

  // From and To in the same minute read alike: the red note, nothing added.
  const AddPhotosStatus same = engine.btnAddFilterOnPopupTapped(early, early.addSecs(5));
  EXPECT_EQ(same.code, AddPhotosStatus::Code::DatesRefused);
  EXPECT_EQ(same.message, "* From Date cannot be greater than or equal to To Date.");
  EXPECT_EQ(engine.btnAddFilterOnPopupTapped(later, early).code,
            AddPhotosStatus::Code::DatesRefused);
  EXPECT_EQ(engine.addPaths({folder}, false, early, early).code,
            AddPhotosStatus::Code::DatesRefused);
  EXPECT_EQ(engine.addPaths({folder}, false, early, {}).code,
            AddPhotosStatus::Code::DatesIncomplete);
  EXPECT_TRUE(batch.isEmpty());

  // From equal to the capture date is inside; To one second before the later photo is not.
  ASSERT_TRUE(engine.addPaths({folder}, false, early, later.addSecs(-1)).started());
  engine.waitForFinished();
  EXPECT_EQ(batchNames(), QStringList{"dated/early.jpg"});
  EXPECT_EQ(seen.examined, 2); // the information list saw each file the filter looked at
  EXPECT_TRUE(engine.isAddingWithFilter);
  EXPECT_TRUE(engine.isAddFromSubFolderSelected);

  // A drop onto the list keeps the filter of the last add action...
  seen.clear();
  engine.acceptDrop({path("dated/later.jpg")});
  engine.waitForFinished();
  EXPECT_EQ(batch.size(), 1);
  EXPECT_EQ(seen.shown(), kNoPhotos);
  // ...a drop onto the drop area does not.
  engine.handleFileDragDropNotification({path("dated/later.jpg")});
  engine.waitForFinished();
  EXPECT_EQ(batch.size(), 2);
  EXPECT_FALSE(engine.isAddingWithFilter);

  // To equal to the capture date is inside too.
  engine.btnYesOnRemoveAllPhotoTapped();
  ASSERT_TRUE(engine.addPaths({folder}, true, early.addSecs(1), later).started());
  engine.waitForFinished();
  EXPECT_EQ(batchNames(), QStringList{"dated/later.jpg"});
}

TEST_F(AddRun, RefusedEntriesTrashBusyAndUnknownIndex) {
  const QString trashed = testenv::copyPhoto(kSmall, platform::trashDirectory() + "/files");
  const QString fine = photo("fine.jpg");
  EXPECT_EQ(add({trashed, fine}).code, AddPhotosStatus::Code::Trash);
  ASSERT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::Trash);
  EXPECT_TRUE(batch.isEmpty());
  // Only the first item is looked at.
  add({fine, trashed});
  EXPECT_EQ(batch.size(), 2);

  EXPECT_EQ(engine.btnAddPhotosTappedWithIndex(3, {path("x.jpg")}).code,
            AddPhotosStatus::Code::Ignored);
  const QString ten = folderOf("ten", 10);
  ASSERT_TRUE(engine.btnAddPhotosTappedWithIndex(0, {ten}).started());
  EXPECT_EQ(engine.btnAddPhotosTappedWithIndex(0, {ten}).code, AddPhotosStatus::Code::Busy);
  engine.waitForFinished();
  EXPECT_EQ(batch.size(), 12);
}

TEST_F(AddRun, BadInputIsRefusedWithoutHangingOrLosingPhotos) {
  add({photo("kept.jpg")});
  const QString odd = path("odd");
  const QString longName = "odd/" + QString(251, 'n') + ".jpg";
  for (const QString &name : {QStringLiteral("odd/with space 'quote' \"dq\".jpg"),
                              QStringLiteral("odd/new\nline.jpg"), longName})
    photo(name);
  testenv::writeFile(odd + "/empty.jpg", {});
  ASSERT_EQ(symlink("/nonexistent/target.jpg", QFile::encodeName(odd + "/broken.jpg").constData()),
            0);
  ASSERT_EQ(mkfifo(QFile::encodeName(odd + "/pipe.jpg").constData(), 0600), 0);
  ASSERT_EQ(
      symlink(QFile::encodeName(odd).constData(), QFile::encodeName(odd + "/loop").constData()), 0);
  const QByteArray badName = QFile::encodeName(odd) + "/bad\xff\xfe.jpg";
  ASSERT_EQ(rename(QFile::encodeName(photo("tmp.jpg")).constData(), badName.constData()), 0);
  const QString unreadable = path("locked");
  photo("locked/x.jpg");
  chmod(QFile::encodeName(unreadable).constData(), 0);

  add({odd, unreadable, path("missing.jpg")}, 1);
  chmod(QFile::encodeName(unreadable).constData(), 0700);
  QStringList names = batchNames();
  // The super-user reads the locked folder anyway.
  if (geteuid() == 0)
    names.removeOne("locked/x.jpg");
  names.sort();
  EXPECT_EQ(names, (QStringList{"kept.jpg", "odd/new\nline.jpg", longName,
                                "odd/with space 'quote' \"dq\".jpg"}));
  EXPECT_EQ(seen.unreadableFolders, QStringList{odd});
  unlink(badName.constData()); // QTemporaryDir cannot name it either
  ASSERT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::FilesCannotBeAdded);
  EXPECT_EQ(seen.finished, 1);
  expectKeysMatchBatch();
}

TEST_F(AddRun, FileVanishingBetweenCountAndAddIsRefused) {
  const QString a = photo("v/a.jpg"), b = photo("v/b.jpg");
  seen.onWillAdd = [&] { QFile::remove(b); };
  add({a, b});
  EXPECT_EQ(batchNames(), QStringList{"v/a.jpg"});
  EXPECT_EQ(seen.shown(), kOneRefused);
  // Progress never reached the count, so the run ended by itself.
  EXPECT_EQ(seen.progress.last().progressText, "1 of 2 photos added");
}

TEST_F(AddRun, ReadingAheadGivesTheSequentialResult) {
  // Photos, duplicates, unsupported and empty files mixed in one folder tree.
  for (int i = 0; i < 40; ++i) {
    const QString name = QStringLiteral("mix/%1/%2").arg(i % 3).arg(i, 2, 10, QLatin1Char('0'));
    if (i % 7 == 3)
      testenv::writeFile(path(name + ".jpg"), {});
    else if (i % 5 == 1)
      testenv::writeFile(path(name + ".txt"), "x");
    else
      photo(name + ".jpg", i % 2 ? kOther : kThird);
  }
  PhotoIntake::Batch sequentialBatch;
  Recorder sequentialSeen;
  PhotoIntake sequential(&sequentialBatch, &sequentialSeen);
  sequentialSeen.watch(&sequentialBatch);
  sequential.setParallelReading(false);
  for (PhotoIntake *e : {&engine, &sequential}) {
    e->btnAddPhotosTappedWithIndex(0, {path("mix/1/04.jpg")});
    e->waitForFinished();
    e->btnAddPhotosTappedWithIndex(1, {path("mix")});
    e->waitForFinished();
  }
  ASSERT_EQ(batch.size(), sequentialBatch.size());
  for (qsizetype i = 0; i < batch.size(); ++i) {
    EXPECT_EQ(batch[i]->filePath, sequentialBatch[i]->filePath);
    EXPECT_EQ(batch[i]->width, sequentialBatch[i]->width);
  }
  EXPECT_EQ(engine.damagedFileCount, sequential.damagedFileCount);
  EXPECT_EQ(engine.alreadyExistsPhotosCount, sequential.alreadyExistsPhotosCount);
  EXPECT_EQ(seen.shown(), sequentialSeen.shown());
  EXPECT_EQ(seen.shown().size(), 1);
  EXPECT_EQ(sequentialSeen.faults, QStringList());
}

TEST_F(AddRun, PhotosLibrariesAreRefusedAndIphotoLibrariesRead) {
  const QString photos = path("Family.photoslibrary");
  photo("Family.photoslibrary/originals/a.jpg");
  addLibrary(photos);
  EXPECT_TRUE(batch.isEmpty());
  EXPECT_EQ(engine.pathType, 3);
  EXPECT_EQ(seen.shown(), kNoPhotos);
  // Dropped with a plain folder, it is skipped in both phases.
  add({photos, folderOf("plain", 2)}, 1);
  EXPECT_EQ(batch.size(), 2);

  // The exact-case test lets Family.PhotosLibrary through to the reader, which finds no
  // AlbumData.xml.
  photo("Family.PhotosLibrary/originals/a.jpg");
  addLibrary(path("Family.PhotosLibrary"));
  EXPECT_EQ(engine.pathType, 2);
  EXPECT_EQ(batch.size(), 2);

  // The library chooser lets libraries and folders be picked, not plain files or migrated
  // libraries.
  engine.pathType = 2;
  QDir().mkpath(path("Old.MigratedPhotoLibrary"));
  EXPECT_TRUE(engine.panelShouldEnableURL(photos));
  EXPECT_TRUE(engine.panelShouldEnableURL(path("plain")));
  EXPECT_FALSE(engine.panelShouldEnableURL(path("plain/00.jpg")));
  EXPECT_FALSE(engine.panelShouldEnableURL(path("Old.MigratedPhotoLibrary")));
  engine.pathType = 0;
  EXPECT_FALSE(engine.panelShouldEnableURL(photos));

  // An iPhoto library written on another machine, chosen by its real path.
  const QString library = "Pictures/iPhoto Library.photolibrary";
  QDir().mkpath(path(library));
  ASSERT_TRUE(
      QFile::copy(testenv::dataDir() + "/intake/AlbumData.xml", path(library + "/AlbumData.xml")));
  const QStringList masters = {
      library + "/Masters/2009/01/02/IMG_0012.JPG", library + "/Masters/2010/03/15/IMG_0003.JPG",
      library + "/Masters/2011/Trip/DSC 0007.jpg", library + "/Masters/2012/IMG_0015.jpg"};
  for (int i = 0; i < 4; ++i)
    photo(masters[i], i == 1 ? kOther : i == 2 ? kThird : kSmall);
  addLibrary(path(library));
  EXPECT_EQ(batchNames().mid(2), masters);
  EXPECT_TRUE(batch.last()->isIphotosNode);
  EXPECT_FALSE(batch.first()->isIphotosNode);
  EXPECT_FALSE(engine.isIphotoDirectorySelected);
  EXPECT_EQ(seen.willAdd, 1);
  EXPECT_FALSE(seen.lastShowProgressPanel); // a library shows its panel when it is read
  EXPECT_EQ(seen.panels, 1);
  ASSERT_EQ(seen.progress.size(), 4);
  EXPECT_EQ(seen.progress[0].pathText, "Photo path: : " + path("Pictures/iPhoto Library"));
  EXPECT_TRUE(seen.messages.isEmpty()); // the photo gone from disk was never counted
}

// --- Batch upkeep ---

TEST_F(AddRun, SummaryLineAndRemoveSheets) {
  EXPECT_EQ(engine.updateBatchInformationInBottomView(), QString());
  PhotoIntake::Batch records;
  for (double mb : {1.0, 2.0, 3.0}) {
    auto record = std::make_shared<PhotoFile>();
    record->filePath = path(QStringLiteral("%1.jpg").arg(mb));
    record->fileSizeInBytes = mb * 1000 * 1000;
    records.append(record);
  }
  ASSERT_TRUE(engine.replaceBatch(records));
  expectKeysMatchBatch();
  EXPECT_EQ(engine.updateBatchInformationInBottomView(),
            "Images Count: 3  |  Total Size: 6.00 MB  ");

  const auto sheet = [&](int all, int selected) {
    const AddPhotosSheet s = engine.btnOnRemovePhotoPopupTapped(all, selected);
    return s.title + ": " + s.text;
  };
  EXPECT_EQ(sheet(1, 0), "REMOVE ALL PHOTOS: Remove all photos from the Batch?");
  EXPECT_EQ(sheet(0, 2), "REMOVE SELECTED PHOTOS: Remove selected photos from Batch?");
  EXPECT_EQ(sheet(0, 1), "REMOVE SELECTED PHOTO: Remove selected photo from Batch?");
  seen.clear();
  EXPECT_EQ(sheet(0, 0), ": ");
  EXPECT_EQ(seen.shown(), QStringList{"NO PHOTO TO DELETE: No Photo selected to Delete."});

  seen.clear();
  engine.btnYesOnRemoveSelectedPhotoTapped({batch[0], batch[2]});
  EXPECT_EQ(batch.size(), 1);
  EXPECT_EQ(seen.removals, (QList<QPair<qsizetype, qsizetype>>{{2, 1}, {0, 1}}));
  expectKeysMatchBatch();
  EXPECT_EQ(sheet(1, 0), "REMOVE  PHOTO: Remove  photo from the Batch?");
  engine.btnYesOnRemoveAllPhotoTapped();
  EXPECT_TRUE(batch.isEmpty());
  EXPECT_TRUE(engine.dictFileAdded.isEmpty());
}

TEST_F(AddRun, RemovalThenReAddAndReplacedBatches) {
  const QString a = photo("a.jpg"), b = photo("b.jpg");
  add({a, b});
  ASSERT_EQ(batch.size(), 2);
  EXPECT_FALSE(engine.btnOnMenuOptionTapped(7, batch[0]));
  EXPECT_TRUE(engine.btnOnMenuOptionTapped(3, batch[0])); // the menu's remove
  EXPECT_FALSE(engine.btnOnMenuOptionTapped(3, std::make_shared<PhotoFile>()));
  expectKeysMatchBatch();
  add({a});
  EXPECT_EQ(batchNames(), (QStringList{"b.jpg", "a.jpg"}));
  EXPECT_TRUE(seen.messages.isEmpty());

  // The skipped photos come back as the whole batch.
  seen.clear();
  ASSERT_TRUE(engine.replaceBatch({batch[1]}));
  EXPECT_EQ(seen.removals, (QList<QPair<qsizetype, qsizetype>>{{0, 2}}));
  EXPECT_EQ(seen.inserts, (QList<QPair<qsizetype, qsizetype>>{{0, 1}}));
  expectKeysMatchBatch();
  add({b});
  EXPECT_EQ(batch.size(), 2);
  // A new batch (emptied by the application, the model reset with it) forgets every key.
  batch.clear();
  seen.watch(&batch);
  engine.viewWillAppear(true);
  EXPECT_TRUE(engine.dictFileAdded.isEmpty());
}

TEST_F(AddRun, MissingPhotosMarkedThenRemoved) {
  const QString a = photo("a.jpg"), b = photo("b.jpg"), c = photo("c.jpg");
  add({a, b, c});
  QFile::remove(b);
  seen.clear();
  EXPECT_EQ(engine.viewWillAppear(false), QList<int>{1});
  engine.waitForFinished();
  EXPECT_TRUE(seen.messages.isEmpty()); // some photos are still there
  EXPECT_EQ(batch.size(), 3);

  QFile::remove(a);
  QFile::remove(c);
  EXPECT_EQ(engine.viewWillAppear(false), (QList<int>{0, 1, 2}));
  EXPECT_TRUE(seen.messages.isEmpty()); // the message comes after a moment
  engine.waitForFinished();
  EXPECT_EQ(seen.shown(),
            QStringList{"PHOTOS DELETED: Photos no longer exists in the Source folder!"});
  EXPECT_EQ(batch.size(), 3); // kept until the user chooses remove

  seen.clear();
  EXPECT_EQ(engine.btnRemoveFromBatchOnAlertTapped(), (QList<int>{0, 1, 2}));
  EXPECT_EQ(seen.removals, (QList<QPair<qsizetype, qsizetype>>{{0, 3}}));
  EXPECT_TRUE(batch.isEmpty());
  EXPECT_TRUE(engine.dictFileAdded.isEmpty());

  // One photo: singular texts.
  const QString d = photo("d.jpg");
  add({d});
  QFile::remove(d);
  seen.clear();
  engine.viewWillAppear(false);
  engine.waitForFinished();
  EXPECT_EQ(seen.shown(),
            QStringList{"PHOTO DELETED: Photo no longer exists in the Source folder!"});
}

TEST_F(AddRun, ConsoleLinesAndDiagnosticLines) {
  const QString a = photo("a.jpg");
  photo("Family.photoslibrary/x.jpg");
  add({a});
  QStringList lines;
  AddPhotosConsole console([&](const QString &line) { lines.append(line); });
  engine.setListener(&console);
  static QStringList diagnostics;
  diagnostics.clear();
  const QtMessageHandler previous = qInstallMessageHandler(
      [](QtMsgType, const QMessageLogContext &, const QString &text) { diagnostics.append(text); });
  engine.btnAddPhotosTappedWithIndex(1, {path("Family.photoslibrary"), a});
  engine.waitForFinished();
  qInstallMessageHandler(previous);
  engine.setListener(&seen);
  EXPECT_EQ(lines, kPhotoExists);
  EXPECT_EQ(diagnostics, (QStringList{"is adding iphotos = 0", "library type is not correct",
                                      "is adding photos count = 0"}));
  AddPhotosMessage trash;
  trash.kind = AddPhotosMessage::Kind::Trash;
  EXPECT_TRUE(AddPhotosConsole::lineForMessage(trash).isEmpty());
}

// --- The batch and the owner's thread ---

TEST_F(AddRun, LargeAddComesInOrderInSmallChunksWhileTheOwnerStaysResponsive) {
  // Files, a sub-folder walked where it stands, refused files and a library-less package.
  QStringList expected;
  for (int i = 0; i < 90; ++i) {
    const QString name =
        i % 10 == 9 ? QStringLiteral("big/%1/x%2.txt") : QStringLiteral("big/%1/p%2.jpg");
    const QString file = name.arg(i / 30).arg(i, 2, 10, QLatin1Char('0'));
    if (file.endsWith(".txt")) {
      testenv::writeFile(path(file), "x");
      continue;
    }
    photo(file, i % 3 == 0 ? kOther : kSmall);
    expected.append(file);
  }
  const QString single = photo("single.jpg");
  engine.setQueueLimitForTesting(8);

  // The owner's thread ticks every 2 ms: each tick checks the batch against the model's copy
  // and makes the calls a window makes meanwhile, which must neither wait nor change the batch.
  QElapsedTimer sinceTick;
  qint64 longestGap = 0;
  int ticksBetweenInserts = 0;
  qsizetype insertsAtLastTick = 0;
  QTimer timer;
  timer.setInterval(2);
  QObject::connect(&timer, &QTimer::timeout, [&] {
    longestGap = std::max(longestGap, sinceTick.restart());
    if (seen.inserts.size() > insertsAtLastTick && insertsAtLastTick > 0)
      ++ticksBetweenInserts;
    insertsAtLastTick = seen.inserts.size();
    seen.check("tick");
    if (!engine.isRunning()) // the last tick may come as the waiting loop ends
      return;
    const qsizetype before = batch.size();
    EXPECT_EQ(engine.btnAddPhotosTappedWithIndex(0, {single}).code, AddPhotosStatus::Code::Busy);
    engine.btnYesOnRemoveAllPhotoTapped();
    if (!batch.isEmpty())
      engine.removePhotoFromBatch(batch.first());
    EXPECT_FALSE(engine.replaceBatch({}));
    EXPECT_TRUE(engine.checkForDeletedPhotosInSourceFolder(true).isEmpty());
    engine.rebuildDictFileAdded();
    engine.updateBatchInformationInBottomView();
    EXPECT_EQ(batch.size(), before);
  });
  seen.clear();
  ASSERT_TRUE(engine.btnAddPhotosTappedWithIndex(1, {single, path("big")}).started());
  sinceTick.start();
  timer.start();
  engine.waitForFinished();
  timer.stop();

  // The single-threaded order: the chosen file, then the folder depth first by name.
  expected.prepend("single.jpg");
  EXPECT_EQ(batchNames(), expected);
  expectKeysMatchBatch();
  ASSERT_EQ(seen.progress.size(), expected.size());
  EXPECT_EQ(seen.progress.last().progressText, "82 photos added");
  // Handed over in chunks no larger than the queue, each announced before it lands.
  qsizetype largest = 0, total = 0;
  for (const auto &[first, count] : seen.inserts) {
    EXPECT_EQ(first, total);
    total += count;
    largest = std::max(largest, count);
  }
  EXPECT_EQ(total, expected.size());
  EXPECT_LE(largest, 8);
  // The owner's loop ran between the chunks; no tick waited anywhere near a second (the run
  // itself takes far longer under the sanitizers).
  EXPECT_GT(ticksBetweenInserts, 0);
  EXPECT_LT(longestGap, 1000);
  EXPECT_EQ(seen.finished, 1);
}

TEST_F(AddRun, DestroyedMidRunStopsWithoutRunningAnEventLoop) {
  const QString thirty = folderOf("thirty", 30);
  auto doomed = std::make_unique<PhotoIntake>(&batch, &seen);
  doomed->setQueueLimitForTesting(1);
  bool started = false;
  seen.onWillAdd = [&] { started = true; };
  ASSERT_TRUE(doomed->btnAddPhotosTappedWithIndex(0, {thirty}).started());
  // Let the run get going, so the background thread is waiting on a full queue.
  QElapsedTimer clock;
  clock.start();
  while (!started && clock.elapsed() < 30000)
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
  ASSERT_TRUE(started);
  // A zero timer fires only if some event loop runs: the destructor must not run one.
  bool loopRan = false;
  QTimer::singleShot(0, [&] { loopRan = true; });
  const qsizetype before = batch.size();
  const int calls = seen.progress.size() + seen.ended + seen.finished;
  doomed.reset();
  EXPECT_FALSE(loopRan);
  EXPECT_EQ(batch.size(), before);
  // Nothing queued for the gone engine arrives later.
  QCoreApplication::processEvents();
  QCoreApplication::processEvents();
  EXPECT_TRUE(loopRan);
  EXPECT_EQ(seen.progress.size() + seen.ended + seen.finished, calls);
  EXPECT_EQ(batch.size(), before);
}

} // namespace

// The add run and the batch upkeep, driven on copies of the sample photos in a temporary
// folder: what is added, in which order, and exactly which messages the user sees.

#include "intake/AddPhotosConsole.h"
#include "intake/AddPhotosVC.h"
#include "intake/ImageFileInfo.h"
#include "intake/PhotoFile.h"
#include "platform/StandardFolders.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

inline void PrintTo(const QString &text, std::ostream *out) {
  *out << '"' << text.toStdString() << '"';
}

namespace {

const char *kSmall = "jpg/Fujifilm_FinePix_E500.jpg"; // taken 2006:08:17 09:24:48
const char *kOther = "jpg/Olympus_C8080WZ.jpg";       // taken 2006:10:22 15:44:29
const char *kThird = "jpg/Sony_HDR-HC3.jpg";

// Records what the screen would show, in order.
struct Recorder : AddPhotosListener {
  QList<AddPhotosMessage> messages;
  QList<AddPhotosProgress> progress;
  QStringList unreadableFolders;
  int willAdd = 0, ended = 0, finished = 0, panels = 0, examined = 0;
  bool lastShowProgressPanel = false;
  std::function<void(const AddPhotosProgress &)> onProgress;
  std::function<void()> onWillAdd;

  void addPhotosMessage(const AddPhotosMessage &m) override { messages.append(m); }
  void addPhotosExaminedForFilter(const std::shared_ptr<ImageFileInfo> &) override { ++examined; }
  void addPhotosWillAdd(bool showProgressPanel) override {
    lastShowProgressPanel = showProgressPanel;
    ++willAdd;
    if (onWillAdd)
      onWillAdd();
  }
  void addPhotosShowProgressPanel() override { ++panels; }
  void addPhotosProgress(const AddPhotosProgress &p) override {
    progress.append(p);
    if (onProgress)
      onProgress(p);
  }
  void addPhotosEnded() override { ++ended; }
  void addPhotosFinished() override { ++finished; }
  void addPhotosUnreadableName(const QString &folder) override { unreadableFolders.append(folder); }

  QStringList shown() const {
    QStringList lines;
    for (const auto &m : messages)
      lines.append(m.title + QStringLiteral(": ") + m.text);
    return lines;
  }
  void clear() {
    messages.clear();
    progress.clear();
    unreadableFolders.clear();
    willAdd = ended = finished = panels = examined = 0;
  }
};

class AddRun : public ::testing::Test {
protected:
  QTemporaryDir dir;
  AddPhotosVC::Batch batch;
  Recorder seen;
  AddPhotosVC engine{&batch, &seen};

  QString path(const QString &name) const { return dir.path() + QLatin1Char('/') + name; }
  QString photo(const QString &name, const char *sample = kSmall) {
    const QString full = path(name);
    return testenv::copyPhoto(QString::fromLatin1(sample), QFileInfo(full).path(),
                              QFileInfo(full).fileName());
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
  QStringList batchNames() const {
    QStringList names;
    for (const auto &p : batch)
      names.append(QDir(dir.path()).relativeFilePath(p->filePath));
    return names;
  }
  void expectKeysMatchBatch() const {
    EXPECT_EQ(engine.dictFileAdded.size(), batch.size());
    for (const auto &p : batch)
      EXPECT_TRUE(engine.dictFileAdded.contains(p->filePath)) << p->filePath.toStdString();
  }
};

TEST_F(AddRun, AddsFilesAndRefusesDuplicatesAcrossRuns) {
  const QString a = photo(QStringLiteral("a.jpg")), b = photo(QStringLiteral("b.jpg"), kOther);
  ASSERT_TRUE(add({a}).started());
  EXPECT_EQ(batchNames(), QStringList{QStringLiteral("a.jpg")});
  EXPECT_TRUE(seen.messages.isEmpty());
  EXPECT_EQ(seen.finished, 1);

  add({a});
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("PHOTO EXISTS: Photo already exists in batch!")});
  EXPECT_EQ(seen.willAdd, 0);

  add({b});
  add({a, b});
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("PHOTOS EXISTS: Photos already exist in batch!")});
  EXPECT_EQ(batch.size(), 2);
  EXPECT_TRUE(seen.messages.first().showsOk);
  EXPECT_FALSE(seen.messages.first().showsRemove);
  expectKeysMatchBatch();
}

TEST_F(AddRun, MessageQuirksOfTheCounters) {
  const QString a = photo(QStringLiteral("a.jpg")), b = photo(QStringLiteral("b.jpg"));
  const QString t1 = testenv::writeFile(path("notes.txt"), "x");
  const QString t2 = testenv::writeFile(path("doc.odt"), "x");
  const QString t3 = testenv::writeFile(path("c.Ptif"), "x");
  add({a});

  // A new photo with a duplicate: the refused-files message, not PHOTO EXISTS, once.
  add({a, b});
  EXPECT_EQ(batch.size(), 2);
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("FILE CANNOT BE ADDED: File cannot be added. It is either "
                                       "damaged or not supported by application.")});
  EXPECT_GE(seen.ended, 1);

  // Only unsupported files: singular title and "It is", however many there are.
  add({t1, t2, t3});
  EXPECT_EQ(seen.shown(), QStringList{QStringLiteral(
                              "FILE CANNOT BE ADDED: Some files cannot be added. It is either "
                              "damaged or not supported by application.")});

  // A duplicate and an unsupported file with nothing new: PHOTO EXISTS.
  add({a, t1});
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("PHOTO EXISTS: Photo already exists in batch!")});

  // Nothing at all.
  QDir().mkpath(path("empty"));
  add({path("empty")});
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("NO PHOTOS TO ADD: There are no new photos to add")});

  // Two new photos and two unsupported ones: plural title, "Some files", "They are".
  const QString c = photo(QStringLiteral("c.jpg")), d = photo(QStringLiteral("d.jpg"));
  add({c, t1, d, t2});
  EXPECT_EQ(seen.shown(), QStringList{QStringLiteral(
                              "FILES CANNOT BE ADDED: Some files cannot be added. They are "
                              "either damaged or not supported by application.")});
  expectKeysMatchBatch();
}

TEST_F(AddRun, ExactCaseExtraExtensions) {
  EXPECT_FALSE(AddPhotosVC::isImagePath(path("x.Ptif")));
  EXPECT_TRUE(AddPhotosVC::isImagePath(path("x.ptif")));
  EXPECT_TRUE(AddPhotosVC::isImagePath(path("x.PTIF")));
  EXPECT_EQ(AddPhotosVC::additionalImageExtensions().size(), 20);

  const QString mixed = photo(QStringLiteral("m.Ptif"), "tiff/Arbitro.tiff");
  const QString lower = photo(QStringLiteral("l.ptif"), "tiff/Arbitro.tiff");
  const QString upper = photo(QStringLiteral("u.PTIF"), "tiff/Arbitro.tiff");
  add({mixed, lower, upper});
  EXPECT_EQ(batchNames(), (QStringList{QStringLiteral("l.ptif"), QStringLiteral("u.PTIF")}));
  EXPECT_EQ(seen.shown(), QStringList{QStringLiteral(
                              "FILES CANNOT BE ADDED: File cannot be added. They are either "
                              "damaged or not supported by application.")});
}

TEST_F(AddRun, FlatAndDeepFolderListing) {
  const QString top = path("top");
  photo(QStringLiteral("top/a.jpg"));
  photo(QStringLiteral("top/B.JPG"));
  photo(QStringLiteral("top/c.Jpg"));
  photo(QStringLiteral("top/.hidden.jpg"));
  photo(QStringLiteral("top/sub/d.jpg"));
  photo(QStringLiteral("top/sub/deeper/e.jpg"));
  photo(QStringLiteral("top/.secret/f.jpg"));
  photo(QStringLiteral("top/Viewer.app/g.jpg"));
  testenv::writeFile(top + QStringLiteral("/readme"), "x");

  EXPECT_EQ(engine.listFolder(top, false),
            (QStringList{top + QStringLiteral("/.hidden.jpg"), top + QStringLiteral("/B.JPG"),
                         top + QStringLiteral("/a.jpg")}));
  EXPECT_EQ(
      engine.listFolder(top, true),
      (QStringList{top + QStringLiteral("/B.JPG"), top + QStringLiteral("/a.jpg"),
                   top + QStringLiteral("/c.Jpg"), top + QStringLiteral("/readme"),
                   top + QStringLiteral("/sub/d.jpg"), top + QStringLiteral("/sub/deeper/e.jpg")}));

  add({top}, 1);
  EXPECT_EQ(batchNames(), (QStringList{QStringLiteral("top/B.JPG"), QStringLiteral("top/a.jpg"),
                                       QStringLiteral("top/c.Jpg"), QStringLiteral("top/sub/d.jpg"),
                                       QStringLiteral("top/sub/deeper/e.jpg")}));
  // "readme" is refused by the acceptance test.
  EXPECT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::FilesCannotBeAdded);
}

TEST_F(AddRun, ProgressTextsAndPictures) {
  const QString ten = folderOf(QStringLiteral("ten"), 10);
  add({ten});
  ASSERT_EQ(seen.progress.size(), 10);
  const AddPhotosProgress &seventh = seen.progress[6];
  EXPECT_EQ(seventh.percent, 70);
  EXPECT_EQ(seventh.percentText, QStringLiteral("70 %"));
  EXPECT_EQ(seventh.pictureName, QStringLiteral("fill_70"));
  EXPECT_EQ(seventh.progressText, QStringLiteral("7 of 10 photos added"));
  EXPECT_EQ(seventh.pathText, QStringLiteral("Photo path: : ") + ten);
  const AddPhotosProgress &last = seen.progress.last();
  EXPECT_TRUE(last.complete);
  EXPECT_EQ(last.pictureName, QStringLiteral("fill_105"));
  EXPECT_EQ(last.progressText, QStringLiteral("10 photos added"));
  EXPECT_EQ(seen.willAdd, 1);
  EXPECT_TRUE(seen.lastShowProgressPanel);
  EXPECT_FALSE(engine.isAddingPhotosInCollectionView);

  const QString seven = folderOf(QStringLiteral("seven"), 7);
  add({seven});
  ASSERT_EQ(seen.progress.size(), 7);
  EXPECT_EQ(seen.progress[2].percent, 42);
  EXPECT_EQ(seen.progress[2].percentText, QStringLiteral("40 %"));
  EXPECT_EQ(seen.progress[2].pictureName, QStringLiteral("fill_40"));
  EXPECT_EQ(seen.progress[2].progressText, QStringLiteral("3 of 7 photos added"));
  EXPECT_EQ(seen.progress[0].pictureName, QStringLiteral("fill_10"));

  add({photo(QStringLiteral("one.jpg"))});
  ASSERT_EQ(seen.progress.size(), 1);
  EXPECT_EQ(seen.progress[0].progressText, QStringLiteral("1 photo added"));
  EXPECT_EQ(seen.progress[0].percentText, QStringLiteral("100 %"));
}

TEST_F(AddRun, StopMidRunKeepsWhatWasAdded) {
  const QString ten = folderOf(QStringLiteral("ten"), 10);
  seen.onProgress = [&](const AddPhotosProgress &p) {
    if (p.photosAdded == 3)
      engine.btnStopAddingTapped();
  };
  add({ten});
  EXPECT_EQ(batch.size(), 3);
  EXPECT_FALSE(engine.isRunning());
  EXPECT_FALSE(engine.isPHOTOS_PROCESSING_IN_PROGERESS);
  EXPECT_GE(seen.ended, 1);
  EXPECT_TRUE(seen.messages.isEmpty());
  expectKeysMatchBatch();

  // The rest can be added afterwards; the first three are duplicates now.
  seen.onProgress = nullptr;
  add({ten});
  EXPECT_EQ(batch.size(), 10);
  EXPECT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::FilesCannotBeAdded);
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
  EXPECT_TRUE(engine.isMAX_PHOTOS_LIMIT_EXCEEDED);
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("PHOTOS LIMIT EXCEEDED: Photo limit exceeded! "
                                       "A Batch of 3 photos can be processed at a time.")});

  // Inside a folder the limit trips one photo later: 4 are counted and added, 5 are not.
  add({folderOf(QStringLiteral("four"), 4)});
  EXPECT_EQ(batch.size(), 4);
  EXPECT_FALSE(engine.isMAX_PHOTOS_LIMIT_EXCEEDED);
  add({folderOf(QStringLiteral("five"), 5)});
  EXPECT_EQ(batch.size(), 4);
  EXPECT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::LimitExceeded);
}

TEST_F(AddRun, LimitOfAMillionByDefault) {
  EXPECT_EQ(AddPhotosVC::kMaxPhotosLimit, 1000000);
}

TEST_F(AddRun, DateFilterBordersAndTheRedNote) {
  const QString folder = path("dated");
  photo(QStringLiteral("dated/early.jpg"), kSmall); // 2006-08-17 09:24:48
  photo(QStringLiteral("dated/later.jpg"), kOther); // 2006-10-22 15:44:29
  const QDateTime early(QDate(2006, 8, 17), QTime(9, 24, 48));
  const QDateTime later(QDate(2006, 10, 22), QTime(15, 44, 29));

  // From and To in the same minute read alike: the red note, nothing added.
  const AddPhotosStatus same = engine.btnAddFilterOnPopupTapped(early, early.addSecs(5));
  EXPECT_EQ(same.code, AddPhotosStatus::Code::DatesRefused);
  EXPECT_EQ(same.message,
            QStringLiteral("* From Date cannot be greater than or equal to To Date."));
  EXPECT_EQ(engine.btnAddFilterOnPopupTapped(later, early).code,
            AddPhotosStatus::Code::DatesRefused);
  EXPECT_EQ(engine.addPaths({folder}, false, early, early).code,
            AddPhotosStatus::Code::DatesRefused);
  EXPECT_EQ(engine.addPaths({folder}, false, early, {}).code,
            AddPhotosStatus::Code::DatesIncomplete);
  EXPECT_TRUE(batch.isEmpty());

  // From equal to the capture date is inside; To one second before the later photo is not.
  seen.clear();
  ASSERT_TRUE(engine.addPaths({folder}, false, early, later.addSecs(-1)).started());
  engine.waitForFinished();
  EXPECT_EQ(batchNames(), QStringList{QStringLiteral("dated/early.jpg")});
  EXPECT_EQ(seen.examined, 2); // the information list saw each file the filter looked at
  EXPECT_TRUE(engine.isAddingWithFilter);
  EXPECT_TRUE(engine.isAddFromSubFolderSelected);

  // A drop onto the list keeps the filter of the last add action...
  seen.clear();
  engine.acceptDrop({path("dated/later.jpg")});
  engine.waitForFinished();
  EXPECT_EQ(batch.size(), 1);
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("NO PHOTOS TO ADD: There are no new photos to add")});
  // ...a drop onto the drop area does not.
  engine.handleFileDragDropNotification({path("dated/later.jpg")});
  engine.waitForFinished();
  EXPECT_EQ(batch.size(), 2);
  EXPECT_FALSE(engine.isAddingWithFilter);

  // To equal to the capture date is inside too.
  engine.btnYesOnRemoveAllPhotoTapped();
  ASSERT_TRUE(engine.addPaths({folder}, true, early.addSecs(1), later).started());
  engine.waitForFinished();
  EXPECT_EQ(batchNames(), QStringList{QStringLiteral("dated/later.jpg")});
}

TEST_F(AddRun, TrashRefusesTheWholeChoice) {
  const QString trashed = testenv::copyPhoto(QString::fromLatin1(kSmall),
                                             platform::trashDirectory() + QStringLiteral("/files"));
  const QString fine = photo(QStringLiteral("fine.jpg"));
  const AddPhotosStatus status = add({trashed, fine});
  EXPECT_EQ(status.code, AddPhotosStatus::Code::Trash);
  ASSERT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::Trash);
  EXPECT_TRUE(seen.messages.first().text.isEmpty());
  EXPECT_EQ(seen.messages.first().buttonTitle, QStringLiteral("OK"));
  EXPECT_TRUE(batch.isEmpty());
  // Only the first item is looked at.
  add({fine, trashed});
  EXPECT_EQ(batch.size(), 2);
}

TEST_F(AddRun, BadInputIsRefusedWithoutHangingOrLosingPhotos) {
  const QString kept = photo(QStringLiteral("kept.jpg"));
  add({kept});
  const QString odd = path("odd");
  QDir().mkpath(odd);
  photo(QStringLiteral("odd/with space 'quote' \"dq\".jpg"));
  photo(QStringLiteral("odd/new\nline.jpg"));
  photo(QStringLiteral("odd/") + QString(251, QLatin1Char('n')) + QStringLiteral(".jpg"));
  testenv::writeFile(odd + QStringLiteral("/empty.jpg"), {});
  ASSERT_EQ(symlink("/nonexistent/target.jpg", QFile::encodeName(odd + "/broken.jpg").constData()),
            0);
  ASSERT_EQ(mkfifo(QFile::encodeName(odd + "/pipe.jpg").constData(), 0600), 0);
  ASSERT_EQ(
      symlink(QFile::encodeName(odd).constData(), QFile::encodeName(odd + "/loop").constData()), 0);
  const QByteArray badName = QFile::encodeName(odd) + "/bad\xff\xfe.jpg";
  QFile::copy(testenv::photosDir() + QLatin1Char('/') + QString::fromLatin1(kSmall),
              path("tmp.jpg"));
  ASSERT_EQ(rename(QFile::encodeName(path("tmp.jpg")).constData(), badName.constData()), 0);
  const QString unreadable = path("locked");
  photo(QStringLiteral("locked/x.jpg"));
  chmod(QFile::encodeName(unreadable).constData(), 0);

  add({odd, unreadable, path("missing.jpg")}, 1);
  chmod(QFile::encodeName(unreadable).constData(), 0700);
  QStringList names = batchNames();
  // The super-user reads the locked folder anyway.
  if (geteuid() == 0)
    names.removeOne(QStringLiteral("locked/x.jpg"));
  names.sort();
  const QStringList expected = {QStringLiteral("kept.jpg"), QStringLiteral("odd/new\nline.jpg"),
                                QStringLiteral("odd/") + QString(251, QLatin1Char('n')) +
                                    QStringLiteral(".jpg"),
                                QStringLiteral("odd/with space 'quote' \"dq\".jpg")};
  EXPECT_EQ(names, expected);
  EXPECT_EQ(seen.unreadableFolders, QStringList{odd});
  unlink(badName.constData()); // QTemporaryDir cannot name it either
  ASSERT_EQ(seen.messages.size(), 1);
  EXPECT_EQ(seen.messages.first().kind, AddPhotosMessage::Kind::FilesCannotBeAdded);
  EXPECT_EQ(seen.finished, 1);
  expectKeysMatchBatch();
}

TEST_F(AddRun, FileVanishingBetweenCountAndAddIsRefused) {
  const QString a = photo(QStringLiteral("v/a.jpg")), b = photo(QStringLiteral("v/b.jpg"));
  seen.onWillAdd = [&] { QFile::remove(b); };
  add({a, b});
  EXPECT_EQ(batchNames(), QStringList{QStringLiteral("v/a.jpg")});
  EXPECT_EQ(seen.shown(), QStringList{QStringLiteral(
                              "FILES CANNOT BE ADDED: File cannot be added. They are either "
                              "damaged or not supported by application.")});
  // Progress never reached the count, so the run ended by itself.
  EXPECT_EQ(seen.progress.last().progressText, QStringLiteral("1 of 2 photos added"));
}

TEST_F(AddRun, ReadingAheadGivesTheSequentialResult) {
  // Photos, duplicates, unsupported and empty files mixed in one folder tree.
  for (int i = 0; i < 40; ++i) {
    const QString name = QStringLiteral("mix/%1/%2").arg(i % 3).arg(i, 2, 10, QLatin1Char('0'));
    if (i % 7 == 3)
      testenv::writeFile(path(name + QStringLiteral(".jpg")), {});
    else if (i % 5 == 1)
      testenv::writeFile(path(name + QStringLiteral(".txt")), "x");
    else
      photo(name + QStringLiteral(".jpg"), i % 2 ? kOther : kThird);
  }
  const QString already = path("mix/1/04.jpg");
  AddPhotosVC::Batch sequentialBatch;
  Recorder sequentialSeen;
  AddPhotosVC sequential(&sequentialBatch, &sequentialSeen);
  sequential.setParallelReading(false);
  for (AddPhotosVC *e : {&engine, &sequential}) {
    e->btnAddPhotosTappedWithIndex(0, {already});
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
}

TEST_F(AddRun, PhotosLibrariesAreRefusedAndIphotoLibrariesRead) {
  const QString photos = path("Family.photoslibrary");
  photo(QStringLiteral("Family.photoslibrary/originals/a.jpg"));
  seen.clear();
  engine.btnAddIphotosTapped({photos});
  engine.waitForFinished();
  EXPECT_TRUE(batch.isEmpty());
  EXPECT_EQ(engine.pathType, 3);
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("NO PHOTOS TO ADD: There are no new photos to add")});
  // Dropped with a plain folder, it is skipped in both phases.
  add({photos, folderOf(QStringLiteral("plain"), 2)}, 1);
  EXPECT_EQ(batch.size(), 2);

  // The exact-case test lets Family.PhotosLibrary through to the reader, which finds no
  // AlbumData.xml.
  photo(QStringLiteral("Family.PhotosLibrary/originals/a.jpg"));
  engine.btnAddIphotosTapped({path("Family.PhotosLibrary")});
  engine.waitForFinished();
  EXPECT_EQ(engine.pathType, 2);
  EXPECT_EQ(batch.size(), 2);

  // The library chooser lets libraries and folders be picked, not plain files or migrated
  // libraries.
  EXPECT_EQ(AddPhotosVC::libraryChooserButtonTitle(), QStringLiteral("Add iPhoto Library"));
  engine.pathType = 2;
  QDir().mkpath(path("Old.MigratedPhotoLibrary"));
  EXPECT_TRUE(engine.panelShouldEnableURL(photos));
  EXPECT_TRUE(engine.panelShouldEnableURL(path("plain")));
  EXPECT_FALSE(engine.panelShouldEnableURL(path("plain/00.jpg")));
  EXPECT_FALSE(engine.panelShouldEnableURL(path("Old.MigratedPhotoLibrary")));
  engine.pathType = 0;
  EXPECT_FALSE(engine.panelShouldEnableURL(photos));
  EXPECT_TRUE(engine.panelShouldEnableURL(path("plain")));

  // An iPhoto library written on another machine, chosen by its real path.
  const QString library = path("Pictures/iPhoto Library.photolibrary");
  QDir().mkpath(library);
  ASSERT_TRUE(QFile::copy(testenv::dataDir() + QStringLiteral("/intake/AlbumData.xml"),
                          library + QStringLiteral("/AlbumData.xml")));
  photo(QStringLiteral("Pictures/iPhoto Library.photolibrary/Masters/2009/01/02/IMG_0012.JPG"));
  photo(QStringLiteral("Pictures/iPhoto Library.photolibrary/Masters/2010/03/15/IMG_0003.JPG"),
        kOther);
  photo(QStringLiteral("Pictures/iPhoto Library.photolibrary/Masters/2011/Trip/DSC 0007.jpg"),
        kThird);
  photo(QStringLiteral("Pictures/iPhoto Library.photolibrary/Masters/2012/IMG_0015.jpg"));
  seen.clear();
  engine.btnAddIphotosTapped({library});
  engine.waitForFinished();
  const QString masters = QStringLiteral("Pictures/iPhoto Library.photolibrary/Masters/");
  EXPECT_EQ(batchNames().mid(2), (QStringList{masters + QStringLiteral("2009/01/02/IMG_0012.JPG"),
                                              masters + QStringLiteral("2010/03/15/IMG_0003.JPG"),
                                              masters + QStringLiteral("2011/Trip/DSC 0007.jpg"),
                                              masters + QStringLiteral("2012/IMG_0015.jpg")}));
  EXPECT_TRUE(batch.last()->isIphotosNode);
  EXPECT_FALSE(batch.first()->isIphotosNode);
  EXPECT_FALSE(engine.isIphotoDirectorySelected);
  EXPECT_EQ(seen.willAdd, 1);
  EXPECT_FALSE(seen.lastShowProgressPanel); // a library shows its panel when it is read
  EXPECT_EQ(seen.panels, 1);
  ASSERT_EQ(seen.progress.size(), 4);
  EXPECT_EQ(seen.progress[0].pathText,
            QStringLiteral("Photo path: : ") + path("Pictures/iPhoto Library"));
  EXPECT_TRUE(seen.messages.isEmpty()); // the photo gone from disk was never counted
}

// --- Batch upkeep ---

TEST_F(AddRun, SummaryLineAndRemoveSheets) {
  EXPECT_EQ(engine.updateBatchInformationInBottomView(), QString());
  for (double mb : {1.0, 2.0, 3.0}) {
    auto record = std::make_shared<PhotoFile>();
    record->filePath = path(QStringLiteral("%1.jpg").arg(mb));
    record->fileSizeInBytes = mb * 1000 * 1000;
    batch.append(record);
  }
  engine.rebuildDictFileAdded();
  expectKeysMatchBatch();
  EXPECT_EQ(engine.updateBatchInformationInBottomView(),
            QStringLiteral("Images Count: 3  |  Total Size: 6.00 MB  "));

  AddPhotosSheet all = engine.btnOnRemovePhotoPopupTapped(1, 0);
  EXPECT_EQ(all.title, QStringLiteral("REMOVE ALL PHOTOS"));
  EXPECT_EQ(all.text, QStringLiteral("Remove all photos from the Batch?"));
  AddPhotosSheet two = engine.btnOnRemovePhotoPopupTapped(0, 2);
  EXPECT_EQ(two.title, QStringLiteral("REMOVE SELECTED PHOTOS"));
  EXPECT_EQ(two.text, QStringLiteral("Remove selected photos from Batch?"));
  AddPhotosSheet one = engine.btnOnRemovePhotoPopupTapped(0, 1);
  EXPECT_EQ(one.title, QStringLiteral("REMOVE SELECTED PHOTO"));
  EXPECT_EQ(one.text, QStringLiteral("Remove selected photo from Batch?"));

  seen.clear();
  EXPECT_TRUE(engine.btnOnRemovePhotoPopupTapped(0, 0).title.isEmpty());
  EXPECT_EQ(seen.shown(),
            QStringList{QStringLiteral("NO PHOTO TO DELETE: No Photo selected to Delete.")});

  engine.btnYesOnRemoveSelectedPhotoTapped({batch[0], batch[2]});
  EXPECT_EQ(batch.size(), 1);
  expectKeysMatchBatch();
  all = engine.btnOnRemovePhotoPopupTapped(1, 0);
  EXPECT_EQ(all.title, QStringLiteral("REMOVE  PHOTO"));
  EXPECT_EQ(all.text, QStringLiteral("Remove  photo from the Batch?"));
  engine.btnYesOnRemoveAllPhotoTapped();
  EXPECT_TRUE(batch.isEmpty());
  EXPECT_TRUE(engine.dictFileAdded.isEmpty());
}

TEST_F(AddRun, RemovalThenReAdd) {
  const QString a = photo(QStringLiteral("a.jpg")), b = photo(QStringLiteral("b.jpg"));
  add({a, b});
  ASSERT_EQ(batch.size(), 2);
  EXPECT_FALSE(engine.btnOnMenuOptionTapped(7, batch[0]));
  EXPECT_TRUE(engine.btnOnMenuOptionTapped(3, batch[0])); // the menu's remove
  EXPECT_FALSE(engine.btnOnMenuOptionTapped(3, std::make_shared<PhotoFile>()));
  expectKeysMatchBatch();
  add({a});
  EXPECT_EQ(batchNames(), (QStringList{QStringLiteral("b.jpg"), QStringLiteral("a.jpg")}));
  EXPECT_TRUE(seen.messages.isEmpty());
}

TEST_F(AddRun, MissingPhotosMarkedThenRemoved) {
  const QString a = photo(QStringLiteral("a.jpg")), b = photo(QStringLiteral("b.jpg"));
  const QString c = photo(QStringLiteral("c.jpg"));
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
  EXPECT_EQ(seen.shown(), QStringList{QStringLiteral(
                              "PHOTOS DELETED: Photos no longer exists in the Source folder!")});
  EXPECT_EQ(batch.size(), 3); // kept until the user chooses remove
  engine.photoNotAvailableOnIndex(0);
  EXPECT_EQ(seen.shown().last(),
            QStringLiteral("PHOTO NOT AVAILABLE: Selected Photo not available at source location"));
  EXPECT_TRUE(seen.messages.last().showsRemove);
  EXPECT_FALSE(seen.messages.last().showsOk);

  EXPECT_EQ(engine.btnRemoveFromBatchOnAlertTapped(), (QList<int>{0, 1, 2}));
  EXPECT_TRUE(batch.isEmpty());
  EXPECT_TRUE(engine.dictFileAdded.isEmpty());

  // One photo: singular texts.
  const QString d = photo(QStringLiteral("d.jpg"));
  add({d});
  QFile::remove(d);
  seen.clear();
  engine.viewWillAppear(false);
  engine.waitForFinished();
  EXPECT_EQ(seen.shown(), QStringList{QStringLiteral(
                              "PHOTO DELETED: Photo no longer exists in the Source folder!")});
}

TEST_F(AddRun, NewBatchForgetsKeysAndReplacedBatchRebuildsThem) {
  const QString a = photo(QStringLiteral("a.jpg")), b = photo(QStringLiteral("b.jpg"));
  add({a, b});
  // The skipped photos come back as the whole batch.
  batch = {batch[1]};
  engine.rebuildDictFileAdded();
  expectKeysMatchBatch();
  add({a});
  EXPECT_EQ(batch.size(), 2);

  batch.clear();
  engine.viewWillAppear(true);
  EXPECT_TRUE(engine.dictFileAdded.isEmpty());
}

TEST_F(AddRun, EntriesWhileBusyAndUnknownIndex) {
  EXPECT_EQ(engine.btnAddPhotosTappedWithIndex(3, {path("x.jpg")}).code,
            AddPhotosStatus::Code::Ignored);
  const QString ten = folderOf(QStringLiteral("ten"), 10);
  ASSERT_TRUE(engine.btnAddPhotosTappedWithIndex(0, {ten}).started());
  EXPECT_EQ(engine.btnAddPhotosTappedWithIndex(0, {ten}).code, AddPhotosStatus::Code::Busy);
  engine.waitForFinished();
  EXPECT_EQ(batch.size(), 10);
}

QStringList diagnostics;
void captureDiagnostic(QtMsgType, const QMessageLogContext &, const QString &text) {
  diagnostics.append(text);
}

TEST_F(AddRun, ConsoleLinesAndDiagnosticLines) {
  const QString a = photo(QStringLiteral("a.jpg"));
  photo(QStringLiteral("Family.photoslibrary/x.jpg"));
  add({a});
  QStringList lines;
  AddPhotosConsole console([&](const QString &line) { lines.append(line); });
  engine.setListener(&console);
  diagnostics.clear();
  const QtMessageHandler previous = qInstallMessageHandler(captureDiagnostic);
  engine.btnAddPhotosTappedWithIndex(1, {path("Family.photoslibrary"), a});
  engine.waitForFinished();
  qInstallMessageHandler(previous);
  engine.setListener(&seen);
  EXPECT_EQ(lines, QStringList{QStringLiteral("PHOTO EXISTS: Photo already exists in batch!")});
  EXPECT_EQ(diagnostics, (QStringList{QStringLiteral("is adding iphotos = 0"),
                                      QStringLiteral("library type is not correct"),
                                      QStringLiteral("is adding photos count = 0")}));
  AddPhotosMessage trash;
  trash.kind = AddPhotosMessage::Kind::Trash;
  EXPECT_TRUE(AddPhotosConsole::lineForMessage(trash).isEmpty());
}

} // namespace

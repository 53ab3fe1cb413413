// Path text, type tests and file-manager operations, on real files in a temporary folder.
#include "platform/FileTypes.h"
#include "platform/Files.h"
#include "platform/PathText.h"
#include "platform/StandardFolders.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimeZone>
#include <gtest/gtest.h>

#include <cerrno>
#include <tuple>
#include <unistd.h>

using namespace platform;

TEST(PathTextTest, NameParts) {
  const struct {
    const char *path, *lastComponent, *extension, *withoutExtension, *withoutLastComponent;
  } rows[] = {{"/a/b/", "b", "", "/a/b", "/a"},
              {"/", "/", "", "/", "/"},
              {"", "", "", "", ""},
              {"a", "a", "", "a", ""},
              {"/a", "a", "", "/a", "/"},
              {"/a/b", "b", "", "/a/b", "/a"},
              {"/p/IMG_1.JPG", "IMG_1.JPG", "JPG", "/p/IMG_1", "/p"},
              {"/p/.JPG", ".JPG", "", "/p/.JPG", "/p"},
              {"a.b.JPG", "a.b.JPG", "JPG", "a.b", ""},
              {"/p/a.", "a.", "", "/p/a.", "/p"},
              {"/p.d/name", "name", "", "/p.d/name", "/p.d"},
              {"//p//x.tar.gz//", "x.tar.gz", "gz", "/p/x.tar", "/p"},
              {"/p/..jpg", "..jpg", "jpg", "/p/.", "/p"},
              {"/p/Été 1.heic", "Été 1.heic", "heic", "/p/Été 1", "/p"},
              {"Lib.photolibrary/", "Lib.photolibrary", "photolibrary", "Lib", ""}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.path);
    const QString path = QString::fromUtf8(row.path);
    EXPECT_EQ(PathText::lastPathComponent(path), QString::fromUtf8(row.lastComponent));
    EXPECT_EQ(PathText::pathExtension(path), QString::fromUtf8(row.extension));
    EXPECT_EQ(PathText::stringByDeletingPathExtension(path),
              QString::fromUtf8(row.withoutExtension));
    EXPECT_EQ(PathText::stringByDeletingLastPathComponent(path),
              QString::fromUtf8(row.withoutLastComponent));
  }
}

TEST(PathTextAppendTest, AppendsWithoutDoubledSlashes) {
  EXPECT_EQ(PathText::stringByAppendingPathComponent("/a", "b"), "/a/b");
  EXPECT_EQ(PathText::stringByAppendingPathComponent("/a/", "/b/"), "/a/b");
  EXPECT_EQ(PathText::stringByAppendingPathComponent("/", "b"), "/b");
  EXPECT_EQ(PathText::stringByAppendingPathComponent("", "b"), "b");
  EXPECT_EQ(PathText::stringByAppendingPathComponent("/a", ""), "/a");
  EXPECT_EQ(PathText::stringByAppendingPathComponent("/a", "b/c.jpg"), "/a/b/c.jpg");
  EXPECT_EQ(PathText::stringByAppendingPathExtension("/a/b", "jpg"), "/a/b.jpg");
  EXPECT_EQ(PathText::stringByAppendingPathExtension("/a/b/", "JPG"), "/a/b.JPG");
  EXPECT_EQ(PathText::stringByAppendingPathExtension("/a/b.tif", "jpg"), "/a/b.tif.jpg");
  EXPECT_EQ(PathText::stringByAppendingPathExtension("/", "jpg"), "/");
}

TEST(PathTextResolveTest, FindsTheExistingCaseOfEachComponent) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  const QString root = dir.path();
  const QString photo = testenv::writeFile(root + "/x/Photos/IMG.JPG", "jpeg");
  ASSERT_FALSE(photo.isEmpty());
  QDir().mkpath(root + "/x/Photos/Sub Folder");

  EXPECT_EQ(PathText::resolveCaseInsensitive(root + "/x/photos/img.jpg"), photo);
  EXPECT_EQ(PathText::resolveCaseInsensitive(root + "/X/PHOTOS/"), root + "/x/Photos");
  EXPECT_EQ(PathText::resolveCaseInsensitive(root + "/x/photos/sub folder"),
            root + "/x/Photos/Sub Folder");
  EXPECT_EQ(PathText::resolveCaseInsensitive(photo), photo);
  // Nothing matches: the path comes back as given.
  EXPECT_EQ(PathText::resolveCaseInsensitive(root + "/x/photos/missing.jpg"),
            root + "/x/photos/missing.jpg");

  // An exact match wins over another spelling.
  const QString lower = testenv::writeFile(root + "/x/Photos/img.jpg", "other");
  EXPECT_EQ(PathText::resolveCaseInsensitive(root + "/x/photos/img.jpg"), lower);
  EXPECT_EQ(PathText::resolveCaseInsensitive(root + "/x/photos/IMG.JPG"), photo);
}

TEST(FileTypesTest, ImagesByExtensionAndPackagesAsFoldersWithBundleExtensions) {
  QTemporaryDir dir;
  // Name, made as a folder, conforms to image, is a package.
  const std::tuple<const char *, bool, bool, bool> rows[] = {
      {"a.jpg", false, true, false},           {"a.JPG", false, true, false},
      {"a.HEIC", false, true, false},          {"a.cr2", false, true, false},
      {"a.txt", false, false, false},          {"a.pdf", false, false, false},
      {"noext", false, false, false},          {"a.jpg.txt", false, false, false},
      {"folder.jpg", true, false, false},      {"File.photolibrary", false, false, false},
      {"Lib.photolibrary", true, false, true}, {"Photos Library.photoslibrary", true, false, true},
      {"Tool.APP", true, false, true},         {"Plain", true, false, false},
      {"Holiday.2024", true, false, false}};
  for (const auto &[name, folder, image, package] : rows) {
    const QString path = dir.filePath(name);
    ASSERT_TRUE(folder ? QDir().mkpath(path) : !testenv::writeFile(path, "x").isEmpty());
    EXPECT_EQ(FileTypes::conformsToImage(path), image) << name;
    EXPECT_EQ(FileTypes::isPackage(path), package) << name;
  }
  EXPECT_FALSE(FileTypes::isPackage(dir.filePath("Missing.photolibrary")));
}

TEST(FilesTest, ExistenceAndAttributes) {
  QTemporaryDir dir;
  const QString photo = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());

  bool isDirectory = true;
  EXPECT_TRUE(Files::fileExists(photo, &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(Files::fileExists(dir.path(), &isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(Files::fileExists(dir.filePath("missing"), &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_FALSE(Files::fileExists(QString()));

  const Files::Attributes attributes = Files::attributesOfItem(photo);
  EXPECT_TRUE(attributes.exists);
  EXPECT_FALSE(attributes.isDirectory);
  EXPECT_EQ(attributes.size, QFileInfo(photo).size());
  EXPECT_EQ(attributes.permissions, 0644u); // as copyPhoto leaves it
  ASSERT_TRUE(attributes.creationDate.isValid());
  EXPECT_LE(attributes.creationDate, attributes.modificationDate);
  EXPECT_FALSE(Files::attributesOfItem(dir.filePath("missing")).exists);
  EXPECT_TRUE(Files::attributesOfItem(dir.path()).isDirectory);
}

// A probe answers as fileExists would for the same path, whatever the folder turns out to be.
TEST(FilesTest, FolderProbeAgreesWithFileExists) {
  QTemporaryDir dir;
  const QString photo = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  QDir().mkpath(dir.filePath("sub"));
  ASSERT_EQ(::symlink("nowhere.jpg", QFile::encodeName(dir.filePath("dangling.jpg")).constData()),
            0);
  ASSERT_EQ(::symlink(QFile::encodeName(photo).constData(),
                      QFile::encodeName(dir.filePath("link.jpg")).constData()),
            0);
  const QStringList folders = {dir.path(), dir.filePath("missing"), photo, QString()};
  const QStringList names = {"Canon_40D.jpg", "sub", "missing.jpg", "dangling.jpg",
                             "link.jpg",      "tmp", ".",           ""};
  for (const QString &folder : folders) {
    const Files::FolderProbe probe(folder);
    for (const QString &name : names) {
      const QString whole = (folder.isEmpty() ? QString() : folder) + '/' + name;
      EXPECT_EQ(probe.exists(name), !name.isEmpty() && Files::fileExists(whole))
          << qPrintable(whole);
    }
  }
}

TEST(FilesTest, SetDatesRoundTripAndCreationStaysAtOrBeforeModification) {
  QTemporaryDir dir;
  const QString photo = testenv::copyPhoto("jpg/Nikon_D70.jpg", dir.path());
  const QDateTime modified(QDate(2009, 10, 9), QTime(8, 7, 6), QTimeZone::utc());
  const QDateTime accessed(QDate(2010, 1, 2), QTime(3, 4, 5), QTimeZone::utc());
  ASSERT_TRUE(Files::setDates(photo, modified, accessed).ok);

  const Files::Attributes attributes = Files::attributesOfItem(photo);
  EXPECT_EQ(attributes.modificationDate.toSecsSinceEpoch(), modified.toSecsSinceEpoch());
  EXPECT_EQ(attributes.accessDate.toSecsSinceEpoch(), accessed.toSecsSinceEpoch());
  // The copy was born today, after the modification date it now carries.
  EXPECT_LE(attributes.creationDate, attributes.modificationDate);

  // An invalid date leaves that time alone.
  ASSERT_TRUE(Files::setDates(photo, QDateTime(), modified).ok);
  EXPECT_EQ(Files::attributesOfItem(photo).modificationDate.toSecsSinceEpoch(),
            modified.toSecsSinceEpoch());

  const Files::Result missing = Files::setDates(dir.filePath("missing.jpg"), modified, accessed);
  EXPECT_FALSE(missing.ok);
  EXPECT_EQ(missing.code, ENOENT);
  EXPECT_FALSE(missing.message.isEmpty());

  ASSERT_TRUE(Files::setPermissions(photo, 0600).ok);
  EXPECT_EQ(Files::attributesOfItem(photo).permissions, 0600u);
}

TEST(FilesTest, MoveToTrashUsesTheXdgTrashEvenWhenDataFolderIsMissing) {
  QTemporaryDir dir;
  const QString dataHome = QDir::homePath() + "/.local/share";
  QDir(dataHome).removeRecursively();
  ASSERT_FALSE(QFileInfo::exists(dataHome));

  // Qt would place the trash relative to the working directory; run from a fresh one.
  const QString work = dir.filePath("work");
  QDir().mkpath(work);
  const QString previous = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(work));

  const QString photo = testenv::copyPhoto("jpg/Pentax_K10D.jpg", dir.path(), "To Trash.jpg");
  const qint64 size = QFileInfo(photo).size();
  QString placed;
  const Files::Result result = Files::moveToTrash(photo, &placed);
  QDir::setCurrent(previous);
  ASSERT_TRUE(result.ok) << result.message.toStdString();

  EXPECT_FALSE(QFileInfo::exists(photo));
  const QString trash = dataHome + "/Trash";
  EXPECT_EQ(QFileInfo(placed).absolutePath(), trash + "/files");
  EXPECT_EQ(QFileInfo(placed).size(), size);
  const QString info = trash + "/info/" + QFileInfo(placed).fileName() + ".trashinfo";
  QFile infoFile(info);
  ASSERT_TRUE(infoFile.open(QIODevice::ReadOnly)) << info.toStdString();
  const QByteArray infoText = infoFile.readAll();
  EXPECT_TRUE(infoText.startsWith("[Trash Info]"));
  EXPECT_TRUE(infoText.contains("DeletionDate="));
  EXPECT_TRUE(infoText.contains("Path=")) << infoText.toStdString();
  EXPECT_FALSE(QFileInfo::exists(work + "/files"));
  EXPECT_FALSE(QFileInfo::exists(work + "/Trash"));
  EXPECT_TRUE(isInTrash(placed, true));

  // A second file of the same name gets its own place.
  const QString again = testenv::copyPhoto("jpg/Pentax_K10D.jpg", dir.path(), "To Trash.jpg");
  QString placedAgain;
  ASSERT_TRUE(Files::moveToTrash(again, &placedAgain).ok);
  EXPECT_NE(placedAgain, placed);
  EXPECT_TRUE(QFileInfo::exists(placedAgain));

  const Files::Result missing = Files::moveToTrash(dir.filePath("missing.jpg"));
  EXPECT_FALSE(missing.ok);
  EXPECT_EQ(missing.code, ENOENT);
}

TEST(FilesTest, SpaceAndFolders) {
  QTemporaryDir dir;
  const qint64 free = Files::freeSpaceForPath(dir.path());
  const qint64 total = Files::totalSpaceForPath(dir.path());
  EXPECT_GT(free, 0);
  EXPECT_LE(free, total);
  // A destination that does not exist yet is measured on the volume that will hold it.
  EXPECT_GT(Files::freeSpaceForPath(dir.filePath("not/yet/made")), 0);
  EXPECT_EQ(Files::freeSpaceForPath(QString()), -1);

  const QString nested = dir.filePath("a/b c/d");
  EXPECT_TRUE(Files::createDirectory(nested).ok);
  EXPECT_TRUE(QFileInfo(nested).isDir());
  EXPECT_TRUE(Files::createDirectory(nested).ok); // already there
  testenv::writeFile(dir.filePath("blocker"), "file");
  const Files::Result blocked = Files::createDirectory(dir.filePath("blocker/sub"));
  EXPECT_FALSE(blocked.ok);
  EXPECT_EQ(blocked.code, EEXIST);
  EXPECT_FALSE(Files::createDirectory(QString()).ok);
}

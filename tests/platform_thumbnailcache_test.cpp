#include "imaging/ImageProcessing.h"
#include "platform/ThumbnailCache.h"
#include "tests/support/TestEnv.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <utime.h>

namespace Cache = platform::SharedThumbnailCache;

// Names as GLib computes them (g_filename_to_uri), so other desktop programs find ours.
TEST(SharedThumbnailCache, NamesFollowTheDesktopStandard) {
  EXPECT_EQ(Cache::fileUri(QStringLiteral("/srv/ann/Pictures/a b/Crémieux #1.jpg")),
            QStringLiteral("file:///srv/ann/Pictures/a%20b/Cr%C3%A9mieux%20%231.jpg"));
  EXPECT_EQ(Cache::fileUri(QStringLiteral("/p/x(1)&y=z@w,v;u[2].jpg")),
            QStringLiteral("file:///p/x(1)&y=z@w,v%3Bu%5B2%5D.jpg"));
  const QString path = QStringLiteral("/srv/ann/photo.jpg");
  const QString expected =
      QString::fromLatin1(
          QCryptographicHash::hash("file:///srv/ann/photo.jpg", QCryptographicHash::Md5).toHex()) +
      QStringLiteral(".png");
  EXPECT_EQ(Cache::thumbnailPath(path, Cache::Size::Normal),
            QDir::homePath() + QStringLiteral("/.cache/thumbnails/normal/") + expected);
  qputenv("XDG_CACHE_HOME", "/somewhere/cache");
  EXPECT_EQ(Cache::thumbnailPath(path, Cache::Size::Large),
            QStringLiteral("/somewhere/cache/thumbnails/large/") + expected);
  qunsetenv("XDG_CACHE_HOME");
}

// A written thumbnail reads back while the file is unchanged, and is refused once the file's
// modification time moves; nothing is left under a temporary name.
TEST(SharedThumbnailCache, WrittenThumbnailIsReadUntilTheFileChanges) {
  QTemporaryDir dir;
  const QString photo = testenv::copyPhoto(QStringLiteral("jpg/Canon_40D.jpg"), dir.path());
  EXPECT_FALSE(Cache::read(photo, Cache::Size::Large));
  const auto thumbnail = ImageProcessing::getThumbnailForFile(photo, 256, 256);
  ASSERT_TRUE(thumbnail);
  ASSERT_TRUE(Cache::write(photo, *thumbnail, Cache::Size::Large));
  const QString stored = Cache::thumbnailPath(photo, Cache::Size::Large);
  EXPECT_EQ(QFileInfo(stored).permissions() & (QFile::ReadOther | QFile::ReadGroup), 0);
  EXPECT_EQ(QDir(QFileInfo(stored).path()).entryList(QDir::Files).size(), 1);

  const auto back = Cache::read(photo, Cache::Size::Large);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->width(), thumbnail->width());
  EXPECT_EQ(back->height(), thumbnail->height());
  EXPECT_FALSE(Cache::read(photo, Cache::Size::Normal));

  struct utimbuf times {};
  times.actime = 1000000000;
  times.modtime = 1000000000;
  ASSERT_EQ(::utime(QFile::encodeName(photo).constData(), &times), 0);
  EXPECT_FALSE(Cache::read(photo, Cache::Size::Large));

  // A thumbnail stored under another file's name is not taken for this one.
  const QString other = testenv::copyPhoto(QStringLiteral("jpg/Nikon_D70.jpg"), dir.path());
  QDir().mkpath(QFileInfo(Cache::thumbnailPath(other, Cache::Size::Normal)).path());
  ASSERT_TRUE(QFile::copy(stored, Cache::thumbnailPath(other, Cache::Size::Normal)));
  EXPECT_FALSE(Cache::read(other, Cache::Size::Normal));
  EXPECT_FALSE(Cache::write(QStringLiteral("/no/such/file.jpg"), *thumbnail, Cache::Size::Large));
}

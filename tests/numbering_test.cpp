// The order of the batch and the running number: zero-padded digits, every sort order with
// its ties, and the preview of `--sort taken` numbering photos by their capture dates.
#include "tests/support/TestEnv.h"

#include "intake/BatchOrder.h"
#include "intake/PhotoFile.h"
#include "rename/BatchRenameSetting.h"
#include "rename/RenameEngine.h"

#include <QFile>
#include <QFileInfo>

#include <exiv2/exiv2.hpp>
#include <gtest/gtest.h>

namespace {

const QStringList kFormats =
    QStringLiteral("Keep original format,tif,bmp,gif,jpg,jpeg,png,jp2,pdf").split(QLatin1Char(','));

QString numbered(qint32 digits, qint32 start, quint32 index) {
  auto setting = BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  setting->flagRenamingMode = 1;
  setting->dictAddDigit = {{RuleKey::State, true},
                           {RuleKey::As, 1},
                           {RuleKey::StartingIndex, start},
                           {RuleKey::Increment, 1},
                           {RuleKey::Digits, digits}};
  RenameEngine engine(*setting, kFormats);
  return engine.newName({"a.jpg", "jpg", "/p/a.jpg", {}, {}, {}}, index);
}

TEST(CounterDigits, PadToTheWidthAndGrowPastIt) {
  EXPECT_EQ(numbered(3, 1, 0), "a001.JPG");
  EXPECT_EQ(numbered(3, 1, 98), "a099.JPG");
  EXPECT_EQ(numbered(3, 1, 998), "a999.JPG");
  EXPECT_EQ(numbered(3, 1, 999), "a1000.JPG");
  // 0 (and a missing key) is no padding; out-of-range widths are held to 0-9.
  EXPECT_EQ(numbered(0, 7, 0), "a7.JPG");
  EXPECT_EQ(numbered(-4, 7, 0), "a7.JPG");
  EXPECT_EQ(numbered(9, 7, 0), "a000000007.JPG");
  EXPECT_EQ(numbered(12, 7, 0), "a000000007.JPG");
  // The sign stays in front of the padding.
  EXPECT_EQ(numbered(3, -5, 0), "a-005.JPG");
}

struct Row {
  QString name;
  double size;
  QDateTime modified;
};

// Records made in row order, which is their order of adding.
QList<std::shared_ptr<PhotoFile>> batchOf(const QList<Row> &rows) {
  QList<std::shared_ptr<PhotoFile>> batch;
  for (const Row &row : rows) {
    auto photo = std::make_shared<PhotoFile>();
    photo->fileName = row.name;
    photo->filePath = QStringLiteral("/nowhere/") + row.name;
    photo->fileSizeInBytes = row.size;
    photo->fileModifiedDate = row.modified;
    batch.append(photo);
  }
  return batch;
}

QStringList namesOf(const QList<std::shared_ptr<PhotoFile>> &batch) {
  QStringList names;
  for (const auto &photo : batch)
    names.append(photo->fileName);
  return names;
}

QDateTime day(int d) {
  return QDateTime(QDate(2024, 3, d), QTime(12, 0), Qt::UTC);
}

TEST(BatchOrder, EveryOrderBothWaysWithTiesInTheOrderOfAdding) {
  const auto batch = batchOf({
      {"IMG_10.jpg", 300, day(2)},
      {"img_2.jpg", 100, day(3)},
      {"IMG_1.jpg", 300, day(1)},
      {"b.jpg", 100, day(3)},
      {"IMG_2.jpg", 200, day(2)},
  });
  using BatchOrder::Key;
  const auto order = [&](Key key, bool descending) {
    return namesOf(BatchOrder::sorted(batch, key, descending)).join(' ');
  };
  EXPECT_EQ(order(Key::Added, false), "IMG_10.jpg img_2.jpg IMG_1.jpg b.jpg IMG_2.jpg");
  EXPECT_EQ(order(Key::Added, true), "IMG_2.jpg b.jpg IMG_1.jpg img_2.jpg IMG_10.jpg");
  // Natural and case-blind: IMG_2 before IMG_10; the two IMG_2 differ only in case and
  // keep a fixed order between them.
  EXPECT_EQ(order(Key::Name, false), "b.jpg IMG_1.jpg IMG_2.jpg img_2.jpg IMG_10.jpg");
  EXPECT_EQ(order(Key::Name, true), "IMG_10.jpg img_2.jpg IMG_2.jpg IMG_1.jpg b.jpg");
  // Ties (equal sizes, equal dates) keep the order of adding in both directions.
  EXPECT_EQ(order(Key::Size, false), "img_2.jpg b.jpg IMG_2.jpg IMG_10.jpg IMG_1.jpg");
  EXPECT_EQ(order(Key::Size, true), "IMG_10.jpg IMG_1.jpg IMG_2.jpg img_2.jpg b.jpg");
  EXPECT_EQ(order(Key::Modified, false), "IMG_1.jpg IMG_10.jpg IMG_2.jpg img_2.jpg b.jpg");
  EXPECT_EQ(order(Key::Modified, true), "img_2.jpg b.jpg IMG_10.jpg IMG_2.jpg IMG_1.jpg");

  // Sorting a sorted batch by "added" gives the batch as it was added.
  const auto bySize = BatchOrder::sorted(batch, Key::Size, true);
  EXPECT_EQ(namesOf(BatchOrder::sorted(bySize, Key::Added, false)), namesOf(batch));

  for (const QString &name : BatchOrder::keyNames()) {
    Key key;
    ASSERT_TRUE(BatchOrder::keyFromName(name.toUpper(), &key));
    EXPECT_EQ(BatchOrder::keyName(key), name);
  }
  Key key;
  EXPECT_FALSE(BatchOrder::keyFromName("date", &key));
}

class TakenOrder : public testenv::InOutTest {};

TEST_F(TakenOrder, PreviewSortedByTakenDateNumbersPhotosByCaptureDate) {
  // Names in one order, capture dates in another; c and d share a date, and e has none.
  const std::pair<const char *, const char *> photos[] = {
      {"a.jpg", "2021:06:01 10:00:00"},
      {"b.jpg", "2019:01:01 08:00:00"},
      {"c.jpg", "2020:05:05 05:05:05"},
      {"d.jpg", "2020:05:05 05:05:05"},
      {"e.jpg", nullptr},
  };
  for (const auto &[name, date] : photos) {
    const QString copy = testenv::copyPhoto("jpg/PaintTool_sample.jpg", in, name);
    ASSERT_FALSE(copy.isEmpty());
    auto image = Exiv2::ImageFactory::open(QFile::encodeName(copy).toStdString());
    image->readMetadata();
    Exiv2::ExifData exif = image->exifData();
    if (date)
      exif["Exif.Photo.DateTimeOriginal"] = date;
    else
      exif.clear();
    image->setExifData(exif);
    image->writeMetadata();
  }
  const auto preview = [&](QStringList extra) {
    QStringList args = {"preview", "--copy", out,        "--number", "prefix",
                        "--start", "1",      "--digits", "2"};
    args << extra << in;
    const auto result = testenv::runQuillmere(args);
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    QStringList names;
    for (const QString &line : result.out.split('\n')) {
      const QStringList fields = line.split('\t');
      if (fields.size() == 3)
        names.append(QFileInfo(fields.at(2)).fileName());
    }
    return names.join(' ');
  };
  EXPECT_EQ(preview({"--sort", "taken"}), "01b.jpg 02c.jpg 03d.jpg 04a.jpg 05e.jpg");
  EXPECT_EQ(preview({"--sort", "taken", "--reverse"}), "01a.jpg 02c.jpg 03d.jpg 04b.jpg 05e.jpg");
  EXPECT_EQ(preview({"--sort", "name", "--reverse"}), "01e.jpg 02d.jpg 03c.jpg 04b.jpg 05a.jpg");
  EXPECT_EQ(testenv::runQuillmere({"preview", "--sort", "colour", in}).exitCode, 64);
  EXPECT_EQ(testenv::runQuillmere({"preview", "--digits", "10", in}).exitCode, 64);
}

} // namespace

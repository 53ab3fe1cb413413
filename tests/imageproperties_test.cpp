// The image-properties dictionary read from real files: the keys and values the rest of the
// system relies on, checked against what Exiv2 and libvips read from the same files.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // Exiv2 0.27's auto_ptr

#include "imaging/ImageProcessing.h"
#include "platform/ImageProperties.h"
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <exiv2/exiv2.hpp>
#include <gtest/gtest.h>
#include <vips/vips8>

#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

QString photo(const QString &relative) {
  return testenv::photosDir() + QLatin1Char('/') + relative;
}

QVariantMap group(const QVariantMap &dict, const char *name) {
  return dict.value(QLatin1String(name)).toMap();
}

QStringList allSamplePhotos() {
  QStringList files;
  QDirIterator it(testenv::photosDir(), QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext())
    files.append(it.next());
  files.sort();
  return files;
}

bool isDocument(const QString &path) {
  const QString name = QFileInfo(path).fileName();
  return name.startsWith(QLatin1String("README"));
}

struct CameraRow {
  const char *file;
  const char *make;
  const char *model;
  QVariantList iso;
  int width;
  int height;
};

void PrintTo(const CameraRow &row, std::ostream *out) {
  *out << row.file;
}

class CameraTags : public ::testing::TestWithParam<CameraRow> {};

TEST_P(CameraTags, MakeModelIsoAndSize) {
  const CameraRow &row = GetParam();
  const auto dict = ImageProcessing::exifForFile(photo(QLatin1String(row.file)));
  ASSERT_TRUE(dict.has_value());
  EXPECT_EQ(group(*dict, "{TIFF}").value("Make").toString(), QString::fromUtf8(row.make));
  EXPECT_EQ(group(*dict, "{TIFF}").value("Model").toString(), QString::fromUtf8(row.model));
  const QVariant iso = group(*dict, "{Exif}").value("ISOSpeedRatings");
  EXPECT_EQ(iso.typeId(), QMetaType::QVariantList);
  EXPECT_EQ(iso.toList(), row.iso);
  EXPECT_EQ(dict->value("PixelWidth").toInt(), row.width);
  EXPECT_EQ(dict->value("PixelHeight").toInt(), row.height);
  EXPECT_EQ(dict->value("PixelWidth").typeId(), QMetaType::Int);
}

INSTANTIATE_TEST_SUITE_P(
    SamplePhotos, CameraTags,
    ::testing::Values(
        CameraRow{"jpg/Canon_40D.jpg", "Canon", "Canon EOS 40D", {100}, 100, 68},
        CameraRow{"jpg/Nikon_D70.jpg", "NIKON CORPORATION", "NIKON D70", {200}, 100, 66},
        CameraRow{"jpg/Pentax_K10D.jpg", "PENTAX Corporation", "PENTAX K10D", {200}, 100, 72},
        CameraRow{"jpg/Fujifilm_FinePix_E500.jpg", "FUJIFILM", "FinePix E500", {100}, 59, 100},
        CameraRow{"jpg/Samsung_Digimax_i50_MP3.jpg",
                  "Samsung Techwin",
                  "<Digimax i50 MP3, Samsung #1 MP3>",
                  {150},
                  100,
                  75},
        CameraRow{"jpg/gps/DSCN0038.jpg", "NIKON", "COOLPIX P6000", {103}, 640, 480},
        CameraRow{"heic/IMG_5195.HEIC", "Apple", "iPhone 11 Pro Max", {32}, 2566, 3313}));

TEST(ImageProperties, GpsInUnsignedDegreesWithReferencesApart) {
  const auto nikon = ImageProcessing::exifForFile(photo("jpg/gps/DSCN0010.jpg"));
  ASSERT_TRUE(nikon.has_value());
  const QVariantMap gps = group(*nikon, "{GPS}");
  EXPECT_NEAR(gps.value("Latitude").toDouble(), 43.4674483333, 1e-9);
  EXPECT_EQ(gps.value("LatitudeRef").toString(), "N");
  EXPECT_NEAR(gps.value("Longitude").toDouble(), 11.8851266667, 1e-9);
  EXPECT_EQ(gps.value("LongitudeRef").toString(), "E");
  EXPECT_EQ(gps.value("DateStamp").toString(), "2008:10:23");
  EXPECT_FALSE(nikon->contains("DateStamp")); // only inside the group

  // Southern latitude: the number stays positive, the sign is in the reference.
  const auto kodak = ImageProcessing::exifForFile(photo("jpg/Kodak_CX7530.jpg"));
  ASSERT_TRUE(kodak.has_value());
  EXPECT_NEAR(group(*kodak, "{GPS}").value("Latitude").toDouble(), 0.3713, 1e-9);
  EXPECT_EQ(group(*kodak, "{GPS}").value("LatitudeRef").toString(), "S");

  const auto iphone = ImageProcessing::exifForFile(photo("heic/IMG_5195.HEIC"));
  ASSERT_TRUE(iphone.has_value());
  const QVariantMap phoneGps = group(*iphone, "{GPS}");
  EXPECT_NEAR(phoneGps.value("Latitude").toDouble(), 39.0513444, 1e-6);
  EXPECT_EQ(phoneGps.value("LongitudeRef").toString(), "W");
  EXPECT_NEAR(phoneGps.value("Altitude").toDouble(), 260.5606, 1e-3);
  EXPECT_EQ(phoneGps.value("AltitudeRef").toInt(), 0);
  EXPECT_EQ(phoneGps.value("ImgDirectionRef").toString(), "M");
}

TEST(ImageProperties, ExifValuesKeepTheirTypes) {
  const auto dict = ImageProcessing::exifForFile(photo("jpg/Canon_40D.jpg"));
  ASSERT_TRUE(dict.has_value());
  const QVariantMap exif = group(*dict, "{Exif}");
  EXPECT_EQ(exif.value("DateTimeOriginal").toString(), "2008:05:30 15:56:01");
  EXPECT_EQ(exif.value("FNumber").typeId(), QMetaType::Double);
  EXPECT_DOUBLE_EQ(exif.value("FNumber").toDouble(), 7.1);
  EXPECT_DOUBLE_EQ(exif.value("FocalLength").toDouble(), 135.0);
  EXPECT_EQ(exif.value("Flash").typeId(), QMetaType::Int);
  EXPECT_EQ(exif.value("Flash").toInt(), 9);
  EXPECT_EQ(exif.value("MeteringMode").toInt(), 5);
  EXPECT_EQ(exif.value("FocalPlaneResolutionUnit").toInt(), 2);
  EXPECT_EQ(exif.value("PixelXDimension").toInt(), 100);
  EXPECT_EQ(group(*dict, "{TIFF}").value("DateTime").toString(), "2008:07:31 10:38:11");
  EXPECT_EQ(group(*dict, "{TIFF}").value("Software").toString(), "GIMP 2.4.5");
  EXPECT_EQ(dict->value("ProfileName").toString(), "sRGB IEC61966-2.1");
  EXPECT_EQ(dict->value("ColorModel").toString(), "RGB");
  EXPECT_EQ(dict->value("Depth").toInt(), 8);
  EXPECT_EQ(dict->value("HasAlpha").toBool(), false);
  EXPECT_DOUBLE_EQ(dict->value("DPIWidth").toDouble(), 72.0);
  EXPECT_EQ(group(*dict, "{JFIF}").value("XDensity").toInt(), 72);

  const auto iphone = ImageProcessing::exifForFile(photo("heic/IMG_5195.HEIC"));
  ASSERT_TRUE(iphone.has_value());
  EXPECT_EQ(group(*iphone, "{Exif}").value("LensMake").toString(), "Apple");
  EXPECT_EQ(group(*iphone, "{ExifAux}").value("LensModel").toString(),
            "iPhone 11 Pro Max back triple camera 4.25mm f/1.8");
  EXPECT_EQ(group(*iphone, "{Exif}").value("FocalLenIn35mmFilm").toInt(), 26);
  EXPECT_EQ(iphone->value("ProfileName").toString(), "Display P3");
}

TEST(ImageProperties, IptcListsAndTexts) {
  const auto dict = ImageProcessing::exifForFile(photo("jpg/xmp/no_exif.jpg"));
  ASSERT_TRUE(dict.has_value());
  const QVariantMap iptc = group(*dict, "{IPTC}");
  EXPECT_EQ(iptc.value("Keywords").toList(), QVariantList{QStringLiteral("tag")});
  EXPECT_EQ(iptc.value("Byline").toList(), QVariantList{QStringLiteral("CREDIT")});
  EXPECT_EQ(iptc.value("Caption/Abstract").toString(), "Der Goalie bin ig");

  // Repeated datasets become lists in file order; single ones stay texts.
  QTemporaryDir dir;
  const QString copy = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path());
  {
    auto image = Exiv2::ImageFactory::open(QFile::encodeName(copy).toStdString());
    image->readMetadata();
    Exiv2::IptcData &data = image->iptcData();
    data["Iptc.Application2.City"] = "Zürich";
    Exiv2::StringValue keyword;
    for (const char *word : {"lake", "boat", "swan"}) {
      keyword.read(word);
      data.add(Exiv2::IptcKey("Iptc.Application2.Keywords"), &keyword);
    }
    data["Iptc.Application2.Writer"] = "Editor One";
    image->writeMetadata();
  }
  const auto written = ImageProcessing::exifForFile(copy);
  ASSERT_TRUE(written.has_value());
  const QVariantMap iptc2 = group(*written, "{IPTC}");
  EXPECT_EQ(iptc2.value("City").toString(), QString::fromUtf8("Zürich"));
  EXPECT_EQ(iptc2.value("Keywords").toList(),
            (QVariantList{QStringLiteral("lake"), QStringLiteral("boat"), QStringLiteral("swan")}));
  EXPECT_EQ(iptc2.value("Writer/Editor").toList(), QVariantList{QStringLiteral("Editor One")});
}

TEST(ImageProperties, OrientationOneToEightOfEachSample) {
  for (const char *shape : {"landscape", "portrait"}) {
    for (int o = 1; o <= 8; ++o) {
      const QString file = QStringLiteral("jpg/orientation/%1_%2.jpg").arg(shape).arg(o);
      const auto dict = ImageProcessing::exifForFile(photo(file));
      ASSERT_TRUE(dict.has_value()) << file.toStdString();
      EXPECT_EQ(dict->value("Orientation").toInt(), o) << file.toStdString();
      EXPECT_EQ(group(*dict, "{TIFF}").value("Orientation").toInt(), o) << file.toStdString();
      // Stored pixels, before any turn.
      const vips::VImage stored = vips::VImage::new_from_file(photo(file).toUtf8().constData());
      EXPECT_EQ(dict->value("PixelWidth").toInt(), stored.width()) << file.toStdString();
      EXPECT_EQ(dict->value("PixelHeight").toInt(), stored.height()) << file.toStdString();
    }
  }
}

TEST(ImageProperties, HeifReportsTheTurnedSizeAndOrientationOne) {
  // A 64 x 32 picture whose HEIF rotation property turns it a quarter, and whose EXIF
  // block also says orientation 6: libheif has turned it already.
  const auto dict = ImageProcessing::exifForFile(testenv::dataDir() + "/metadata/rotated_90.heic");
  ASSERT_TRUE(dict.has_value());
  EXPECT_EQ(dict->value("PixelWidth").toInt(), 32);
  EXPECT_EQ(dict->value("PixelHeight").toInt(), 64);
  EXPECT_EQ(dict->value("Orientation").toInt(), 1);
  EXPECT_EQ(group(*dict, "{TIFF}").value("Orientation").toInt(), 1);
  EXPECT_EQ(group(*dict, "{TIFF}").value("Make").toString(), "Quillmere");
  EXPECT_EQ(group(*dict, "{Exif}").value("DateTimeOriginal").toString(), "2024:03:14 21:05:07");

  const auto iphone = ImageProcessing::exifForFile(photo("heic/IMG_5195.HEIC"));
  ASSERT_TRUE(iphone.has_value());
  EXPECT_EQ(iphone->value("PixelWidth").toInt(), 2566);
  EXPECT_EQ(iphone->value("PixelHeight").toInt(), 3313);
  EXPECT_EQ(iphone->value("Orientation").toInt(), 1);
}

TEST(ImageProperties, EverySamplePhotoAgreesWithExiv2AndLibvips) {
  int images = 0;
  for (const QString &path : allSamplePhotos()) {
    SCOPED_TRACE(path.toStdString());
    const auto dict = platform::ImageProperties::readFile(path);
    if (isDocument(path)) {
      EXPECT_FALSE(dict.has_value());
      continue;
    }
    ASSERT_TRUE(dict.has_value());
    ++images;
    EXPECT_GT(dict->value("PixelWidth").toInt(), 0);
    EXPECT_GT(dict->value("PixelHeight").toInt(), 0);
    EXPECT_TRUE(dict->contains("ColorModel"));
    EXPECT_TRUE(dict->contains("Depth"));
    EXPECT_TRUE(dict->contains("HasAlpha"));
    if (dict->contains("Orientation")) {
      EXPECT_GE(dict->value("Orientation").toInt(), 1);
      EXPECT_LE(dict->value("Orientation").toInt(), 8);
    }

    const vips::VImage header = vips::VImage::new_from_file(path.toUtf8().constData());
    EXPECT_EQ(dict->value("PixelWidth").toInt(), header.width());
    EXPECT_EQ(dict->value("PixelHeight").toInt(), header.height());

    // Make, Model and the capture date are the camera's own texts, as Exiv2 reads them.
    try {
      auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
      image->readMetadata();
      const Exiv2::ExifData &exif = image->exifData();
      for (const auto &[key, groupName, name] :
           {std::tuple{"Exif.Image.Make", "{TIFF}", "Make"},
            std::tuple{"Exif.Image.Model", "{TIFF}", "Model"},
            std::tuple{"Exif.Photo.DateTimeOriginal", "{Exif}", "DateTimeOriginal"}}) {
        const auto found = exif.findKey(Exiv2::ExifKey(key));
        if (found == exif.end() || found->typeId() != Exiv2::asciiString)
          continue;
        const QString expected = QString::fromStdString(found->toString()).trimmed();
        if (expected.isEmpty())
          continue;
        EXPECT_EQ(group(*dict, groupName).value(QLatin1String(name)).toString(), expected) << key;
      }
    } catch (const Exiv2::AnyError &) {
    }
  }
  EXPECT_GE(images, 85);
}

TEST(ImageProperties, ColourModelDepthAlphaAndResolutionOfMadeImages) {
  QTemporaryDir dir;
  const QString base = dir.path() + QLatin1Char('/');
  vips::VImage rgb =
      vips::VImage::black(20, 10, vips::VImage::option()->set("bands", 3))
          .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  rgb.bandjoin(255)
      .cast(VIPS_FORMAT_UCHAR)
      .write_to_file((base + "alpha.png").toUtf8().constData());
  rgb.extract_band(0)
      .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W))
      .write_to_file((base + "grey.png").toUtf8().constData());
  rgb.cast(VIPS_FORMAT_USHORT)
      .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16))
      .write_to_file((base + "deep.png").toUtf8().constData());
  rgb.colourspace(VIPS_INTERPRETATION_CMYK).write_to_file((base + "cmyk.jpg").toUtf8().constData());
  rgb.copy(vips::VImage::option()->set("xres", 300 / 25.4)->set("yres", 150 / 25.4))
      .write_to_file((base + "dpi.tif").toUtf8().constData());
  rgb.write_to_file((base + "plain.webp").toUtf8().constData());
  rgb.write_to_file((base + "plain.gif").toUtf8().constData());
  rgb.write_to_file((base + "plain.ppm").toUtf8().constData());

  const auto alpha = ImageProcessing::exifForFile(base + "alpha.png");
  ASSERT_TRUE(alpha.has_value());
  EXPECT_TRUE(alpha->value("HasAlpha").toBool());
  EXPECT_EQ(alpha->value("ColorModel").toString(), "RGB");
  EXPECT_FALSE(alpha->contains("Orientation"));
  EXPECT_FALSE(alpha->contains("{Exif}"));

  const auto grey = ImageProcessing::exifForFile(base + "grey.png");
  ASSERT_TRUE(grey.has_value());
  EXPECT_EQ(grey->value("ColorModel").toString(), "Gray");
  EXPECT_FALSE(grey->value("HasAlpha").toBool());

  const auto deep = ImageProcessing::exifForFile(base + "deep.png");
  ASSERT_TRUE(deep.has_value());
  EXPECT_EQ(deep->value("Depth").toInt(), 16);

  const auto cmyk = ImageProcessing::exifForFile(base + "cmyk.jpg");
  ASSERT_TRUE(cmyk.has_value());
  EXPECT_EQ(cmyk->value("ColorModel").toString(), "CMYK");

  const auto dpi = ImageProcessing::exifForFile(base + "dpi.tif");
  ASSERT_TRUE(dpi.has_value());
  EXPECT_NEAR(dpi->value("DPIWidth").toDouble(), 300.0, 0.01);
  EXPECT_NEAR(dpi->value("DPIHeight").toDouble(), 150.0, 0.01);

  for (const char *name : {"plain.webp", "plain.gif", "plain.ppm"}) {
    const auto dict = ImageProcessing::exifForFile(base + QLatin1String(name));
    ASSERT_TRUE(dict.has_value()) << name;
    EXPECT_EQ(dict->value("PixelWidth").toInt(), 20) << name;
    EXPECT_EQ(dict->value("PixelHeight").toInt(), 10) << name;
  }
}

TEST(ImageProperties, PngGroupWithTextChunksAndDensity) {
  QTemporaryDir dir;
  const QString path = dir.path() + "/text.png";
  vips::VImage image = vips::VImage::black(12, 8, vips::VImage::option()->set("bands", 3))
                           .cast(VIPS_FORMAT_UCHAR)
                           .copy(vips::VImage::option()
                                     ->set("interpretation", VIPS_INTERPRETATION_sRGB)
                                     ->set("xres", 2.0)
                                     ->set("yres", 4.0));
  image.set("png-comment-0-Title", "Harbour at dusk");
  image.set("png-comment-1-Author", "Quill");
  image.write_to_file(path.toUtf8().constData());
  const auto dict = ImageProcessing::exifForFile(path);
  ASSERT_TRUE(dict.has_value());
  const QVariantMap png = group(*dict, "{PNG}");
  EXPECT_EQ(png.value("Title").toString(), "Harbour at dusk");
  EXPECT_EQ(png.value("Author").toString(), "Quill");
  EXPECT_EQ(png.value("InterlaceType").toInt(), 0);
  EXPECT_EQ(png.value("XPixelsPerMeter").toInt(), 2000);
  EXPECT_EQ(png.value("YPixelsPerMeter").toInt(), 4000);
  EXPECT_NEAR(dict->value("DPIWidth").toDouble(), 50.8, 0.01);
}

TEST(ImageProperties, DamagedFilesGivePartialDictionariesOrNone) {
  QStringList damaged;
  for (const char *folder : {"jpg/tests", "jpg/invalid"}) {
    QDirIterator it(photo(QLatin1String(folder)), QDir::Files);
    while (it.hasNext())
      damaged.append(it.next());
  }
  damaged.append(photo("jpg/corrupted.jpg"));
  for (const QString &path : damaged) {
    SCOPED_TRACE(path.toStdString());
    const auto dict = ImageProcessing::exifForFile(path);
    if (dict) {
      EXPECT_GE(dict->value("PixelWidth").toInt(), 0);
      const QVariantMap exif = group(*dict, "{Exif}");
      for (auto it = exif.begin(); it != exif.end(); ++it)
        EXPECT_TRUE(it.value().isValid()) << it.key().toStdString();
    }
  }
  // The truncated JPEG still has its header and its camera's tags.
  const auto truncated = ImageProcessing::exifForFile(photo("jpg/corrupted.jpg"));
  ASSERT_TRUE(truncated.has_value());
  EXPECT_EQ(truncated->value("PixelWidth").toInt(), 3648);
  EXPECT_EQ(group(*truncated, "{TIFF}").value("Make").toString(), "OLYMPUS IMAGING CORP.");
}

TEST(ImageProperties, NonImagesAndUnreadableFilesGiveNone) {
  QTemporaryDir dir;
  const QString base = dir.path() + QLatin1Char('/');
  EXPECT_FALSE(ImageProcessing::exifForFile(QString()).has_value());
  EXPECT_FALSE(ImageProcessing::exifForFile(base + "missing.jpg").has_value());
  EXPECT_FALSE(ImageProcessing::exifForFile(dir.path()).has_value());
  EXPECT_FALSE(
      ImageProcessing::exifForFile(testenv::writeFile(base + "empty.jpg", {})).has_value());
  EXPECT_FALSE(ImageProcessing::exifForFile(
                   testenv::writeFile(base + "notes.txt", "just some words\nand more\n"))
                   .has_value());
  EXPECT_FALSE(
      ImageProcessing::exifForFile(testenv::writeFile(base + "fake.jpg", QByteArray(4096, '\x5a')))
          .has_value());
  // Only the JPEG start marker and nothing after it.
  EXPECT_FALSE(ImageProcessing::exifForFile(
                   testenv::writeFile(base + "stub.jpg", QByteArray("\xff\xd8\xff\xe1\x00", 5)))
                   .has_value());
  EXPECT_FALSE(platform::ImageProperties::readBuffer(QByteArray()).has_value());
  // A FIFO with no writer would block a reader for ever.
  const QString fifo = base + "pipe.jpg";
  ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
  EXPECT_FALSE(ImageProcessing::exifForFile(fifo).has_value());

  if (geteuid() != 0) { // root reads any file
    const QString locked = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path(), "locked.jpg");
    QFile::setPermissions(locked, QFileDevice::Permissions());
    EXPECT_FALSE(ImageProcessing::exifForFile(locked).has_value());
  }
}

TEST(ImageProperties, NamesInAnyUtf8AndBuffersReadTheSame) {
  QTemporaryDir dir;
  const QString copy = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path(),
                                          QString::fromUtf8("Été 写真 🎞.jpg"));
  const auto fromFile = ImageProcessing::exifForFile(copy);
  ASSERT_TRUE(fromFile.has_value());
  EXPECT_EQ(group(*fromFile, "{TIFF}").value("Model").toString(), "Canon EOS 40D");

  const auto tiff = ImageProcessing::exifForFile(photo(QString::fromUtf8("tiff/Crémieux11.tiff")));
  ASSERT_TRUE(tiff.has_value());
  EXPECT_EQ(tiff->value("PixelWidth").toInt(), 199);

  QFile file(copy);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const auto fromBuffer = platform::ImageProperties::readBuffer(file.readAll());
  ASSERT_TRUE(fromBuffer.has_value());
  EXPECT_EQ(*fromBuffer, *fromFile);
}

TEST(ImageProperties, ParallelReadsGiveTheSameDictionaries) {
  QStringList files;
  for (const QString &path : allSamplePhotos())
    if (!isDocument(path))
      files.append(path);
  std::vector<std::optional<QVariantMap>> sequential;
  for (const QString &path : files)
    sequential.push_back(platform::ImageProperties::readFile(path));

  std::vector<std::optional<QVariantMap>> a(size_t(files.size())), b(size_t(files.size()));
  auto work = [&files](std::vector<std::optional<QVariantMap>> *out, bool reverse) {
    for (qsizetype i = 0; i < files.size(); ++i) {
      const qsizetype k = reverse ? files.size() - 1 - i : i;
      (*out)[size_t(k)] = platform::ImageProperties::readFile(files[k]);
    }
  };
  std::thread first(work, &a, false);
  std::thread second(work, &b, true);
  first.join();
  second.join();
  for (size_t i = 0; i < sequential.size(); ++i) {
    EXPECT_EQ(a[i], sequential[i]) << files[qsizetype(i)].toStdString();
    EXPECT_EQ(b[i], sequential[i]) << files[qsizetype(i)].toStdString();
  }
}

} // namespace

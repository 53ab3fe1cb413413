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

using testenv::photo;

// The dictionary of a file that must be readable; a failure is reported, not thrown.
QVariantMap read(const QString &path) {
  const auto dict = ImageProcessing::exifForFile(path);
  if (!dict)
    ADD_FAILURE() << "no properties for " << path.toStdString();
  return dict.value_or(QVariantMap());
}

QVariant at(const QVariantMap &dict, const char *group, const char *key) {
  return dict.value(QLatin1String(group)).toMap().value(QLatin1String(key));
}

// The READMEs and the scripts that made some samples, kept beside the photos.
bool isDocument(const QString &path) {
  const QFileInfo file(path);
  return file.fileName().startsWith(QLatin1String("README")) || file.suffix() == "py";
}

// Every sample photo, without the documents next to them.
QStringList samplePhotos(bool withDocuments = false) {
  QStringList files;
  QDirIterator it(testenv::photosDir(), QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext()) {
    const QString path = it.next();
    if (withDocuments || !isDocument(path))
      files.append(path);
  }
  files.sort();
  return files;
}

TEST(ImageProperties, MakeModelIsoAndSizeOfCameraPhotos) {
  const struct {
    const char *file, *make, *model;
    QVariantList iso;
    int width, height;
  } rows[] = {{"jpg/Canon_40D.jpg", "Canon", "Canon EOS 40D", {100}, 100, 68},
              {"jpg/Samsung_Digimax_i50_MP3.jpg",
               "Samsung Techwin",
               "<Digimax i50 MP3, Samsung #1 MP3>",
               {150},
               100,
               75},
              {"heic/IMG_5195.HEIC", "Apple", "iPhone 11 Pro Max", {32}, 2566, 3313}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.file);
    const QVariantMap dict = read(photo(QLatin1String(row.file)));
    EXPECT_EQ(at(dict, "{TIFF}", "Make").toString(), QString::fromUtf8(row.make));
    EXPECT_EQ(at(dict, "{TIFF}", "Model").toString(), QString::fromUtf8(row.model));
    EXPECT_EQ(at(dict, "{Exif}", "ISOSpeedRatings").toList(), row.iso);
    EXPECT_EQ(dict.value("PixelWidth").typeId(), QMetaType::Int);
    EXPECT_EQ(dict.value("PixelWidth").toInt(), row.width);
    EXPECT_EQ(dict.value("PixelHeight").toInt(), row.height);
  }
}

TEST(ImageProperties, GpsInUnsignedDegreesWithReferencesApart) {
  const QVariantMap nikon = read(photo("jpg/gps/DSCN0010.jpg"));
  EXPECT_NEAR(at(nikon, "{GPS}", "Latitude").toDouble(), 43.4674483333, 1e-9);
  EXPECT_EQ(at(nikon, "{GPS}", "LatitudeRef").toString(), "N");
  EXPECT_NEAR(at(nikon, "{GPS}", "Longitude").toDouble(), 11.8851266667, 1e-9);
  EXPECT_EQ(at(nikon, "{GPS}", "LongitudeRef").toString(), "E");
  EXPECT_EQ(at(nikon, "{GPS}", "DateStamp").toString(), "2008:10:23");
  EXPECT_FALSE(nikon.contains("DateStamp")); // only inside the group

  // Southern latitude: the number stays positive, the sign is in the reference.
  const QVariantMap kodak = read(photo("jpg/Kodak_CX7530.jpg"));
  EXPECT_NEAR(at(kodak, "{GPS}", "Latitude").toDouble(), 0.3713, 1e-9);
  EXPECT_EQ(at(kodak, "{GPS}", "LatitudeRef").toString(), "S");

  const QVariantMap iphone = read(photo("heic/IMG_5195.HEIC"));
  EXPECT_NEAR(at(iphone, "{GPS}", "Latitude").toDouble(), 39.0513444, 1e-6);
  EXPECT_EQ(at(iphone, "{GPS}", "LongitudeRef").toString(), "W");
  EXPECT_NEAR(at(iphone, "{GPS}", "Altitude").toDouble(), 260.5606, 1e-3);
  EXPECT_EQ(at(iphone, "{GPS}", "AltitudeRef").toInt(), 0);
}

TEST(ImageProperties, ExifValuesKeepTheirTypes) {
  const QVariantMap dict = read(photo("jpg/Canon_40D.jpg"));
  EXPECT_EQ(at(dict, "{Exif}", "DateTimeOriginal").toString(), "2008:05:30 15:56:01");
  EXPECT_EQ(at(dict, "{Exif}", "FNumber").typeId(), QMetaType::Double);
  EXPECT_DOUBLE_EQ(at(dict, "{Exif}", "FNumber").toDouble(), 7.1);
  EXPECT_EQ(at(dict, "{Exif}", "Flash").typeId(), QMetaType::Int);
  EXPECT_EQ(at(dict, "{Exif}", "Flash").toInt(), 9);
  EXPECT_EQ(at(dict, "{TIFF}", "Software").toString(), "GIMP 2.4.5");
  EXPECT_EQ(dict.value("ProfileName").toString(), "sRGB IEC61966-2.1");
  EXPECT_DOUBLE_EQ(dict.value("DPIWidth").toDouble(), 72.0);
  EXPECT_EQ(at(dict, "{JFIF}", "XDensity").toInt(), 72);

  const QVariantMap iphone = read(photo("heic/IMG_5195.HEIC"));
  EXPECT_EQ(at(iphone, "{Exif}", "LensMake").toString(), "Apple");
  EXPECT_EQ(at(iphone, "{ExifAux}", "LensModel").toString(),
            "iPhone 11 Pro Max back triple camera 4.25mm f/1.8");
  EXPECT_EQ(iphone.value("ProfileName").toString(), "Display P3");
}

TEST(ImageProperties, IptcListsAndTexts) {
  const QVariantMap sample = read(photo("jpg/xmp/no_exif.jpg"));
  EXPECT_EQ(at(sample, "{IPTC}", "Keywords").toList(), QVariantList{QStringLiteral("tag")});
  EXPECT_EQ(at(sample, "{IPTC}", "Byline").toList(), QVariantList{QStringLiteral("CREDIT")});
  EXPECT_EQ(at(sample, "{IPTC}", "Caption/Abstract").toString(), "Der Goalie bin ig");

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
  const QVariantMap written = read(copy);
  EXPECT_EQ(at(written, "{IPTC}", "City").toString(), QString::fromUtf8("Zürich"));
  EXPECT_EQ(at(written, "{IPTC}", "Keywords").toList(),
            (QVariantList{QStringLiteral("lake"), QStringLiteral("boat"), QStringLiteral("swan")}));
  EXPECT_EQ(at(written, "{IPTC}", "Writer/Editor").toList(),
            QVariantList{QStringLiteral("Editor One")});
}

TEST(ImageProperties, OrientationOneToEightOfEachSample) {
  for (const char *shape : {"landscape", "portrait"}) {
    for (int o = 1; o <= 8; ++o) {
      const QString file = photo(QStringLiteral("jpg/orientation/%1_%2.jpg").arg(shape).arg(o));
      SCOPED_TRACE(file.toStdString());
      const QVariantMap dict = read(file);
      EXPECT_EQ(dict.value("Orientation").toInt(), o);
      EXPECT_EQ(at(dict, "{TIFF}", "Orientation").toInt(), o);
    }
  }
}

TEST(ImageProperties, HeifReportsTheTurnedSizeAndOrientationOne) {
  // A 64 x 32 picture whose HEIF rotation property turns it a quarter, and whose EXIF
  // block also says orientation 6: libheif has turned it already.
  const QVariantMap dict = read(testenv::dataDir() + "/metadata/rotated_90.heic");
  EXPECT_EQ(dict.value("PixelWidth").toInt(), 32);
  EXPECT_EQ(dict.value("PixelHeight").toInt(), 64);
  EXPECT_EQ(dict.value("Orientation").toInt(), 1);
  EXPECT_EQ(at(dict, "{TIFF}", "Orientation").toInt(), 1);
  EXPECT_EQ(at(dict, "{Exif}", "DateTimeOriginal").toString(), "2024:03:14 21:05:07");
  EXPECT_EQ(read(photo("heic/IMG_5195.HEIC")).value("Orientation").toInt(), 1);
}

TEST(ImageProperties, EverySamplePhotoAgreesWithExiv2AndLibvips) {
  int images = 0;
  for (const QString &path : samplePhotos(true)) {
    SCOPED_TRACE(path.toStdString());
    const auto dict = platform::ImageProperties::readFile(path);
    if (isDocument(path)) {
      EXPECT_FALSE(dict.has_value());
      continue;
    }
    ASSERT_TRUE(dict.has_value());
    ++images;
    // Sizes are the stored pixels, before any turn.
    for (const char *key : {"ColorModel", "Depth", "HasAlpha"})
      EXPECT_TRUE(dict->contains(key)) << key;
    EXPECT_GE(dict->value("Orientation", 1).toInt(), 1);
    EXPECT_LE(dict->value("Orientation", 1).toInt(), 8);

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
        EXPECT_EQ(at(*dict, groupName, name).toString(), expected) << key;
      }
    } catch (const std::exception &) { // Exiv2 0.27 and 0.28 errors alike
    }
  }
  EXPECT_GE(images, 60);
}

TEST(ImageProperties, ColourModelDepthAlphaResolutionAndPngTextOfMadeImages) {
  QTemporaryDir dir;
  const auto save = [&](const vips::VImage &image, const char *name) {
    image.write_to_file((dir.path() + QLatin1Char('/') + name).toUtf8().constData());
    return read(dir.path() + QLatin1Char('/') + name);
  };
  const auto as = [](vips::VImage image, VipsInterpretation interpretation) {
    return image.copy(vips::VImage::option()->set("interpretation", interpretation));
  };
  const vips::VImage rgb = as(vips::VImage::black(20, 10, vips::VImage::option()->set("bands", 3)),
                              VIPS_INTERPRETATION_sRGB);

  const QVariantMap alpha = save(rgb.bandjoin(255).cast(VIPS_FORMAT_UCHAR), "alpha.png");
  EXPECT_TRUE(alpha.value("HasAlpha").toBool());
  EXPECT_EQ(alpha.value("ColorModel").toString(), "RGB");
  EXPECT_FALSE(alpha.contains("Orientation"));
  EXPECT_FALSE(alpha.contains("{Exif}"));
  const QVariantMap grey = save(as(rgb.extract_band(0), VIPS_INTERPRETATION_B_W), "grey.png");
  EXPECT_EQ(grey.value("ColorModel").toString(), "Gray");
  EXPECT_FALSE(grey.value("HasAlpha").toBool());
  const QVariantMap deep =
      save(as(rgb.cast(VIPS_FORMAT_USHORT), VIPS_INTERPRETATION_RGB16), "deep.png");
  EXPECT_EQ(deep.value("Depth").toInt(), 16);
  const QVariantMap cmyk = save(rgb.colourspace(VIPS_INTERPRETATION_CMYK), "cmyk.jpg");
  EXPECT_EQ(cmyk.value("ColorModel").toString(), "CMYK");
  const QVariantMap dpi =
      save(rgb.copy(vips::VImage::option()->set("xres", 300 / 25.4)->set("yres", 150 / 25.4)),
           "dpi.tif");
  EXPECT_NEAR(dpi.value("DPIWidth").toDouble(), 300.0, 0.01);
  EXPECT_NEAR(dpi.value("DPIHeight").toDouble(), 150.0, 0.01);
  for (const char *name : {"plain.webp", "plain.gif", "plain.ppm"}) {
    const QVariantMap dict = save(rgb, name);
    EXPECT_EQ(dict.value("PixelWidth").toInt(), 20) << name;
    EXPECT_EQ(dict.value("PixelHeight").toInt(), 10) << name;
  }
  vips::VImage text = rgb.copy(vips::VImage::option()->set("xres", 2.0)->set("yres", 4.0));
  text.set("png-comment-0-Title", "Harbour at dusk");
  text.set("png-comment-1-Author", "Quill");
  const QVariantMap png = save(text, "text.png");
  EXPECT_EQ(at(png, "{PNG}", "Title").toString(), "Harbour at dusk");
  EXPECT_EQ(at(png, "{PNG}", "Author").toString(), "Quill");
  EXPECT_EQ(at(png, "{PNG}", "XPixelsPerMeter").toInt(), 2000);
  EXPECT_EQ(at(png, "{PNG}", "YPixelsPerMeter").toInt(), 4000);
  EXPECT_NEAR(png.value("DPIWidth").toDouble(), 50.8, 0.01);
}

TEST(ImageProperties, DamagedFilesGivePartialDictionariesOrNone) {
  QStringList damaged{photo("jpg/corrupted.jpg")};
  for (const char *folder : {"jpg/tests", "jpg/invalid"}) {
    QDirIterator it(photo(QLatin1String(folder)), QDir::Files);
    while (it.hasNext())
      damaged.append(it.next());
  }
  ASSERT_GE(damaged.size(), 9);
  for (const QString &path : damaged) {
    SCOPED_TRACE(path.toStdString());
    if (const auto dict = ImageProcessing::exifForFile(path)) {
      EXPECT_GE(dict->value("PixelWidth").toInt(), 0);
      const QVariantMap exif = dict->value("{Exif}").toMap();
      for (auto it = exif.begin(); it != exif.end(); ++it)
        EXPECT_TRUE(it.value().isValid()) << it.key().toStdString();
    }
  }
  // The truncated JPEG still has its header and its camera's tags.
  const QVariantMap truncated = read(photo("jpg/corrupted.jpg"));
  EXPECT_EQ(truncated.value("PixelWidth").toInt(), 3648);
  EXPECT_EQ(at(truncated, "{TIFF}", "Make").toString(), "OLYMPUS IMAGING CORP.");
}

TEST(ImageProperties, NonImagesAndUnreadableFilesGiveNone) {
  QTemporaryDir dir;
  const QString base = dir.path() + QLatin1Char('/');
  // A FIFO with no writer would block a reader for ever.
  ASSERT_EQ(mkfifo(QFile::encodeName(base + "pipe.jpg").constData(), 0600), 0);
  QStringList paths{QString(), base + "missing.jpg", dir.path(), base + "pipe.jpg",
                    testenv::writeFile(base + "empty.jpg", {}),
                    testenv::writeFile(base + "notes.txt", "just some words\nand more\n"),
                    testenv::writeFile(base + "fake.jpg", QByteArray(4096, '\x5a')),
                    // Only the JPEG start marker and nothing after it.
                    testenv::writeFile(base + "stub.jpg", QByteArray("\xff\xd8\xff\xe1\x00", 5))};
  if (geteuid() != 0) { // root reads any file
    paths << testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path(), "locked.jpg");
    QFile::setPermissions(paths.last(), QFileDevice::Permissions());
  }
  for (const QString &path : paths)
    EXPECT_FALSE(ImageProcessing::exifForFile(path).has_value()) << path.toStdString();
  EXPECT_FALSE(platform::ImageProperties::readBuffer(QByteArray()).has_value());
}

TEST(ImageProperties, NamesInAnyUtf8AndBuffersReadTheSame) {
  QTemporaryDir dir;
  const QString copy = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.path(),
                                          QString::fromUtf8("Été 写真 🎞.jpg"));
  const QVariantMap fromFile = read(copy);
  EXPECT_EQ(at(fromFile, "{TIFF}", "Model").toString(), "Canon EOS 40D");
  EXPECT_EQ(read(photo(QString::fromUtf8("tiff/Crémieux11.tiff"))).value("PixelWidth").toInt(),
            199);

  QFile file(copy);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(platform::ImageProperties::readBuffer(file.readAll()), fromFile);
}

TEST(ImageProperties, ParallelReadsGiveTheSameDictionaries) {
  const QStringList files = samplePhotos();
  using Results = std::vector<std::optional<QVariantMap>>;
  Results sequential, a(size_t(files.size())), b(size_t(files.size()));
  for (const QString &path : files)
    sequential.push_back(platform::ImageProperties::readFile(path));
  auto work = [&files](Results *out, bool reverse) {
    for (qsizetype i = 0; i < files.size(); ++i) {
      const qsizetype k = reverse ? files.size() - 1 - i : i;
      (*out)[size_t(k)] = platform::ImageProperties::readFile(files[k]);
    }
  };
  std::thread first(work, &a, false), second(work, &b, true);
  first.join();
  second.join();
  for (size_t i = 0; i < sequential.size(); ++i) {
    EXPECT_EQ(a[i], sequential[i]) << files[qsizetype(i)].toStdString();
    EXPECT_EQ(b[i], sequential[i]) << files[qsizetype(i)].toStdString();
  }
}

// `quillmere info` with a relative path shows where the file really is, as the window does.
TEST(InfoCommand, RelativePathsShowTheAbsolutePathAndTheRealFolder) {
  QTemporaryDir dir;
  ASSERT_TRUE(QDir().mkpath(dir.filePath("Holiday 2024")) && QDir().mkpath(dir.filePath("other")));
  const QString copy = testenv::copyPhoto("jpg/Canon_40D.jpg", dir.filePath("Holiday 2024"));
  for (const auto &[typed, from] : {std::pair<QString, QString>{"Canon_40D.jpg", "Holiday 2024"},
                                    {"../Holiday 2024/./Canon_40D.jpg", "other"}}) {
    const auto result = testenv::runQuillmere({"info", typed}, dir.filePath(from));
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QStringList rows = result.out.split('\n');
    EXPECT_TRUE(rows.contains("File Path\t" + QFileInfo(copy).canonicalFilePath()))
        << result.out.toStdString();
    EXPECT_TRUE(rows.contains("Folder Name\tHoliday 2024")) << result.out.toStdString();
  }
}

} // namespace

#include "tests/support/TestEnv.h"

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/Preferences.h"
#include "platform/StandardFolders.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"
#include "rename/PreflightChecks.h"
#include "rename/PreviewPass.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const char *kSmall = "jpg/Fujifilm_FinePix_E500.jpg"; // taken 2006:08:17 09:24:48

// --- Destination records ---

// The record splits a path into its lower-cased-extension path, name and extension; built from
// a folder prefix it is the same record as from the whole path.
TEST(Destination, SplitsTheGivenPathTheSameWayFromAFolderPrefix) {
  const std::pair<QString, const char *> rows[] = {
      {"/x/abc.JPG", "/x/abc.jpg|abc.JPG|jpg"},
      {"/x/.JPG", "/x/.JPG.|.JPG|"},
      {"/x/a.b.PNG", "/x/a.b.png|a.b.PNG|png"},
      {QStringLiteral("/x/\u00c9t\u00e9.TIF"),
       "/x/\xC3\x89t\xC3\xA9.tif|\xC3\x89t\xC3\xA9.TIF|tif"}};
  const auto fields = [](const std::shared_ptr<OutputPhotoPath> &r) {
    return QStringList({r->filePath, r->fileName, r->fileExtension}).join('|');
  };
  for (const auto &[given, expected] : rows)
    EXPECT_EQ(fields(OutputPhotoPath::initWithFileUrl(given, "/src/a.jpg")),
              QString::fromUtf8(expected));

  for (const QString folder : {"/out", "/out/", "/out//sub", "/", "", "rel/dir"}) {
    const QString prefix = OutputPhotoPath::folderPrefixFor(folder);
    for (const QString name : {"a.JPG", ".JPG", "a.b.Png", "noext", "a.", "\u00c9t\u00e9.TIF"})
      EXPECT_EQ(fields(OutputPhotoPath::initWithFolderPrefix(prefix, name, "/s")),
                fields(OutputPhotoPath::initWithoutDiskCheck(folder + "/" + name, "/s")))
          << folder.toStdString() << " " << name.toStdString();
  }
}

TEST(OutputOptions, DefaultsThenModesExclusiveAndSourceFolderByKindOfPhoto) {
  const QString pictures = platform::picturesDirectory() + QStringLiteral("/Quillmere");
  QDir(pictures).removeRecursively();
  auto o = OutputOptionSettings::initWithDefaults();
  EXPECT_EQ(o->outputFolderPath, pictures);
  EXPECT_TRUE(QFileInfo(pictures).isDir());
  EXPECT_TRUE(o->copyyToDestinationFolder && o->openOutputFolderAfterProcessing);
  EXPECT_FALSE(o->moveAndRenameToDestinationFolder || o->useSourceFolder ||
               o->owerwriteExistingFiles || o->setOutputDateTimeAsOriginal);
  o->setDestinationMode(0);
  EXPECT_TRUE(o->moveAndRenameToDestinationFolder);
  EXPECT_FALSE(o->copyyToDestinationFolder || o->useSourceFolder);
  o->setDestinationMode(2);
  EXPECT_TRUE(o->useSourceFolder);
  EXPECT_FALSE(o->moveAndRenameToDestinationFolder || o->copyyToDestinationFolder);
  EXPECT_FALSE(o->openOutputFolderAfterProcessing);
  EXPECT_FALSE(o->isOutputFolderEditable());
  const DestinationFolder folder(*o);
  EXPECT_EQ(folder.folderFor("/lib/Masters/a.jpg", true),
            platform::desktopDirectory() + QStringLiteral("/iPhoto_QuillmereOutput"));
  EXPECT_EQ(folder.folderFor("/photos/trip/a.jpg", false), QStringLiteral("/photos/trip"));
  o->forceCopyModeForLibraryPhotos();
  EXPECT_TRUE(o->copyyToDestinationFolder && o->useSourceFolder);
}

TEST(OutputOptions, ChosenFolderIsLowerCasedAndResolvedOnDisk) {
  QTemporaryDir dir;
  const QString real = dir.path() + QStringLiteral("/Photos/Out");
  QDir().mkpath(real);
  auto o = OutputOptionSettings::initWithDefaults();
  EXPECT_TRUE(o->chooseOutputFolder(QStringLiteral("/Volumes/Photos/Out")));
  EXPECT_EQ(o->outputFolderPath, QStringLiteral("/volumes/photos/out"));
  ASSERT_TRUE(o->chooseOutputFolder(real));
  EXPECT_EQ(o->outputFolderPath, real.toLower());
  EXPECT_EQ(DestinationFolder(*o).folderFor("/src/a.jpg", false), real);
  // A folder in the trash is refused and the choice kept.
  EXPECT_FALSE(o->chooseOutputFolder(platform::trashDirectory() + QStringLiteral("/files/x")));
  EXPECT_EQ(o->outputFolderPath, real.toLower());
}

TEST(OutputOptions, ArchiveRoundTripAndWrongTypes) {
  auto o = OutputOptionSettings::initWithDefaults();
  o->setDestinationMode(0);
  o->outputFolderPath = QStringLiteral("/out/d\u00e9j\u00e0");
  o->owerwriteExistingFiles = true;
  const QByteArray archive = o->encodeWithCoder();
  EXPECT_LT(archive.indexOf("outputFolderPath"), archive.indexOf("setOutputDateTimeAsOriginal"));
  const auto back = OutputOptionSettings::initWithCoder(archive);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->dictionaryRepresentation(), o->dictionaryRepresentation());
  o->saveUpdatedOutputOptionSettingsInDefault();
  const auto saved = OutputOptionSettings::initWithCoder(
      platform::Preferences::dataValue(QStringLiteral("OUTPUT_OPTONS_SETTING")));
  ASSERT_TRUE(saved);
  EXPECT_EQ(saved->dictionaryRepresentation(), o->dictionaryRepresentation());
  const auto typed = OutputOptionSettings::initWithDictionary(
      {{"owerwriteExistingFiles", "YES"}, {"useSourceFolder", 3}, {"outputFolderPath", 7}});
  EXPECT_TRUE(typed->owerwriteExistingFiles);
  EXPECT_TRUE(typed->useSourceFolder);
  EXPECT_EQ(typed->outputFolderPath, QString());
}

// --- Checks ---

// A batch in one line: destination names relative to the output folder, "!" before a name
// whose source is gone, "+" before one that exists already. Statuses: R ready, D duplicate,
// B blank, I invalid, N source not found, E exists (the only warning).
TEST(Checks, SortTheBatchAndGateTheStart) {
  const QMap<QChar, QString> statusText = {{'R', "File is ready to process."},
                                           {'D', "Duplicate filename."},
                                           {'B', "Filename is blank."},
                                           {'I', "Invalid filename."},
                                           {'N', "File not available in source folder."},
                                           {'E', "File already exists in destination folder."}};
  const struct {
    const char *name;
    const char *batch;
    bool overwrite;
    const char *statuses;
    StartGate gate;
  } rows[] = {{"AllGood", "a.JPG b.JPG", false, "RR", StartGate::Start},
              {"DuplicatesOfTwo", "t.JPG t.JPG u.JPG", false, "DDR", StartGate::Prompt},
              {"CaseOnlyIsNotDuplicate", "a.jpg A.jpg", false, "RR", StartGate::Start},
              {"SameLowerCasePathIsDuplicate", "a.JPG a.jpg", false, "DD", StartGate::Refuse},
              {"HttpAnyCase", "xHtTp:y.JPG ok.JPG", false, "IR", StartGate::Prompt},
              {"BlankBeatsDuplicate", ".JPG .JPG a.JPG", false, "BBR", StartGate::Prompt},
              {"SourceGone", "!a.JPG b.JPG", false, "NR", StartGate::Prompt},
              {"ExistingWarns", "+a.JPG b.JPG", false, "ER", StartGate::Prompt},
              {"OverwriteSuppressesWarning", "+a.JPG b.JPG", true, "RR", StartGate::Start},
              {"WarningsOnlyRefused", "+a.JPG +b.JPG", false, "EE", StartGate::Refuse},
              {"OneGoodPrompts", "+a.JPG +b.JPG c.JPG", false, "EER", StartGate::Prompt},
              {"EmptyBatchRefused", "", false, "", StartGate::Refuse}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    QTemporaryDir dir;
    QDir().mkpath(dir.filePath("out"));
    QList<std::shared_ptr<OutputPhotoPath>> records;
    for (QString name : QString::fromUtf8(row.batch).split(' ', Qt::SkipEmptyParts)) {
      const QString source = dir.filePath(QStringLiteral("src%1.jpg").arg(records.size()));
      if (!name.startsWith('!'))
        testenv::writeFile(source, "x");
      const bool exists = name.startsWith('+');
      name.remove(QRegularExpression("^[!+]"));
      const QString path = dir.filePath("out/") + name;
      if (exists)
        testenv::writeFile(path, "x");
      records.append(OutputPhotoPath::initWithFileUrl(path, source));
    }
    countOccurences(records);
    const ErrorFiles e = calculateErrorFiles(records, row.overwrite, true);
    const QString statuses = QString::fromLatin1(row.statuses);
    ASSERT_EQ(records.size(), statuses.size());
    for (qsizetype i = 0; i < records.size(); ++i)
      EXPECT_EQ(rowStatusForRecord(*records[i], e).toolTip, statusText.value(statuses[i])) << i;
    const int warnings = statuses.count('E');
    const int errors = statuses.size() - warnings - statuses.count('R');
    EXPECT_EQ(e.errorCount(), errors);
    EXPECT_EQ(e.arrayAllErrors.size(), errors);
    EXPECT_EQ(e.arrayAllWarnings.size(), warnings);
    EXPECT_EQ(e.consoleLines.size(), errors + warnings);
    EXPECT_EQ(startGateForBatch(e, records.size()), row.gate);
    const QList<FilterButtonTexts> titles = updateErrorAndWarningUI(e);
    EXPECT_EQ(titles[1].title, QStringLiteral("ERRORS: %1").arg(errors));
    EXPECT_EQ(titles[2].title, QStringLiteral("WARNINGS: %1").arg(warnings));
  }
}

// A batch large enough to be counted on several threads gives the counts of a plain tally.
TEST(Checks, DuplicateCountsOfALargeBatchMatchAPlainTally) {
  QList<std::shared_ptr<OutputPhotoPath>> records;
  QHash<QString, qint32> tally;
  for (int i = 0; i < 120000; ++i) {
    // Every 7th name is taken again by the next photo, every 11th again in capitals.
    const int n = i % 7 == 1 ? i - 1 : i;
    const QString name =
        QString::fromLatin1(i % 11 == 0 ? "/out/IMG_%1.JPG" : "/out/img_%1.jpg").arg(n);
    records.append(OutputPhotoPath::initWithoutDiskCheck(name, "/src/x.jpg"));
    ++tally[records.last()->filePath];
  }
  records.insert(5, nullptr); // a hole in the list is passed over
  countOccurences(records);
  for (const auto &record : records) {
    if (record) {
      ASSERT_EQ(record->occurenceCount, tally.value(record->filePath))
          << qPrintable(record->filePath);
    }
  }
}

// The file system takes names of up to 255 bytes and paths shorter than PATH_MAX: anything
// longer could never be written, so it is an invalid name, counted in UTF-8 bytes.
TEST(Checks, NamesAndPathsTooLongForTheFileSystemAreInvalid) {
  QTemporaryDir dir;
  const QString source = testenv::writeFile(dir.filePath("src.jpg"), "x");
  const QString e = QStringLiteral("\u00e9"), grin = QStringLiteral("\U0001F600");
  const QString deep = dir.path() + QString("/d").repeated(2100); // about 4200 bytes
  const struct {
    QString path;
    bool invalid;
  } rows[] = {
      {dir.filePath(QString(251, 'a') + ".jpg"), false},   // 255 bytes
      {dir.filePath(QString(252, 'a') + ".jpg"), true},    // 256
      {dir.filePath(e.repeated(125) + "a.jpg"), false},    // 250 + 5
      {dir.filePath(e.repeated(126) + ".jpg"), true},      // 252 + 4
      {dir.filePath(grin.repeated(62) + "ab.jpg"), false}, // 248 + 6
      {dir.filePath(grin.repeated(63) + ".jpg"), true},    // 252 + 4
      {deep + "/a.jpg", true},
  };
  QList<std::shared_ptr<OutputPhotoPath>> records;
  for (const auto &row : rows)
    records.append(OutputPhotoPath::initWithFileUrl(row.path, source));
  countOccurences(records);
  const ErrorFiles errors = calculateErrorFiles(records, false);
  for (qsizetype i = 0; i < records.size(); ++i)
    EXPECT_EQ(rowStatusForRecord(*records[i], errors).toolTip,
              rows[i].invalid ? PreflightText::kInvalid : PreflightText::kReady)
        << i;
}

TEST(Checks, ConsoleLinesNameTheFinding) {
  QList<std::shared_ptr<OutputPhotoPath>> records = {
      OutputPhotoPath::initWithFileUrl("/no/such/out/a.JPG", "/no/such/src/a.jpg")};
  countOccurences(records);
  const ErrorFiles e = calculateErrorFiles(records, false, true);
  EXPECT_EQ(e.consoleLines, QStringList{"files not found == /no/such/src/a.jpg"});
  EXPECT_EQ(recordsForPreviewFilesMode(PreviewErrors, records, e).size(), 1);
  EXPECT_EQ(recordsForPreviewFilesMode(PreviewWarnings, records, e).size(), 0);
  EXPECT_EQ(recordsForPreviewFilesMode(PreviewAll, records, e).size(), 1);
}

// --- Preview pass on real files ---

struct PreviewFixture : ::testing::Test {
  QTemporaryDir dir;
  AppDelegate delegate;
  QString src = dir.filePath("Trip");
  QString out = dir.filePath("Out");

  void SetUp() override {
    QDir().mkpath(src);
    QDir().mkpath(out);
    delegate.loadSupportedImageFormats();
    for (const char *name : {"a.jpg", "b.JPG", "c.jpeg"})
      delegate.arraySelectedImagesToProcess.append(PhotoFile::initWithFileUrl(
          testenv::copyPhoto(kSmall, src, QString::fromLatin1(name)), false));
    delegate.selectedOuputSettingObj = OutputOptionSettings::initWithDefaults();
    delegate.selectedOuputSettingObj->outputFolderPath = out;
  }
};

TEST_F(PreviewFixture, ExistingFilesFlaggedUnderEitherCase) {
  testenv::writeFile(out + "/a.jpg", "x");
  testenv::writeFile(out + "/c.JPEG", "x");
  testenv::writeFile(out + "/B.jpg", "x"); // another name on a case-sensitive disk
  auto s = BatchRenameSetting::initWithDictionary({});
  s->flagRenamingMode = 1; // a.JPG, b.JPG, c.JPEG
  const PreviewResult r =
      computePreview(delegate.arraySelectedImagesToProcess, RenameRules::fromSetting(*s),
                     delegate.arrFileFormatsSupported, *delegate.selectedOuputSettingObj);
  ASSERT_EQ(r.paths.size(), 3);
  EXPECT_TRUE(r.paths[0]->fileAlreadyExistAtPath); // the run would write a.jpg
  EXPECT_FALSE(r.paths[1]->fileAlreadyExistAtPath);
  EXPECT_TRUE(r.paths[2]->fileAlreadyExistAtPath); // c.JPEG is the name as given
  EXPECT_EQ(r.paths[2]->filePath, out + "/c.jpeg");
}

TEST_F(PreviewFixture, ControllerHandsTheResultToTheDelegate) {
  RenamePreviewController controller(&delegate);
  QStringList notifications;
  controller.postNotification = [&](const QString &name) { notifications.append(name); };
  controller.viewDidAppear();
  controller.waitForPreview();
  EXPECT_FALSE(delegate.isRENAME_SETTINGS_CHANGED);
  EXPECT_FALSE(delegate.isPROCESSING_WITH_FILES_SYSTEM);
  EXPECT_EQ(notifications, (QStringList{"notificationsHideLoading", "notificationsShowLoading",
                                        "notificationsHideLoading"}));
  ASSERT_EQ(delegate.arrayDestinationPaths.size(), 3);
  EXPECT_EQ(delegate.arrayDestinationPaths[1]->filePath, out + QStringLiteral("/b.jpg"));
  EXPECT_EQ(delegate.selectedRenameSettingObj, controller.setting);
  EXPECT_EQ(controller.filterButtons[1].title, QStringLiteral("ERRORS: 0"));

  // Passes started one after another finish in order: the last setting wins.
  for (const char *name : {"one", "two", "three"}) {
    controller.setting->flagRenamingMode = 1;
    controller.setting->dictReplaceFileName = {{"State", true}, {"New Name", name}};
    controller.resetPreviewForUpdatedRenameSelections(false);
  }
  controller.waitForPreview();
  EXPECT_TRUE(delegate.isRENAME_SETTINGS_CHANGED);
  EXPECT_EQ(controller.arrayOutputFilePaths[0]->fileName, QStringLiteral("three.JPG"));
  EXPECT_EQ(controller.errorFiles.errorCount(), 2); // a and b share a name; c is .JPEG
  EXPECT_EQ(controller.previewRecords().size(), 3);
  controller.btnPreviewFilesModeTapped(PreviewWarnings);
  EXPECT_TRUE(controller.previewRecords().isEmpty());

  // A blank replacement name stops the start; a name lets it go on.
  controller.setting->dictReplaceFileName = {{"State", true}, {"New Name", ""}};
  EXPECT_EQ(controller.perfromStartProcess(), PreflightText::kBlankReplaceName);
  int requests = 0;
  QObject::connect(&controller, &RenamePreviewController::processPhotosRequested,
                   [&requests] { ++requests; });
  controller.setting->dictReplaceFileName = {{"State", true}, {"New Name", "x"}};
  EXPECT_EQ(controller.perfromStartProcess(), QString());
  EXPECT_EQ(requests, 1);

  // Reset goes back to the defaults file: names kept as they are.
  controller.resetAllSettings();
  controller.waitForPreview();
  EXPECT_EQ(controller.setting->renamingMode(), 0);
  EXPECT_EQ(controller.arrayOutputFilePaths[1]->fileName, QStringLiteral("b.JPG"));
}

// A screen that goes away while its pass runs waits for nothing; the pass's result goes to
// no one, and the next screen's pass runs after it.
TEST_F(PreviewFixture, ControllerGoneWhileItsPassRunsWaitsForNothing) {
  for (int i = 0; i < 300; ++i)
    delegate.arraySelectedImagesToProcess.append(delegate.arraySelectedImagesToProcess.at(i % 3));
  auto gone = std::make_unique<RenamePreviewController>(&delegate);
  gone->viewDidAppear();
  gone->setting->flagRenamingMode = 1;
  gone->setting->dictDateTimeStamp = {{"State", true}, {"Type", 0}}; // reads every file
  gone->resetPreviewForUpdatedRenameSelections(false);
  EXPECT_TRUE(gone->isPreviewRunning());
  QElapsedTimer clock;
  clock.start();
  gone.reset();
  EXPECT_LT(clock.elapsed(), 50);

  RenamePreviewController next(&delegate);
  next.viewDidAppear();
  next.waitForPreview();
  EXPECT_EQ(next.preparedBatch().destinations.size(), 303);
  EXPECT_EQ(next.preparedBatch().batch, delegate.arraySelectedImagesToProcess);
  EXPECT_EQ(delegate.arrayDestinationPaths.size(), 303);
}

TEST_F(PreviewFixture, LibraryPhotoForcesCopyMode) {
  delegate.arraySelectedImagesToProcess[1]->isIphotosNode = true;
  delegate.selectedOuputSettingObj->setDestinationMode(0);
  RenamePreviewController controller(&delegate);
  controller.viewDidAppear();
  controller.waitForPreview();
  EXPECT_TRUE(controller.isIphotoExist);
  EXPECT_FALSE(controller.isMoveModeEnabled);
  EXPECT_TRUE(delegate.selectedOuputSettingObj->copyyToDestinationFolder &&
              !delegate.selectedOuputSettingObj->moveAndRenameToDestinationFolder);
  delegate.arraySelectedImagesToProcess.removeAt(1);
  controller.resetPreviewForUpdatedRenameSelections(false);
  controller.waitForPreview();
  EXPECT_TRUE(controller.isMoveModeEnabled);
}

// --- quillmere preview ---

struct PreviewCommand : ::testing::Test {
  QTemporaryDir dir;
  QString src = dir.filePath("Trip");
  QString out = dir.filePath("Out");
  void SetUp() override {
    QDir().mkpath(src);
    for (const char *name : {"a.jpg", "b.jpg"})
      testenv::copyPhoto(kSmall, src, QString::fromLatin1(name));
  }
  testenv::ProcessResult preview(QStringList args) {
    return testenv::runQuillmere(QStringList{"preview"} + args);
  }
  QString plist(const char *name, const QString &entries) {
    return testenv::writeFile(
        dir.filePath(name),
        ("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + entries + "</dict></plist>\n")
            .toUtf8());
  }
};

TEST_F(PreviewCommand, ReadyBatchStartsAtOnce) {
  const QString pictures = platform::picturesDirectory() + QStringLiteral("/Quillmere");
  QDir(pictures).removeRecursively();
  const auto r = preview({"--copy", out + "/", src});
  // The default folder is made only when the results go there.
  EXPECT_FALSE(QFileInfo::exists(pictures));
  EXPECT_EQ(preview({src}).exitCode, 0);
  EXPECT_TRUE(QFileInfo(pictures).isDir());
  EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
  EXPECT_EQ(r.out.split('\n', Qt::SkipEmptyParts),
            (QStringList{"File is ready to process.\t" + src + "/a.jpg\t" + out + "/a.jpg",
                         "File is ready to process.\t" + src + "/b.jpg\t" + out + "/b.jpg",
                         "ALL: 2  ERRORS: 0  WARNINGS: 0"}));
  EXPECT_TRUE(QFileInfo(out).isDir());
}

TEST_F(PreviewCommand, OneNameForTwoPhotosOrAnEmptyBatchIsRefused) {
  const auto r = preview({"--copy", out, "--name", "Trip", src});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(r.out.contains("Duplicate filename.\t" + src + "/a.jpg\t" + out + "/Trip.jpg"));
  EXPECT_TRUE(r.out.endsWith("ALL: 2  ERRORS: 2  WARNINGS: 0\n"));
  EXPECT_TRUE(r.err.contains("ERROR/WARNING: Batch Process cannot be initiated."));

  // An empty batch (a missing file is named on stderr) cannot start either.
  const QString empty = dir.filePath("empty"), missing = dir.filePath("missing.jpg");
  QDir().mkpath(empty);
  const auto none = preview({"--copy", out, empty, missing});
  EXPECT_EQ(none.exitCode, 2);
  EXPECT_TRUE(none.out.endsWith("ALL: 0  ERRORS: 0  WARNINGS: 0\n"));
  EXPECT_TRUE(none.err.contains("quillmere: no such file: " + missing));
}

TEST_F(PreviewCommand, RenameOptionsAndSlashesStayInTheFolder) {
  const auto r = preview({"--copy", out, "--name", "../../Trip", "--number", "suffix", "--start",
                          "10", "--step", "5", "--lower-ext", "--format", "png", src});
  EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
  EXPECT_TRUE(r.out.contains("\t" + out + "/....Trip10.png\n")) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains("\t" + out + "/....Trip15.png\n")) << r.out.toStdString();
}

TEST_F(PreviewCommand, ExistingDestinationPromptsUnlessOverwriting) {
  testenv::writeFile(out + "/a.jpg", "x");
  auto r = preview({"--copy", out, src});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(r.out.contains("File already exists in destination folder.\t" + src + "/a.jpg"));
  EXPECT_TRUE(r.out.endsWith("ALL: 2  ERRORS: 0  WARNINGS: 1\n"));
  r = preview({"--copy", out, "--overwrite", src});
  EXPECT_EQ(r.exitCode, 0);
  // Beside the sources every name exists already: nothing could run.
  r = preview({"--beside", src});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(r.out.endsWith("ALL: 2  ERRORS: 0  WARNINGS: 2\n"));
}

TEST_F(PreviewCommand, TakenDateAndSettingsFileWithWrongTypes) {
  const QString settings = plist(
      "s.plist", "<key>Rename Mode</key><string>1abc</string>"
                 "<key>Date/Time Stamp</key><dict><key>State</key><string>Yes</string>"
                 "<key>Type</key><integer>0</integer><key>Format</key><string>5</string></dict>"
                 "<key>Add String</key><dict><key>State</key><true/><key>Prefix</key>"
                 "<integer>3</integer><key>Suffix</key><string>_x/y</string></dict>"
                 "<key>Remove</key><dict><key>State</key><true/><key>Words</key>"
                 "<string>a_x</string></dict>");
  const auto r = preview({"--settings", settings, "--copy", out, src});
  EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
  EXPECT_TRUE(r.out.contains("\t" + out + "/17-08-2006 09:24:48y.jpg\n")) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains("\t" + out + "/17-08-2006 09:24:48b_xy.jpg\n")) << r.out.toStdString();
}

TEST_F(PreviewCommand, OptionsFileAndShortFormsOverridingIt) {
  const QString options =
      plist("o.plist", "<key>outputFolderPath</key><string>" + out +
                           "</string><key>copyyToDestinationFolder</key><true/>"
                           "<key>owerwriteExistingFiles</key><string>YES</string>");
  QDir().mkpath(out);
  testenv::writeFile(out + "/a.jpg", "x");
  auto r = preview({"--options", options, src});
  EXPECT_EQ(r.exitCode, 0) << r.err.toStdString(); // overwriting: no warning
  EXPECT_TRUE(r.out.contains("\t" + out + "/a.jpg\n"));
  // --beside wins over the file's folder.
  r = preview({"--options", options, "--beside", "--keep-names", src});
  EXPECT_TRUE(r.out.contains("\t" + src + "/a.jpg\t" + src + "/a.jpg\n")) << r.out.toStdString();
}

TEST_F(PreviewCommand, BadUsageExits64) {
  const QString junk = testenv::writeFile(dir.filePath("junk.plist"), "not a plist at all");
  const QString format99 = plist("f.plist", "<key>Output Format</key><integer>99</integer>");
  for (const QStringList &args :
       {QStringList{"--settings", junk, src}, QStringList{"--options", junk, src},
        QStringList{"--settings", format99, src}, QStringList{"--format", "xyz", src},
        QStringList{"--from", "2024-01-01", src}, QStringList{"--quality", "1.5", src},
        QStringList{"--start", "x", src}, QStringList{"--bogus", src}, QStringList{}}) {
    const auto r = preview(args);
    EXPECT_EQ(r.exitCode, 64) << args.join(' ').toStdString();
    EXPECT_TRUE(r.err.startsWith("quillmere: ")) << r.err.toStdString();
  }
}

// A source name of 255 bytes is fine; with a prefix it no longer fits: an invalid name in
// the preview, and an error, not a skip, in the run.
TEST_F(PreviewCommand, ANewNameTooLongForTheFileSystemIsInvalid) {
  const QString longName = QString(251, 'L') + ".jpg";
  testenv::copyPhoto(kSmall, src, longName);
  const auto r = preview({"--copy", out, "--prefix", "2024_", src});
  EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();
  EXPECT_TRUE(r.out.contains("Invalid filename.\t" + src + "/" + longName + "\t" + out + "/2024_" +
                             longName + "\n"))
      << r.out.toStdString();
  EXPECT_TRUE(r.out.endsWith("ALL: 3  ERRORS: 1  WARNINGS: 0\n"));

  const auto run = testenv::runQuillmere({"run", "--yes", "--copy", out, "--prefix", "2024_", src});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(run.out.contains("Photos Processed: 2\n"));
  EXPECT_TRUE(run.out.contains("Photos with Error: 1\n"));
  EXPECT_TRUE(run.out.contains("Photos Skipped: 0\n"));
  EXPECT_EQ(QDir(out).entryList(QDir::Files), (QStringList{"2024_a.jpg", "2024_b.jpg"}));
}

TEST_F(PreviewCommand, EmojiCutDoesNotBreakTheName) {
  testenv::copyPhoto(kSmall, src, QStringLiteral("\U0001F600c.jpg"));
  const auto r = preview({"--copy", out, "--remove-first", "1", "--remove-chars", "ab", src});
  EXPECT_EQ(r.exitCode, 1); // a and b lose their only letter: blank names
  EXPECT_TRUE(
      r.out.contains("File is ready to process.\t" + src + "/\U0001F600c.jpg\t" + out + "/c.jpg\n"))
      << r.out.toStdString();
  EXPECT_TRUE(r.out.endsWith("ALL: 3  ERRORS: 2  WARNINGS: 0\n"));
}

} // namespace

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
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const char *kSmall = "jpg/Fujifilm_FinePix_E500.jpg"; // taken 2006:08:17 09:24:48

// --- Destination records ---

struct PathRow {
  const char *given;
  const char *filePath;
  const char *fileName;
  const char *fileExtension;
};
class DestinationRows : public ::testing::TestWithParam<PathRow> {};
TEST_P(DestinationRows, SplitTheGivenPath) {
  const auto record = OutputPhotoPath::initWithFileUrl(QString::fromUtf8(GetParam().given),
                                                       QStringLiteral("/src/a.jpg"));
  EXPECT_EQ(record->filePath, QString::fromUtf8(GetParam().filePath));
  EXPECT_EQ(record->fileName, QString::fromUtf8(GetParam().fileName));
  EXPECT_EQ(record->fileExtension, QString::fromUtf8(GetParam().fileExtension));
  EXPECT_EQ(record->oldFilePath, QStringLiteral("/src/a.jpg"));
}
INSTANTIATE_TEST_SUITE_P(
    Paths, DestinationRows,
    ::testing::Values(PathRow{"/x/abc.JPG", "/x/abc.jpg", "abc.JPG", "jpg"},
                      PathRow{"/x/.JPG", "/x/.JPG.", ".JPG", ""},
                      PathRow{"/x/a.b.PNG", "/x/a.b.png", "a.b.PNG", "png"},
                      PathRow{"/x/17-08-2006 09:24:48a.JPG", "/x/17-08-2006 09:24:48a.jpg",
                              "17-08-2006 09:24:48a.JPG", "jpg"},
                      PathRow{"/x/\xC3\x89t\xC3\xA9.TIF", "/x/\xC3\x89t\xC3\xA9.tif",
                              "\xC3\x89t\xC3\xA9.TIF", "tif"}));

TEST(Destination, FolderPrefixGivesTheSameRecordAsTheWholePath) {
  for (const QString folder : {"/out", "/out/", "/out//sub", "/", "", "rel/dir"}) {
    const QString prefix = OutputPhotoPath::folderPrefixFor(folder);
    for (const QString name : {"a.JPG", ".JPG", "a.b.Png", "noext", "a.", "\u00c9t\u00e9.TIF"}) {
      const auto whole = OutputPhotoPath::initWithoutDiskCheck(folder + "/" + name, "/s");
      const auto quick = OutputPhotoPath::initWithFolderPrefix(prefix, name, "/s");
      EXPECT_EQ(quick->filePath, whole->filePath)
          << folder.toStdString() << " " << name.toStdString();
      EXPECT_EQ(quick->fileName, whole->fileName)
          << folder.toStdString() << " " << name.toStdString();
      EXPECT_EQ(quick->fileExtension, whole->fileExtension);
    }
  }
}

TEST(Destination, ExistingFileFoundUnderEitherCase) {
  QTemporaryDir dir;
  testenv::writeFile(dir.filePath("a.jpg"), "x");
  testenv::writeFile(dir.filePath("B.JPG"), "x");
  // The run writes the lower-case path: a file there must not be replaced silently.
  EXPECT_TRUE(
      OutputPhotoPath::initWithFileUrl(dir.filePath("a.JPG"), "/s")->fileAlreadyExistAtPath);
  EXPECT_TRUE(
      OutputPhotoPath::initWithFileUrl(dir.filePath("B.JPG"), "/s")->fileAlreadyExistAtPath);
  EXPECT_FALSE(
      OutputPhotoPath::initWithFileUrl(dir.filePath("c.JPG"), "/s")->fileAlreadyExistAtPath);
}

TEST(OutputOptions, DefaultsCopyIntoPicturesQuillmere) {
  const QString folder = platform::picturesDirectory() + QStringLiteral("/Quillmere");
  QDir(folder).removeRecursively();
  const auto options = OutputOptionSettings::initWithDefaults();
  EXPECT_EQ(options->outputFolderPath, folder);
  EXPECT_TRUE(QFileInfo(folder).isDir());
  EXPECT_TRUE(options->copyyToDestinationFolder);
  EXPECT_FALSE(options->moveAndRenameToDestinationFolder || options->useSourceFolder ||
               options->owerwriteExistingFiles || options->setOutputDateTimeAsOriginal);
  EXPECT_TRUE(options->openOutputFolderAfterProcessing);
}

TEST(OutputOptions, ModesAreExclusive) {
  auto o = OutputOptionSettings::initWithDefaults();
  o->setDestinationMode(0);
  EXPECT_TRUE(o->moveAndRenameToDestinationFolder);
  EXPECT_FALSE(o->copyyToDestinationFolder || o->useSourceFolder);
  o->setDestinationMode(2);
  EXPECT_TRUE(o->useSourceFolder);
  EXPECT_FALSE(o->moveAndRenameToDestinationFolder || o->copyyToDestinationFolder);
  EXPECT_FALSE(o->openOutputFolderAfterProcessing);
  EXPECT_FALSE(o->isOutputFolderEditable());
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

TEST(OutputOptions, SourceFolderModeByKindOfPhoto) {
  auto o = OutputOptionSettings::initWithDefaults();
  o->setDestinationMode(2);
  const DestinationFolder folder(*o);
  EXPECT_EQ(folder.folderFor("/lib/Masters/a.jpg", true),
            platform::desktopDirectory() + QStringLiteral("/iPhoto_QuillmereOutput"));
  EXPECT_EQ(folder.folderFor("/photos/trip/a.jpg", false), QStringLiteral("/photos/trip"));
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
  const auto typed = OutputOptionSettings::initWithDictionary(
      {{"owerwriteExistingFiles", "YES"}, {"useSourceFolder", 3}, {"outputFolderPath", 7}});
  EXPECT_TRUE(typed->owerwriteExistingFiles);
  EXPECT_TRUE(typed->useSourceFolder);
  EXPECT_EQ(typed->outputFolderPath, QString());
}

// --- Checks ---

struct Dest {
  Dest(const char *newPath, bool sourceExists = true, bool destinationExists = false)
      : newPath(newPath), sourceExists(sourceExists), destinationExists(destinationExists) {}
  const char *newPath; // relative to the output folder
  bool sourceExists;
  bool destinationExists;
};
struct CheckRow {
  const char *name;
  std::vector<Dest> records;
  bool overwrite;
  std::vector<const char *> statuses;
  int errors;
  int warnings;
  StartGate gate;
};
std::ostream &operator<<(std::ostream &os, const CheckRow &row) {
  return os << row.name;
}

class CheckRows : public ::testing::TestWithParam<CheckRow> {};
TEST_P(CheckRows, SortTheBatch) {
  QTemporaryDir dir;
  QDir().mkpath(dir.filePath("out"));
  QList<std::shared_ptr<OutputPhotoPath>> records;
  int n = 0;
  for (const Dest &d : GetParam().records) {
    const QString source = dir.filePath(QStringLiteral("src%1.jpg").arg(n++));
    if (d.sourceExists)
      testenv::writeFile(source, "x");
    const QString path = dir.filePath("out/") + QString::fromUtf8(d.newPath);
    if (d.destinationExists)
      testenv::writeFile(path, "x");
    records.append(OutputPhotoPath::initWithFileUrl(path, source));
  }
  countOccurences(records);
  const ErrorFiles e = calculateErrorFiles(records, GetParam().overwrite, true);
  ASSERT_EQ(records.size(), qsizetype(GetParam().statuses.size()));
  for (qsizetype i = 0; i < records.size(); ++i)
    EXPECT_EQ(rowStatusForRecord(*records[i], e).toolTip,
              QString::fromUtf8(GetParam().statuses[size_t(i)]))
        << i;
  EXPECT_EQ(e.errorCount(), GetParam().errors);
  EXPECT_EQ(e.warningCount(), GetParam().warnings);
  EXPECT_EQ(e.arrayAllErrors.size(), GetParam().errors);
  EXPECT_EQ(e.arrayAllWarnings.size(), GetParam().warnings);
  EXPECT_EQ(e.consoleLines.size(), GetParam().errors + GetParam().warnings);
  EXPECT_EQ(startGateForBatch(e, records.size()), GetParam().gate);
  const QList<FilterButtonTexts> titles = updateErrorAndWarningUI(e);
  EXPECT_EQ(titles[1].title, QStringLiteral("ERRORS: %1").arg(GetParam().errors));
  EXPECT_EQ(titles[2].title, QStringLiteral("WARNINGS: %1").arg(GetParam().warnings));
}

const char *kReady = "File is ready to process.";
const char *kDup = "Duplicate filename.";
const char *kExists = "File already exists in destination folder.";
INSTANTIATE_TEST_SUITE_P(
    Batches, CheckRows,
    ::testing::Values(
        CheckRow{
            "AllGood", {{"a.JPG"}, {"b.JPG"}}, false, {kReady, kReady}, 0, 0, StartGate::Start},
        CheckRow{"DuplicatesOfTwo",
                 {{"t.JPG"}, {"t.JPG"}, {"u.JPG"}},
                 false,
                 {kDup, kDup, kReady},
                 2,
                 0,
                 StartGate::Prompt},
        CheckRow{"CaseOnlyIsNotDuplicate",
                 {{"a.jpg"}, {"A.jpg"}},
                 false,
                 {kReady, kReady},
                 0,
                 0,
                 StartGate::Start},
        CheckRow{"SameLowerCasePathIsDuplicate",
                 {{"a.JPG"}, {"a.jpg"}},
                 false,
                 {kDup, kDup},
                 2,
                 0,
                 StartGate::Refuse},
        CheckRow{"HttpAnyCase",
                 {{"xHtTp:y.JPG"}, {"ok.JPG"}},
                 false,
                 {"Invalid filename.", kReady},
                 1,
                 0,
                 StartGate::Prompt},
        CheckRow{"BlankBeatsDuplicate",
                 {{".JPG"}, {".JPG"}, {"a.JPG"}},
                 false,
                 {"Filename is blank.", "Filename is blank.", kReady},
                 2,
                 0,
                 StartGate::Prompt},
        CheckRow{"SourceGone",
                 {{"a.JPG", false}, {"b.JPG"}},
                 false,
                 {"File not available in source folder.", kReady},
                 1,
                 0,
                 StartGate::Prompt},
        CheckRow{"ExistingWarns",
                 {{"a.JPG", true, true}, {"b.JPG"}},
                 false,
                 {kExists, kReady},
                 0,
                 1,
                 StartGate::Prompt},
        CheckRow{"OverwriteSuppressesWarning",
                 {{"a.JPG", true, true}, {"b.JPG"}},
                 true,
                 {kReady, kReady},
                 0,
                 0,
                 StartGate::Start},
        CheckRow{"WarningsOnlyRefused",
                 {{"a.JPG", true, true}, {"b.JPG", true, true}},
                 false,
                 {kExists, kExists},
                 0,
                 2,
                 StartGate::Refuse},
        CheckRow{"OneGoodPrompts",
                 {{"a.JPG", true, true}, {"b.JPG", true, true}, {"c.JPG"}},
                 false,
                 {kExists, kExists, kReady},
                 0,
                 2,
                 StartGate::Prompt},
        CheckRow{"EmptyBatchRefused", {}, false, {}, 0, 0, StartGate::Refuse}));

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

TEST_F(PreviewFixture, TakenDateComesFromTheFile) {
  auto s = BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  s->flagRenamingMode = 1;
  s->dictDateTimeStamp = {{"State", true}, {"Type", 0}, {"Format", 5}, {"As", 1}};
  const PreviewResult r =
      computePreview(delegate.arraySelectedImagesToProcess, RenameRules::fromSetting(*s),
                     delegate.arrFileFormatsSupported, *delegate.selectedOuputSettingObj);
  ASSERT_EQ(r.paths.size(), 3);
  EXPECT_EQ(r.paths[0]->fileName, QStringLiteral("a17-08-2006 09:24:48.JPG"));
  EXPECT_EQ(r.paths[0]->filePath, out + QStringLiteral("/a17-08-2006 09:24:48.jpg"));
  EXPECT_EQ(r.paths[2]->fileName, QStringLiteral("c17-08-2006 09:24:48.JPEG"));
}

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
}

TEST_F(PreviewFixture, LibraryPhotoForcesCopyMode) {
  delegate.arraySelectedImagesToProcess[1]->isIphotosNode = true;
  delegate.selectedOuputSettingObj->setDestinationMode(0);
  RenamePreviewController controller(&delegate);
  controller.viewDidAppear();
  controller.waitForPreview();
  EXPECT_TRUE(controller.isIphotoExist);
  EXPECT_FALSE(controller.isMoveModeEnabled);
  EXPECT_TRUE(delegate.selectedOuputSettingObj->copyyToDestinationFolder);
  EXPECT_FALSE(delegate.selectedOuputSettingObj->moveAndRenameToDestinationFolder);
  delegate.arraySelectedImagesToProcess.removeAt(1);
  controller.resetPreviewForUpdatedRenameSelections(false);
  controller.waitForPreview();
  EXPECT_TRUE(controller.isMoveModeEnabled);
}

TEST_F(PreviewFixture, ResetRestoresTheDefaultsFile) {
  RenamePreviewController controller(&delegate);
  controller.viewDidAppear();
  controller.waitForPreview();
  controller.setting->flagRenamingMode = 1;
  controller.setting->outputFormat = 6;
  controller.resetAllSettings();
  controller.waitForPreview();
  EXPECT_EQ(controller.setting->renamingMode(), 0);
  EXPECT_EQ(controller.setting->outputFormatIndex(), 0);
  EXPECT_EQ(controller.arrayOutputFilePaths[1]->fileName, QStringLiteral("b.JPG"));
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
  QStringList lines(const testenv::ProcessResult &r) const {
    return r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
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
  EXPECT_EQ(lines(r),
            (QStringList{"File is ready to process.\t" + src + "/a.jpg\t" + out + "/a.jpg",
                         "File is ready to process.\t" + src + "/b.jpg\t" + out + "/b.jpg",
                         "ALL: 2  ERRORS: 0  WARNINGS: 0"}));
  EXPECT_TRUE(QFileInfo(out).isDir());
}

TEST_F(PreviewCommand, OneNameForTwoPhotosIsRefused) {
  const auto r = preview({"--copy", out, "--name", "Trip", src});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(r.out.contains("Duplicate filename.\t" + src + "/a.jpg\t" + out + "/Trip.jpg"));
  EXPECT_TRUE(r.out.endsWith("ALL: 2  ERRORS: 2  WARNINGS: 0\n"));
  EXPECT_TRUE(r.err.contains("ERROR/WARNING: Batch Process cannot be initiated."));
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
  const QString settings = testenv::writeFile(
      dir.filePath("s.plist"),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
      "<key>Rename Mode</key><string>1abc</string>"
      "<key>Date/Time Stamp</key><dict><key>State</key><string>Yes</string>"
      "<key>Type</key><integer>0</integer><key>Format</key><string>5</string></dict>"
      "<key>Add String</key><dict><key>State</key><true/><key>Prefix</key><integer>3</integer>"
      "<key>Suffix</key><string>_x/y</string></dict>"
      "<key>Remove</key><dict><key>State</key><true/><key>Words</key>"
      "<string>a_x</string></dict>"
      "</dict></plist>\n");
  const auto r = preview({"--settings", settings, "--copy", out, src});
  EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
  EXPECT_TRUE(r.out.contains("\t" + out + "/17-08-2006 09:24:48y.jpg\n")) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains("\t" + out + "/17-08-2006 09:24:48b_xy.jpg\n")) << r.out.toStdString();
}

TEST_F(PreviewCommand, OptionsFileAndShortFormsOverridingIt) {
  const QString options =
      testenv::writeFile(dir.filePath("o.plist"),
                         ("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                          "<key>outputFolderPath</key><string>" +
                          out +
                          "</string><key>copyyToDestinationFolder</key><true/>"
                          "<key>owerwriteExistingFiles</key><string>YES</string></dict></plist>")
                             .toUtf8());
  QDir().mkpath(out);
  testenv::writeFile(out + "/a.jpg", "x");
  auto r = preview({"--options", options, src});
  EXPECT_EQ(r.exitCode, 0) << r.err.toStdString(); // overwriting: no warning
  EXPECT_TRUE(r.out.contains("\t" + out + "/a.jpg\n"));
  // --beside wins over the file's folder.
  r = preview({"--options", options, "--beside", "--keep-names", src});
  EXPECT_TRUE(r.out.contains("\t" + src + "/a.jpg\t" + src + "/a.jpg\n")) << r.out.toStdString();
}

TEST(OutputOptions, SaveStoresTheArchiveInThePreferences) {
  auto o = OutputOptionSettings::initWithDefaults();
  o->setDestinationMode(2);
  o->saveUpdatedOutputOptionSettingsInDefault();
  const auto back = OutputOptionSettings::initWithCoder(
      platform::Preferences::dataValue(QStringLiteral("OUTPUT_OPTONS_SETTING")));
  ASSERT_TRUE(back);
  EXPECT_TRUE(back->useSourceFolder);
  EXPECT_FALSE(back->copyyToDestinationFolder);
}

TEST_F(PreviewCommand, BadUsageExits64) {
  const QString junk = testenv::writeFile(dir.filePath("junk.plist"), "not a plist at all");
  const QString format12 = testenv::writeFile(
      dir.filePath("f.plist"), "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                               "<key>Output Format</key><integer>12</integer></dict></plist>");
  for (const QStringList &args :
       {QStringList{"--settings", junk, src}, QStringList{"--options", junk, src},
        QStringList{"--settings", format12, src}, QStringList{"--format", "webp", src},
        QStringList{"--from", "2024-01-01", src}, QStringList{"--quality", "1.5", src},
        QStringList{"--start", "x", src}, QStringList{"--bogus", src}, QStringList{}}) {
    const auto r = preview(args);
    EXPECT_EQ(r.exitCode, 64) << args.join(' ').toStdString();
    EXPECT_TRUE(r.err.startsWith("quillmere: ")) << r.err.toStdString();
  }
}

TEST_F(PreviewCommand, EmptyBatchIsRefused) {
  QDir().mkpath(dir.filePath("empty"));
  const auto r = preview({"--copy", out, dir.filePath("empty"), dir.filePath("missing.jpg")});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(r.out.endsWith("ALL: 0  ERRORS: 0  WARNINGS: 0\n"));
  EXPECT_TRUE(r.err.contains("quillmere: no such file: " + dir.filePath("missing.jpg")));
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

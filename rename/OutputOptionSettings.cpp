#include "rename/OutputOptionSettings.h"

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "platform/PathText.h"
#include "platform/Preferences.h"
#include "platform/StandardFolders.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"
#include "rename/KeyedArchive.h"
#include "rename/RenameLog.h"

Q_LOGGING_CATEGORY(lcRename, "quillmere.rename")

const QString OutputOptionSettings::kDefaultsKey = QStringLiteral("OUTPUT_OPTONS_SETTING");
const QString OutputOptionSettings::kMoveToolTip =
    QStringLiteral("Moving processed photos to new destination will remove the photos from the "
                   "source folder");
const QString OutputOptionSettings::kCopyToolTip = QStringLiteral(
    "Copying processed photos to new destination will create a new set of photos and the "
    "source folder photos will remain intact");
const QString OutputOptionSettings::kSourceFolderToolTip = QStringLiteral(
    "Using source folder as destination folder will overwrite the exisiting photos with the "
    "processed photos if \"Overwrite...\" setting is selected. Rename your photos, if you do not "
    "wish to overwrite");
const QString OutputOptionSettings::kMoveInfo =
    QStringLiteral("Moving files to new destination will remove the files from the source folder.");
const QString OutputOptionSettings::kSourceFolderInfo =
    QStringLiteral("All photos from iPhoto library will be saved here: "
                   "/Users/Desktop/iPhoto_QuillmereOutput.");

namespace {

const QString kDateString = QStringLiteral("dateString");
const QString kOutputFolderPath = QStringLiteral("outputFolderPath");
const QString kMove = QStringLiteral("moveAndRenameToDestinationFolder");
const QString kCopy = QStringLiteral("copyyToDestinationFolder");
const QString kSource = QStringLiteral("useSourceFolder");
const QString kOpen = QStringLiteral("openOutputFolderAfterProcessing");
const QString kOverwrite = QStringLiteral("owerwriteExistingFiles");
const QString kKeepDates = QStringLiteral("setOutputDateTimeAsOriginal");

void readFields(OutputOptionSettings &o, const QVariantMap &fields) {
  if (fields.contains(kDateString))
    o.dateString = BoxedValue::stringValue(fields.value(kDateString));
  if (fields.contains(kOutputFolderPath))
    o.outputFolderPath = BoxedValue::stringValue(fields.value(kOutputFolderPath));
  const auto flag = [&fields](const QString &key, bool *out) {
    if (fields.contains(key))
      *out = BoxedValue::boolValue(fields.value(key));
  };
  flag(kMove, &o.moveAndRenameToDestinationFolder);
  flag(kCopy, &o.copyyToDestinationFolder);
  flag(kSource, &o.useSourceFolder);
  flag(kOpen, &o.openOutputFolderAfterProcessing);
  flag(kOverwrite, &o.owerwriteExistingFiles);
  flag(kKeepDates, &o.setOutputDateTimeAsOriginal);
}

} // namespace

QString OutputOptionSettings::defaultOutputFolderPath() {
  return platform::PathText::stringByAppendingPathComponent(platform::picturesDirectory(),
                                                            QStringLiteral("Quillmere"));
}

std::shared_ptr<OutputOptionSettings> OutputOptionSettings::initWithDefaults() {
  auto options = std::make_shared<OutputOptionSettings>();
  options->dateString = BatchRenameSetting::currentDateString();
  options->outputFolderPath = defaultOutputFolderPath();
  options->createOutputFolderIfMissing();
  return options;
}

void OutputOptionSettings::createOutputFolderIfMissing() const {
  if (outputFolderPath.isEmpty() || platform::Files::fileExists(outputFolderPath))
    return;
  if (platform::Files::createDirectory(outputFolderPath).ok)
    qCInfo(lcRename).noquote()
        << QStringLiteral("directory created successfully %1").arg(outputFolderPath);
}

std::shared_ptr<OutputOptionSettings>
OutputOptionSettings::readDefaultOutputOptionSetting(AppDelegate *delegate) {
  if (delegate && delegate->selectedOuputSettingObj)
    return delegate->selectedOuputSettingObj;
  std::shared_ptr<OutputOptionSettings> options = initWithDefaults();
  if (delegate)
    delegate->selectedOuputSettingObj = options;
  return options;
}

std::shared_ptr<OutputOptionSettings>
OutputOptionSettings::initWithDictionary(const QVariantMap &dict) {
  auto options = std::make_shared<OutputOptionSettings>();
  options->dateString = BatchRenameSetting::currentDateString();
  options->outputFolderPath = defaultOutputFolderPath();
  readFields(*options, dict);
  return options;
}

QVariantMap OutputOptionSettings::dictionaryRepresentation() const {
  return {{kDateString, dateString},
          {kOutputFolderPath, outputFolderPath},
          {kMove, moveAndRenameToDestinationFolder},
          {kCopy, copyyToDestinationFolder},
          {kSource, useSourceFolder},
          {kOpen, openOutputFolderAfterProcessing},
          {kOverwrite, owerwriteExistingFiles},
          {kKeepDates, setOutputDateTimeAsOriginal}};
}

QByteArray OutputOptionSettings::encodeWithCoder() const {
  return KeyedArchive::archivedData({{kDateString, dateString},
                                     {kOutputFolderPath, outputFolderPath},
                                     {kMove, moveAndRenameToDestinationFolder},
                                     {kCopy, copyyToDestinationFolder},
                                     {kSource, useSourceFolder},
                                     {kOpen, openOutputFolderAfterProcessing},
                                     {kOverwrite, owerwriteExistingFiles},
                                     {kKeepDates, setOutputDateTimeAsOriginal}});
}

std::shared_ptr<OutputOptionSettings> OutputOptionSettings::initWithCoder(const QByteArray &data,
                                                                          QString *error) {
  QVariantMap fields;
  if (!KeyedArchive::unarchive(data, &fields, error))
    return nullptr;
  // Every field comes from the archive: a missing one reads as off or empty.
  auto options = std::make_shared<OutputOptionSettings>();
  options->copyyToDestinationFolder = false;
  options->openOutputFolderAfterProcessing = false;
  readFields(*options, fields);
  return options;
}

void OutputOptionSettings::saveUpdatedOutputOptionSettingsInDefault() {
  dateString = BatchRenameSetting::currentDateString();
  platform::Preferences::setValue(kDefaultsKey, encodeWithCoder());
  platform::Preferences::synchronize();
}

void OutputOptionSettings::setDestinationMode(int tag) {
  moveAndRenameToDestinationFolder = false;
  copyyToDestinationFolder = false;
  useSourceFolder = false;
  switch (tag) {
  case ModeMove:
    moveAndRenameToDestinationFolder = true;
    break;
  case ModeCopy:
    copyyToDestinationFolder = true;
    break;
  case ModeSourceFolder:
    useSourceFolder = true;
    openOutputFolderAfterProcessing = false;
    break;
  default:
    break;
  }
}

int OutputOptionSettings::destinationMode() const {
  if (useSourceFolder)
    return ModeSourceFolder;
  if (moveAndRenameToDestinationFolder)
    return ModeMove;
  return ModeCopy;
}

bool OutputOptionSettings::chooseOutputFolder(const QString &path) {
  const QString chosen = path.toLower();
  if (platform::isInTrash(chosen, false))
    return false;
  outputFolderPath = chosen;
  return true;
}

void OutputOptionSettings::forceCopyModeForLibraryPhotos() {
  moveAndRenameToDestinationFolder = false;
  copyyToDestinationFolder = true;
}

QString OutputOptionSettings::resolvedOutputFolderPath() const {
  if (outputFolderPath.isEmpty())
    return outputFolderPath;
  return platform::PathText::resolveCaseInsensitive(outputFolderPath);
}

DestinationFolder::DestinationFolder(const OutputOptionSettings &options)
    : useSourceFolder_(options.useSourceFolder) {
  if (!useSourceFolder_)
    outputFolder_ = options.resolvedOutputFolderPath();
  libraryFolder_ = platform::desktopDirectory() + QStringLiteral("/iPhoto_QuillmereOutput");
}

QString DestinationFolder::folderFor(const QString &photoPath, bool isIphotosNode) const {
  if (!useSourceFolder_)
    return outputFolder_;
  if (isIphotosNode)
    return libraryFolder_;
  return platform::PathText::stringByDeletingLastPathComponent(photoPath);
}

QString DestinationFolder::getUpdatedOutputPathStringForPhotoFile(const PhotoFile &photo) const {
  return folderFor(photo.filePath, photo.isIphotosNode);
}

#include "rename/BatchRenameSetting.h"

#include "app/AppDelegate.h"
#include "app/Resources.h"
#include "platform/DateFormat.h"
#include "platform/Preferences.h"
#include "platform/PropertyList.h"
#include "rename/BoxedValue.h"
#include "rename/KeyedArchive.h"

#include <QDateTime>

const QString BatchRenameSetting::kRenameMode = QStringLiteral("Rename Mode");
const QString BatchRenameSetting::kSetCompression = QStringLiteral("Set Compression");
const QString BatchRenameSetting::kSetQuality = QStringLiteral("Set Quality");
const QString BatchRenameSetting::kOutputFormat = QStringLiteral("Output Format");
const QString BatchRenameSetting::kCompressionRatio = QStringLiteral("Compression Ratio");
const QString BatchRenameSetting::kQualityRatio = QStringLiteral("Quality Ratio");
const QString BatchRenameSetting::kReplaceFilename = QStringLiteral("Replace Filename");
const QString BatchRenameSetting::kDateTimeStamp = QStringLiteral("Date/Time Stamp");
const QString BatchRenameSetting::kAppendFolderName = QStringLiteral("Append Folder Name");
const QString BatchRenameSetting::kAddString = QStringLiteral("Add String");
const QString BatchRenameSetting::kAddDigit = QStringLiteral("Add Digit");
const QString BatchRenameSetting::kRemove = QStringLiteral("Remove");
const QString BatchRenameSetting::kChangeCaseFileName = QStringLiteral("Change Case File Name");
const QString BatchRenameSetting::kLowerCaseFileExtension =
    QStringLiteral("Lower Case File Extension");
const QString BatchRenameSetting::kDefaultsKey = QStringLiteral("BATCH_RENAME_SETTING_OBJECT");

namespace {

// Archive keys: the two booleans keep the spaced keys of the defaults file, the others
// their field names; stored archives depend on this mix.
const QString kArchiveDateString = QStringLiteral("dateString");
const QString kArchiveRenamingMode = QStringLiteral("flagRenamingMode");
const QString kArchiveOutputFormat = QStringLiteral("outputFormat");
const QString kArchiveCompression = QStringLiteral("compressionRatio");
const QString kArchiveQuality = QStringLiteral("qualityRatio");
const QString kArchiveReplace = QStringLiteral("dictReplaceFileName");
const QString kArchiveDate = QStringLiteral("dictDateTimeStamp");
const QString kArchiveFolder = QStringLiteral("dictAppendFolderName");
const QString kArchiveAddString = QStringLiteral("dictAddString");
const QString kArchiveAddDigit = QStringLiteral("dictAddDigit");
const QString kArchiveRemove = QStringLiteral("dictRemove");
const QString kArchiveCase = QStringLiteral("dictChangeCaseFileName");
const QString kArchiveLowerExtension = QStringLiteral("dictUseLowerCaseForFileExtension");

// A rule that is not a dictionary holds no keys: every value reads as 0 or empty.
QVariantMap ruleFrom(const QVariant &value) {
  return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

} // namespace

QString BatchRenameSetting::currentDateString() {
  const QDateTime now = QDateTime::currentDateTime();
  return platform::DateFormat::format(now, QStringLiteral("MMM-dd-yyyy")) + QLatin1Char(' ') +
         platform::DateFormat::format(now, QStringLiteral("hh:mm:s a"));
}

std::shared_ptr<BatchRenameSetting>
BatchRenameSetting::initWithDictionary(const QVariantMap &dict) {
  auto setting = std::make_shared<BatchRenameSetting>();
  setting->flagRenamingMode = dict.value(kRenameMode);
  setting->isSetCompression = dict.value(kSetCompression);
  setting->isSetQuality = dict.value(kSetQuality);
  setting->outputFormat = dict.value(kOutputFormat);
  setting->compressionRatio = dict.value(kCompressionRatio);
  setting->qualityRatio = dict.value(kQualityRatio);
  setting->dictReplaceFileName = ruleFrom(dict.value(kReplaceFilename));
  setting->dictDateTimeStamp = ruleFrom(dict.value(kDateTimeStamp));
  setting->dictAppendFolderName = ruleFrom(dict.value(kAppendFolderName));
  setting->dictAddString = ruleFrom(dict.value(kAddString));
  setting->dictAddDigit = ruleFrom(dict.value(kAddDigit));
  setting->dictRemove = ruleFrom(dict.value(kRemove));
  setting->dictChangeCaseFileName = ruleFrom(dict.value(kChangeCaseFileName));
  setting->dictUseLowerCaseForFileExtension = ruleFrom(dict.value(kLowerCaseFileExtension));
  setting->stampDateString();
  return setting;
}

QVariantMap BatchRenameSetting::dictionaryRepresentation() const {
  QVariantMap dict;
  dict.insert(kRenameMode, flagRenamingMode);
  dict.insert(kSetCompression, isSetCompression);
  dict.insert(kSetQuality, isSetQuality);
  dict.insert(kOutputFormat, outputFormat);
  dict.insert(kCompressionRatio, compressionRatio);
  dict.insert(kQualityRatio, qualityRatio);
  dict.insert(kReplaceFilename, dictReplaceFileName);
  dict.insert(kDateTimeStamp, dictDateTimeStamp);
  dict.insert(kAppendFolderName, dictAppendFolderName);
  dict.insert(kAddString, dictAddString);
  dict.insert(kAddDigit, dictAddDigit);
  dict.insert(kRemove, dictRemove);
  dict.insert(kChangeCaseFileName, dictChangeCaseFileName);
  dict.insert(kLowerCaseFileExtension, dictUseLowerCaseForFileExtension);
  return dict;
}

QByteArray BatchRenameSetting::encodeWithCoder() const {
  return KeyedArchive::archivedData({
      {kArchiveDateString, dateString},
      {kSetCompression, isSetCompression},
      {kSetQuality, isSetQuality},
      {kArchiveRenamingMode, flagRenamingMode},
      {kArchiveOutputFormat, outputFormat},
      {kArchiveCompression, compressionRatio},
      {kArchiveQuality, qualityRatio},
      {kArchiveReplace, dictReplaceFileName},
      {kArchiveDate, dictDateTimeStamp},
      {kArchiveFolder, dictAppendFolderName},
      {kArchiveAddString, dictAddString},
      {kArchiveAddDigit, dictAddDigit},
      {kArchiveRemove, dictRemove},
      {kArchiveCase, dictChangeCaseFileName},
      {kArchiveLowerExtension, dictUseLowerCaseForFileExtension},
  });
}

std::shared_ptr<BatchRenameSetting> BatchRenameSetting::initWithCoder(const QByteArray &data,
                                                                      QString *error) {
  QVariantMap fields;
  if (!KeyedArchive::unarchive(data, &fields, error))
    return nullptr;
  auto setting = std::make_shared<BatchRenameSetting>();
  setting->dateString = BoxedValue::stringValue(fields.value(kArchiveDateString));
  setting->isSetCompression = fields.value(kSetCompression);
  setting->isSetQuality = fields.value(kSetQuality);
  setting->flagRenamingMode = fields.value(kArchiveRenamingMode);
  setting->outputFormat = fields.value(kArchiveOutputFormat);
  setting->compressionRatio = fields.value(kArchiveCompression);
  setting->qualityRatio = fields.value(kArchiveQuality);
  setting->dictReplaceFileName = ruleFrom(fields.value(kArchiveReplace));
  setting->dictDateTimeStamp = ruleFrom(fields.value(kArchiveDate));
  setting->dictAppendFolderName = ruleFrom(fields.value(kArchiveFolder));
  setting->dictAddString = ruleFrom(fields.value(kArchiveAddString));
  setting->dictAddDigit = ruleFrom(fields.value(kArchiveAddDigit));
  setting->dictRemove = ruleFrom(fields.value(kArchiveRemove));
  setting->dictChangeCaseFileName = ruleFrom(fields.value(kArchiveCase));
  setting->dictUseLowerCaseForFileExtension = ruleFrom(fields.value(kArchiveLowerExtension));
  return setting;
}

QVariantMap BatchRenameSetting::defaultsDictionary() {
  QVariantMap dict;
  const QString path =
      Resources::pathForResource(QStringLiteral("RenameSettings"), QStringLiteral("plist"));
  if (!path.isEmpty())
    platform::PropertyList::readDictionary(path, &dict);
  return dict;
}

std::shared_ptr<BatchRenameSetting>
BatchRenameSetting::readDefaultRenameSetting(AppDelegate *delegate) {
  if (delegate && delegate->selectedRenameSettingObj)
    return delegate->selectedRenameSettingObj;
  std::shared_ptr<BatchRenameSetting> setting = initWithDictionary(defaultsDictionary());
  if (delegate)
    delegate->selectedRenameSettingObj = setting;
  return setting;
}

std::shared_ptr<BatchRenameSetting> BatchRenameSetting::resetAllSettings(AppDelegate *delegate) {
  if (delegate)
    delegate->selectedRenameSettingObj.reset();
  return readDefaultRenameSetting(delegate);
}

void BatchRenameSetting::saveUpdatedRenameSettingsInDefault() {
  stampDateString();
  platform::Preferences::setValue(kDefaultsKey, encodeWithCoder());
  platform::Preferences::synchronize();
}

qint32 BatchRenameSetting::renamingMode() const {
  return BoxedValue::intValue(flagRenamingMode);
}
qint32 BatchRenameSetting::outputFormatIndex() const {
  return BoxedValue::intValue(outputFormat);
}
bool BatchRenameSetting::setCompression() const {
  return BoxedValue::boolValue(isSetCompression);
}
bool BatchRenameSetting::setQuality() const {
  return BoxedValue::boolValue(isSetQuality);
}
qint32 BatchRenameSetting::compression() const {
  return BoxedValue::intValue(compressionRatio);
}
double BatchRenameSetting::quality() const {
  return BoxedValue::doubleValue(qualityRatio);
}

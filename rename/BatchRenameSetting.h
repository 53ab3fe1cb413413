#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>

class AppDelegate;

// Everything chosen on the rename-and-format screen: keep or modify names, the eight rename
// rules, the output format and the compression and quality choices. Numbers are boxed
// values read through BoxedValue (a wrong type reads as 0); rules are dictionaries that a
// control changes by copying, setting one key and storing the copy back.
class BatchRenameSetting {
public:
  // Top-level keys of the defaults file and of settings files.
  static const QString kRenameMode;             // "Rename Mode"
  static const QString kSetCompression;         // "Set Compression"
  static const QString kSetQuality;             // "Set Quality"
  static const QString kOutputFormat;           // "Output Format"
  static const QString kCompressionRatio;       // "Compression Ratio"
  static const QString kQualityRatio;           // "Quality Ratio"
  static const QString kReplaceFilename;        // "Replace Filename"
  static const QString kDateTimeStamp;          // "Date/Time Stamp"
  static const QString kAppendFolderName;       // "Append Folder Name"
  static const QString kAddString;              // "Add String"
  static const QString kAddDigit;               // "Add Digit"
  static const QString kRemove;                 // "Remove"
  static const QString kChangeCaseFileName;     // "Change Case File Name"
  static const QString kLowerCaseFileExtension; // "Lower Case File Extension"

  // The preferences key of the saved archive.
  static const QString kDefaultsKey; // "BATCH_RENAME_SETTING_OBJECT"

  // From a settings dictionary (the defaults file): values taken as they stand, nothing
  // validated; dateString stamped now.
  static std::shared_ptr<BatchRenameSetting> initWithDictionary(const QVariantMap &dict);
  // From an archive written by encodeWithCoder; null (with a reason) when data is not one.
  static std::shared_ptr<BatchRenameSetting> initWithCoder(const QByteArray &data,
                                                           QString *error = nullptr);
  // The fifteen fields, in declaration order, as an XML property list.
  QByteArray encodeWithCoder() const;
  // The settings dictionary with the fourteen top-level keys (the settings-file form).
  QVariantMap dictionaryRepresentation() const;

  // The "RenameSettings" plist of the resources, or an empty dictionary when it is missing.
  static QVariantMap defaultsDictionary();
  // The delegate's current setting (shared, not copied), or a fresh one from the defaults
  // file, which the delegate then holds.
  static std::shared_ptr<BatchRenameSetting> readDefaultRenameSetting(AppDelegate *delegate);
  // Drops the delegate's current setting and makes a fresh one from the defaults file.
  static std::shared_ptr<BatchRenameSetting> resetAllSettings(AppDelegate *delegate);
  // Stamps dateString, archives the record into the preferences and flushes them.
  void saveUpdatedRenameSettingsInDefault();

  // "MMM-dd-yyyy hh:mm:s a" of the current moment.
  static QString currentDateString();
  void stampDateString() { dateString = currentDateString(); }

  // Typed readings of the boxed fields.
  qint32 renamingMode() const;
  qint32 outputFormatIndex() const;
  bool setCompression() const;
  bool setQuality() const;
  qint32 compression() const;
  double quality() const;

  QString dateString;
  QVariant isSetCompression;
  QVariant isSetQuality;
  QVariant flagRenamingMode;
  QVariant outputFormat;
  QVariant compressionRatio;
  QVariant qualityRatio;
  QVariantMap dictReplaceFileName;
  QVariantMap dictDateTimeStamp;
  QVariantMap dictAppendFolderName;
  QVariantMap dictAddString;
  QVariantMap dictAddDigit;
  QVariantMap dictRemove;
  QVariantMap dictChangeCaseFileName;
  QVariantMap dictUseLowerCaseForFileExtension;
};

// Keys inside the rule dictionaries.
namespace RuleKey {
inline const QString State = QStringLiteral("State");
inline const QString NewName = QStringLiteral("New Name");
inline const QString As = QStringLiteral("As");
inline const QString Type = QStringLiteral("Type");
inline const QString Format = QStringLiteral("Format");
inline const QString Custom = QStringLiteral("Custom");
// The date/time stamp's correction of a camera's clock: signed seconds added to the taken
// date before the name is made (days, hours and minutes given in seconds); missing, none.
inline const QString Shift = QStringLiteral("Shift");
// Whether a run writes the shifted taken date into its outputs' EXIF DateTimeOriginal and
// CreateDate, so other tools agree with the new names; missing, no (the source is never touched).
inline const QString WriteShift = QStringLiteral("Write Shift");
inline const QString Prefix = QStringLiteral("Prefix");
inline const QString Suffix = QStringLiteral("Suffix");
inline const QString Insert = QStringLiteral("Insert");
inline const QString AtPosition = QStringLiteral("At Position");
inline const QString StartingIndex = QStringLiteral("Starting Index");
inline const QString Increment = QStringLiteral("Increment");
// The running number's minimum width, zero-padded: 1-9; missing or 0 means no padding.
inline const QString Digits = QStringLiteral("Digits");
inline const QString FirstN = QStringLiteral("First n");
inline const QString LastN = QStringLiteral("Last n");
inline const QString From = QStringLiteral("From");
inline const QString To = QStringLiteral("To");
inline const QString Chars = QStringLiteral("Chars");
inline const QString Words = QStringLiteral("Words");
inline const QString CaseMode = QStringLiteral("Case Mode");
} // namespace RuleKey

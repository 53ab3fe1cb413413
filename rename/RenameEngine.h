#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

class BatchRenameSetting;
class PhotoFile;

// The rename rules of one setting, read once so that a preview pass over a large batch does
// string work only. Every value is read with BoxedValue: missing ones are 0 or empty.
struct RenameRules {
  qint32 renamingMode = 0;
  qint32 outputFormat = 0;

  bool replaceOn = false;
  QString newName;

  bool dateOn = false;
  qint32 dateAs = 0;
  qint32 dateType = 0;
  qint32 dateFormat = 0;
  QString dateCustom;
  qint64 dateShift = 0; // seconds added to the taken date (the rule's "Shift")

  bool folderOn = false;
  qint32 folderAs = 0;

  bool addStringOn = false;
  QString prefix;
  QString suffix;
  QString insert;
  qint32 insertAt = 0;

  bool digitOn = false;
  qint32 digitAs = 0;
  qint32 digitAt = 0;
  qint32 startingIndex = 0;
  qint32 increment = 0;
  qint32 digits = 0; // minimum width, 0 for none

  bool removeOn = false;
  qint32 firstN = 0;
  qint32 lastN = 0;
  qint32 from = 0;
  qint32 to = 0;
  QString chars;
  QString words;

  bool caseOn = false;
  qint32 caseMode = 0;

  bool lowerCaseExtensionOn = false;

  static RenameRules fromSetting(const BatchRenameSetting &setting);
  // Only the taken date needs the photo's file to be opened.
  bool needsTakenDate() const { return renamingMode != 0 && dateOn && dateType == 0; }
};

// What the engine reads of one photo. takenDate is asked only when the taken-date stamp is
// in force; it returns the capture date, or an invalid date when the photo has none.
struct RenameSubject {
  QString fileName; // with its extension
  QString fileExtension;
  QString filePath;
  QDateTime fileCreationDate;
  QDateTime fileModifiedDate;
  std::function<QDateTime()> takenDate;
};

// The new-name engine: the new file name (base, ".", extension) of a photo at its position
// in the batch. It builds a string only; it touches no file except through takenDate.
class RenameEngine {
public:
  // formats is the supported-format list (index 0 "Keep original format").
  RenameEngine(const RenameRules &rules, const QStringList &formats);
  RenameEngine(const BatchRenameSetting &setting, const QStringList &formats);

  QString getUpdatedRenameStringForPhotoFile(const PhotoFile &photo, quint32 index);
  QString newName(const RenameSubject &subject, quint32 index);

  // The last photo computed is a RAW or other format the writer cannot produce, so "Keep
  // original format" writes it as png. Cleared at the start of every call.
  bool isRawFormatExist = false;

  const RenameRules &rules() const { return rules_; }

  // The date pattern of a "Format" value: date pattern, and the time pattern after one
  // blank; empty for a value outside 0-8.
  static QString datePatternForFormat(qint32 format);
  // The date text the stamp uses: the pattern in the current locale and time zone.
  static QString dateText(const QDateTime &date, const QString &pattern);
  // First letter of each blank-separated word upper case, the other letters lower case.
  static QString titleCase(const QString &text);
  // Every occurrence of word removed, scanning left to right without overlaps.
  static QString removeWords(const QString &text, const QString &word);
  // Every character (code point) that chars contains removed.
  static QString removeCharacters(const QString &text, const QString &chars);
  static QString removeCharacters(const QString &text, const QList<uint> &codePoints);
  // Halves of surrogate pairs that lost their partner (a cut between them) removed, so the
  // name encodes to valid UTF-8.
  static QString dropLoneSurrogates(const QString &text);

  static const QString kRawFormatNote;

private:
  QString extensionFor(const QString &fileExtension);
  QString stampText(const RenameSubject &subject);
  QString cachedDateText(const QDateTime &date);

  RenameRules rules_;
  QStringList formats_;
  QList<uint> removedCharacters_; // the code points of "Chars", read once
  // The folder name of the last photo's folder: a batch comes folder by folder. The prefix
  // is that photo's path up to and with its last "/".
  QString lastFolderPrefix_;
  QString lastFolderName_;
  QString datePattern_;
  // The stamp is a date part and an optional time part that read separate fields (day,
  // month, week-year; hour, minute, second), so each part's text is made once per local day
  // or second of the day and reused.
  QString dayPattern_;
  QString timePattern_;
  QDate cachedDay_;
  QString cachedDayText_;
  // Every day's text made so far: photos of a few days in any order format each day once.
  QHash<QDate, QString> dayTexts_;
  QHash<int, QString> timeTexts_;
  // The time part's fields between ":" ("hh", "mm", "s") with the texts made so far by the
  // value of the clock reading each one shows (unit 0 hour, 1 minute, 2 second).
  struct TimeField {
    QString pattern;
    int unit = 0;
    QHash<int, QString> texts;
  };
  QList<TimeField> timeFields_;
};

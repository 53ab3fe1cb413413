#include "app/AppDelegate.h"
#include "platform/Preferences.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"
#include "rename/RenameEngine.h"
#include "rename/RenameSettingsEditor.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

#include <functional>

namespace {

const QStringList kFormats = {QStringLiteral("Keep original format"),
                              QStringLiteral("tif"),
                              QStringLiteral("bmp"),
                              QStringLiteral("gif"),
                              QStringLiteral("jpg"),
                              QStringLiteral("jpeg"),
                              QStringLiteral("png"),
                              QStringLiteral("jp2"),
                              QStringLiteral("pdf")};

QDateTime utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
}

// A setting from the defaults file with the given changes: mode 1 unless a row sets it.
using Edit = std::function<void(BatchRenameSetting &)>;

void rule(QVariantMap &dict, std::initializer_list<std::pair<const char *, QVariant>> values) {
  dict.insert(RuleKey::State, true);
  for (const auto &[key, value] : values)
    dict.insert(QString::fromLatin1(key), value);
}

struct EngineRow {
  EngineRow(const char *name, Edit edit, QString fileName, QString expected, quint32 index = 0,
            bool raw = false, QDateTime modified = utc(2024, 3, 14, 21, 5, 7), QDateTime taken = {})
      : name(name), edit(std::move(edit)), fileName(std::move(fileName)),
        expected(std::move(expected)), index(index), raw(raw), modified(std::move(modified)),
        taken(std::move(taken)) {}
  const char *name;
  Edit edit;
  QString fileName;
  QString expected;
  quint32 index;
  bool raw;
  QDateTime modified;
  QDateTime taken; // invalid: the photo has no capture date
};

std::ostream &operator<<(std::ostream &os, const EngineRow &row) {
  return os << row.name;
}

QString runEngine(const EngineRow &row, bool *raw = nullptr) {
  std::shared_ptr<BatchRenameSetting> s =
      BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  s->flagRenamingMode = 1;
  if (row.edit)
    row.edit(*s);
  RenameEngine engine(*s, kFormats);
  RenameSubject subject;
  subject.fileName = row.fileName;
  subject.fileExtension = row.fileName.section(QLatin1Char('.'), -1);
  subject.filePath = QStringLiteral("/photos/Holiday 2024/") + row.fileName;
  subject.fileCreationDate = utc(2023, 1, 2, 3, 4, 5);
  subject.fileModifiedDate = row.modified;
  const QDateTime taken = row.taken;
  subject.takenDate = [taken] { return taken; };
  const QString name = engine.newName(subject, row.index);
  if (raw)
    *raw = engine.isRawFormatExist;
  return name;
}

class EngineRows : public ::testing::TestWithParam<EngineRow> {};

TEST_P(EngineRows, GivesTheNewName) {
  bool raw = false;
  EXPECT_EQ(runEngine(GetParam(), &raw), GetParam().expected);
  EXPECT_EQ(raw, GetParam().raw);
  // Whatever the rules cut, the name encodes to UTF-8 and back unchanged.
  const QString name = runEngine(GetParam());
  EXPECT_EQ(QString::fromUtf8(name.toUtf8()), name);
}

const Edit keepNames = [](BatchRenameSetting &s) { s.flagRenamingMode = 0; };

INSTANTIATE_TEST_SUITE_P(
    Extension, EngineRows,
    ::testing::Values(
        EngineRow{"RawKeepsOriginalAsPng", keepNames, "IMG_1.CR2", "IMG_1.png", 0, true},
        EngineRow{"KnownExtensionKeepsItsSpelling", keepNames, "a.JPG", "a.JPG"},
        EngineRow{"KeepNamesWithFormat",
                  [](BatchRenameSetting &s) {
                    s.flagRenamingMode = 0;
                    s.outputFormat = 6;
                  },
                  "Summer.JPG", "Summer.png"},
        EngineRow{"FormatOutsideListKeepsOriginal",
                  [](BatchRenameSetting &s) {
                    s.flagRenamingMode = 0;
                    s.outputFormat = 12;
                  },
                  "a.tif", "a.tif"},
        EngineRow{"ModifyUpperCasesExtension", nullptr, "a.jpg", "a.JPG"},
        EngineRow{"ModifyLowerCaseRule",
                  [](BatchRenameSetting &s) { rule(s.dictUseLowerCaseForFileExtension, {}); },
                  "a.JPG", "a.jpg"},
        EngineRow{"ModifyFormatJpg", [](BatchRenameSetting &s) { s.outputFormat = 4; }, "a.png",
                  "a.JPG"},
        EngineRow{"ModifyFormatJpgLower",
                  [](BatchRenameSetting &s) {
                    s.outputFormat = 4;
                    rule(s.dictUseLowerCaseForFileExtension, {});
                  },
                  "a.png", "a.jpg"},
        EngineRow{"ModifyRawIsPngUpper", nullptr, "IMG_2.NEF", "IMG_2.PNG", 0, true},
        EngineRow{"FormatAsTextReadsLeadingInteger",
                  [](BatchRenameSetting &s) { s.outputFormat = QStringLiteral("6abc"); }, "a.jpg",
                  "a.PNG"}));

const Edit digits135 = [](BatchRenameSetting &s) {
  rule(s.dictAddDigit, {{"As", 1}, {"Starting Index", 1}, {"Increment", 2}});
};

INSTANTIATE_TEST_SUITE_P(
    Number, EngineRows,
    ::testing::Values(
        EngineRow{"First", digits135, "name.jpg", "name1.JPG", 0},
        EngineRow{"Second", digits135, "name.jpg", "name3.JPG", 1},
        EngineRow{"Third", digits135, "name.jpg", "name5.JPG", 2},
        EngineRow{"Prefix",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddDigit, {{"As", 0}, {"Starting Index", 7}, {"Increment", 1}});
                  },
                  "name.jpg", "7name.JPG"},
        EngineRow{"InsertNegativePositionAddsNothing",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddDigit,
                         {{"As", 2}, {"At Position", -1}, {"Starting Index", 1}, {"Increment", 1}});
                  },
                  "hello.jpg", "hello.JPG"},
        EngineRow{"InsertBeyondEndAppends",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddDigit,
                         {{"As", 2}, {"At Position", 99}, {"Starting Index", 1}, {"Increment", 1}});
                  },
                  "hello.jpg", "hello1.JPG"},
        EngineRow{"InsertInside",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddDigit,
                         {{"As", 2}, {"At Position", 2}, {"Starting Index", 0}, {"Increment", 1}});
                  },
                  "hello.jpg", "he4llo.JPG", 4},
        EngineRow{"UnknownAsAddsNothing",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddDigit, {{"As", 3}});
                  },
                  "a.jpg", "a.JPG"},
        EngineRow{"NegativeNumber",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddDigit, {{"As", 1}, {"Starting Index", -3}, {"Increment", 1}});
                  },
                  "a.jpg", "a-3.JPG"},
        EngineRow{
            "WrapsIn32Bits",
            [](BatchRenameSetting &s) {
              rule(s.dictAddDigit, {{"As", 1}, {"Starting Index", 2147483647}, {"Increment", 1}});
            },
            "a.jpg", "a-2147483648.JPG", 1},
        EngineRow{"LargeIndexTimesIncrementWraps",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddDigit, {{"As", 1}, {"Starting Index", 0}, {"Increment", 9999}});
                  },
                  "a.jpg", "a316124913.JPG", 999999999u}));

INSTANTIATE_TEST_SUITE_P(
    Strings, EngineRows,
    ::testing::Values(
        EngineRow{"PrefixSuffixInsert",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddString,
                         {{"Prefix", "x"}, {"Suffix", "y"}, {"Insert", "z"}, {"At Position", 1}});
                  },
                  "abc.jpg", "xzabcy.JPG"},
        EngineRow{"InsertNegativeClampsToFront",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddString, {{"Insert", "z"}, {"At Position", -5}});
                  },
                  "abc.jpg", "zabc.JPG"},
        EngineRow{"InsertBeyondEndAppends",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAddString, {{"Insert", "z"}, {"At Position", 99}});
                  },
                  "abc.jpg", "abcz.JPG"},
        EngineRow{"ReplaceName",
                  [](BatchRenameSetting &s) {
                    rule(s.dictReplaceFileName, {{"New Name", "Trip"}});
                  },
                  "IMG_1.jpg", "Trip.JPG"},
        EngineRow{"ReplaceEmptyIsBlank",
                  [](BatchRenameSetting &s) {
                    rule(s.dictReplaceFileName, {{"New Name", ""}});
                  },
                  "photo.JPG", ".JPG"},
        EngineRow{"FolderPrefix",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAppendFolderName, {{"As", 0}});
                  },
                  "a.jpg", "Holiday 2024a.JPG"},
        EngineRow{"FolderSuffix",
                  [](BatchRenameSetting &s) {
                    rule(s.dictAppendFolderName, {{"As", 1}});
                  },
                  "a.jpg", "aHoliday 2024.JPG"},
        EngineRow{"RulesApplyInFixedOrder",
                  [](BatchRenameSetting &s) {
                    rule(s.dictChangeCaseFileName, {{"Case Mode", 0}});
                    rule(s.dictRemove, {{"First n", 1}});
                    rule(s.dictAddDigit, {{"As", 0}, {"Starting Index", 5}, {"Increment", 1}});
                    rule(s.dictAddString, {{"Prefix", "p"}});
                    rule(s.dictReplaceFileName, {{"New Name", "new"}});
                  },
                  "old.jpg", "PNEW.JPG"}));

INSTANTIATE_TEST_SUITE_P(
    Removal, EngineRows,
    ::testing::Values(EngineRow{"FromTo",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"From", 2}, {"To", 4}});
                                },
                                "abcdef.jpg", "abef.JPG"},
                      EngineRow{"FromAfterToRemovesNothing",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"From", 4}, {"To", 2}});
                                },
                                "abcdef.jpg", "abcdef.JPG"},
                      EngineRow{"ToBeyondEndClamps",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"From", -3}, {"To", 99}});
                                },
                                "abcdef.jpg", ".JPG"},
                      EngineRow{"FirstAndLast",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"First n", 2}, {"Last n", 2}});
                                },
                                "abcdef.jpg", "cd.JPG"},
                      EngineRow{"FirstBeyondLengthEmptiesTheName",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"First n", 99}});
                                },
                                "abcdef.jpg", ".JPG"},
                      EngineRow{"NegativeCountsRemoveNothing",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"First n", -2}, {"Last n", -9}});
                                },
                                "abc.jpg", "abc.JPG"},
                      EngineRow{"OrderFirstThenRange",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"First n", 1}, {"From", 0}, {"To", 1}});
                                },
                                "abc.jpg", "c.JPG"},
                      EngineRow{"Chars",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"Chars", "_-"}});
                                },
                                "a_b-c_d.jpg", "abcd.JPG"},
                      EngineRow{"WordsLeftToRightNoOverlap",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"Words", "aa"}});
                                },
                                "aaab.jpg", "ab.JPG"},
                      EngineRow{"WordsSinglePass",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"Words", "ab"}});
                                },
                                "aabb.jpg", "ab.JPG"},
                      EngineRow{"WordsMatchCase",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"Words", "img"}});
                                },
                                "IMG_img.jpg", "IMG_.JPG"},
                      EngineRow{"OnlyRemovedCharacters",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"Chars", "ab"}});
                                },
                                "abba.jpg", ".JPG"},
                      EngineRow{"CutInsideEmojiDropsTheHalf",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"First n", 2}});
                                },
                                QStringLiteral("a\U0001F600b.jpg"), "b.JPG"},
                      EngineRow{"InsertInsideEmojiDropsBothHalves",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictAddString, {{"Insert", "x"}, {"At Position", 1}});
                                },
                                QStringLiteral("\U0001F600.jpg"), "x.JPG"},
                      EngineRow{"CharsRemoveWholeEmojiOnly",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"Chars", QStringLiteral("\U0001F600")}});
                                },
                                QStringLiteral("\U0001F600\U0001F601.jpg"),
                                QStringLiteral("\U0001F601.JPG")},
                      EngineRow{"CombiningMarkCountsAsAUnit",
                                [](BatchRenameSetting &s) {
                                  rule(s.dictRemove, {{"Last n", 1}});
                                },
                                QStringLiteral("cafe\u0301.jpg"), "cafe.JPG"}));

const auto caseMode = [](int mode) {
  return Edit([mode](BatchRenameSetting &s) {
    rule(s.dictChangeCaseFileName, {{"Case Mode", mode}});
  });
};

INSTANTIATE_TEST_SUITE_P(
    Case, EngineRows,
    ::testing::Values(
        EngineRow{"Upper", caseMode(0), "dsc_0042a.jpg", "DSC_0042A.JPG"},
        EngineRow{"Lower", caseMode(1), "DSC_0042A.JPG", "dsc_0042a.JPG"},
        EngineRow{"TitleUnderscoreIsNotABreak", caseMode(2), "dsc_0042a.jpg", "Dsc_0042a.JPG"},
        EngineRow{"TitleDigitFirst", caseMode(2), "1st-day.jpg", "1st-day.JPG"},
        EngineRow{"TitleApostrophe", caseMode(2), "o'neil.jpg", "O'neil.JPG"},
        EngineRow{"TitleBlanks", caseMode(2), "hELLO  wORLD\tagain.jpg", "Hello  World\tAgain.JPG"},
        EngineRow{"TitleAccents", caseMode(2), QStringLiteral("\u00e9T\u00c9.jpg"),
                  QStringLiteral("\u00c9t\u00e9.JPG")},
        EngineRow{"UpperKeepsCombiningMark", caseMode(0), QStringLiteral("cafe\u0301.jpg"),
                  QStringLiteral("CAFE\u0301.JPG")},
        EngineRow{"UnknownModeLeavesIt", caseMode(7), "MiXed.jpg", "MiXed.JPG"}));

const auto dateRule = [](int type, int format, int as = 0, const char *custom = "") {
  return Edit([=](BatchRenameSetting &s) {
    rule(s.dictDateTimeStamp, {{"Type", type}, {"Format", format}, {"As", as}, {"Custom", custom}});
  });
};

INSTANTIATE_TEST_SUITE_P(
    Date, EngineRows,
    ::testing::Values(
        EngineRow{"ModifiedDmy", dateRule(1, 0), "a.jpg", "14032024a.JPG"},
        EngineRow{"ModifiedSuffixWithTime", dateRule(1, 2, 1), "a.jpg", "a14032024 09:05:7.JPG"},
        EngineRow{"DashesWithMinutes", dateRule(1, 4), "a.jpg", "14-03-2024 09:05a.JPG"},
        EngineRow{"MonthFirst", dateRule(1, 8), "a.jpg", "03-14-2024 09:05:7a.JPG"},
        EngineRow{"WeekYearOn31December", dateRule(1, 3), "a.jpg", "31-12-2025a.JPG", 0, false,
                  utc(2024, 12, 31, 12)},
        EngineRow{"CalendarYearEarlyDecember", dateRule(1, 3), "a.jpg", "02-12-2024a.JPG", 0, false,
                  utc(2024, 12, 2, 12)},
        EngineRow{"FormatOutsideTableIsEmpty", dateRule(1, 9), "a.jpg", "a.JPG"},
        EngineRow{"CustomText", dateRule(3, 0, 1, "_trip"), "a.jpg", "a_trip.JPG"},
        EngineRow{"CustomEmptyAddsNothing", dateRule(3, 0), "a.jpg", "a.JPG"},
        EngineRow{"UnknownTypeIsEmpty", dateRule(5, 0), "a.jpg", "a.JPG"},
        EngineRow{"TakenFallsBackToCreation", dateRule(0, 3), "a.jpg", "02-01-2023a.JPG"},
        EngineRow{"TakenFromCapture", dateRule(0, 5), "a.jpg", "17-08-2006 09:24:48a.JPG", 0, false,
                  utc(2024, 1, 1), utc(2006, 8, 17, 9, 24, 48)}));

TEST(Engine, CurrentDateIsTakenForEveryPhoto) {
  std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
  s->flagRenamingMode = 1;
  rule(s->dictDateTimeStamp, {{"Type", 2}, {"Format", 0}});
  RenameEngine engine(*s, kFormats);
  RenameSubject subject;
  subject.fileName = QStringLiteral("a.jpg");
  subject.fileExtension = QStringLiteral("jpg");
  const QString expected =
      RenameEngine::dateText(QDateTime::currentDateTime(), QStringLiteral("ddMMYYYY"));
  EXPECT_EQ(engine.newName(subject, 0), expected + QStringLiteral("a.JPG"));
}

TEST(Engine, RawFlagTellsAboutTheLastPhoto) {
  std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
  RenameEngine engine(*s, kFormats);
  RenameSubject raw{QStringLiteral("a.CR2"), QStringLiteral("CR2"), {}, {}, {}, {}};
  RenameSubject jpg{QStringLiteral("b.jpg"), QStringLiteral("jpg"), {}, {}, {}, {}};
  engine.newName(raw, 0);
  EXPECT_TRUE(engine.isRawFormatExist);
  engine.newName(jpg, 1);
  EXPECT_FALSE(engine.isRawFormatExist);
}

TEST(Engine, TakenDateIsReadOnlyForTheTakenStamp) {
  int reads = 0;
  RenameSubject subject{QStringLiteral("a.jpg"), QStringLiteral("jpg"), {}, {}, {}, [&reads] {
                          ++reads;
                          return QDateTime();
                        }};
  for (int type : {1, 2, 3}) {
    std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
    s->flagRenamingMode = 1;
    rule(s->dictDateTimeStamp, {{"Type", type}});
    RenameEngine(*s, kFormats).newName(subject, 0);
  }
  EXPECT_EQ(reads, 0);
}

// --- Settings record ---

TEST(RenameSetting, EmptyDictionaryKeepsNamesWithOriginalFormat) {
  std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
  EXPECT_EQ(s->renamingMode(), 0);
  EXPECT_EQ(s->outputFormatIndex(), 0);
  const RenameRules r = RenameRules::fromSetting(*s);
  EXPECT_FALSE(r.replaceOn || r.dateOn || r.folderOn || r.addStringOn || r.digitOn || r.removeOn ||
               r.caseOn || r.lowerCaseExtensionOn);
  EXPECT_FALSE(s->dateString.isEmpty());
}

TEST(RenameSetting, DefaultsFileHoldsEveryKey) {
  const QVariantMap d = BatchRenameSetting::defaultsDictionary();
  for (const char *key : {"Rename Mode", "Set Compression", "Set Quality", "Output Format",
                          "Compression Ratio", "Quality Ratio"})
    EXPECT_TRUE(d.contains(QString::fromLatin1(key))) << key;
  const QMap<QString, QStringList> rules = {
      {"Replace Filename", {"State", "New Name"}},
      {"Date/Time Stamp", {"State", "As", "Type", "Format", "Custom"}},
      {"Append Folder Name", {"State", "As"}},
      {"Add String", {"State", "Prefix", "Suffix", "Insert", "At Position"}},
      {"Add Digit", {"State", "As", "At Position", "Starting Index", "Increment"}},
      {"Remove", {"State", "First n", "Last n", "From", "To", "Chars", "Words"}},
      {"Change Case File Name", {"State", "Case Mode"}},
      {"Lower Case File Extension", {"State"}}};
  for (auto it = rules.cbegin(); it != rules.cend(); ++it) {
    const QVariantMap dict = d.value(it.key()).toMap();
    EXPECT_EQ(dict.keys().size(), it.value().size()) << it.key().toStdString();
    for (const QString &key : it.value())
      EXPECT_TRUE(dict.contains(key)) << it.key().toStdString() << " " << key.toStdString();
    EXPECT_FALSE(BoxedValue::boolValue(dict, RuleKey::State)) << it.key().toStdString();
  }
  EXPECT_EQ(d.size(), 14);
  std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary(d);
  EXPECT_DOUBLE_EQ(s->quality(), 0.82);
  EXPECT_EQ(s->renamingMode(), 0);
}

TEST(RenameSetting, ArchiveRoundTripRestoresAllFifteenFields) {
  std::shared_ptr<BatchRenameSetting> s =
      BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  s->dateString = QStringLiteral("Mar-14-2024 09:05:7 PM");
  s->isSetCompression = true;
  s->isSetQuality = false;
  s->flagRenamingMode = 1;
  s->outputFormat = 7;
  s->compressionRatio = 3;
  s->qualityRatio = 0.85;
  rule(s->dictReplaceFileName, {{"New Name", QStringLiteral("Caf\u00e9 \U0001F600")}});
  rule(s->dictDateTimeStamp, {{"Type", 2}, {"Format", 8}});
  rule(s->dictAppendFolderName, {{"As", 1}});
  rule(s->dictAddString, {{"Prefix", "<&>"}, {"At Position", -4}});
  rule(s->dictAddDigit, {{"Starting Index", -2147483647 - 1}});
  rule(s->dictRemove, {{"Words", "  two  blanks  "}});
  rule(s->dictChangeCaseFileName, {{"Case Mode", 2}});
  rule(s->dictUseLowerCaseForFileExtension, {});

  const QByteArray archive = s->encodeWithCoder();
  const char *order[] = {
      "dateString",           "Set Compression",        "Set Quality",
      "flagRenamingMode",     "outputFormat",           "compressionRatio",
      "qualityRatio",         "dictReplaceFileName",    "dictDateTimeStamp",
      "dictAppendFolderName", "dictAddString",          "dictAddDigit",
      "dictRemove",           "dictChangeCaseFileName", "dictUseLowerCaseForFileExtension"};
  qsizetype last = -1;
  for (const char *key : order) {
    const qsizetype at = archive.indexOf(QByteArray("<key>") + key + "</key>");
    EXPECT_GT(at, last) << key;
    last = at;
  }
  EXPECT_EQ(archive.indexOf("isSetCompression"), -1);

  QString error;
  std::shared_ptr<BatchRenameSetting> back = BatchRenameSetting::initWithCoder(archive, &error);
  ASSERT_TRUE(back) << error.toStdString();
  EXPECT_EQ(back->dateString, s->dateString);
  EXPECT_TRUE(back->setCompression());
  EXPECT_FALSE(back->setQuality());
  EXPECT_EQ(back->renamingMode(), 1);
  EXPECT_EQ(back->outputFormatIndex(), 7);
  EXPECT_EQ(back->compression(), 3);
  EXPECT_DOUBLE_EQ(back->quality(), 0.85);
  EXPECT_EQ(back->dictionaryRepresentation(), s->dictionaryRepresentation());
}

TEST(RenameSetting, ArchiveThatIsNotAPlistIsRefused) {
  QString error;
  EXPECT_FALSE(BatchRenameSetting::initWithCoder("not a plist", &error));
  EXPECT_FALSE(error.isEmpty());
}

TEST(RenameSetting, SaveStoresTheArchiveInThePreferences) {
  std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
  s->outputFormat = 5;
  s->dateString.clear();
  s->saveUpdatedRenameSettingsInDefault();
  EXPECT_FALSE(s->dateString.isEmpty());
  std::shared_ptr<BatchRenameSetting> back = BatchRenameSetting::initWithCoder(
      platform::Preferences::dataValue(QStringLiteral("BATCH_RENAME_SETTING_OBJECT")));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->outputFormatIndex(), 5);
}

TEST(RenameSetting, DateStringPattern) {
  // "MMM-dd-yyyy hh:mm:s a": e.g. "Mar-14-2024 09:05:7 PM".
  EXPECT_TRUE(QRegularExpression(
                  QStringLiteral("^[A-Z][a-z]{2}-\\d\\d-\\d{4} \\d\\d:\\d\\d:\\d{1,2} (AM|PM)$"))
                  .match(BatchRenameSetting::currentDateString())
                  .hasMatch())
      << BatchRenameSetting::currentDateString().toStdString();
}

TEST(RenameSetting, DelegateSharesTheSettingUntilReset) {
  AppDelegate delegate;
  std::shared_ptr<BatchRenameSetting> first =
      BatchRenameSetting::readDefaultRenameSetting(&delegate);
  first->flagRenamingMode = 1;
  first->outputFormat = 4;
  EXPECT_EQ(BatchRenameSetting::readDefaultRenameSetting(&delegate), first);
  std::shared_ptr<BatchRenameSetting> fresh = BatchRenameSetting::resetAllSettings(&delegate);
  EXPECT_NE(fresh, first);
  EXPECT_EQ(fresh->renamingMode(), 0);
  EXPECT_EQ(fresh->outputFormatIndex(), 0);
  EXPECT_EQ(delegate.selectedRenameSettingObj, fresh);
}

// --- Boxed values: what a settings file's wrong types read as ---

struct BoxedRow {
  QVariant value;
  qint32 integer;
  bool boolean;
};

class BoxedRows : public ::testing::TestWithParam<BoxedRow> {};

TEST_P(BoxedRows, ReadAsTheOriginalBoxesDid) {
  EXPECT_EQ(BoxedValue::intValue(GetParam().value), GetParam().integer)
      << GetParam().value.toString().toStdString();
  EXPECT_EQ(BoxedValue::boolValue(GetParam().value), GetParam().boolean)
      << GetParam().value.toString().toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Values, BoxedRows,
    ::testing::Values(
        BoxedRow{QStringLiteral("12abc"), 12, true}, BoxedRow{QStringLiteral(" -3"), -3, true},
        BoxedRow{QStringLiteral("abc"), 0, false}, BoxedRow{QStringLiteral(""), 0, false},
        BoxedRow{QStringLiteral("Yes"), 0, true}, BoxedRow{QStringLiteral("true"), 0, true},
        BoxedRow{QStringLiteral("no"), 0, false}, BoxedRow{QStringLiteral("0"), 0, false},
        BoxedRow{QStringLiteral("  +007"), 7, true},
        BoxedRow{QStringLiteral("99999999999"), 2147483647, true},
        BoxedRow{QStringLiteral("-99999999999"), -2147483647 - 1, true},
        BoxedRow{QVariant(3.9), 3, true}, BoxedRow{QVariant(-3.9), -3, true},
        BoxedRow{QVariant(1e20), 2147483647, true},
        BoxedRow{QVariant(qlonglong(4294967297LL)), 1, true}, BoxedRow{QVariant(true), 1, true},
        BoxedRow{QVariant(), 0, false}, BoxedRow{QVariant(QVariantMap{{"a", 1}}), 0, false}));

TEST(BoxedValue, TextsAndDoubles) {
  EXPECT_EQ(BoxedValue::stringValue(QVariant(5)), QString());
  EXPECT_EQ(BoxedValue::stringValue(QVariant(QStringLiteral("x"))), QStringLiteral("x"));
  EXPECT_DOUBLE_EQ(BoxedValue::doubleValue(QVariant(QStringLiteral("0.85x"))), 0.85);
  EXPECT_DOUBLE_EQ(BoxedValue::doubleValue(QVariant(QStringLiteral("abc"))), 0.0);
  EXPECT_DOUBLE_EQ(BoxedValue::doubleValue(QVariant(7)), 7.0);
}

// --- Settings controls ---

struct EditorFixture : ::testing::Test {
  std::shared_ptr<BatchRenameSetting> s =
      BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  int rebuilds = 0;
  RenameSettingsEditor editor{s, kFormats, [this] { ++rebuilds; }};
};

TEST_F(EditorFixture, TextFieldsCutToTheirLimitsAndDropSlashes) {
  const QString pasted(200, QLatin1Char('n'));
  EXPECT_EQ(editor.textDidChange(RenameTextField::NewName, pasted).size(), 150);
  EXPECT_EQ(editor.textValue(RenameTextField::NewName).size(), 150);
  EXPECT_EQ(editor.textDidChange(RenameTextField::NewName, QStringLiteral("a/b/../c")),
            QStringLiteral("ab..c"));
  EXPECT_EQ(editor.textDidChange(RenameTextField::CustomDate, QString(30, QLatin1Char('d'))).size(),
            20);
  EXPECT_EQ(editor.textDidChange(RenameTextField::Prefix, QStringLiteral("/x/")),
            QStringLiteral("x"));
  // Characters and words to remove may hold a "/": removing one cannot add one.
  EXPECT_EQ(editor.textDidChange(RenameTextField::Chars, QStringLiteral("/_")),
            QStringLiteral("/_"));
  EXPECT_EQ(editor.textDidChange(RenameTextField::Words, QString(60, QLatin1Char('w'))).size(), 50);
  // A cut through an emoji leaves no half of it.
  const QString emoji = QString(49, QLatin1Char('e')) + QStringLiteral("\U0001F600");
  EXPECT_EQ(editor.textDidChange(RenameTextField::Suffix, emoji), QString(49, QLatin1Char('e')));
  EXPECT_EQ(rebuilds, 7);
}

struct FormatterRow {
  const char *text;
  bool accepted;
};
class IntegerFormatterRows : public ::testing::TestWithParam<FormatterRow> {};
TEST_P(IntegerFormatterRows, AcceptsOneIntegerOfAtMostFourCharacters) {
  OnlyIntegerValueFormatterWithZero formatter;
  EXPECT_EQ(formatter.isPartialStringValid(QString::fromUtf8(GetParam().text)), GetParam().accepted)
      << GetParam().text;
}
INSTANTIATE_TEST_SUITE_P(Texts, IntegerFormatterRows,
                         ::testing::Values(FormatterRow{"", true}, FormatterRow{"1234", true},
                                           FormatterRow{"12345", false}, FormatterRow{"9999", true},
                                           FormatterRow{"1a", false}, FormatterRow{"-1", true},
                                           FormatterRow{"-", true}, FormatterRow{" 12", true},
                                           FormatterRow{"  ", false}, FormatterRow{"1 2", false},
                                           FormatterRow{"1.5", false}, FormatterRow{"--1", false},
                                           FormatterRow{"-999", true},
                                           FormatterRow{"-9999", false}));

TEST_F(EditorFixture, IntegerFieldsStoreTheirValue) {
  editor.integerFieldDidChange(RenameIntegerField::From, QStringLiteral("-12"));
  EXPECT_EQ(BoxedValue::intValue(s->dictRemove, RuleKey::From), -12);
  editor.integerFieldDidChange(RenameIntegerField::StartingIndex, QString());
  EXPECT_EQ(s->dictAddDigit.value(RuleKey::StartingIndex), QVariant(0));
  editor.integerFieldDidChange(RenameIntegerField::DigitPosition, QStringLiteral(" 7"));
  EXPECT_EQ(editor.integerValue(RenameIntegerField::DigitPosition), 7);
}

TEST_F(EditorFixture, SlidersStoreAndLabel) {
  EXPECT_EQ(editor.qualitySliderChanged(0.85), QStringLiteral("85"));
  EXPECT_DOUBLE_EQ(s->qualityRatio.toDouble(), 0.85);
  EXPECT_EQ(editor.compressionSliderChanged(7.8), QStringLiteral("7"));
  EXPECT_EQ(s->compressionRatio, QVariant(7));
  editor.setQualityBox(true);
  EXPECT_TRUE(s->setQuality());
}

TEST(RenameSettingsEditor, FormatChoosesTheSliderPanel) {
  const SliderPanel expected[] = {
      SliderPanel::None,        SliderPanel::Compression, SliderPanel::Compression,
      SliderPanel::Compression, SliderPanel::Quality,     SliderPanel::Quality,
      SliderPanel::Compression, SliderPanel::Quality,     SliderPanel::Compression};
  for (int format = 0; format < 9; ++format)
    EXPECT_EQ(RenameSettingsEditor::panelForOutputFormat(format), expected[format]) << format;
  EXPECT_EQ(RenameSettingsEditor::panelForOutputFormat(12), SliderPanel::None);
}

TEST_F(EditorFixture, OptionListsWriteTheirKeys) {
  EXPECT_EQ(editor.chooseOption(OptionDateFormat, 5), QStringLiteral("DD-MM-YYYY HH:MM:SS"));
  EXPECT_EQ(s->dictDateTimeStamp.value(RuleKey::Format), QVariant(5));
  EXPECT_EQ(editor.chooseOption(OptionCaseMode, 2), QStringLiteral("Title case"));
  EXPECT_EQ(editor.chooseOption(OptionDigitAs, 2), QStringLiteral("Insert"));
  EXPECT_EQ(editor.chooseOption(OptionDateType, 3), QStringLiteral("Custom"));
  EXPECT_EQ(editor.chooseOption(OptionOutputFormat, 4), QStringLiteral("jpg"));
  EXPECT_EQ(editor.visibleSliderPanel(), SliderPanel::Quality);
  EXPECT_EQ(editor.chooseOption(OptionFolderAs, 2), QString()); // no third entry
  EXPECT_EQ(editor.selectedOptionText(OptionDigitAs), QStringLiteral("Insert"));
  EXPECT_EQ(rebuilds, 5);
}

TEST_F(EditorFixture, ModeAndRuleBoxes) {
  editor.btnRenameModeTapped(1);
  EXPECT_TRUE(editor.isRulePanelVisible());
  editor.setRuleState(RenameRule::Remove, true);
  EXPECT_TRUE(editor.ruleState(RenameRule::Remove));
  // Other keys of the rule survive the copy.
  EXPECT_TRUE(s->dictRemove.contains(RuleKey::Words));
  editor.btnRenameModeTapped(0);
  EXPECT_FALSE(editor.isRulePanelVisible());
  EXPECT_EQ(rebuilds, 3);
}

TEST(RenameSettingsEditor, SanitizeAppliesTheFieldRulesToFiles) {
  std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
  s->dictReplaceFileName = {{"State", true}, {"New Name", "../../etc/" + QString(200, 'x')}};
  s->dictAddString = {{"Prefix", "a/b"}, {"Insert", 5}};
  s->dictRemove = {{"Chars", "/"}};
  RenameSettingsEditor::sanitizeSetting(*s);
  EXPECT_EQ(s->dictReplaceFileName.value("New Name").toString(),
            QString("....etc") + QString(143, 'x'));
  EXPECT_EQ(s->dictAddString.value("Prefix").toString(), QStringLiteral("ab"));
  EXPECT_EQ(s->dictAddString.value("Insert"), QVariant(5));
  EXPECT_EQ(s->dictRemove.value("Chars").toString(), QStringLiteral("/"));
}

TEST(RenameSettingsEditor, BatchLine) {
  EXPECT_EQ(RenameSettingsEditor::batchLineText(3, 6000000),
            QStringLiteral("Total Images: 3  |  Total Size: 6.00 MB"));
}

} // namespace

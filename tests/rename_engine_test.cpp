#include "platform/Preferences.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"
#include "rename/RenameEngine.h"
#include "rename/RenameSettingsEditor.h"
#include "tests/support/TestEnv.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

#include <functional>

namespace {

const QStringList kFormats =
    QStringLiteral("Keep original format,tif,bmp,gif,jpg,jpeg,png,jp2,pdf").split(QLatin1Char(','));

QDateTime utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
}

// A setting from the defaults file with the given changes: mode 1 unless a row sets it.
using Edit = std::function<void(BatchRenameSetting &)>;
using Values = std::vector<std::pair<const char *, QVariant>>;

void rule(QVariantMap &dict, const Values &values) {
  dict.insert(RuleKey::State, true);
  for (const auto &[key, value] : values)
    dict.insert(QString::fromLatin1(key), value);
}

// One rule switched on with the given values.
Edit on(QVariantMap BatchRenameSetting::*dict, Values values = {}) {
  return [dict, values](BatchRenameSetting &s) { rule(s.*dict, values); };
}
Edit format(QVariant outputFormat, int mode = 1, bool lowerExtension = false) {
  return [=](BatchRenameSetting &s) {
    s.flagRenamingMode = mode;
    s.outputFormat = outputFormat;
    if (lowerExtension)
      rule(s.dictUseLowerCaseForFileExtension, {});
  };
}
constexpr auto kReplace = &BatchRenameSetting::dictReplaceFileName;
constexpr auto kDate = &BatchRenameSetting::dictDateTimeStamp;
constexpr auto kFolder = &BatchRenameSetting::dictAppendFolderName;
constexpr auto kString = &BatchRenameSetting::dictAddString;
constexpr auto kDigit = &BatchRenameSetting::dictAddDigit;
constexpr auto kRemove = &BatchRenameSetting::dictRemove;
constexpr auto kCase = &BatchRenameSetting::dictChangeCaseFileName;
constexpr auto kLowerExt = &BatchRenameSetting::dictUseLowerCaseForFileExtension;

struct EngineRow {
  const char *name;
  Edit edit;
  QString fileName;
  QString expected;
  quint32 index = 0;
  bool raw = false;
  QDateTime modified = utc(2024, 3, 14, 21, 5, 7);
  QDateTime taken = {}; // invalid: the photo has no capture date
};

std::ostream &operator<<(std::ostream &os, const EngineRow &row) {
  return os << row.name;
}

std::string rowName(const ::testing::TestParamInfo<EngineRow> &info) {
  return info.param.name;
}

RenameSubject subjectFor(const QString &fileName) {
  return {fileName, fileName.section(QLatin1Char('.'), -1), {}, {}, {}, {}};
}

class EngineRows : public ::testing::TestWithParam<EngineRow> {};

TEST_P(EngineRows, GivesTheNewName) {
  const EngineRow &row = GetParam();
  std::shared_ptr<BatchRenameSetting> s =
      BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary());
  s->flagRenamingMode = 1;
  if (row.edit)
    row.edit(*s);
  RenameEngine engine(*s, kFormats);
  RenameSubject subject = subjectFor(row.fileName);
  subject.filePath = QStringLiteral("/photos/Holiday 2024/") + row.fileName;
  subject.fileCreationDate = utc(2023, 1, 2, 3, 4, 5);
  subject.fileModifiedDate = row.modified;
  subject.takenDate = [taken = row.taken] { return taken; };
  const QString name = engine.newName(subject, row.index);
  EXPECT_EQ(name, row.expected);
  EXPECT_EQ(engine.isRawFormatExist, row.raw);
  // Whatever the rules cut, the name encodes to UTF-8 and back unchanged.
  EXPECT_EQ(QString::fromUtf8(name.toUtf8()), name);
}

const Edit keepNames = [](BatchRenameSetting &s) { s.flagRenamingMode = 0; };

INSTANTIATE_TEST_SUITE_P(
    Extension, EngineRows,
    ::testing::ValuesIn(std::vector<EngineRow>{
        {"RawKeepsOriginalAsPng", keepNames, "IMG_1.CR2", "IMG_1.png", 0, true},
        {"KnownExtensionKeepsItsSpelling", keepNames, "a.JPG", "a.JPG"},
        {"KeepNamesWithFormat", format(6, 0), "Summer.JPG", "Summer.png"},
        {"FormatOutsideListKeepsOriginal", format(12, 0), "a.tif", "a.tif"},
        {"ModifyUpperCasesExtension", nullptr, "a.jpg", "a.JPG"},
        {"ModifyLowerCaseRule", on(kLowerExt), "a.JPG", "a.jpg"},
        {"ModifyFormatJpg", format(4), "a.png", "a.JPG"},
        {"ModifyFormatJpgLower", format(4, 1, true), "a.png", "a.jpg"},
        {"ModifyRawIsPngUpper", nullptr, "IMG_2.NEF", "IMG_2.PNG", 0, true},
        {"FormatAsTextReadsLeadingInteger", format(QStringLiteral("6abc")), "a.jpg", "a.PNG"}}),
    rowName);

const Edit digits135 = on(kDigit, {{"As", 1}, {"Starting Index", 1}, {"Increment", 2}});
Edit insertDigit(int position, int start = 1) {
  return on(kDigit, {{"As", 2}, {"At Position", position}, {"Starting Index", start}});
}

INSTANTIATE_TEST_SUITE_P(
    Number, EngineRows,
    ::testing::ValuesIn(std::vector<EngineRow>{
        {"First", digits135, "name.jpg", "name1.JPG", 0},
        {"Second", digits135, "name.jpg", "name3.JPG", 1},
        {"Prefix", on(kDigit, {{"As", 0}, {"Starting Index", 7}}), "name.jpg", "7name.JPG"},
        {"InsertNegativePositionAddsNothing", insertDigit(-1), "hello.jpg", "hello.JPG"},
        {"InsertBeyondEndAppends", insertDigit(99), "hello.jpg", "hello1.JPG"},
        {"InsertInside", insertDigit(2, 0), "hello.jpg", "he4llo.JPG", 4},
        {"UnknownAsAddsNothing", on(kDigit, {{"As", 3}}), "a.jpg", "a.JPG"},
        {"NegativeNumber", on(kDigit, {{"As", 1}, {"Starting Index", -3}}), "a.jpg", "a-3.JPG"},
        {"WrapsIn32Bits", on(kDigit, {{"As", 1}, {"Starting Index", 2147483647}}), "a.jpg",
         "a-2147483648.JPG", 1},
        {"LargeIndexTimesIncrementWraps",
         on(kDigit, {{"As", 1}, {"Starting Index", 0}, {"Increment", 9999}}), "a.jpg",
         "a316124913.JPG", 999999999u}}),
    rowName);

const Edit xzy =
    on(kString, {{"Prefix", "x"}, {"Suffix", "y"}, {"Insert", "z"}, {"At Position", 1}});
const Edit everyRule = [](BatchRenameSetting &s) {
  rule(s.dictChangeCaseFileName, {{"Case Mode", 0}});
  rule(s.dictRemove, {{"First n", 1}});
  rule(s.dictAddDigit, {{"As", 0}, {"Starting Index", 5}, {"Increment", 1}});
  rule(s.dictAddString, {{"Prefix", "p"}});
  rule(s.dictReplaceFileName, {{"New Name", "new"}});
};

INSTANTIATE_TEST_SUITE_P(
    Strings, EngineRows,
    ::testing::ValuesIn(std::vector<EngineRow>{
        {"PrefixSuffixInsert", xzy, "abc.jpg", "xzabcy.JPG"},
        {"InsertNegativeClampsToFront", on(kString, {{"Insert", "z"}, {"At Position", -5}}),
         "abc.jpg", "zabc.JPG"},
        {"InsertBeyondEndAppends", on(kString, {{"Insert", "z"}, {"At Position", 99}}), "abc.jpg",
         "abcz.JPG"},
        {"ReplaceName", on(kReplace, {{"New Name", "Trip"}}), "IMG_1.jpg", "Trip.JPG"},
        {"ReplaceEmptyIsBlank", on(kReplace, {{"New Name", ""}}), "photo.JPG", ".JPG"},
        {"FolderPrefix", on(kFolder, {{"As", 0}}), "a.jpg", "Holiday 2024a.JPG"},
        {"FolderSuffix", on(kFolder, {{"As", 1}}), "a.jpg", "aHoliday 2024.JPG"},
        {"RulesApplyInFixedOrder", everyRule, "old.jpg", "PNEW.JPG"}}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Removal, EngineRows,
    ::testing::ValuesIn(std::vector<EngineRow>{
        {"FromTo", on(kRemove, {{"From", 2}, {"To", 4}}), "abcdef.jpg", "abef.JPG"},
        {"FromAfterToRemovesNothing", on(kRemove, {{"From", 4}, {"To", 2}}), "abcdef.jpg",
         "abcdef.JPG"},
        {"ToBeyondEndClamps", on(kRemove, {{"From", -3}, {"To", 99}}), "abcdef.jpg", ".JPG"},
        {"FirstAndLast", on(kRemove, {{"First n", 2}, {"Last n", 2}}), "abcdef.jpg", "cd.JPG"},
        {"FirstBeyondLengthEmptiesTheName", on(kRemove, {{"First n", 99}}), "abcdef.jpg", ".JPG"},
        {"NegativeCountsRemoveNothing", on(kRemove, {{"First n", -2}, {"Last n", -9}}), "abc.jpg",
         "abc.JPG"},
        {"OrderFirstThenRange", on(kRemove, {{"First n", 1}, {"From", 0}, {"To", 1}}), "abc.jpg",
         "c.JPG"},
        {"Chars", on(kRemove, {{"Chars", "_-"}}), "a_b-c_d.jpg", "abcd.JPG"},
        {"WordsLeftToRightNoOverlap", on(kRemove, {{"Words", "aa"}}), "aaab.jpg", "ab.JPG"},
        {"WordsSinglePass", on(kRemove, {{"Words", "ab"}}), "aabb.jpg", "ab.JPG"},
        {"WordsMatchCase", on(kRemove, {{"Words", "img"}}), "IMG_img.jpg", "IMG_.JPG"},
        {"OnlyRemovedCharacters", on(kRemove, {{"Chars", "ab"}}), "abba.jpg", ".JPG"},
        {"CutInsideEmojiDropsTheHalf", on(kRemove, {{"First n", 2}}),
         QStringLiteral("a\U0001F600b.jpg"), "b.JPG"},
        {"InsertInsideEmojiDropsBothHalves", on(kString, {{"Insert", "x"}, {"At Position", 1}}),
         QStringLiteral("\U0001F600.jpg"), "x.JPG"},
        {"CharsRemoveWholeEmojiOnly", on(kRemove, {{"Chars", QStringLiteral("\U0001F600")}}),
         QStringLiteral("\U0001F600\U0001F601.jpg"), QStringLiteral("\U0001F601.JPG")},
        {"CombiningMarkCountsAsAUnit", on(kRemove, {{"Last n", 1}}),
         QStringLiteral("cafe\u0301.jpg"), "cafe.JPG"}}),
    rowName);

Edit caseMode(int mode) {
  return on(kCase, {{"Case Mode", mode}});
}

INSTANTIATE_TEST_SUITE_P(
    Case, EngineRows,
    ::testing::ValuesIn(std::vector<EngineRow>{
        {"Upper", caseMode(0), "dsc_0042a.jpg", "DSC_0042A.JPG"},
        {"Lower", caseMode(1), "DSC_0042A.JPG", "dsc_0042a.JPG"},
        {"TitleUnderscoreIsNotABreak", caseMode(2), "dsc_0042a.jpg", "Dsc_0042a.JPG"},
        {"TitleDigitFirst", caseMode(2), "1st-day.jpg", "1st-day.JPG"},
        {"TitleApostrophe", caseMode(2), "o'neil.jpg", "O'neil.JPG"},
        {"TitleBlanks", caseMode(2), "hELLO  wORLD\tagain.jpg", "Hello  World\tAgain.JPG"},
        {"TitleAccents", caseMode(2), QStringLiteral("\u00e9T\u00c9.jpg"),
         QStringLiteral("\u00c9t\u00e9.JPG")},
        {"UpperKeepsCombiningMark", caseMode(0), QStringLiteral("cafe\u0301.jpg"),
         QStringLiteral("CAFE\u0301.JPG")},
        {"UnknownModeLeavesIt", caseMode(7), "MiXed.jpg", "MiXed.JPG"}}),
    rowName);

Edit dateRule(int type, int format, int as = 0, const char *custom = "") {
  return on(kDate, {{"Type", type}, {"Format", format}, {"As", as}, {"Custom", custom}});
}

INSTANTIATE_TEST_SUITE_P(
    Date, EngineRows,
    ::testing::ValuesIn(std::vector<EngineRow>{
        {"ModifiedDmy", dateRule(1, 0), "a.jpg", "14032024a.JPG"},
        {"ModifiedSuffixWithTime", dateRule(1, 2, 1), "a.jpg", "a14032024 09:05:7.JPG"},
        {"DashesWithMinutes", dateRule(1, 4), "a.jpg", "14-03-2024 09:05a.JPG"},
        {"MonthFirst", dateRule(1, 8), "a.jpg", "03-14-2024 09:05:7a.JPG"},
        {"WeekYearOn31December", dateRule(1, 3), "a.jpg", "31-12-2025a.JPG", 0, false,
         utc(2024, 12, 31, 12)},
        {"CalendarYearEarlyDecember", dateRule(1, 3), "a.jpg", "02-12-2024a.JPG", 0, false,
         utc(2024, 12, 2, 12)},
        {"FormatOutsideTableIsEmpty", dateRule(1, 9), "a.jpg", "a.JPG"},
        {"CustomText", dateRule(3, 0, 1, "_trip"), "a.jpg", "a_trip.JPG"},
        {"CustomEmptyAddsNothing", dateRule(3, 0), "a.jpg", "a.JPG"},
        {"UnknownTypeIsEmpty", dateRule(5, 0), "a.jpg", "a.JPG"},
        {"TakenFallsBackToCreation", dateRule(0, 3), "a.jpg", "02-01-2023a.JPG"},
        {"TakenFromCapture", dateRule(0, 5), "a.jpg", "17-08-2006 09:24:48a.JPG", 0, false,
         utc(2024, 1, 1), utc(2006, 8, 17, 9, 24, 48)}}),
    rowName);

// One engine over a long batch reuses the texts it has made; every stamp must still be the
// one the pattern gives for that photo alone (both clocks, every hour, minute and second).
TEST(Engine, StampsOfALongBatchMatchThePatternPhotoByPhoto) {
  for (int format : {2, 7}) {
    std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
    s->flagRenamingMode = 1;
    rule(s->dictReplaceFileName, {{"New Name", ""}});
    rule(s->dictDateTimeStamp, {{"Type", 1}, {"Format", format}});
    RenameEngine engine(*s, kFormats);
    const QString pattern = RenameEngine::datePatternForFormat(format);
    RenameSubject subject = subjectFor("a.jpg");
    for (int i = 0; i < 4000; ++i) {
      subject.fileModifiedDate = utc(2024, 3, 30).addSecs(qint64(i) * 97);
      ASSERT_EQ(engine.newName(subject, quint32(i)),
                RenameEngine::dateText(subject.fileModifiedDate, pattern) + ".JPG")
          << format << " " << i;
    }
  }
}

TEST(Engine, RawFlagTellsAboutTheLastPhoto) {
  std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
  RenameEngine engine(*s, kFormats);
  engine.newName(subjectFor("a.CR2"), 0);
  EXPECT_TRUE(engine.isRawFormatExist);
  engine.newName(subjectFor("b.jpg"), 1);
  EXPECT_FALSE(engine.isRawFormatExist);
}

// Only the taken stamp reads the capture date; the current-date stamp gives every photo today.
TEST(Engine, TakenDateIsReadOnlyForTheTakenStamp) {
  int reads = 0;
  RenameSubject subject = subjectFor("a.jpg");
  subject.takenDate = [&reads] {
    ++reads;
    return QDateTime();
  };
  for (int type : {1, 2, 3}) {
    std::shared_ptr<BatchRenameSetting> s = BatchRenameSetting::initWithDictionary({});
    s->flagRenamingMode = 1;
    rule(s->dictDateTimeStamp, {{"Type", type}, {"Format", 0}});
    const QString name = RenameEngine(*s, kFormats).newName(subject, 0);
    if (type == 2) {
      EXPECT_EQ(name, RenameEngine::dateText(QDateTime::currentDateTime(), "ddMMYYYY") + "a.JPG");
    }
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
  // The defaults file sets the quality the sliders start from.
  EXPECT_DOUBLE_EQ(
      BatchRenameSetting::initWithDictionary(BatchRenameSetting::defaultsDictionary())->quality(),
      0.82);
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
  EXPECT_EQ(back->dictionaryRepresentation(), s->dictionaryRepresentation());
  // An archive that is not a property list is refused with a reason.
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

// --- Boxed values: what a settings file's wrong types read as ---

TEST(BoxedValue, WrongTypesReadAsTheOriginalBoxesDid) {
  const struct {
    QVariant value;
    qint32 integer;
    bool boolean;
  } rows[] = {{QStringLiteral("12abc"), 12, true},
              {QStringLiteral(" -3"), -3, true},
              {QStringLiteral("abc"), 0, false},
              {QStringLiteral(""), 0, false},
              {QStringLiteral("Yes"), 0, true},
              {QStringLiteral("true"), 0, true},
              {QStringLiteral("no"), 0, false},
              {QStringLiteral("0"), 0, false},
              {QStringLiteral("  +007"), 7, true},
              {QStringLiteral("99999999999"), 2147483647, true},
              {QStringLiteral("-99999999999"), -2147483647 - 1, true},
              {3.9, 3, true},
              {-3.9, -3, true},
              {1e20, 2147483647, true},
              {qlonglong(4294967297LL), 1, true},
              {true, 1, true},
              {QVariant(), 0, false},
              {QVariantMap{{"a", 1}}, 0, false}};
  for (const auto &row : rows) {
    const std::string shown = std::string(row.value.typeName() ? row.value.typeName() : "invalid") +
                              " " + row.value.toString().toStdString();
    EXPECT_EQ(BoxedValue::intValue(row.value), row.integer) << shown;
    EXPECT_EQ(BoxedValue::boolValue(row.value), row.boolean) << shown;
  }
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

// Integer fields accept one integer of at most four characters, sign and blanks included.
TEST(IntegerFormatter, AcceptsOneIntegerOfAtMostFourCharacters) {
  const std::pair<const char *, bool> rows[] = {
      {"", true},     {"1234", true}, {"12345", false}, {"1a", false},  {"-1", true},
      {"-", true},    {" 12", true},  {"  ", false},    {"1 2", false}, {"1.5", false},
      {"--1", false}, {"-999", true}, {"-9999", false}};
  OnlyIntegerValueFormatterWithZero formatter;
  for (const auto &[text, accepted] : rows)
    EXPECT_EQ(formatter.isPartialStringValid(QString::fromUtf8(text)), accepted)
        << '"' << text << '"';
}

TEST_F(EditorFixture, IntegerFieldsAndSlidersStoreTheirValues) {
  editor.integerFieldDidChange(RenameIntegerField::From, QStringLiteral("-12"));
  EXPECT_EQ(BoxedValue::intValue(s->dictRemove, RuleKey::From), -12);
  editor.integerFieldDidChange(RenameIntegerField::StartingIndex, QString());
  EXPECT_EQ(s->dictAddDigit.value(RuleKey::StartingIndex), QVariant(0));
  editor.integerFieldDidChange(RenameIntegerField::DigitPosition, QStringLiteral(" 7"));
  EXPECT_EQ(editor.integerValue(RenameIntegerField::DigitPosition), 7);
  // Sliders store the ratio and label it as a whole number.
  EXPECT_EQ(editor.qualitySliderChanged(0.85), QStringLiteral("85"));
  EXPECT_DOUBLE_EQ(s->qualityRatio.toDouble(), 0.85);
  EXPECT_EQ(editor.compressionSliderChanged(7.8), QStringLiteral("7"));
  EXPECT_EQ(s->compressionRatio, QVariant(7));
}

TEST_F(EditorFixture, OptionListsWriteTheirKeys) {
  EXPECT_EQ(editor.chooseOption(OptionDateFormat, 5), QStringLiteral("DD-MM-YYYY HH:MM:SS"));
  EXPECT_EQ(s->dictDateTimeStamp.value(RuleKey::Format), QVariant(5));
  EXPECT_EQ(editor.chooseOption(OptionDigitAs, 2), QStringLiteral("Insert"));
  EXPECT_EQ(editor.chooseOption(OptionOutputFormat, 4), QStringLiteral("jpg"));
  EXPECT_EQ(editor.visibleSliderPanel(), SliderPanel::Quality);
  // Keeping the original format, or a format outside the list, shows no slider.
  EXPECT_EQ(RenameSettingsEditor::panelForOutputFormat(0), SliderPanel::None);
  EXPECT_EQ(RenameSettingsEditor::panelForOutputFormat(13), SliderPanel::None);
  // WebP, AVIF, HEIC and JPEG XL take the quality slider.
  for (int format = 9; format <= 12; ++format)
    EXPECT_EQ(RenameSettingsEditor::panelForOutputFormat(format), SliderPanel::Quality) << format;
  EXPECT_EQ(editor.chooseOption(OptionFolderAs, 2), QString()); // no third entry
  EXPECT_EQ(rebuilds, 3);
}

TEST_F(EditorFixture, ModeAndRuleBoxes) {
  editor.btnRenameModeTapped(1);
  EXPECT_TRUE(editor.isRulePanelVisible());
  editor.setRuleState(RenameRule::Remove, true);
  // Other keys of the rule survive the copy.
  EXPECT_TRUE(s->dictRemove.value(RuleKey::State).toBool());
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

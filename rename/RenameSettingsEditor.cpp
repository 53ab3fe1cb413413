#include "rename/RenameSettingsEditor.h"

#include "processing/CommonFunc.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"
#include "rename/DateShift.h"
#include "rename/RenameEngine.h"

#include <algorithm>
#include <cmath>

const QString RenameSettingsEditor::kResetToolTip =
    QStringLiteral("Click here to reset to default values");

bool OnlyIntegerValueFormatterWithZero::isPartialStringValid(const QString &partial) const {
  if (partial.isEmpty())
    return true;
  if (partial.size() > maximumLength)
    return false;
  qsizetype i = 0;
  while (i < partial.size() && partial.at(i).isSpace())
    ++i;
  if (i < partial.size() &&
      (partial.at(i) == QLatin1Char('-') || partial.at(i) == QLatin1Char('+')))
    ++i;
  const qsizetype digitsStart = i;
  while (i < partial.size() && partial.at(i) >= QLatin1Char('0') &&
         partial.at(i) <= QLatin1Char('9'))
    ++i;
  if (i != partial.size())
    return false;
  // A lone sign is the start of a negative number being typed.
  const bool signed_ = digitsStart > 0 && (partial.at(digitsStart - 1) == QLatin1Char('-') ||
                                           partial.at(digitsStart - 1) == QLatin1Char('+'));
  return i > digitsStart || signed_;
}

namespace {

QVariantMap &ruleDict(BatchRenameSetting &s, RenameRule rule) {
  switch (rule) {
  case RenameRule::ReplaceFilename:
    return s.dictReplaceFileName;
  case RenameRule::DateTimeStamp:
    return s.dictDateTimeStamp;
  case RenameRule::AppendFolderName:
    return s.dictAppendFolderName;
  case RenameRule::AddString:
    return s.dictAddString;
  case RenameRule::AddDigit:
    return s.dictAddDigit;
  case RenameRule::Remove:
    return s.dictRemove;
  case RenameRule::ChangeCase:
    return s.dictChangeCaseFileName;
  case RenameRule::LowerCaseExtension:
    break;
  }
  return s.dictUseLowerCaseForFileExtension;
}

struct FieldPlace {
  RenameRule rule;
  QString key;
};

FieldPlace placeOf(RenameTextField field) {
  switch (field) {
  case RenameTextField::NewName:
    return {RenameRule::ReplaceFilename, RuleKey::NewName};
  case RenameTextField::CustomDate:
    return {RenameRule::DateTimeStamp, RuleKey::Custom};
  case RenameTextField::Prefix:
    return {RenameRule::AddString, RuleKey::Prefix};
  case RenameTextField::Suffix:
    return {RenameRule::AddString, RuleKey::Suffix};
  case RenameTextField::InsertText:
    return {RenameRule::AddString, RuleKey::Insert};
  case RenameTextField::Chars:
    return {RenameRule::Remove, RuleKey::Chars};
  case RenameTextField::Words:
    break;
  }
  return {RenameRule::Remove, RuleKey::Words};
}

FieldPlace placeOf(RenameIntegerField field) {
  switch (field) {
  case RenameIntegerField::InsertPosition:
    return {RenameRule::AddString, RuleKey::AtPosition};
  case RenameIntegerField::DigitPosition:
    return {RenameRule::AddDigit, RuleKey::AtPosition};
  case RenameIntegerField::StartingIndex:
    return {RenameRule::AddDigit, RuleKey::StartingIndex};
  case RenameIntegerField::Increment:
    return {RenameRule::AddDigit, RuleKey::Increment};
  case RenameIntegerField::Digits:
    return {RenameRule::AddDigit, RuleKey::Digits};
  case RenameIntegerField::FirstN:
    return {RenameRule::Remove, RuleKey::FirstN};
  case RenameIntegerField::LastN:
    return {RenameRule::Remove, RuleKey::LastN};
  case RenameIntegerField::From:
    return {RenameRule::Remove, RuleKey::From};
  case RenameIntegerField::To:
    break;
  }
  return {RenameRule::Remove, RuleKey::To};
}

// A control changes a rule by copying its dictionary, setting one key and storing the copy.
void setRuleValue(BatchRenameSetting &s, RenameRule rule, const QString &key,
                  const QVariant &value) {
  QVariantMap copy = ruleDict(s, rule);
  copy.insert(key, value);
  ruleDict(s, rule) = copy;
}

constexpr RenameTextField kTextFields[] = {
    RenameTextField::NewName, RenameTextField::CustomDate, RenameTextField::Prefix,
    RenameTextField::Suffix,  RenameTextField::InsertText, RenameTextField::Chars,
    RenameTextField::Words,
};

} // namespace

RenameSettingsEditor::RenameSettingsEditor(std::shared_ptr<BatchRenameSetting> setting,
                                           QStringList formats,
                                           std::function<void()> rebuildPreview)
    : setting_(std::move(setting)), formats_(std::move(formats)),
      rebuildPreview_(std::move(rebuildPreview)) {}

void RenameSettingsEditor::changed() {
  if (rebuildPreview_)
    rebuildPreview_();
}

void RenameSettingsEditor::btnRenameModeTapped(int tag) {
  setting_->flagRenamingMode = tag == 1 ? 1 : 0;
  changed();
}

bool RenameSettingsEditor::isRulePanelVisible() const {
  return setting_->renamingMode() != 0;
}

void RenameSettingsEditor::setRuleState(RenameRule rule, bool on) {
  setRuleValue(*setting_, rule, RuleKey::State, on);
  changed();
}

bool RenameSettingsEditor::ruleState(RenameRule rule) const {
  return BoxedValue::boolValue(ruleDict(*setting_, rule), RuleKey::State);
}

int RenameSettingsEditor::textLimit(RenameTextField field) {
  switch (field) {
  case RenameTextField::NewName:
    return 150;
  case RenameTextField::CustomDate:
    return 20;
  default:
    return 50;
  }
}

bool RenameSettingsEditor::removesSlash(RenameTextField field) {
  return field != RenameTextField::Chars && field != RenameTextField::Words;
}

QString RenameSettingsEditor::cleanText(RenameTextField field, const QString &text) {
  QString cleaned = text;
  if (removesSlash(field))
    cleaned.remove(QLatin1Char('/'));
  if (cleaned.size() > textLimit(field))
    cleaned.truncate(textLimit(field));
  // A cut inside a surrogate pair leaves half a character; it goes too.
  return RenameEngine::dropLoneSurrogates(cleaned);
}

QString RenameSettingsEditor::textDidChange(RenameTextField field, const QString &text) {
  const QString kept = cleanText(field, text);
  const FieldPlace place = placeOf(field);
  setRuleValue(*setting_, place.rule, place.key, kept);
  changed();
  return kept;
}

QString RenameSettingsEditor::textValue(RenameTextField field) const {
  const FieldPlace place = placeOf(field);
  return BoxedValue::stringValue(ruleDict(*setting_, place.rule), place.key);
}

bool RenameSettingsEditor::dateShiftDidChange(const QString &text) {
  qint64 seconds = 0;
  if (!text.trimmed().isEmpty() && !DateShift::parse(text, &seconds))
    return false;
  // The key is left out when there is no shift, as in a setting that never had one.
  if (seconds == 0)
    setting_->dictDateTimeStamp.remove(RuleKey::Shift);
  else
    setting_->dictDateTimeStamp.insert(RuleKey::Shift, seconds);
  changed();
  return true;
}

QString RenameSettingsEditor::dateShiftText() const {
  const qint64 seconds = setting_->dictDateTimeStamp.value(RuleKey::Shift).toLongLong();
  return seconds == 0 ? QString() : DateShift::text(seconds);
}

void RenameSettingsEditor::setWriteDateShift(bool on) {
  // Left out when off, as in a setting that never had it; names do not change either way.
  if (on)
    setting_->dictDateTimeStamp.insert(RuleKey::WriteShift, true);
  else
    setting_->dictDateTimeStamp.remove(RuleKey::WriteShift);
}

bool RenameSettingsEditor::writeDateShift() const {
  return setting_->dictDateTimeStamp.value(RuleKey::WriteShift).toBool();
}

void RenameSettingsEditor::integerFieldDidChange(RenameIntegerField field, const QString &text) {
  const FieldPlace place = placeOf(field);
  setRuleValue(*setting_, place.rule, place.key, BoxedValue::intValue(QVariant(text)));
  changed();
}

qint32 RenameSettingsEditor::integerValue(RenameIntegerField field) const {
  const FieldPlace place = placeOf(field);
  return BoxedValue::intValue(ruleDict(*setting_, place.rule), place.key);
}

void RenameSettingsEditor::sanitizeSetting(BatchRenameSetting &setting) {
  for (RenameTextField field : kTextFields) {
    const FieldPlace place = placeOf(field);
    QVariantMap &dict = ruleDict(setting, place.rule);
    // Only texts are cleaned; other values read as empty anyway.
    if (dict.value(place.key).typeId() != QMetaType::QString)
      continue;
    const QString text = dict.value(place.key).toString();
    const QString kept = cleanText(field, text);
    if (kept != text)
      setRuleValue(setting, place.rule, place.key, kept);
  }
}

QStringList RenameSettingsEditor::optionsForKind(int kind, const QStringList &formats) {
  switch (kind) {
  case OptionOutputFormat:
    return formats;
  case OptionDateAs:
  case OptionFolderAs:
    return {QStringLiteral("Prefix"), QStringLiteral("Suffix")};
  case OptionDateType:
    return {QStringLiteral("Taken(Original)"), QStringLiteral("Modified"),
            QStringLiteral("Current"), QStringLiteral("Custom")};
  case OptionDateFormat:
    return {QStringLiteral("DMY"),
            QStringLiteral("DMY HM"),
            QStringLiteral("DMY HMS"),
            QStringLiteral("DD-MM-YYYY"),
            QStringLiteral("DD-MM-YYYY HH:MM"),
            QStringLiteral("DD-MM-YYYY HH:MM:SS"),
            QStringLiteral("MM-DD-YYYY"),
            QStringLiteral("MM-DD-YYYY HH:MM"),
            QStringLiteral("MM-DD-YYYY HH:MM:SS")};
  case OptionDigitAs:
    return {QStringLiteral("Prefix"), QStringLiteral("Suffix"), QStringLiteral("Insert")};
  case OptionCaseMode:
    return {QStringLiteral("Upper case"), QStringLiteral("Lower case"),
            QStringLiteral("Title case")};
  default:
    return {};
  }
}

QString RenameSettingsEditor::chooseOption(int kind, int row) {
  const QStringList entries = optionsForKind(kind, formats_);
  if (row < 0 || row >= entries.size())
    return QString();
  switch (kind) {
  case OptionOutputFormat:
    setting_->outputFormat = row;
    break;
  case OptionDateAs:
    setRuleValue(*setting_, RenameRule::DateTimeStamp, RuleKey::As, row);
    break;
  case OptionDateType:
    setRuleValue(*setting_, RenameRule::DateTimeStamp, RuleKey::Type, row);
    break;
  case OptionDateFormat:
    setRuleValue(*setting_, RenameRule::DateTimeStamp, RuleKey::Format, row);
    break;
  case OptionFolderAs:
    setRuleValue(*setting_, RenameRule::AppendFolderName, RuleKey::As, row);
    break;
  case OptionDigitAs:
    setRuleValue(*setting_, RenameRule::AddDigit, RuleKey::As, row);
    break;
  case OptionCaseMode:
    setRuleValue(*setting_, RenameRule::ChangeCase, RuleKey::CaseMode, row);
    break;
  default:
    return QString();
  }
  changed();
  return entries.at(row);
}

QString RenameSettingsEditor::selectedOptionText(int kind) const {
  qint32 index = 0;
  switch (kind) {
  case OptionOutputFormat:
    index = setting_->outputFormatIndex();
    break;
  case OptionDateAs:
    index = BoxedValue::intValue(setting_->dictDateTimeStamp, RuleKey::As);
    break;
  case OptionDateType:
    index = BoxedValue::intValue(setting_->dictDateTimeStamp, RuleKey::Type);
    break;
  case OptionDateFormat:
    index = BoxedValue::intValue(setting_->dictDateTimeStamp, RuleKey::Format);
    break;
  case OptionFolderAs:
    index = BoxedValue::intValue(setting_->dictAppendFolderName, RuleKey::As);
    break;
  case OptionDigitAs:
    index = BoxedValue::intValue(setting_->dictAddDigit, RuleKey::As);
    break;
  case OptionCaseMode:
    index = BoxedValue::intValue(setting_->dictChangeCaseFileName, RuleKey::CaseMode);
    break;
  default:
    return QString();
  }
  const QStringList entries = optionsForKind(kind, formats_);
  // A value outside the list shows the first entry, as the screen reads it.
  return entries.value(index, entries.value(0));
}

SliderPanel RenameSettingsEditor::panelForOutputFormat(int outputFormat) {
  switch (outputFormat) {
  case 4:
  case 5:
  case 7:
  case 9:
  case 10:
  case 11:
  case 12:
    return SliderPanel::Quality;
  case 1:
  case 2:
  case 3:
  case 6:
  case 8:
    return SliderPanel::Compression;
  default:
    return SliderPanel::None;
  }
}

SliderPanel RenameSettingsEditor::visibleSliderPanel() const {
  return panelForOutputFormat(setting_->outputFormatIndex());
}

QString RenameSettingsEditor::compressionSliderChanged(double value) {
  const double clamped = std::clamp(value, kCompressionMinimum, kCompressionMaximum);
  setting_->compressionRatio = qint32(clamped);
  changed();
  return compressionLabel();
}

QString RenameSettingsEditor::qualitySliderChanged(double value) {
  setting_->qualityRatio = std::clamp(value, kQualityMinimum, kQualityMaximum);
  changed();
  return qualityLabel();
}

QString RenameSettingsEditor::compressionLabel() const {
  return QString::asprintf("%d", setting_->compression());
}

QString RenameSettingsEditor::qualityLabel() const {
  return QString::asprintf("%d", qint32(setting_->quality() * 100));
}

void RenameSettingsEditor::setCompressionBox(bool on) {
  setting_->isSetCompression = on;
  changed();
}

void RenameSettingsEditor::setQualityBox(bool on) {
  setting_->isSetQuality = on;
  changed();
}

QString RenameSettingsEditor::batchLineText(qsizetype count, double totalBytes) {
  return QStringLiteral("Total Images: %1  |  Total Size: %2")
      .arg(QString::number(count), CommonFunc::getSizeInUnits(totalBytes));
}

#include "rename/RenameEngine.h"

#include "imaging/Utils.h"
#include "platform/PathText.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"

#include <algorithm>

using BoxedValue::boolValue;
using BoxedValue::intValue;
using BoxedValue::stringValue;

const QString RenameEngine::kRawFormatNote = QStringLiteral(
    "If you choose to \"Keep Original format\", then RAW and other additional image formats "
    "will be saved as .png by default.");

RenameRules RenameRules::fromSetting(const BatchRenameSetting &setting) {
  RenameRules r;
  r.renamingMode = setting.renamingMode();
  r.outputFormat = setting.outputFormatIndex();

  const QVariantMap &replace = setting.dictReplaceFileName;
  r.replaceOn = boolValue(replace, RuleKey::State);
  r.newName = stringValue(replace, RuleKey::NewName);

  const QVariantMap &date = setting.dictDateTimeStamp;
  r.dateOn = boolValue(date, RuleKey::State);
  r.dateAs = intValue(date, RuleKey::As);
  r.dateType = intValue(date, RuleKey::Type);
  r.dateFormat = intValue(date, RuleKey::Format);
  r.dateCustom = stringValue(date, RuleKey::Custom);
  r.dateShift = date.value(RuleKey::Shift).toLongLong();

  const QVariantMap &folder = setting.dictAppendFolderName;
  r.folderOn = boolValue(folder, RuleKey::State);
  r.folderAs = intValue(folder, RuleKey::As);

  const QVariantMap &addString = setting.dictAddString;
  r.addStringOn = boolValue(addString, RuleKey::State);
  r.prefix = stringValue(addString, RuleKey::Prefix);
  r.suffix = stringValue(addString, RuleKey::Suffix);
  r.insert = stringValue(addString, RuleKey::Insert);
  r.insertAt = intValue(addString, RuleKey::AtPosition);

  const QVariantMap &digit = setting.dictAddDigit;
  r.digitOn = boolValue(digit, RuleKey::State);
  r.digitAs = intValue(digit, RuleKey::As);
  r.digitAt = intValue(digit, RuleKey::AtPosition);
  r.startingIndex = intValue(digit, RuleKey::StartingIndex);
  r.increment = intValue(digit, RuleKey::Increment);
  r.digits = std::clamp(intValue(digit, RuleKey::Digits), 0, 9);

  const QVariantMap &remove = setting.dictRemove;
  r.removeOn = boolValue(remove, RuleKey::State);
  r.firstN = intValue(remove, RuleKey::FirstN);
  r.lastN = intValue(remove, RuleKey::LastN);
  r.from = intValue(remove, RuleKey::From);
  r.to = intValue(remove, RuleKey::To);
  r.chars = stringValue(remove, RuleKey::Chars);
  r.words = stringValue(remove, RuleKey::Words);

  r.caseOn = boolValue(setting.dictChangeCaseFileName, RuleKey::State);
  r.caseMode = intValue(setting.dictChangeCaseFileName, RuleKey::CaseMode);

  r.lowerCaseExtensionOn = boolValue(setting.dictUseLowerCaseForFileExtension, RuleKey::State);
  return r;
}

RenameEngine::RenameEngine(const RenameRules &rules, const QStringList &formats)
    : rules_(rules), formats_(formats), removedCharacters_(rules.chars.toUcs4()),
      datePattern_(datePatternForFormat(rules.dateFormat)),
      dayPattern_(datePattern_.section(QLatin1Char(' '), 0, 0)),
      timePattern_(datePattern_.section(QLatin1Char(' '), 1)) {
  // "hh:mm:s": each field between the colons reads one clock value.
  if (!timePattern_.isEmpty()) {
    for (const QString &field : timePattern_.split(QLatin1Char(':'))) {
      const QChar letter = field.isEmpty() ? QChar() : field.at(0);
      const int unit = QStringLiteral("hHkK").contains(letter) ? 0
                       : letter == QLatin1Char('m')            ? 1
                       : letter == QLatin1Char('s')            ? 2
                                                               : -1;
      if (unit < 0 || field.count(letter) != field.size()) {
        timeFields_.clear();
        break;
      }
      timeFields_.append({field, unit, {}});
    }
  }
}

RenameEngine::RenameEngine(const BatchRenameSetting &setting, const QStringList &formats)
    : RenameEngine(RenameRules::fromSetting(setting), formats) {}

QString RenameEngine::datePatternForFormat(qint32 format) {
  // Kept exactly as the system has always written them: "YYYY" is the week-based year,
  // "hh" the 12-hour clock without a marker, "s" the unpadded second.
  static const char *const kPatterns[] = {
      "ddMMYYYY",   "ddMMYYYY hh:mm",   "ddMMYYYY hh:mm:s",
      "dd-MM-YYYY", "dd-MM-YYYY hh:mm", "dd-MM-YYYY hh:mm:s",
      "MM-dd-YYYY", "MM-dd-YYYY hh:mm", "MM-dd-YYYY hh:mm:s",
  };
  if (format < 0 || format > 8)
    return QString();
  return QString::fromLatin1(kPatterns[format]);
}

QString RenameEngine::dateText(const QDateTime &date, const QString &pattern) {
  if (!date.isValid() || pattern.isEmpty())
    return QString();
  return Utils::getDateStringFromDate(date, pattern);
}

QString RenameEngine::cachedDateText(const QDateTime &date) {
  if (!date.isValid() || datePattern_.isEmpty())
    return QString();
  const QDateTime local = date.toLocalTime();
  const QDate day = local.date();
  if (day != cachedDay_ || cachedDayText_.isEmpty()) {
    auto known = dayTexts_.constFind(day);
    if (known == dayTexts_.cend())
      known = dayTexts_.insert(day, dateText(date, dayPattern_));
    cachedDayText_ = known.value();
    cachedDay_ = day;
  }
  if (timePattern_.isEmpty())
    return cachedDayText_;
  if (!timeFields_.isEmpty()) {
    // Each field's text is made once per value of its clock reading, so a batch whose times
    // are all different still formats at most 24 + 60 + 60 texts.
    const QTime time = local.time();
    QString out = cachedDayText_;
    for (qsizetype k = 0; k < timeFields_.size(); ++k) {
      TimeField &field = timeFields_[k];
      const int value = field.unit == 0   ? time.hour()
                        : field.unit == 1 ? time.minute()
                                          : time.second();
      auto text = field.texts.constFind(value);
      if (text == field.texts.cend())
        text = field.texts.insert(value, dateText(date, field.pattern));
      out += k == 0 ? QLatin1Char(' ') : QLatin1Char(':');
      out += text.value();
    }
    return out;
  }
  const int second = local.time().msecsSinceStartOfDay() / 1000;
  auto text = timeTexts_.constFind(second);
  if (text == timeTexts_.cend())
    text = timeTexts_.insert(second, dateText(date, timePattern_));
  return cachedDayText_ + QLatin1Char(' ') + text.value();
}

QString RenameEngine::extensionFor(const QString &fileExtension) {
  const qint32 format = rules_.outputFormat;
  // A format outside the list is read as "Keep original format".
  if (format > 0 && format < formats_.size())
    return formats_.at(format);
  for (const QString &supported : std::as_const(formats_)) {
    if (supported.compare(fileExtension, Qt::CaseInsensitive) == 0)
      return fileExtension;
  }
  isRawFormatExist = true;
  return QStringLiteral("png");
}

QString RenameEngine::stampText(const RenameSubject &subject) {
  if (rules_.dateType == 3)
    return rules_.dateCustom;
  switch (rules_.dateType) {
  case 0: {
    QDateTime taken = subject.takenDate ? subject.takenDate() : QDateTime();
    // The shift corrects the camera's clock: a file's own date has nothing to correct.
    if (taken.isValid())
      taken = taken.addSecs(rules_.dateShift);
    else
      taken = subject.fileCreationDate;
    return cachedDateText(taken);
  }
  case 1:
    return cachedDateText(subject.fileModifiedDate);
  case 2:
    return cachedDateText(QDateTime::currentDateTime());
  default:
    return QString();
  }
}

namespace {

void putAt(QString &name, qint32 as, const QString &text) {
  if (as == 0)
    name.prepend(text);
  else
    name.append(text);
}

qsizetype clampIndex(qint64 value, qsizetype length) {
  return qsizetype(std::min<qint64>(std::max<qint64>(value, 0), length));
}

} // namespace

QString RenameEngine::newName(const RenameSubject &subject, quint32 index) {
  isRawFormatExist = false;
  QString extension = extensionFor(subject.fileExtension);
  const RenameRules &r = rules_;

  if (r.renamingMode == 0) {
    const QString base = platform::PathText::stringByDeletingPathExtension(subject.fileName);
    return dropLoneSurrogates(base + QLatin1Char('.') + extension);
  }

  QString name =
      r.replaceOn ? r.newName : platform::PathText::stringByDeletingPathExtension(subject.fileName);

  if (r.dateOn)
    putAt(name, r.dateAs, stampText(subject));

  if (r.folderOn) {
    // The same text up to the last "/" is the same folder: only a new one is worked out.
    const QString &path = subject.filePath;
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const bool sameFolder = slash >= 0 && slash < path.size() - 1 &&
                            slash + 1 == lastFolderPrefix_.size() &&
                            QStringView(path).left(slash + 1) == lastFolderPrefix_;
    if (!sameFolder) {
      lastFolderName_ = platform::PathText::lastPathComponent(
          platform::PathText::stringByDeletingLastPathComponent(path));
      lastFolderPrefix_ = slash >= 0 && slash < path.size() - 1 ? path.left(slash + 1) : QString();
    }
    putAt(name, r.folderAs, lastFolderName_);
  }

  if (r.addStringOn) {
    if (!r.prefix.isEmpty())
      name.prepend(r.prefix);
    if (!r.suffix.isEmpty())
      name.append(r.suffix);
    if (!r.insert.isEmpty())
      name.insert(clampIndex(r.insertAt, name.size()), r.insert);
  }

  if (r.digitOn) {
    // 32-bit arithmetic, wrapping as the stored integers do.
    const qint32 number = qint32(quint32(r.increment) * quint32(index) + quint32(r.startingIndex));
    QString digits = QString::number(qint64(number) < 0 ? -qint64(number) : qint64(number));
    if (digits.size() < r.digits)
      digits.prepend(QString(r.digits - digits.size(), QLatin1Char('0')));
    if (number < 0)
      digits.prepend(QLatin1Char('-'));
    if (r.digitAs == 0)
      name.prepend(digits);
    else if (r.digitAs == 1)
      name.append(digits);
    else if (r.digitAs == 2 && r.digitAt >= 0)
      name.insert(clampIndex(r.digitAt, name.size()), digits);
  }

  if (r.removeOn) {
    name.remove(0, clampIndex(r.firstN, name.size()));
    name.chop(clampIndex(r.lastN, name.size()));
    const qsizetype start = clampIndex(std::min(r.from, r.to), name.size());
    const qsizetype end = clampIndex(r.to, name.size());
    if (r.from < r.to && end > start)
      name.remove(start, end - start);
    if (!r.chars.isEmpty())
      name = removeCharacters(name, removedCharacters_);
    if (!r.words.isEmpty())
      name = removeWords(name, r.words);
  }

  if (r.caseOn) {
    if (r.caseMode == 0)
      name = name.toUpper();
    else if (r.caseMode == 1)
      name = name.toLower();
    else if (r.caseMode == 2)
      name = titleCase(name);
  }

  extension = r.lowerCaseExtensionOn ? extension.toLower() : extension.toUpper();
  return dropLoneSurrogates(name + QLatin1Char('.') + extension);
}

QString RenameEngine::titleCase(const QString &text) {
  QString out;
  out.reserve(text.size());
  bool wordStart = true;
  for (qsizetype i = 0; i < text.size();) {
    char32_t cp = text.at(i).unicode();
    if (cp < 0x80) {
      // ASCII has one-to-one case mappings: no text needs to be made for it.
      const bool space = cp == ' ' || (cp >= '\t' && cp <= '\r');
      char c = char(cp);
      if (!space && wordStart && c >= 'a' && c <= 'z')
        c = char(c - 'a' + 'A');
      else if (!space && !wordStart && c >= 'A' && c <= 'Z')
        c = char(c - 'A' + 'a');
      out += QLatin1Char(c);
      wordStart = space;
      ++i;
      continue;
    }
    qsizetype width = 1;
    if (QChar::isHighSurrogate(cp) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
      cp = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
      width = 2;
    }
    const QString piece = text.mid(i, width);
    if (QChar::isSpace(cp)) {
      out += piece;
      wordStart = true;
    } else if (wordStart) {
      const char32_t title = QChar::toTitleCase(cp);
      out += title == cp ? piece.toUpper() : QString::fromUcs4(&title, 1);
      wordStart = false;
    } else {
      out += piece.toLower();
    }
    i += width;
  }
  return out;
}

QString RenameEngine::removeWords(const QString &text, const QString &word) {
  if (word.isEmpty())
    return text;
  QString out;
  out.reserve(text.size());
  qsizetype from = 0;
  for (;;) {
    const qsizetype hit = text.indexOf(word, from, Qt::CaseSensitive);
    if (hit < 0)
      break;
    out += QStringView(text).mid(from, hit - from);
    from = hit + word.size();
  }
  out += QStringView(text).mid(from);
  return out;
}

QString RenameEngine::removeCharacters(const QString &text, const QString &chars) {
  return removeCharacters(text, chars.toUcs4());
}

QString RenameEngine::removeCharacters(const QString &text, const QList<uint> &listed) {
  QString out;
  out.reserve(text.size());
  for (qsizetype i = 0; i < text.size();) {
    qsizetype width = 1;
    uint cp = text.at(i).unicode();
    if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
      cp = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
      width = 2;
    }
    if (!listed.contains(cp))
      out += QStringView(text).mid(i, width);
    i += width;
  }
  return out;
}

QString RenameEngine::dropLoneSurrogates(const QString &text) {
  bool clean = true;
  for (qsizetype i = 0; i < text.size() && clean; ++i) {
    const QChar c = text.at(i);
    if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
      ++i;
    else if (c.isSurrogate())
      clean = false;
  }
  if (clean)
    return text;
  QString out;
  out.reserve(text.size());
  for (qsizetype i = 0; i < text.size(); ++i) {
    const QChar c = text.at(i);
    if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
      out += c;
      out += text.at(++i);
    } else if (!c.isSurrogate()) {
      out += c;
    }
  }
  return out;
}

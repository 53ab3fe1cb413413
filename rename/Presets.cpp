#include "rename/Presets.h"

#include "intake/BatchOrder.h"
#include "platform/Files.h"
#include "platform/PropertyList.h"
#include "platform/StandardFolders.h"
#include "rename/BatchRenameSetting.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace Presets {

namespace {

const QString kName = QStringLiteral("Name");
const QString kSettings = QStringLiteral("Settings");
const QString kOptions = QStringLiteral("Options");
const QString kExtension = QStringLiteral(".plist");

bool isNumber(const QVariant &v) {
  switch (v.typeId()) {
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
  case QMetaType::Double:
  case QMetaType::Bool:
    return true;
  default:
    return false;
  }
}

QString quoted(const QString &key) {
  return QLatin1Char('"') + key + QLatin1Char('"');
}

// A number within [low, high] (whole when whole), or the reason it is not.
QString rangeProblem(const QString &key, const QVariant &v, double low, double high, bool whole) {
  if (!isNumber(v))
    return QStringLiteral("%1 is not a number").arg(quoted(key));
  const double d = v.toDouble();
  if (d < low || d > high || (whole && d != double(qint64(d))))
    return QStringLiteral("%1 is %2, not %3 from %4 to %5")
        .arg(quoted(key), v.toString(),
             whole ? QStringLiteral("a whole number") : QStringLiteral("a number"))
        .arg(low)
        .arg(high);
  return {};
}

QString problemInSettings(const QVariantMap &s) {
  const struct {
    const QString &key;
    double low, high;
    bool whole;
  } ranges[] = {
      {BatchRenameSetting::kRenameMode, 0, 1, true},
      {BatchRenameSetting::kOutputFormat, 0, 8, true},
      {BatchRenameSetting::kCompressionRatio, 0, 9, true},
      {BatchRenameSetting::kQualityRatio, 0, 1, false},
      {BatchRenameSetting::kSetCompression, 0, 1, true},
      {BatchRenameSetting::kSetQuality, 0, 1, true},
  };
  for (const auto &r : ranges) {
    if (s.contains(r.key)) {
      const QString problem = rangeProblem(r.key, s.value(r.key), r.low, r.high, r.whole);
      if (!problem.isEmpty())
        return problem;
    }
  }
  const QString rules[] = {
      BatchRenameSetting::kReplaceFilename,    BatchRenameSetting::kDateTimeStamp,
      BatchRenameSetting::kAppendFolderName,   BatchRenameSetting::kAddString,
      BatchRenameSetting::kAddDigit,           BatchRenameSetting::kRemove,
      BatchRenameSetting::kChangeCaseFileName, BatchRenameSetting::kLowerCaseFileExtension,
  };
  for (const QString &rule : rules) {
    if (!s.contains(rule))
      continue;
    if (s.value(rule).typeId() != QMetaType::QVariantMap)
      return QStringLiteral("%1 is not a dictionary").arg(quoted(rule));
    const QVariantMap dict = s.value(rule).toMap();
    for (auto it = dict.cbegin(); it != dict.cend(); ++it) {
      const QVariant &v = it.value();
      const bool text = v.typeId() == QMetaType::QString;
      if (!text && !isNumber(v))
        return QStringLiteral("%1 / %2 is neither a number nor a text")
            .arg(quoted(rule), quoted(it.key()));
    }
    if (rule == BatchRenameSetting::kAddDigit && dict.contains(RuleKey::Digits)) {
      const QString problem =
          rangeProblem(RuleKey::Digits, dict.value(RuleKey::Digits), 0, 9, true);
      if (!problem.isEmpty())
        return quoted(rule) + QStringLiteral(" / ") + problem;
    }
  }
  return {};
}

QString problemInOptions(const QVariantMap &o) {
  const char *const flags[] = {"moveAndRenameToDestinationFolder",
                               "copyyToDestinationFolder",
                               "useSourceFolder",
                               "openOutputFolderAfterProcessing",
                               "owerwriteExistingFiles",
                               "setOutputDateTimeAsOriginal"};
  for (const char *flag : flags) {
    const QString key = QString::fromLatin1(flag);
    if (o.contains(key)) {
      const QString problem = rangeProblem(key, o.value(key), 0, 1, true);
      if (!problem.isEmpty())
        return problem;
    }
  }
  for (const char *textKey : {"outputFolderPath", "dateString"}) {
    const QString key = QString::fromLatin1(textKey);
    if (o.contains(key) && o.value(key).typeId() != QMetaType::QString)
      return QStringLiteral("%1 is not a text").arg(quoted(key));
  }
  return {};
}

bool writePreset(const QString &file, const QString &name, const QVariantMap &settings,
                 const QVariantMap &options, QString *error) {
  const platform::Files::Result made = platform::Files::createDirectory(folder());
  if (!made.ok) {
    *error = made.message;
    return false;
  }
  const QVariantMap dict = {{kName, name}, {kSettings, settings}, {kOptions, options}};
  QString reason;
  if (!platform::PropertyList::writeDictionary(file, dict, &reason)) {
    *error = QStringLiteral("%1: cannot be written (%2)").arg(file, reason);
    return false;
  }
  return true;
}

} // namespace

QString folder() {
  return platform::applicationConfigDirectory() + QStringLiteral("/presets");
}

QString fileForName(const QString &name) {
  return folder() + QLatin1Char('/') + name + kExtension;
}

QString nameProblem(const QString &name) {
  if (name.trimmed().isEmpty())
    return QStringLiteral("a preset needs a name");
  if (name.contains(QLatin1Char('/')) || name.startsWith(QLatin1Char('.')))
    return QStringLiteral("a preset's name cannot hold \"/\" or begin with \".\": %1").arg(name);
  if (name.size() > 200)
    return QStringLiteral("a preset's name is at most 200 characters");
  return {};
}

QString valueProblem(const QVariantMap &settings, const QVariantMap &options) {
  const QString inSettings = problemInSettings(settings);
  if (!inSettings.isEmpty())
    return QStringLiteral("%1 / %2").arg(quoted(kSettings), inSettings);
  const QString inOptions = problemInOptions(options);
  if (!inOptions.isEmpty())
    return QStringLiteral("%1 / %2").arg(quoted(kOptions), inOptions);
  return {};
}

bool readFile(const QString &file, Preset *out, QString *error) {
  QVariantMap dict;
  QString reason;
  if (!platform::PropertyList::readDictionary(file, &dict, &reason)) {
    *error = QStringLiteral("%1: not a property list dictionary%2")
                 .arg(file, reason.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(reason));
    return false;
  }
  for (const QString &key : {kSettings, kOptions}) {
    if (dict.contains(key) && dict.value(key).typeId() != QMetaType::QVariantMap) {
      *error = QStringLiteral("%1: %2 is not a dictionary").arg(file, quoted(key));
      return false;
    }
  }
  if (dict.contains(kName) && dict.value(kName).typeId() != QMetaType::QString) {
    *error = QStringLiteral("%1: %2 is not a text").arg(file, quoted(kName));
    return false;
  }
  Preset preset;
  preset.file = file;
  preset.name = dict.value(kName).toString();
  if (preset.name.isEmpty())
    preset.name = QFileInfo(file).completeBaseName();
  preset.settings = dict.value(kSettings).toMap();
  preset.options = dict.value(kOptions).toMap();
  const QString problem = valueProblem(preset.settings, preset.options);
  if (!problem.isEmpty()) {
    *error = QStringLiteral("%1: %2").arg(file, problem);
    return false;
  }
  *out = preset;
  return true;
}

QList<Preset> list(QStringList *problems) {
  QList<Preset> presets;
  const QStringList files =
      QDir(folder()).entryList({QLatin1Char('*') + kExtension}, QDir::Files, QDir::Name);
  for (const QString &entry : files) {
    Preset preset;
    QString error;
    if (readFile(folder() + QLatin1Char('/') + entry, &preset, &error)) {
      // The file's name is the preset's name in the folder; "Name" matters on import only.
      preset.name = QFileInfo(entry).completeBaseName();
      presets.append(preset);
    } else if (problems) {
      problems->append(error);
    }
  }
  std::stable_sort(presets.begin(), presets.end(), [](const Preset &a, const Preset &b) {
    return BatchOrder::compareNames(a.name, b.name) < 0;
  });
  return presets;
}

namespace {

// The file of the preset called name; empty, with error set, when there is none.
QString existingFile(const QString &name, QString *error) {
  const QString problem = nameProblem(name);
  if (!problem.isEmpty()) {
    *error = problem;
    return {};
  }
  const QString file = fileForName(name);
  if (!QFileInfo::exists(file)) {
    *error = QStringLiteral("no preset named \"%1\" (in %2)").arg(name, folder());
    return {};
  }
  return file;
}

} // namespace

bool find(const QString &name, Preset *out, QString *error) {
  const QString file = existingFile(name, error);
  if (file.isEmpty() || !readFile(file, out, error))
    return false;
  out->name = name;
  return true;
}

bool save(const QString &name, const QVariantMap &settings, const QVariantMap &options,
          QString *error) {
  QString problem = nameProblem(name);
  if (problem.isEmpty())
    problem = valueProblem(settings, options);
  if (!problem.isEmpty()) {
    *error = problem;
    return false;
  }
  return writePreset(fileForName(name), name, settings, options, error);
}

bool rename(const QString &name, const QString &newName, QString *error) {
  Preset preset;
  if (!find(name, &preset, error))
    return false;
  const QString problem = nameProblem(newName);
  if (!problem.isEmpty()) {
    *error = problem;
    return false;
  }
  if (newName == name)
    return true;
  const QString target = fileForName(newName);
  // Only a change of case may land on the preset's own file.
  if (QFileInfo::exists(target) &&
      QFileInfo(target).canonicalFilePath() != QFileInfo(preset.file).canonicalFilePath()) {
    *error = QStringLiteral("a preset named \"%1\" already exists").arg(newName);
    return false;
  }
  // The new file first, then the old one out of the way: a failure keeps the preset.
  if (!writePreset(target, newName, preset.settings, preset.options, error))
    return false;
  if (QFileInfo(target).canonicalFilePath() != QFileInfo(preset.file).canonicalFilePath())
    QFile::remove(preset.file);
  return true;
}

bool remove(const QString &name, QString *error) {
  const QString file = existingFile(name, error);
  if (file.isEmpty())
    return false;
  const platform::Files::Result moved = platform::Files::moveToTrash(file);
  if (!moved.ok) {
    *error = QStringLiteral("%1: %2").arg(file, moved.message);
    return false;
  }
  return true;
}

bool exportTo(const QString &name, const QString &file, QString *error) {
  Preset preset;
  if (!find(name, &preset, error))
    return false;
  if (QFileInfo::exists(file)) {
    *error = QStringLiteral("%1 already exists").arg(file);
    return false;
  }
  QString reason;
  const QVariantMap dict = {
      {kName, name}, {kSettings, preset.settings}, {kOptions, preset.options}};
  if (!platform::PropertyList::writeDictionary(file, dict, &reason)) {
    *error = QStringLiteral("%1: cannot be written (%2)").arg(file, reason);
    return false;
  }
  return true;
}

bool importFrom(const QString &file, QString *name, QString *error) {
  if (!QFileInfo::exists(file)) {
    *error = QStringLiteral("no such file: %1").arg(file);
    return false;
  }
  Preset preset;
  if (!readFile(file, &preset, error))
    return false;
  const QString problem = nameProblem(preset.name);
  if (!problem.isEmpty()) {
    *error = QStringLiteral("%1: %2").arg(file, problem);
    return false;
  }
  if (QFileInfo::exists(fileForName(preset.name))) {
    *error = QStringLiteral("a preset named \"%1\" already exists").arg(preset.name);
    return false;
  }
  *name = preset.name;
  return writePreset(fileForName(preset.name), preset.name, preset.settings, preset.options, error);
}

} // namespace Presets

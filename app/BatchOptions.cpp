#include "app/BatchOptions.h"

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "intake/AddPhotosConsole.h"
#include "intake/PhotoIntake.h"
#include "platform/EncoderSupport.h"
#include "platform/Files.h"
#include "platform/PropertyList.h"
#include "platform/StandardFolders.h"
#include "rename/BatchRenameSetting.h"
#include "rename/DateShift.h"
#include "rename/OutputOptionSettings.h"
#include "rename/Presets.h"
#include "rename/RenameSettingsEditor.h"

#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>

namespace app::BatchOptions {

namespace {

// Options that take a value, and the value-less ones shared by preview and run.
const QStringList kValueOptions = {
    "--settings",    "--options",     "--format",       "--copy",         "--move",
    "--quality",     "--compression", "--from",         "--to",           "--name",
    "--date",        "--date-text",   "--date-format",  "--date-as",      "--folder-name",
    "--prefix",      "--suffix",      "--insert",       "--insert-at",    "--number",
    "--start",       "--step",        "--number-at",    "--remove-first", "--remove-last",
    "--remove-from", "--remove-to",   "--remove-chars", "--remove-words", "--case",
    "--digits",      "--sort",        "--preset",       "--date-shift",
};
const QStringList kFlags = {"-r",           "--recursive",       "--beside",    "--overwrite",
                            "--keep-dates", "--keep-names",      "--lower-ext", "--upper-ext",
                            "--reverse",    "--write-date-shift"};

QStringList formatNames() {
  return {"keep", "tif", "bmp",  "gif",  "jpg",  "jpeg", "png",
          "jp2",  "pdf", "webp", "avif", "heic", "jxl"};
}

bool readPlist(const QString &file, QVariantMap *dict, QString *error) {
  QString reason;
  if (!QFileInfo::exists(file)) {
    *error = QStringLiteral("no such file: %1").arg(file);
    return false;
  }
  if (!platform::PropertyList::readDictionary(file, dict, &reason)) {
    *error = QStringLiteral("%1 is not a property list dictionary%2")
                 .arg(file, reason.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(reason));
    return false;
  }
  return true;
}

bool toInteger(const QString &option, const QString &text, qint32 *value, QString *error) {
  bool ok = false;
  const int number = text.trimmed().toInt(&ok);
  if (!ok) {
    *error = QStringLiteral("%1 needs a whole number, not \"%2\"").arg(option, text);
    return false;
  }
  *value = number;
  return true;
}

// One of the names (case ignored) or its index.
bool toChoice(const QString &option, const QString &text, const QStringList &names, qint32 *value,
              QString *error) {
  for (int i = 0; i < names.size(); ++i) {
    if (names.at(i).compare(text, Qt::CaseInsensitive) == 0) {
      *value = i;
      return true;
    }
  }
  bool ok = false;
  const int index = text.toInt(&ok);
  if (ok && index >= 0 && index < names.size()) {
    *value = index;
    return true;
  }
  *error = QStringLiteral("%1 takes one of: %2").arg(option, names.join(QStringLiteral(", ")));
  return false;
}

bool toDate(const QString &option, const QString &text, bool endOfDay, QDateTime *date,
            QString *error) {
  QDateTime parsed;
  if (text.contains(QLatin1Char('T'))) {
    parsed = QDateTime::fromString(text, Qt::ISODate);
  } else {
    const QDate day = QDate::fromString(text, Qt::ISODate);
    if (day.isValid())
      parsed = QDateTime(day, endOfDay ? QTime(23, 59, 59) : QTime(0, 0, 0));
  }
  if (!parsed.isValid()) {
    *error = QStringLiteral("%1 needs a date like 2024-03-14 or 2024-03-14T21:05:07, not \"%2\"")
                 .arg(option, text);
    return false;
  }
  *date = parsed;
  return true;
}

// A rename option switches its rule on and the names to "modify".
QVariantMap &ruleOn(BatchRenameSetting &s, QVariantMap &rule) {
  s.flagRenamingMode = 1;
  rule.insert(RuleKey::State, true);
  return rule;
}

bool prepareFolder(const QString &option, const QString &text, QString *folder, QString *error) {
  QString path = text;
  while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
    path.chop(1);
  if (path.isEmpty()) {
    *error = QStringLiteral("%1 needs a folder").arg(option);
    return false;
  }
  path = QDir::cleanPath(QDir::current().absoluteFilePath(path));
  if (platform::isInTrash(path, false)) {
    *error = QStringLiteral("cannot write into the trash: %1").arg(path);
    return false;
  }
  bool isDirectory = false;
  if (platform::Files::fileExists(path, &isDirectory)) {
    if (!isDirectory) {
      *error = QStringLiteral("%1: not a folder: %2").arg(option, path);
      return false;
    }
  } else {
    const platform::Files::Result made = platform::Files::createDirectory(path);
    if (!made.ok) {
      *error = made.message;
      return false;
    }
  }
  *folder = path;
  return true;
}

// Applies one option with a value to the settings; false with a message on a bad value.
bool applyValue(const QString &option, const QString &value, Parsed *out, QString *error) {
  BatchRenameSetting &s = *out->setting;
  OutputOptionSettings &o = *out->options;
  qint32 n = 0;
  if (option == "--format") {
    if (!toChoice(option, value, formatNames(), &n, error))
      return false;
    s.outputFormat = n;
  } else if (option == "--quality") {
    bool ok = false;
    const double quality = value.toDouble(&ok);
    if (!ok || quality < 0.0 || quality > 1.0) {
      *error = QStringLiteral("--quality needs a number from 0.0 to 1.0, not \"%1\"").arg(value);
      return false;
    }
    s.qualityRatio = quality;
    s.isSetQuality = true;
  } else if (option == "--compression") {
    if (!toInteger(option, value, &n, error))
      return false;
    if (n < RenameSettingsEditor::kCompressionMinimum ||
        n > RenameSettingsEditor::kCompressionMaximum) {
      *error =
          QStringLiteral("--compression needs a whole number from 0 to 9, not \"%1\"").arg(value);
      return false;
    }
    s.compressionRatio = n;
    s.isSetCompression = true;
  } else if (option == "--copy" || option == "--move") {
    QString folder;
    if (!prepareFolder(option, value, &folder, error))
      return false;
    o.setDestinationMode(option == "--copy" ? OutputOptionSettings::ModeCopy
                                            : OutputOptionSettings::ModeMove);
    o.outputFolderPath = folder;
  } else if (option == "--from") {
    return toDate(option, value, false, &out->from, error);
  } else if (option == "--to") {
    return toDate(option, value, true, &out->to, error);
  } else if (option == "--name") {
    ruleOn(s, s.dictReplaceFileName).insert(RuleKey::NewName, value);
  } else if (option == "--date") {
    const QStringList types = {"taken", "modified", "current"};
    if (!toChoice(option, value, types, &n, error))
      return false;
    ruleOn(s, s.dictDateTimeStamp).insert(RuleKey::Type, n);
  } else if (option == "--date-text") {
    QVariantMap &rule = ruleOn(s, s.dictDateTimeStamp);
    rule.insert(RuleKey::Type, 3);
    rule.insert(RuleKey::Custom, value);
  } else if (option == "--date-format") {
    const QStringList names = RenameSettingsEditor::optionsForKind(OptionDateFormat, {});
    if (!toChoice(option, value, names, &n, error))
      return false;
    ruleOn(s, s.dictDateTimeStamp).insert(RuleKey::Format, n);
  } else if (option == "--date-shift") {
    qint64 seconds = 0;
    if (!DateShift::parse(value, &seconds)) {
      *error = QStringLiteral("--date-shift takes [+-][D:]HH:MM[:SS] (\"+1:00\", \"-2:00:00\"), "
                              "not \"%1\"")
                   .arg(value);
      return false;
    }
    // The shift corrects the taken date wherever the stamp is switched on.
    s.dictDateTimeStamp.insert(RuleKey::Shift, seconds);
  } else if (option == "--date-as") {
    if (!toChoice(option, value, {"prefix", "suffix"}, &n, error))
      return false;
    ruleOn(s, s.dictDateTimeStamp).insert(RuleKey::As, n);
  } else if (option == "--folder-name") {
    if (!toChoice(option, value, {"prefix", "suffix"}, &n, error))
      return false;
    ruleOn(s, s.dictAppendFolderName).insert(RuleKey::As, n);
  } else if (option == "--prefix") {
    ruleOn(s, s.dictAddString).insert(RuleKey::Prefix, value);
  } else if (option == "--suffix") {
    ruleOn(s, s.dictAddString).insert(RuleKey::Suffix, value);
  } else if (option == "--insert") {
    ruleOn(s, s.dictAddString).insert(RuleKey::Insert, value);
  } else if (option == "--insert-at") {
    if (!toInteger(option, value, &n, error))
      return false;
    ruleOn(s, s.dictAddString).insert(RuleKey::AtPosition, n);
  } else if (option == "--number") {
    if (!toChoice(option, value, {"prefix", "suffix", "insert"}, &n, error))
      return false;
    ruleOn(s, s.dictAddDigit).insert(RuleKey::As, n);
  } else if (option == "--start" || option == "--step" || option == "--number-at") {
    if (!toInteger(option, value, &n, error))
      return false;
    const QString key = option == "--start"  ? RuleKey::StartingIndex
                        : option == "--step" ? RuleKey::Increment
                                             : RuleKey::AtPosition;
    ruleOn(s, s.dictAddDigit).insert(key, n);
  } else if (option == "--digits") {
    if (!toInteger(option, value, &n, error))
      return false;
    if (n < 0 || n > 9) {
      *error = QStringLiteral("--digits needs a whole number from 0 to 9, not \"%1\"").arg(value);
      return false;
    }
    ruleOn(s, s.dictAddDigit).insert(RuleKey::Digits, n);
  } else if (option == "--sort") {
    if (!BatchOrder::keyFromName(value, &out->sort)) {
      *error = QStringLiteral("--sort takes one of: %1")
                   .arg(BatchOrder::keyNames().join(QStringLiteral(", ")));
      return false;
    }
  } else if (option == "--remove-first" || option == "--remove-last" || option == "--remove-from" ||
             option == "--remove-to") {
    if (!toInteger(option, value, &n, error))
      return false;
    const QString key = option == "--remove-first"  ? RuleKey::FirstN
                        : option == "--remove-last" ? RuleKey::LastN
                        : option == "--remove-from" ? RuleKey::From
                                                    : RuleKey::To;
    ruleOn(s, s.dictRemove).insert(key, n);
  } else if (option == "--remove-chars") {
    ruleOn(s, s.dictRemove).insert(RuleKey::Chars, value);
  } else if (option == "--remove-words") {
    ruleOn(s, s.dictRemove).insert(RuleKey::Words, value);
  } else if (option == "--case") {
    if (!toChoice(option, value, {"upper", "lower", "title"}, &n, error))
      return false;
    ruleOn(s, s.dictChangeCaseFileName).insert(RuleKey::CaseMode, n);
  }
  return true;
}

void applyFlag(const QString &flag, Parsed *out) {
  BatchRenameSetting &s = *out->setting;
  OutputOptionSettings &o = *out->options;
  if (flag == "-r" || flag == "--recursive")
    out->recursive = true;
  else if (flag == "--beside")
    o.setDestinationMode(OutputOptionSettings::ModeSourceFolder);
  else if (flag == "--overwrite")
    o.owerwriteExistingFiles = true;
  else if (flag == "--reverse")
    out->reverse = true;
  else if (flag == "--keep-dates")
    o.setOutputDateTimeAsOriginal = true;
  else if (flag == "--keep-names")
    s.flagRenamingMode = 0;
  else if (flag == "--write-date-shift")
    // Like the shift itself, the write-back does not switch the stamp on.
    s.dictDateTimeStamp.insert(RuleKey::WriteShift, true);
  else if (flag == "--lower-ext")
    ruleOn(s, s.dictUseLowerCaseForFileExtension);
  else if (flag == "--upper-ext") {
    s.flagRenamingMode = 1;
    s.dictUseLowerCaseForFileExtension.insert(RuleKey::State, false);
  } else
    out->flags.insert(flag);
}

} // namespace

bool parse(const QStringList &args, const QStringList &extraFlags, Parsed *out, QString *error) {
  QList<QPair<QString, QString>> steps; // option and value (value-less: null value)
  QString settingsFile;
  QString optionsFile;
  bool onlyPaths = false;
  for (int i = 0; i < args.size(); ++i) {
    QString arg = args.at(i);
    if (onlyPaths || !arg.startsWith(QLatin1Char('-')) || arg == QLatin1String("-")) {
      out->paths.append(arg);
      continue;
    }
    if (arg == QLatin1String("--")) {
      onlyPaths = true;
      continue;
    }
    QString value;
    bool hasValue = false;
    const qsizetype eq = arg.indexOf(QLatin1Char('='));
    if (arg.startsWith(QLatin1String("--")) && eq > 0) {
      value = arg.mid(eq + 1);
      arg = arg.left(eq);
      hasValue = true;
    }
    if (kValueOptions.contains(arg)) {
      if (!hasValue) {
        if (i + 1 >= args.size()) {
          *error = QStringLiteral("%1 needs a value").arg(arg);
          return false;
        }
        value = args.at(++i);
      }
      if (arg == QLatin1String("--settings"))
        settingsFile = value;
      else if (arg == QLatin1String("--options"))
        optionsFile = value;
      else if (arg == QLatin1String("--preset"))
        out->preset = value;
      else
        steps.append({arg, value});
    } else if (kFlags.contains(arg) || extraFlags.contains(arg)) {
      if (hasValue) {
        *error = QStringLiteral("%1 takes no value").arg(arg);
        return false;
      }
      steps.append({arg, QString()});
    } else {
      *error = QStringLiteral("unknown option: %1").arg(arg);
      return false;
    }
  }

  // The preset, then the files, then the short forms in the order given, whatever their
  // position.
  Presets::Preset preset;
  if (!out->preset.isEmpty() && !Presets::find(out->preset, &preset, error))
    return false;
  QVariantMap dict;
  if (!settingsFile.isEmpty()) {
    if (!readPlist(settingsFile, &dict, error))
      return false;
  } else if (!out->preset.isEmpty()) {
    dict = preset.settings;
  } else {
    dict = BatchRenameSetting::defaultsDictionary();
  }
  out->setting = BatchRenameSetting::initWithDictionary(dict);
  if (optionsFile.isEmpty()) {
    // The default folder is made below, only if the results still go there.
    out->options = OutputOptionSettings::initWithDictionary(preset.options);
  } else {
    QVariantMap fields;
    if (!readPlist(optionsFile, &fields, error))
      return false;
    out->options = OutputOptionSettings::initWithDictionary(fields);
  }
  for (const auto &[option, value] : steps) {
    if (kValueOptions.contains(option)) {
      if (!applyValue(option, value, out, error))
        return false;
    } else {
      applyFlag(option, out);
    }
  }

  if (!out->options->useSourceFolder &&
      out->options->outputFolderPath == OutputOptionSettings::defaultOutputFolderPath())
    out->options->createOutputFolderIfMissing();

  const qint32 format = out->setting->outputFormatIndex();
  if (format < 0 || format >= formatNames().size()) {
    *error = QStringLiteral("output format %1 is outside 0-%2")
                 .arg(format)
                 .arg(formatNames().size() - 1);
    return false;
  }
  // A format this system cannot write is refused here, before anything runs.
  if (!platform::EncoderSupport::canEncode(formatNames().at(format))) {
    *error = platform::EncoderSupport::unavailableMessage(formatNames().at(format));
    return false;
  }
  if (out->from.isValid() != out->to.isValid()) {
    *error = QStringLiteral("the date filter needs both --from and --to");
    return false;
  }
  RenameSettingsEditor::sanitizeSetting(*out->setting);
  return true;
}

QString helpText() {
  return QStringLiteral(
      "adding:\n"
      "  -r, --recursive          add folders with all their sub-folders\n"
      "  --from DATE --to DATE    only photos taken in this range (ISO 8601 local time)\n"
      "settings:\n"
      "  --preset NAME            a saved preset (see quillmere presets); the options\n"
      "                           below override it\n"
      "  --settings FILE          rename and format settings (property list)\n"
      "  --options FILE           output options (property list)\n"
      "  --format F               keep|tif|bmp|gif|jpg|jpeg|png|jp2|pdf|webp|avif|heic|jxl\n"
      "                           (webp, avif, heic and jxl when this system can write them)\n"
      "  --quality F              0.0-1.0 (sets \"Set Quality\"; jpg, jpeg, jp2, webp, avif,\n"
      "                           heic, jxl)\n"
      "  --compression N          0-9 (sets \"Set Compression\")\n"
      "  --copy DIR | --move DIR | --beside   where the results go\n"
      "  --overwrite              replace existing files instead of reporting them\n"
      "  --keep-dates             give the results the photos' dates\n"
      "order:\n"
      "  --sort added|name|taken|modified|size   the order of the batch, which the preview,\n"
      "                           the running number and the run follow (default added;\n"
      "                           name is natural: IMG_2 before IMG_10; ties keep the order\n"
      "                           of adding)\n"
      "  --reverse                that order descending\n"
      "renaming (each switches its rule on and the names to \"modify\"):\n"
      "  --keep-names             keep the photos' names\n"
      "  --name TEXT              replace the name\n"
      "  --date taken|modified|current   date stamp; --date-text TEXT for a custom one\n"
      "  --date-format N|NAME     0-8 or DMY, \"DD-MM-YYYY HH:MM\", ... (default DMY)\n"
      "  --date-as prefix|suffix  where the stamp goes (default prefix)\n"
      "  --date-shift [+-][D:]HH:MM[:SS]   corrects the camera's clock: added to the taken\n"
      "                           date before naming (HH:MM, D:HH:MM or D:HH:MM:SS)\n"
      "  --write-date-shift       also write the shifted taken date into the results' EXIF\n"
      "                           DateTimeOriginal and CreateDate (the photos are untouched)\n"
      "  --folder-name prefix|suffix      add the photo's folder name\n"
      "  --prefix TEXT, --suffix TEXT, --insert TEXT --insert-at N\n"
      "  --number prefix|suffix|insert    a running number; --start N, --step N, "
      "--number-at N,\n"
      "                           --digits N (1-9: zero-padded to N figures, 0: none)\n"
      "  --remove-first N, --remove-last N, --remove-from N --remove-to N\n"
      "  --remove-chars TEXT, --remove-words TEXT\n"
      "  --case upper|lower|title\n"
      "  --lower-ext, --upper-ext the extension's case when modifying names (default upper)\n");
}

int buildBatch(const Parsed &parsed, QList<std::shared_ptr<PhotoFile>> *batch) {
  QTextStream err(stderr);
  for (const QString &path : parsed.paths) {
    if (!QFileInfo::exists(path))
      err << "quillmere: no such file: " << path << "\n";
  }
  err.flush();
  AddPhotosConsole console([](const QString &line) {
    QTextStream stream(stderr);
    stream << line << "\n";
  });
  PhotoIntake engine(batch, &console);
  QStringList paths;
  for (const QString &path : parsed.paths)
    paths.append(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
  const AddPhotosStatus status = engine.addPaths(paths, parsed.recursive, parsed.from, parsed.to);
  engine.waitForFinished();
  if (parsed.sort != BatchOrder::Key::Added || parsed.reverse)
    *batch = BatchOrder::sorted(*batch, parsed.sort, parsed.reverse);
  switch (status.code) {
  case AddPhotosStatus::Code::Trash:
  case AddPhotosStatus::Code::DatesRefused:
  case AddPhotosStatus::Code::DatesIncomplete:
    err << "quillmere: " << status.message << "\n";
    return 64;
  default:
    return 0;
  }
}

int parseAndBuildBatch(const QString &command, const QStringList &args,
                       const QStringList &extraFlags, Parsed *parsed,
                       QList<std::shared_ptr<PhotoFile>> *batch) {
  QTextStream err(stderr);
  QString error;
  if (!parse(args, extraFlags, parsed, &error)) {
    err << "quillmere: " << error << "\n";
    return CommandLine::ExitUsage;
  }
  if (parsed->paths.isEmpty()) {
    err << "quillmere: " << command << " needs at least one PATH\n" << CommandLine::usageText();
    return CommandLine::ExitUsage;
  }
  err.flush();
  if (const int status = buildBatch(*parsed, batch))
    return status;
  AppDelegate::shared()->arraySelectedImagesToProcess = *batch;
  return 0;
}

PreparedBatch prepare(const Parsed &parsed, const QList<std::shared_ptr<PhotoFile>> &batch) {
  AppDelegate *delegate = AppDelegate::shared();
  PreparedBatch prepared =
      prepareBatch(batch, parsed.setting, parsed.options, delegate->arrFileFormatsSupported);
  handPreparedBatchToDelegate(delegate, prepared);
  return prepared;
}

} // namespace app::BatchOptions

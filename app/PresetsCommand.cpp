#include "app/AppDelegate.h"
#include "app/BatchOptions.h"
#include "app/CommandLine.h"
#include "app/Commands.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/Presets.h"

#include <QDir>
#include <QLoggingCategory>
#include <QTextStream>

#include <cstdio>

namespace app::Commands {

namespace {

QString presetsUsage() {
  return QStringLiteral(
      "usage:\n"
      "  quillmere presets                      list the presets\n"
      "  quillmere presets save NAME [OPTIONS]  save the settings the options of preview and run\n"
      "                                         give (--preset, --settings, --options and the\n"
      "                                         short forms) as NAME, replacing one of that name\n"
      "  quillmere presets export NAME FILE     write the preset to FILE (which must not exist)\n"
      "  quillmere presets import FILE          keep FILE as a preset under the name it holds\n"
      "  quillmere presets delete NAME          move the preset's file to the trash\n");
}

// One line of the list: name, format, rename mode, where the results go.
QString describe(const Presets::Preset &preset) {
  const auto setting = BatchRenameSetting::initWithDictionary(preset.settings);
  const auto options = OutputOptionSettings::initWithDictionary(preset.options);
  const QStringList formats = AppDelegate::shared()->arrFileFormatsSupported;
  const QString format = formats.value(setting->outputFormatIndex(), QStringLiteral("?"));
  const QString names =
      setting->renamingMode() == 0 ? QStringLiteral("keep names") : QStringLiteral("modify names");
  QString where;
  if (options->useSourceFolder)
    where = QStringLiteral("beside");
  else
    where = QStringLiteral("%1 %2").arg(options->moveAndRenameToDestinationFolder
                                            ? QStringLiteral("move to")
                                            : QStringLiteral("copy to"),
                                        options->outputFolderPath);
  return QStringLiteral("%1\t%2\t%3\t%4").arg(preset.name, format, names, where);
}

} // namespace

// `quillmere presets [save|export|import|delete ...]`. Exit status 0, 1 when the preset
// operation failed or a preset file is damaged (listed on standard error), 64 on bad usage.
int presets(const QStringList &args) {
  QTextStream out(stdout);
  QTextStream err(stderr);
  QLoggingCategory::setFilterRules(
      QStringLiteral("quillmere.*.debug=false\nquillmere.*.info=false"));
  const QString verb = args.value(0);
  if (verb == QLatin1String("--help") || verb == QLatin1String("-h")) {
    out << presetsUsage();
    return CommandLine::ExitOk;
  }
  const auto usage = [&](const QString &why) {
    err << "quillmere: " << why << "\n" << presetsUsage();
    return int(CommandLine::ExitUsage);
  };
  QString error;
  if (verb.isEmpty() || verb == QLatin1String("list")) {
    if (args.size() > 1)
      return usage(QStringLiteral("presets takes no further arguments"));
    QStringList problems;
    const QList<Presets::Preset> all = Presets::list(&problems);
    for (const Presets::Preset &preset : all)
      out << describe(preset) << "\n";
    out.flush();
    for (const QString &problem : problems)
      err << "quillmere: " << problem << "\n";
    return problems.isEmpty() ? 0 : 1;
  }
  if (verb == QLatin1String("save")) {
    if (args.size() < 2)
      return usage(QStringLiteral("presets save needs a NAME"));
    if (args.contains(QStringLiteral("--help")))
      return out << presetsUsage() << BatchOptions::helpText(), int(CommandLine::ExitOk);
    BatchOptions::Parsed parsed;
    if (!BatchOptions::parse(args.mid(2), {}, &parsed, &error))
      return usage(error);
    if (!parsed.paths.isEmpty())
      return usage(QStringLiteral("presets save takes options only, not %1").arg(parsed.paths[0]));
    if (!Presets::save(args.at(1), parsed.setting->dictionaryRepresentation(),
                       parsed.options->dictionaryRepresentation(), &error)) {
      err << "quillmere: " << error << "\n";
      return 1;
    }
    out << "Saved preset \"" << args.at(1) << "\": " << Presets::fileForName(args.at(1)) << "\n";
    return 0;
  }
  if (verb == QLatin1String("export")) {
    if (args.size() != 3)
      return usage(QStringLiteral("presets export needs NAME and FILE"));
    const QString file = QDir::cleanPath(QDir::current().absoluteFilePath(args.at(2)));
    if (!Presets::exportTo(args.at(1), file, &error)) {
      err << "quillmere: " << error << "\n";
      return 1;
    }
    return 0;
  }
  if (verb == QLatin1String("import")) {
    if (args.size() != 2)
      return usage(QStringLiteral("presets import needs a FILE"));
    QString name;
    const QString file = QDir::cleanPath(QDir::current().absoluteFilePath(args.at(1)));
    if (!Presets::importFrom(file, &name, &error)) {
      err << "quillmere: " << error << "\n";
      return 1;
    }
    out << "Imported preset \"" << name << "\"\n";
    return 0;
  }
  if (verb == QLatin1String("delete")) {
    if (args.size() != 2)
      return usage(QStringLiteral("presets delete needs a NAME"));
    if (!Presets::remove(args.at(1), &error)) {
      err << "quillmere: " << error << "\n";
      return 1;
    }
    return 0;
  }
  return usage(QStringLiteral("unknown presets command: %1").arg(verb));
}

} // namespace app::Commands

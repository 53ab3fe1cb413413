#include "app/CommandLine.h"

#include "app/AppDelegate.h"
#include "app/Commands.h"
#include "platform/VipsSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>
#include <QUrl>

#include <cstdio>

namespace app::CommandLine {

namespace {

struct CommandEntry {
  const char *name;
  int (*run)(const QStringList &args);
};

// Each headless command lives in its own file; this table only names them.
constexpr CommandEntry kCommands[] = {
    {"info", &Commands::info},       {"preview", &Commands::preview}, {"run", &Commands::run},
    {"presets", &Commands::presets}, {"runs", &Commands::runs},       {"undo", &Commands::undo},
};

QTextStream &stdOut() {
  static QTextStream stream(stdout);
  return stream;
}

QTextStream &stdErr() {
  static QTextStream stream(stderr);
  return stream;
}

} // namespace

QString usageText() {
  return QStringLiteral(
      "usage:\n"
      "  quillmere                              open the window\n"
      "  quillmere open PATH...                 open the window with these photos and folders "
      "added\n"
      "                                         (folders with their sub-folders)\n"
      "  quillmere info [--date-source] FILE... the photo information table of each file\n"
      "                                         (--date-source: a last row, where the capture\n"
      "                                         date came from)\n"
      "  quillmere preview [OPTIONS] PATH...    build the batch, print the preview, apply the "
      "start gate\n"
      "  quillmere run [OPTIONS] PATH...        build the batch, apply the gate, run it, write "
      "the summary log\n"
      "  quillmere presets [save NAME [OPTIONS] | export NAME FILE | import FILE | delete NAME]\n"
      "                                         list and keep named presets (--preset NAME)\n"
      "  quillmere runs                         past runs and whether each has been undone\n"
      "  quillmere undo [RUN]                   undo the last run, or RUN\n"
      "  quillmere COMMAND --help               the options of a command\n"
      "  quillmere --help | --version\n");
}

bool wantsWindow(int argc, char **argv) {
  return argc <= 1 || qstrcmp(argv[1], "open") == 0;
}

QStringList pathsToOpen(int argc, char **argv) {
  QStringList paths;
  if (argc < 2 || qstrcmp(argv[1], "open") != 0)
    return paths;
  const QDir here = QDir::current();
  for (int i = 2; i < argc; ++i) {
    QString path = QFile::decodeName(argv[i]);
    // A file manager may hand over file:// addresses instead of paths.
    if (path.startsWith(QLatin1String("file://")))
      path = QUrl(path).toLocalFile();
    const QString absolute = QDir::cleanPath(here.absoluteFilePath(path));
    if (!QFileInfo::exists(absolute)) {
      stdErr() << "quillmere: no such file: " << path << "\n";
      stdErr().flush();
      continue;
    }
    paths << absolute;
  }
  return paths;
}

int run(int argc, char **argv) {
  QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Quillmere"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMERE_VERSION));
  QStringList args = QCoreApplication::arguments().mid(1);

  const QString first = args.value(0);
  if (first == QLatin1String("--help") || first == QLatin1String("-h")) {
    stdOut() << usageText();
    return ExitOk;
  }
  if (first == QLatin1String("--version")) {
    stdOut() << "quillmere " << QUILLMERE_VERSION << "\n";
    return ExitOk;
  }
  for (const CommandEntry &command : kCommands) {
    if (command.run && first == QLatin1String(command.name)) {
      platform::VipsSession vips(argv[0]);
      AppDelegate::shared()->prepareForHeadlessCommand();
      return command.run(args.mid(1));
    }
  }
  stdErr() << "quillmere: unknown command: " << first << "\n" << usageText();
  return ExitUsage;
}

} // namespace app::CommandLine

#include "app/CommandLine.h"
#include "app/Commands.h"
#include "processing/RunJournal.h"

#include <QLocale>
#include <QLoggingCategory>
#include <QTextStream>

#include <atomic>
#include <csignal>
#include <cstdio>

namespace app::Commands {

namespace {

std::atomic<bool> undoStopRequested{false};

extern "C" void requestUndoStop(int) {
  undoStopRequested = true;
}

QString describeRun(const RunInfo &run) {
  QString state = run.isUndone()          ? QStringLiteral("undone")
                  : !run.undone.isEmpty() ? QStringLiteral("partly undone")
                  : run.records.isEmpty() ? QStringLiteral("nothing written")
                                          : QStringLiteral("not undone");
  const QString where = run.mode == QLatin1String("beside") ? QStringLiteral("(beside the photos)")
                                                            : run.outputFolder;
  return QStringLiteral("%1\t%2\t%3 photo%4\t%5\t%6\t%7")
      .arg(run.id, run.started.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))
      .arg(run.records.size())
      .arg(run.records.size() == 1 ? QString() : QStringLiteral("s"))
      .arg(run.mode, where, state);
}

} // namespace

// `quillmere runs`: past runs, newest first, one line each: RUN, date and time, photos
// written, mode, output folder, whether it has been undone.
int runs(const QStringList &args) {
  QTextStream out(stdout);
  if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
    out << "usage: quillmere runs\n"
           "  past runs, newest first: RUN, date and time, photos written, mode, output folder,\n"
           "  and whether the run has been undone (quillmere undo RUN)\n";
    return CommandLine::ExitOk;
  }
  if (!args.isEmpty()) {
    QTextStream(stderr) << "quillmere: runs takes no arguments\n";
    return CommandLine::ExitUsage;
  }
  for (const RunInfo &run : RunJournal::runs())
    out << describeRun(run) << "\n";
  return CommandLine::ExitOk;
}

// `quillmere undo [RUN]`: takes back the last run or the one named. Exit status 0 when every
// photo of the run is undone, 1 when something was left (each on a line of standard error),
// 64 bad usage or no such run, 130 stopped by Ctrl-C (run it again to go on).
int undo(const QStringList &args) {
  QTextStream out(stdout);
  QTextStream err(stderr);
  QLoggingCategory::setFilterRules(
      QStringLiteral("quillmere.*.debug=false\nquillmere.*.info=false"));
  if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
    out << "usage: quillmere undo [RUN]\n"
           "  undoes the last run, or RUN (see quillmere runs): outputs still as the run left\n"
           "  them go to the trash, sources and replaced files come back from the trash. Nothing\n"
           "  is deleted and no file there now is written over: changed outputs and taken\n"
           "  paths are reported and left alone. A stopped undo goes on when run again.\n";
    return CommandLine::ExitOk;
  }
  if (args.size() > 1) {
    err << "quillmere: undo takes at most one RUN\n";
    return CommandLine::ExitUsage;
  }
  const QList<RunInfo> all = RunJournal::runs();
  const RunInfo *chosen = nullptr;
  for (const RunInfo &run : all) {
    if (args.isEmpty() || run.id == args.first()) {
      chosen = &run;
      break;
    }
  }
  if (!chosen) {
    err << "quillmere: "
        << (args.isEmpty() ? QStringLiteral("no run to undo")
                           : QStringLiteral("no run %1 (see quillmere runs)").arg(args.first()))
        << "\n";
    return CommandLine::ExitUsage;
  }
  if (chosen->isUndone() || chosen->records.isEmpty()) {
    out << "Run " << chosen->id << " has nothing left to undo.\n";
    return 0;
  }
  undoStopRequested = false;
  std::signal(SIGINT, requestUndoStop);
  std::signal(SIGTERM, requestUndoStop);
  err << "Undoing run " << chosen->id << " (" << chosen->records.size() << " photos)\n";
  err.flush();
  const UndoReport report = undoRun(
      *chosen,
      [&](int done, int total) {
        err << "\rUndone " << done << "/" << total;
        err.flush();
      },
      [] { return undoStopRequested.load(); });
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  err << "\n";
  for (const QString &line : report.leftAlone)
    err << "quillmere: " << line << "\n";
  err.flush();
  out << (report.stopped ? "Undo stopped: " : "Undo finished: ") << report.undone << " photo"
      << (report.undone == 1 ? "" : "s") << " undone, " << report.leftAlone.size()
      << " left alone\n";
  if (report.stopped)
    return 130;
  return report.complete() ? 0 : 1;
}

} // namespace app::Commands

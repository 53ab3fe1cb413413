#include "app/AppDelegate.h"
#include "app/BatchOptions.h"
#include "app/CommandLine.h"
#include "app/Commands.h"
#include "intake/PhotoFile.h"
#include "platform/MemoryTuning.h"
#include "platform/Workspace.h"
#include "processing/BatchRun.h"
#include "processing/RunSettings.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"
#include "rename/PreflightChecks.h"
#include "rename/PreviewPass.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSocketNotifier>
#include <QTextStream>

#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace app::Commands {

namespace {

enum RunExit { ExitProblems = 1, ExitRefused = 2, ExitDeclined = 3, ExitInterrupted = 130 };

// Ctrl-C reaches the event loop through a pipe: the handler may only write.
int interruptPipe[2] = {-1, -1};

void onInterrupt(int) {
  const char byte = 1;
  [[maybe_unused]] const ssize_t written = ::write(interruptPipe[1], &byte, 1);
  // A second Ctrl-C ends the process at once.
  std::signal(SIGINT, SIG_DFL);
}

bool askToProceed(qsizetype problems, QTextStream &err) {
  if (!::isatty(STDIN_FILENO) || !::isatty(STDERR_FILENO)) {
    err << "quillmere: " << problems
        << " photo(s) have errors or warnings and would be skipped; "
           "pass --yes to run anyway\n";
    return false;
  }
  err << problems << " photo(s) have errors or warnings and will be skipped. Proceed? [y/N] ";
  err.flush();
  QTextStream in(stdin);
  const QString answer = in.readLine().trimmed().toLower();
  return answer == QLatin1String("y") || answer == QLatin1String("yes");
}

// A bar on a terminal, a plain line per photo otherwise.
class ProgressDisplay {
public:
  ProgressDisplay() : terminal_(::isatty(STDERR_FILENO)) {}

  void photoDone(qint64 index, qsizetype count, int percentage, const PhotoFile &photo) {
    if (terminal_ && photo.processStatus == 2) {
      // What went wrong with a photo stays above the bar.
      endLine();
      std::fprintf(stderr, "quillmere: %s: %s\n", qPrintable(photo.filePath),
                   qPrintable(photo.processInfoMessage));
    }
    if (terminal_) {
      const int width = 30;
      const int filled = width * percentage / 100;
      std::fprintf(stderr, "\r[%s%s] %3d%% %lld/%lld ", QByteArray(filled, '#').constData(),
                   QByteArray(width - filled, '.').constData(), percentage,
                   static_cast<long long>(index + 1), static_cast<long long>(count));
      std::fflush(stderr);
      shown_ = true;
    } else {
      std::fprintf(stderr, "%lld/%lld %d%% %s: %s\n", static_cast<long long>(index + 1),
                   static_cast<long long>(count), percentage, qPrintable(photo.filePath),
                   qPrintable(photo.processInfoMessage));
    }
  }

  void endLine() {
    if (terminal_ && shown_) {
      std::fputs("\n", stderr);
      shown_ = false;
    }
  }

private:
  bool terminal_;
  bool shown_ = false;
};

} // namespace

// `quillmere run [OPTIONS] PATH...`: builds the batch and its preview, applies the start
// checks and the gate, runs the batch, prints the summary and the log's path.
int run(const QStringList &args) {
  // Before any thread starts, so that every thread of the run shares one heap.
  platform::MemoryTuning::reuseLargeBuffers();
  QTextStream out(stdout);
  QTextStream err(stderr);
  if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
    out << "usage: quillmere run [OPTIONS] PATH...\n"
        << BatchOptions::helpText()
        << "  --yes                 answer the start prompt with yes\n"
           "  --open                open the output folder when the run ends\n";
    return CommandLine::ExitOk;
  }
  QLoggingCategory::setFilterRules(
      QStringLiteral("quillmere.*.debug=false\nquillmere.*.info=false"));

  BatchOptions::Parsed parsed;
  QList<std::shared_ptr<PhotoFile>> batch;
  if (const int status = BatchOptions::parseAndBuildBatch(
          QStringLiteral("run"), args, {QStringLiteral("--yes"), QStringLiteral("--open")}, &parsed,
          &batch))
    return status;
  const PreparedBatch prepared = BatchOptions::prepare(parsed, batch);

  // The rename screen's start check.
  if (parsed.setting->renamingMode() == 1 &&
      BoxedValue::boolValue(parsed.setting->dictReplaceFileName, RuleKey::State) &&
      BoxedValue::stringValue(parsed.setting->dictReplaceFileName, RuleKey::NewName).isEmpty()) {
    err << PreflightText::kBlankReplaceName << "\n";
    return ExitRefused;
  }

  switch (prepared.startGate()) {
  case StartGate::Refuse:
    err << PreflightText::kRefusalTitle << ": " << PreflightText::kRefusalText << "\n";
    return ExitRefused;
  case StartGate::Prompt:
    if (!parsed.flags.contains(QStringLiteral("--yes")) &&
        !askToProceed(prepared.verdicts.problemCount(), err))
      return ExitDeclined;
    break;
  case StartGate::Start:
    break;
  }
  err.flush();
  // The output folder opens only when asked for on the command line.
  if (!parsed.flags.contains(QStringLiteral("--open")))
    prepared.options->openOutputFolderAfterProcessing = false;

  BatchRun runner(AppDelegate::shared());
  runner.openPath = [](const QString &path) { platform::Workspace::openPath(path); };

  ProgressDisplay progress;
  // Only what the user must know reaches the terminal: failures to write the log. A photo
  // in error has its own line.
  runner.logLine = [&progress](const QString &line) {
    if (line.startsWith(QLatin1String("Failed to create directory")) ||
        line.startsWith(QLatin1String("Error While Generating Log File"))) {
      progress.endLine();
      std::fprintf(stderr, "quillmere: %s\n", qPrintable(line));
    }
  };
  QObject::connect(&runner, &BatchRun::photoUpdated, [&](qint64 index) {
    const auto &photo = runner.runBatch().at(index);
    progress.photoDone(index, runner.runBatch().size(), runner.progressPercentage, *photo);
  });

  bool interrupted = false;
  bool lowSpace = false;
  bool finished = false;
  QEventLoop loop;
  QObject::connect(&runner, &BatchRun::runEnded, [&](bool f) {
    finished = f;
    loop.quit();
  });
  // At the terminal the stop is already confirmed: answer the abort sheet with Yes.
  QObject::connect(&runner, &BatchRun::abortSheetRequested,
                   [&](const QString &) { runner.btnYesOnAbortTapped(); });
  QObject::connect(&runner, &BatchRun::enoughSpacePopupRequested, [&] {
    lowSpace = true;
    progress.endLine();
    std::fprintf(stderr, "quillmere: less than 101 MiB free on the output volume; stopping "
                         "after the current photo\n");
    runner.btnOkOnEnoughtSpcaecTapped();
  });

  std::unique_ptr<QSocketNotifier> notifier;
  if (::pipe2(interruptPipe, O_CLOEXEC | O_NONBLOCK) == 0) {
    notifier = std::make_unique<QSocketNotifier>(interruptPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [&] {
      char byte;
      while (::read(interruptPipe[0], &byte, 1) > 0) {
      }
      if (interrupted)
        return;
      interrupted = true;
      progress.endLine();
      std::fprintf(stderr, "quillmere: stopping after the photo in progress\n");
      runner.btnStopProcessTapped();
    });
    std::signal(SIGINT, onInterrupt);
  }

  if (!runner.start(prepared))
    return ExitRefused;
  loop.exec();
  std::signal(SIGINT, SIG_DFL);
  progress.endLine();

  const SummaryInfo &info = runner.summaryInfo;
  out << info.header << "\n"
      << "Batch Count: " << info.batchCount << "\n"
      << "Total Size: " << info.totalSize << "\n"
      << "Processing Steps Applied: " << info.stepsApplied << "\n"
      << "Photos Processed: " << info.processed << "\n"
      << "Photos not Processed: " << info.notProcessed << "\n"
      << "Photos Skipped: " << info.skipped << "\n"
      << "Photos with Error: " << info.errors << "\n"
      << "Time elapsed:" << info.timeElapsed << "\n"
      << "Output Directory: " << info.outputDirectory << "\n"
      << "Log: " << runner.strLogfilePath << "\n";
  out.flush();

  if (interrupted && !finished)
    return ExitInterrupted;
  if (lowSpace || !finished)
    return ExitProblems;
  const bool allDone = runner.counterProcessedSuccessfully == qint64(batch.size());
  return allDone ? int(CommandLine::ExitOk) : int(ExitProblems);
}

} // namespace app::Commands

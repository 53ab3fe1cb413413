#pragma once

#include <QStringList>

// The headless side of the `quillmere` binary. It needs no display: commands run under a
// QCoreApplication on the same engine as the window.
namespace app::CommandLine {

enum ExitStatus {
  ExitOk = 0,
  ExitUsage = 64, // bad usage, as sysexits' EX_USAGE
};

// No arguments, or `open PATH...`, means the window; anything else is a command or an option.
bool wantsWindow(int argc, char **argv);

// The paths of `quillmere open PATH...`, made absolute against the working folder (empty for
// any other command line). Paths that do not exist are reported on standard error and left
// out; the window opens all the same.
QStringList pathsToOpen(int argc, char **argv);

// Runs `quillmere ARGS...` headless and returns the process's exit status.
int run(int argc, char **argv);

QString usageText();

} // namespace app::CommandLine

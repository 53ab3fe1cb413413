#pragma once

#include <QStringList>

// One entry point per headless command; each returns the process's exit status.
namespace app::Commands {

// quillmere info FILE...
int info(const QStringList &args);

// quillmere preview [OPTIONS] PATH...
int preview(const QStringList &args);

// quillmere run [OPTIONS] PATH...
int run(const QStringList &args);

// quillmere presets [save NAME [OPTIONS] | export NAME FILE | import FILE | delete NAME]
int presets(const QStringList &args);

// quillmere runs
int runs(const QStringList &args);

// quillmere undo [RUN]
int undo(const QStringList &args);

} // namespace app::Commands

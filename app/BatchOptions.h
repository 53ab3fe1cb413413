#pragma once

#include "intake/BatchOrder.h"
#include "rename/PreviewPass.h"

#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

class BatchRenameSetting;
class OutputOptionSettings;
class PhotoFile;

// The options shared by `quillmere preview` and `quillmere run`: how the batch is added,
// the rename and format settings, and the output options. Settings from files, the short
// forms and the rename options all pass the settings screen's field rules.
namespace app::BatchOptions {

struct Parsed {
  QStringList paths;
  bool recursive = false;
  QDateTime from;
  QDateTime to;
  std::shared_ptr<BatchRenameSetting> setting;
  std::shared_ptr<OutputOptionSettings> options;
  // The order the batch is put in before the preview and the run.
  BatchOrder::Key sort = BatchOrder::Key::Added;
  bool reverse = false;
  // The preset named by --preset (empty without it).
  QString preset;
  // Flags the command accepted besides the shared ones (e.g. "--yes" for run).
  QSet<QString> flags;
};

// Parses args. extraFlags are accepted value-less flags of the calling command. False with
// a message (for standard error, without the "quillmere: " prefix) on bad usage.
bool parse(const QStringList &args, const QStringList &extraFlags, Parsed *out, QString *error);

// The options text of --help.
QString helpText();

// Builds the batch from the parsed paths as one add run, the add run's messages on standard
// error. Returns 0, or 64 with the reason written when the add was refused.
int buildBatch(const Parsed &parsed, QList<std::shared_ptr<PhotoFile>> *batch);

// What preview and run both do first: parse args (extraFlags as above), require a PATH,
// build the batch and make it the delegate's. Returns 0, or the exit status with the reason
// written to standard error.
int parseAndBuildBatch(const QString &command, const QStringList &args,
                       const QStringList &extraFlags, Parsed *parsed,
                       QList<std::shared_ptr<PhotoFile>> *batch);

// What preview and run both do next, as the window does: one preview pass over the batch
// with the parsed settings (parsed's setting and options become the result's), handed to
// the delegate. preview prints it; run checks it at the gate and starts it whole.
PreparedBatch prepare(const Parsed &parsed, const QList<std::shared_ptr<PhotoFile>> &batch);

} // namespace app::BatchOptions

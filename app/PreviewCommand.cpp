#include "app/AppDelegate.h"
#include "app/BatchOptions.h"
#include "app/CommandLine.h"
#include "app/Commands.h"
#include "intake/PhotoFile.h"
#include "metadata/ExifInfo.h"
#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"
#include "rename/PreflightChecks.h"
#include "rename/PreviewPass.h"

#include <QLoggingCategory>
#include <QTextStream>

#include <cstdio>

namespace app::Commands {

// `quillmere preview [OPTIONS] PATH...`: builds the batch, prints one line per photo (row
// status, source, destination) and the counts, and exits with the start gate's verdict:
// 0 start at once, 1 the start prompt, 2 refused. --date-source adds a fourth column: where
// each photo's capture date came from.
int preview(const QStringList &args) {
  QTextStream out(stdout);
  QTextStream err(stderr);
  if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
    out << "usage: quillmere preview [--date-source] [OPTIONS] PATH...\n"
        << "  --date-source            a fourth column: where each capture date came from\n"
        << BatchOptions::helpText();
    return CommandLine::ExitOk;
  }
  // Console lines are for diagnosing the window; the command's output is its contract.
  QLoggingCategory::setFilterRules(
      QStringLiteral("quillmere.*.debug=false\nquillmere.*.info=false"));

  BatchOptions::Parsed parsed;
  QList<std::shared_ptr<PhotoFile>> batch;
  if (const int status = BatchOptions::parseAndBuildBatch(
          QStringLiteral("preview"), args, {QStringLiteral("--date-source")}, &parsed, &batch))
    return status;
  const bool dateSource = parsed.flags.contains(QStringLiteral("--date-source"));
  const PreparedBatch prepared = BatchOptions::prepare(parsed, batch);
  const ErrorFiles &errors = prepared.verdicts;
  for (const std::shared_ptr<OutputPhotoPath> &record : prepared.destinations) {
    out << rowStatusForRecord(*record, errors).toolTip << '\t' << record->oldFilePath << '\t'
        << record->filePath;
    if (dateSource)
      out << '\t' << ExifInfo::initWithFile(record->oldFilePath)->dateSourceText();
    out << '\n';
  }
  out << "ALL: " << prepared.destinations.size() << "  ERRORS: " << errors.errorCount()
      << "  WARNINGS: " << errors.warningCount() << '\n';
  out.flush();

  switch (prepared.startGate()) {
  case StartGate::Refuse:
    err << PreflightText::kRefusalTitle << ": " << PreflightText::kRefusalText << "\n";
    return 2;
  case StartGate::Prompt:
    return 1;
  case StartGate::Start:
    break;
  }
  return CommandLine::ExitOk;
}

} // namespace app::Commands

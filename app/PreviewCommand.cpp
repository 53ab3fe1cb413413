#include "app/AppDelegate.h"
#include "app/BatchOptions.h"
#include "app/CommandLine.h"
#include "app/Commands.h"
#include "intake/PhotoFile.h"
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
// 0 start at once, 1 the start prompt, 2 refused.
int preview(const QStringList &args) {
  QTextStream out(stdout);
  QTextStream err(stderr);
  if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
    out << "usage: quillmere preview [OPTIONS] PATH...\n" << BatchOptions::helpText();
    return CommandLine::ExitOk;
  }
  // Console lines are for diagnosing the window; the command's output is its contract.
  QLoggingCategory::setFilterRules(
      QStringLiteral("quillmere.*.debug=false\nquillmere.*.info=false"));

  BatchOptions::Parsed parsed;
  QList<std::shared_ptr<PhotoFile>> batch;
  if (const int status =
          BatchOptions::parseAndBuildBatch(QStringLiteral("preview"), args, {}, &parsed, &batch))
    return status;
  AppDelegate *delegate = AppDelegate::shared();

  const PreviewResult result = computePreview(batch, RenameRules::fromSetting(*parsed.setting),
                                              delegate->arrFileFormatsSupported, *parsed.options);
  if (result.isIphotoExist)
    parsed.options->forceCopyModeForLibraryPhotos();
  delegate->selectedRenameSettingObj = parsed.setting;
  delegate->selectedOuputSettingObj = parsed.options;
  delegate->arrayDestinationPaths = result.paths;

  const ErrorFiles errors =
      calculateErrorFiles(result.paths, parsed.options->owerwriteExistingFiles);
  for (const std::shared_ptr<OutputPhotoPath> &record : result.paths)
    out << rowStatusForRecord(*record, errors).toolTip << '\t' << record->oldFilePath << '\t'
        << record->filePath << '\n';
  out << "ALL: " << result.paths.size() << "  ERRORS: " << errors.errorCount()
      << "  WARNINGS: " << errors.warningCount() << '\n';
  out.flush();

  switch (startGateForBatch(errors, result.paths.size())) {
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

#include "processing/RunSettings.h"

#include "rename/BatchRenameSetting.h"
#include "rename/OutputOptionSettings.h"

RunSettings runSettingsFrom(const BatchRenameSetting *rename, const OutputOptionSettings *output) {
  RunSettings settings;
  if (rename) {
    settings.outputFormat = rename->outputFormatIndex();
    settings.isSetQuality = rename->setQuality();
    settings.qualityRatio = float(rename->quality());
    settings.isSetCompression = rename->setCompression();
    settings.compressionRatio = rename->compression();
    settings.dateShift = rename->dictDateTimeStamp.value(RuleKey::Shift).toLongLong();
    settings.writeDateShift = rename->dictDateTimeStamp.value(RuleKey::WriteShift).toBool();
  }
  if (output) {
    settings.outputFolderPath = output->resolvedOutputFolderPath();
    settings.useSourceFolder = output->useSourceFolder;
    settings.moveAndRenameToDestinationFolder = output->moveAndRenameToDestinationFolder;
    settings.copyyToDestinationFolder = output->copyyToDestinationFolder;
    settings.owerwriteExistingFiles = output->owerwriteExistingFiles;
    settings.setOutputDateTimeAsOriginal = output->setOutputDateTimeAsOriginal;
    settings.openOutputFolderAfterProcessing = output->openOutputFolderAfterProcessing;
  }
  return settings;
}

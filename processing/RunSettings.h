#pragma once

#include <QString>

// The settings a batch run reads, taken once when the run starts from the current rename
// setting (BatchRenameSetting) and output options (OutputOptionSettings), so the run and the
// writer see one consistent set even if the screen changes meanwhile.
struct RunSettings {
  // From the rename-and-format setting.
  qint32 outputFormat = 0; // index into the output-format list
  bool isSetQuality = false;
  float qualityRatio = 1.0f; // 0.0-1.0
  bool isSetCompression = false;
  qint32 compressionRatio = 0; // 0-9, see Utils::encodeImage
  // The date/time stamp's clock correction (seconds) and whether the outputs get the corrected
  // taken date in their EXIF.
  qint64 dateShift = 0;
  bool writeDateShift = false;

  // From the output options.
  QString outputFolderPath;
  bool useSourceFolder = false;
  bool moveAndRenameToDestinationFolder = false;
  bool copyyToDestinationFolder = true;
  bool owerwriteExistingFiles = false;
  bool setOutputDateTimeAsOriginal = false;
  bool openOutputFolderAfterProcessing = false;
};

class BatchRenameSetting;
class OutputOptionSettings;

// The run's settings from the current rename setting and output options (either may be
// null: its fields then keep their defaults).
RunSettings runSettingsFrom(const BatchRenameSetting *rename, const OutputOptionSettings *output);

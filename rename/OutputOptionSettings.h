#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <memory>

class AppDelegate;
class PhotoFile;

// Where the batch's results go and what happens around writing them. The three mode flags
// are kept mutually exclusive by setDestinationMode.
class OutputOptionSettings {
public:
  // The preferences key of the saved archive (spelled so on purpose).
  static const QString kDefaultsKey; // "OUTPUT_OPTONS_SETTING"

  enum DestinationMode { ModeMove = 0, ModeCopy = 1, ModeSourceFolder = 2 };

  // Copy into the Pictures folder's "Quillmere", which is created when missing.
  static std::shared_ptr<OutputOptionSettings> initWithDefaults();
  // The delegate's current options (shared), or new defaults that the delegate then holds.
  static std::shared_ptr<OutputOptionSettings>
  readDefaultOutputOptionSetting(AppDelegate *delegate);
  // From a dictionary keyed by the field names (an options file): a missing key keeps the
  // default, a wrong type reads as off or empty.
  static std::shared_ptr<OutputOptionSettings> initWithDictionary(const QVariantMap &dict);
  static std::shared_ptr<OutputOptionSettings> initWithCoder(const QByteArray &data,
                                                             QString *error = nullptr);
  QByteArray encodeWithCoder() const;
  QVariantMap dictionaryRepresentation() const;
  void saveUpdatedOutputOptionSettingsInDefault();

  // The Pictures folder's "Quillmere".
  static QString defaultOutputFolderPath();
  // Makes outputFolderPath (with its parents) when it is missing; a failure is left for the
  // checks and the run to report.
  void createOutputFolderIfMissing() const;

  // --- Controls ---
  // A destination-mode button (0 move, 1 copy, 2 source folder): clears the three flags
  // and sets one; the source folder also switches off opening the output folder.
  void setDestinationMode(int tag);
  int destinationMode() const;
  // Whether the folder field, the chooser and the open-folder box are enabled.
  bool isOutputFolderEditable() const { return !useSourceFolder; }
  // The folder chooser: the path is lower-cased before use; a folder in the trash is
  // dropped silently (false).
  bool chooseOutputFolder(const QString &path);
  // Library photos cannot be moved out of their library: copy instead of move.
  void forceCopyModeForLibraryPhotos();

  // The folder outputFolderPath names on disk: a lower-cased choice is matched
  // case-insensitively to the existing folder.
  QString resolvedOutputFolderPath() const;

  QString dateString;
  QString outputFolderPath;
  bool moveAndRenameToDestinationFolder = false;
  bool copyyToDestinationFolder = true;
  bool useSourceFolder = false;
  bool openOutputFolderAfterProcessing = true;
  bool owerwriteExistingFiles = false;
  bool setOutputDateTimeAsOriginal = false;

  static const QString kMoveToolTip;
  static const QString kCopyToolTip;
  static const QString kSourceFolderToolTip;
  static const QString kMoveInfo;
  static const QString kSourceFolderInfo;
};

// The destination folder of each photo for one set of options. The chosen folder is
// resolved once per pass, not once per photo.
class DestinationFolder {
public:
  explicit DestinationFolder(const OutputOptionSettings &options);
  // The options' folder; a library photo in source-folder mode goes to the Desktop's
  // "iPhoto_QuillmereOutput"; any other photo in that mode to its own folder.
  QString getUpdatedOutputPathStringForPhotoFile(const PhotoFile &photo) const;
  QString folderFor(const QString &photoPath, bool isIphotosNode) const;

private:
  bool useSourceFolder_;
  QString outputFolder_;
  QString libraryFolder_;
};

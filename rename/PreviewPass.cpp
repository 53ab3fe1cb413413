#include "rename/PreviewPass.h"

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "platform/FolderListing.h"
#include "platform/PathText.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"

#include <QEventLoop>
#include <QHash>
#include <QSet>
#include <QThreadPool>

#include <algorithm>
#include <optional>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

// Records of one slice of the batch [begin, end) with an engine of its own; the slice
// starts at its batch position, so numbers and names are those of a single pass.
struct Slice {
  qsizetype begin = 0;
  qsizetype end = 0;
  bool isIphotoExist = false;
  bool isRawFormatExist = false;
};

// The names in folder; none when it cannot be listed (the caller then tests each path).
std::optional<QSet<QString>> namesInFolder(const QString &folder) {
  bool isDirectory = false;
  if (!platform::Files::fileExists(folder, &isDirectory) || !isDirectory)
    return QSet<QString>();
  const platform::FolderListing::Listing listing = platform::FolderListing::list(folder);
  if (!listing.readable)
    return std::nullopt;
  QSet<QString> names;
  names.reserve(listing.entries.size());
  for (const platform::FolderListing::Entry &entry : listing.entries)
    names.insert(entry.name);
  return names;
}

void computeSlice(const QList<std::shared_ptr<PhotoFile>> &batch, const RenameRules &rules,
                  const QStringList &formats, const OutputOptionSettings &options, Slice *slice,
                  std::vector<std::shared_ptr<OutputPhotoPath>> *paths) {
  RenameEngine engine(rules, formats);
  const DestinationFolder destination(options);
  // Each destination folder is listed once: a name lookup per photo then costs no file
  // system call. A folder that cannot be listed falls back to a test per photo; one that
  // does not exist holds nothing.
  struct FolderFacts {
    QString prefix;
    std::optional<QSet<QString>> names;
  };
  QHash<QString, FolderFacts> folders;
  QHash<QString, FolderFacts>::const_iterator known = folders.cend();
  QString lastFolder;
  for (qsizetype i = slice->begin; i < slice->end; ++i) {
    const PhotoFile &photo = *batch.at(i);
    const QString newName = engine.getUpdatedRenameStringForPhotoFile(photo, quint32(i));
    const QString folder = destination.getUpdatedOutputPathStringForPhotoFile(photo);
    // A batch comes folder by folder: the same folder text is the same entry.
    if (folder.constData() != lastFolder.constData() || folder.size() != lastFolder.size()) {
      known = folders.constFind(folder);
      lastFolder = folder;
    }
    if (known == folders.cend())
      known =
          folders.insert(folder, {OutputPhotoPath::folderPrefixFor(folder), namesInFolder(folder)});
    std::shared_ptr<OutputPhotoPath> record;
    if (known->names && !newName.contains(QLatin1Char('/')) && newName != QLatin1String(".") &&
        newName != QLatin1String("..")) {
      record = OutputPhotoPath::initWithFolderPrefix(known->prefix, newName, photo.filePath);
      const QSet<QString> &names = *known->names;
      record->fileAlreadyExistAtPath =
          !names.isEmpty() &&
          (names.contains(newName) ||
           names.contains(QStringView(record->filePath).mid(known->prefix.size()).toString()));
    } else {
      record =
          OutputPhotoPath::initWithFileUrl(folder + QLatin1Char('/') + newName, photo.filePath);
    }
    (*paths)[size_t(i)] = std::move(record);
    if (photo.isIphotosNode)
      slice->isIphotoExist = true;
  }
  slice->isRawFormatExist = engine.isRawFormatExist;
}

// Slices worth a thread of their own: the taken date reads every file, so even small
// batches gain; plain string work only pays off for large ones.
int workerCount(qsizetype photos, bool readsFiles) {
  const qsizetype minimumPerWorker = readsFiles ? 8 : 20000;
  const int cores = int(std::max(1u, std::thread::hardware_concurrency()));
  return int(std::clamp<qsizetype>(photos / minimumPerWorker, 1, std::min(cores, 4)));
}

} // namespace

PreviewResult computePreview(const QList<std::shared_ptr<PhotoFile>> &batch,
                             const RenameRules &rules, const QStringList &formats,
                             const OutputOptionSettings &options) {
  const qsizetype count = batch.size();
  std::vector<std::shared_ptr<OutputPhotoPath>> paths(static_cast<size_t>(count));
  const int workers = workerCount(count, rules.needsTakenDate());
  std::vector<Slice> slices(static_cast<size_t>(workers));
  for (int w = 0; w < workers; ++w) {
    slices[size_t(w)].begin = count * w / workers;
    slices[size_t(w)].end = count * (w + 1) / workers;
  }
  std::vector<std::thread> threads;
  for (int w = 1; w < workers; ++w)
    threads.emplace_back(computeSlice, std::cref(batch), std::cref(rules), std::cref(formats),
                         std::cref(options), &slices[size_t(w)], &paths);
  computeSlice(batch, rules, formats, options, &slices[0], &paths);
  for (std::thread &thread : threads)
    thread.join();

  PreviewResult result;
  result.paths = QList<std::shared_ptr<OutputPhotoPath>>(std::make_move_iterator(paths.begin()),
                                                         std::make_move_iterator(paths.end()));
  for (const Slice &slice : slices)
    result.isIphotoExist = result.isIphotoExist || slice.isIphotoExist;
  // The engine's flag tells about the last photo computed: the last slice's.
  result.isRawFormatExist = slices.back().isRawFormatExist;
  countOccurences(result.paths);
  return result;
}

void countOccurences(const QList<std::shared_ptr<OutputPhotoPath>> &records) {
  // Node-based: a count stays where it was made, so the second walk needs no lookup.
  std::unordered_map<QString, qint32> counts;
  counts.reserve(size_t(records.size()));
  std::vector<qint32 *> slots;
  slots.reserve(size_t(records.size()));
  for (const std::shared_ptr<OutputPhotoPath> &record : records) {
    qint32 &count = counts[record->filePath];
    ++count;
    slots.push_back(&count);
  }
  for (qsizetype i = 0; i < records.size(); ++i)
    records.at(i)->occurenceCount = *slots[size_t(i)];
}

RenamePreviewController::RenamePreviewController(AppDelegate *delegate, QObject *parent)
    : QObject(parent), delegate_(delegate), queue_(new QThreadPool(this)) {
  // One worker: passes run one after another, in the order they were started.
  queue_->setMaxThreadCount(1);
  filterButtons = updateErrorAndWarningUI(errorFiles);
}

RenamePreviewController::~RenamePreviewController() {
  // A pass still running hands its result to this object: let it end first.
  waitForPreview();
  queue_->waitForDone();
}

void RenamePreviewController::viewDidAppear() {
  flagPreviewFilesMode = PreviewAll;
  setting = BatchRenameSetting::readDefaultRenameSetting(delegate_);
  options = OutputOptionSettings::readDefaultOutputOptionSetting(delegate_);
  resetPreviewForUpdatedRenameSelections(true);
}

void RenamePreviewController::resetAllSettings() {
  setting = BatchRenameSetting::resetAllSettings(delegate_);
  resetPreviewForUpdatedRenameSelections(false);
}

void RenamePreviewController::resetPreviewForUpdatedRenameSelections(bool initial) {
  if (!setting)
    setting = BatchRenameSetting::readDefaultRenameSetting(delegate_);
  if (!options)
    options = OutputOptionSettings::readDefaultOutputOptionSetting(delegate_);
  arrayOutputFilePaths.clear();
  if (postNotification) {
    postNotification(QStringLiteral("notificationsHideLoading"));
    postNotification(QStringLiteral("notificationsShowLoading"));
  }
  delegate_->isPROCESSING_WITH_FILES_SYSTEM = true;
  isIphotoExist = false;
  if (!initial)
    delegate_->isRENAME_SETTINGS_CHANGED = true;

  // The pass works on copies taken now, so later edits cannot race with it.
  const QList<std::shared_ptr<PhotoFile>> batch = delegate_->arraySelectedImagesToProcess;
  const RenameRules rules = RenameRules::fromSetting(*setting);
  const QStringList formats = delegate_->arrFileFormatsSupported;
  const OutputOptionSettings optionsNow = *options;
  ++pendingPasses_;
  queue_->start([this, batch, rules, formats, optionsNow] {
    const PreviewResult result = computePreview(batch, rules, formats, optionsNow);
    QMetaObject::invokeMethod(
        this, [this, &result] { finishPass(result); }, Qt::BlockingQueuedConnection);
  });
}

void RenamePreviewController::finishPass(const PreviewResult &result) {
  --pendingPasses_;
  arrayOutputFilePaths = result.paths;
  isIphotoExist = result.isIphotoExist;
  isRawFormatExist = result.isRawFormatExist;
  delegate_->selectedOuputSettingObj = options;
  delegate_->selectedRenameSettingObj = setting;
  delegate_->arrayDestinationPaths = result.paths;
  errorFiles = calculateErrorFiles(result.paths, options->owerwriteExistingFiles);
  filterButtons = updateErrorAndWarningUI(errorFiles);
  if (postNotification)
    postNotification(QStringLiteral("notificationsHideLoading"));
  delegate_->isPROCESSING_WITH_FILES_SYSTEM = false;
  if (isIphotoExist)
    options->forceCopyModeForLibraryPhotos();
  isMoveModeEnabled = !isIphotoExist;
  Q_EMIT previewUpdated();
}

void RenamePreviewController::waitForPreview() {
  while (pendingPasses_ > 0) {
    QEventLoop loop;
    connect(this, &RenamePreviewController::previewUpdated, &loop, &QEventLoop::quit);
    if (pendingPasses_ > 0)
      loop.exec();
  }
}

QString RenamePreviewController::perfromStartProcess() {
  if (setting && setting->renamingMode() == 1 &&
      BoxedValue::boolValue(setting->dictReplaceFileName, RuleKey::State) &&
      BoxedValue::stringValue(setting->dictReplaceFileName, RuleKey::NewName).isEmpty())
    return PreflightText::kBlankReplaceName;
  callDelegateToProcessPhotos();
  return QString();
}

void RenamePreviewController::callDelegateToProcessPhotos() {
  delegate_->selectedOuputSettingObj = options;
  delegate_->selectedRenameSettingObj = setting;
  delegate_->arrayDestinationPaths = arrayOutputFilePaths;
  Q_EMIT processPhotosRequested();
}

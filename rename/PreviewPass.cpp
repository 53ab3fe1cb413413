#include "rename/PreviewPass.h"

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/BackgroundRelease.h"
#include "platform/Files.h"
#include "platform/FolderListing.h"
#include "platform/PathText.h"
#include "platform/SerialQueue.h"
#include "platform/ThreadHandOff.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BatchSlices.h"
#include "rename/BoxedValue.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"

#include <QEventLoop>
#include <QHash>
#include <QSet>
#include <QThreadPool>

#include <deque>
#include <mutex>
#include <optional>
#include <utility>
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
  const bool takenDate = rules.needsTakenDate();
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
    // The engine has just read the taken date, so this is the record kept with it: the
    // preview shows where each date came from without opening the photo again.
    if (takenDate) {
      int source = 0;
      photo.captureDateOfFile(&source, &record->captureZoneOffset);
      record->captureDateSource = qint8(source);
    }
    (*paths)[size_t(i)] = std::move(record);
    if (photo.isIphotosNode)
      slice->isIphotoExist = true;
  }
  slice->isRawFormatExist = engine.isRawFormatExist;
}

} // namespace

PreviewResult computePreview(const QList<std::shared_ptr<PhotoFile>> &batch,
                             const RenameRules &rules, const QStringList &formats,
                             const OutputOptionSettings &options) {
  const qsizetype count = batch.size();
  std::vector<std::shared_ptr<OutputPhotoPath>> paths(static_cast<size_t>(count));
  // The taken date reads every file, so even small batches gain from threads; plain string
  // work only pays off for large ones.
  const int workers = BatchSlices::sliceCount(count, rules.needsTakenDate() ? 8 : 20000);
  std::vector<Slice> slices(static_cast<size_t>(workers));
  BatchSlices::run(count, workers, [&](int s, qsizetype begin, qsizetype end) {
    Slice &slice = slices[size_t(s)];
    slice.begin = begin;
    slice.end = end;
    computeSlice(batch, rules, formats, options, &slice, &paths);
  });

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

PreparedBatch prepareBatch(QList<std::shared_ptr<PhotoFile>> batch,
                           std::shared_ptr<BatchRenameSetting> setting,
                           std::shared_ptr<OutputOptionSettings> options,
                           const QStringList &formats) {
  PreparedBatch prepared;
  if (!setting || !options)
    return prepared;
  PreviewResult result =
      computePreview(batch, RenameRules::fromSetting(*setting), formats, *options);
  if (result.isIphotoExist)
    options->forceCopyModeForLibraryPhotos();
  prepared.verdicts = calculateErrorFiles(result.paths, options->owerwriteExistingFiles);
  prepared.batch = std::move(batch);
  prepared.destinations = std::move(result.paths);
  prepared.setting = std::move(setting);
  prepared.options = std::move(options);
  prepared.isIphotoExist = result.isIphotoExist;
  prepared.isRawFormatExist = result.isRawFormatExist;
  return prepared;
}

void handPreparedBatchToDelegate(AppDelegate *delegate, const PreparedBatch &prepared) {
  delegate->selectedRenameSettingObj = prepared.setting;
  delegate->selectedOuputSettingObj = prepared.options;
  delegate->arrayDestinationPaths = prepared.destinations;
}

void countOccurences(const QList<std::shared_ptr<OutputPhotoPath>> &records) {
  // Equal paths have equal hashes, so records split by hash into shards that are counted
  // apart, each on its own thread, in open-addressed tables of record indexes.
  const qsizetype n = records.size();
  std::vector<size_t> hashes(size_t(n), 0);
  const int shards = BatchSlices::sliceCount(n, 50000);
  BatchSlices::run(n, shards, [&](int, qsizetype begin, qsizetype end) {
    for (qsizetype i = begin; i < end; ++i)
      hashes[size_t(i)] = records.at(i) ? qHash(records.at(i)->filePath) : 0;
  });
  // first[i]: the index of the first record with record i's path; counts kept at that index.
  std::vector<qint32> first(size_t(n), -1);
  std::vector<qint32> counts(size_t(n), 0);
  BatchSlices::run(shards, shards, [&](int, qsizetype shardBegin, qsizetype shardEnd) {
    for (qsizetype shard = shardBegin; shard < shardEnd; ++shard) {
      size_t members = 0;
      for (qsizetype i = 0; i < n; ++i)
        members += records.at(i) && qsizetype(hashes[size_t(i)] % size_t(shards)) == shard;
      size_t capacity = 16;
      while (capacity < members * 2)
        capacity *= 2;
      std::vector<qint32> table(capacity, -1);
      for (qsizetype i = 0; i < n; ++i) {
        const size_t hash = hashes[size_t(i)];
        if (!records.at(i) || qsizetype(hash % size_t(shards)) != shard)
          continue;
        // The shard's own bits are the same in every member: probe with the others.
        size_t slot = (hash / size_t(shards)) & (capacity - 1);
        for (;; slot = (slot + 1) & (capacity - 1)) {
          const qint32 held = table[slot];
          if (held < 0) {
            table[slot] = qint32(i);
            first[size_t(i)] = qint32(i);
            break;
          }
          if (hashes[size_t(held)] == hash &&
              records.at(held)->filePath == records.at(i)->filePath) {
            first[size_t(i)] = held;
            break;
          }
        }
        ++counts[size_t(first[size_t(i)])];
      }
    }
  });
  for (qsizetype i = 0; i < n; ++i) {
    if (records.at(i))
      records.at(i)->occurenceCount = counts[size_t(first[size_t(i)])];
  }
}

struct RenamePreviewController::Channel {
  std::mutex mutex;
  RenamePreviewController *owner = nullptr;
  std::deque<PreparedBatch> finished; // handed back, not yet taken by the owner
};

namespace {

// Marks a pass handed to the queue for ThreadSanitizer.
const char kPassHandOff = 0;

// The serial background queue of every preview pass: passes run one after another in the
// order they were started.
QThreadPool *previewQueue() {
  static QThreadPool *const queue = platform::newSerialQueue();
  return queue;
}

} // namespace

RenamePreviewController::RenamePreviewController(AppDelegate *delegate, QObject *parent)
    : QObject(parent), channel_(std::make_shared<Channel>()), delegate_(delegate) {
  channel_->owner = this;
  filterButtons = updateErrorAndWarningUI(errorFiles);
}

RenamePreviewController::~RenamePreviewController() {
  // A pass still running finds no one to hand its result to; one already handed over is
  // dropped with this object's pending events.
  std::lock_guard<std::mutex> lock(channel_->mutex);
  channel_->owner = nullptr;
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

  // The pass works on copies taken now, so later edits cannot race with it. The checks run
  // with it, off this thread: they look at the disk for every photo.
  QList<std::shared_ptr<PhotoFile>> batch = delegate_->arraySelectedImagesToProcess;
  auto settingNow = std::make_shared<BatchRenameSetting>(*setting);
  auto optionsNow = std::make_shared<OutputOptionSettings>(*options);
  const QStringList formats = delegate_->arrFileFormatsSupported;
  ++pendingPasses_;
  std::function<void()> pass = [channel = channel_, batch = std::move(batch),
                                settingNow = std::move(settingNow),
                                optionsNow = std::move(optionsNow), formats]() mutable {
    platform::ThreadHandOff::received(&kPassHandOff);
    PreparedBatch prepared =
        prepareBatch(std::move(batch), std::move(settingNow), std::move(optionsNow), formats);
    std::lock_guard<std::mutex> lock(channel->mutex);
    if (RenamePreviewController *owner = channel->owner) {
      channel->finished.push_back(std::move(prepared));
      QMetaObject::invokeMethod(owner, "takeFinishedPass", Qt::QueuedConnection);
    }
  };
  platform::ThreadHandOff::sent(&kPassHandOff);
  previewQueue()->start(std::move(pass));
}

void RenamePreviewController::takeFinishedPass() {
  PreparedBatch prepared;
  {
    std::lock_guard<std::mutex> lock(channel_->mutex);
    if (channel_->finished.empty())
      return;
    prepared = std::move(channel_->finished.front());
    channel_->finished.pop_front();
  }
  finishPass(prepared);
}

void RenamePreviewController::finishPass(const PreparedBatch &prepared) {
  --pendingPasses_;
  // The superseded pass holds its own copy of the batch's list: freed off this thread.
  platform::BackgroundRelease::release(std::exchange(prepared_, prepared));
  arrayOutputFilePaths = prepared.destinations;
  isIphotoExist = prepared.isIphotoExist;
  isRawFormatExist = prepared.isRawFormatExist;
  delegate_->selectedOuputSettingObj = options;
  delegate_->selectedRenameSettingObj = setting;
  delegate_->arrayDestinationPaths = prepared.destinations;
  errorFiles = prepared.verdicts;
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

#include "rename/PreviewPass.h"

#include "app/AppDelegate.h"
#include "intake/PhotoFile.h"
#include "platform/Files.h"
#include "rename/BatchRenameSetting.h"
#include "rename/BoxedValue.h"
#include "rename/OutputOptionSettings.h"
#include "rename/OutputPhotoPath.h"

#include <QEventLoop>
#include <QHash>
#include <QThreadPool>

PreviewResult computePreview(const QList<std::shared_ptr<PhotoFile>> &batch,
                             const RenameRules &rules, const QStringList &formats,
                             const OutputOptionSettings &options) {
  PreviewResult result;
  result.paths.reserve(batch.size());
  RenameEngine engine(rules, formats);
  const DestinationFolder destination(options);
  // No file can exist in a folder that does not: one test per folder spares a test per
  // photo when the destination has not been made yet.
  QHash<QString, bool> folderExists;
  quint32 index = 0;
  for (const std::shared_ptr<PhotoFile> &photo : batch) {
    const QString newName = engine.getUpdatedRenameStringForPhotoFile(*photo, index++);
    const QString folder = destination.getUpdatedOutputPathStringForPhotoFile(*photo);
    const QString path = folder + QLatin1Char('/') + newName;
    auto known = folderExists.constFind(folder);
    if (known == folderExists.cend())
      known = folderExists.insert(folder, platform::Files::fileExists(folder));
    result.paths.append(known.value()
                            ? OutputPhotoPath::initWithFileUrl(path, photo->filePath)
                            : OutputPhotoPath::initWithoutDiskCheck(path, photo->filePath));
    if (photo->isIphotosNode)
      result.isIphotoExist = true;
  }
  result.isRawFormatExist = engine.isRawFormatExist;
  countOccurences(result.paths);
  return result;
}

void countOccurences(const QList<std::shared_ptr<OutputPhotoPath>> &records) {
  QHash<QString, qint32> counts;
  counts.reserve(records.size());
  for (const std::shared_ptr<OutputPhotoPath> &record : records)
    ++counts[record->filePath];
  for (const std::shared_ptr<OutputPhotoPath> &record : records)
    record->occurenceCount = counts.value(record->filePath);
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

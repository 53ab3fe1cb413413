#include "intake/PhotoIntake.h"

#include "app/AppDelegate.h"
#include "imaging/Utils.h"
#include "intake/DataFiller.h"
#include "intake/ImageFileInfo.h"
#include "intake/IntakeLog.h"
#include "intake/PhotoFile.h"
#include "metadata/ExifInfo.h"
#include "metadata/LocalizedStrings.h"
#include "platform/FileTypes.h"
#include "platform/Files.h"
#include "platform/FolderListing.h"
#include "platform/PathText.h"
#include "platform/StandardFolders.h"
#include "platform/Workspace.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QMetaObject>
#include <QObject>
#include <QTimer>

namespace {

const QString &kAll() {
  static const QString all = QStringLiteral("ALL");
  return all;
}

// One shared text for every value of dictFileAdded, so a large batch pays for it once.
const QString &kAdded() {
  static const QString one = QStringLiteral("1");
  return one;
}

QString plural(qint64 count, const char *many, const char *one = "") {
  return QString::fromLatin1(count >= 2 ? many : one);
}

// Chosen paths as the file chooser gives them: absolute, without "." or ".." or a trailing
// "/", so that one file always has one duplicate key.
QStringList normalisedPaths(const QStringList &paths) {
  QStringList result;
  result.reserve(paths.size());
  for (const QString &path : paths) {
    if (path.isEmpty())
      continue;
    result.append(QDir::cleanPath(
        QDir::isAbsolutePath(path) ? path : QDir::current().absoluteFilePath(path)));
  }
  return result;
}

// How long the owner's thread spends on handed-over steps before it lets other events in.
constexpr qint64 kSliceMs = 12;
// Duplicate keys looked up per hold of their lock, so the owner never waits long for it.
constexpr qsizetype kLookupsPerLock = 1024;

// Lives on the owner's thread. The background thread wakes it with a queued call by name,
// which carries no data: the steps travel through the engine's queue under its lock.
class IntakeRelay : public QObject {
  Q_OBJECT
public:
  explicit IntakeRelay(std::function<void()> onWake) : onWake_(std::move(onWake)) {}
  Q_INVOKABLE void wake() { onWake_(); }

private:
  std::function<void()> onWake_;
};

const QSet<QString> &platformImageExtensions() {
  static const QSet<QString> extensions = [] {
    const QStringList list = platform::FileTypes::imageFileExtensions();
    return QSet<QString>(list.cbegin(), list.cend());
  }();
  return extensions;
}

} // namespace

// What adding one file needs that does not depend on the batch: the type tests and the
// record itself, so records can be read ahead of the ordered appending.
struct PhotoIntake::Candidate {
  bool typeMatches = false;
  bool isImage = false;
  std::shared_ptr<PhotoFile> photo;
  QDateTime captureDate; // with the date filter: EXIF capture date, else creation date
};

// Builds the candidates of a list of paths on a second thread, a bounded distance ahead of
// the add loop; the loop builds any candidate the helper has not claimed yet itself, so both
// cores read image properties while the photos are still appended in order.
class PhotoIntake::ReadAhead {
public:
  ReadAhead(const PhotoIntake *engine, const QStringList &paths, const QString &fileType,
            std::vector<char> needed)
      : engine_(engine), paths_(paths), fileType_(fileType), needed_(std::move(needed)),
        state_(paths.size(), kPending), results_(paths.size()) {
    helper_ = std::thread([this] { helperLoop(); });
  }

  ~ReadAhead() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      cancelled_ = true;
    }
    changed_.notify_all();
    helper_.join();
  }

  // The candidate for path i (null when it was not needed at the start); i only grows.
  std::shared_ptr<PhotoIntake::Candidate> take(qsizetype i) {
    std::unique_lock<std::mutex> lock(mutex_);
    consumed_ = i + 1;
    changed_.notify_all();
    if (!needed_[i])
      return nullptr;
    if (state_[i] == kPending) {
      state_[i] = kClaimed;
      lock.unlock();
      return engine_->prepareCandidate(paths_[i], fileType_);
    }
    changed_.wait(lock, [&] { return state_[i] == kDone; });
    return std::move(results_[i]);
  }

private:
  static constexpr char kPending = 0, kClaimed = 1, kDone = 2;
  static constexpr qsizetype kWindow = 64;

  void helperLoop() {
    for (qsizetype j = 0; j < paths_.size(); ++j) {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [&] { return cancelled_ || j < consumed_ + kWindow; });
      if (cancelled_)
        return;
      j = std::max(j, consumed_);
      if (j >= paths_.size())
        return;
      if (!needed_[j] || state_[j] != kPending)
        continue;
      state_[j] = kClaimed;
      lock.unlock();
      auto candidate = engine_->prepareCandidate(paths_[j], fileType_);
      lock.lock();
      results_[j] = std::move(candidate);
      state_[j] = kDone;
      changed_.notify_all();
    }
  }

  const PhotoIntake *engine_;
  const QStringList paths_;
  const QString fileType_;
  const std::vector<char> needed_;
  std::vector<char> state_;
  std::vector<std::shared_ptr<PhotoIntake::Candidate>> results_;
  qsizetype consumed_ = 0;
  bool cancelled_ = false;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::thread helper_;
};

PhotoIntake::PhotoIntake(AddPhotosListener *listener)
    : PhotoIntake(&AppDelegate::shared()->arraySelectedImagesToProcess, listener) {}

PhotoIntake::PhotoIntake(Batch *batch, AddPhotosListener *listener)
    : batch_(batch), listener_(listener), relay_(new IntakeRelay([this] { drainHandOvers(); })),
      ownerThread_(std::this_thread::get_id()) {}

PhotoIntake::~PhotoIntake() {
  // No event loop here: the background work is told to stop, let out of any wait for room,
  // and joined; what it queued is dropped, and the relay takes its delayed steps with it.
  closing_ = true;
  isPHOTOS_PROCESSING_IN_PROGERESS = false;
  {
    std::lock_guard<std::mutex> lock(queueMutex_);
    queue_.clear();
  }
  queueRoom_.notify_all();
  for (std::thread &thread : threads_)
    thread.join();
  delete relay_;
}

// --- Entry points ---

AddPhotosStatus PhotoIntake::btnAddPhotosTappedWithIndex(int index,
                                                         const QStringList &chosenPaths) {
  if (index < 0 || index > 2)
    return {AddPhotosStatus::Code::Ignored, {}};
  if (running_)
    return {AddPhotosStatus::Code::Busy, QStringLiteral("photos are being added")};
  isAddFromSubFolderSelected = false;
  isAddingWithFilter = false;
  if (index >= 1)
    isAddFromSubFolderSelected = true;
  if (index == 2)
    isAddingWithFilter = true;
  const QStringList paths = normalisedPaths(chosenPaths);
  if (paths.isEmpty())
    return {AddPhotosStatus::Code::Ignored, {}};
  // Only the first item is looked at, as the chooser does.
  if (platform::isInTrash(paths.first(), true)) {
    AddPhotosMessage m;
    m.kind = AddPhotosMessage::Kind::Trash;
    m.buttonTitle = QStringLiteral("OK");
    message(m);
    return {AddPhotosStatus::Code::Trash, QStringLiteral("cannot add from the trash")};
  }
  selectedFileType = kAll();
  isAddingIphotos = false;
  addPhotosFromPathUrls(paths, false);
  return {};
}

AddPhotosStatus PhotoIntake::btnAddFilterOnPopupTapped(const QDateTime &from, const QDateTime &to) {
  if (running_)
    return {AddPhotosStatus::Code::Busy, QStringLiteral("photos are being added")};
  datePickerFromDate = from;
  datePickerToDate = to;
  // Compared as shown, to the minute: dates that read alike are refused too.
  const QString fromText = Utils::getDateInFormatNEW(from);
  const QString toText = Utils::getDateInFormatNEW(to);
  if (!from.isValid() || !to.isValid() || fromText == toText || !(to > from))
    return {AddPhotosStatus::Code::DatesRefused,
            QStringLiteral("* From Date cannot be greater than or equal to To Date.")};
  return {AddPhotosStatus::Code::Started, {}};
}

AddPhotosStatus PhotoIntake::btnAddIphotosTapped(const QStringList &chosenPaths) {
  if (running_)
    return {AddPhotosStatus::Code::Busy, QStringLiteral("photos are being added")};
  pathType = 2;
  const QStringList paths = normalisedPaths(chosenPaths);
  if (paths.isEmpty())
    return {AddPhotosStatus::Code::Ignored, {}};
  if (platform::isInTrash(paths.first(), false)) {
    AddPhotosMessage m;
    m.kind = AddPhotosMessage::Kind::Trash;
    m.text =
        CommonFunc::getLocalizedStringForKey(QStringLiteral("ID_PHOTOS_CANT_ADDED_FROM_TRASH"));
    m.buttonTitle = CommonFunc::getLocalizedStringForKey(QStringLiteral("ID_OK_CAPS"));
    message(m);
    return {AddPhotosStatus::Code::Trash, QStringLiteral("cannot add from the trash")};
  }
  isAddFromSubFolderSelected = false;
  isAddingWithFilter = false;
  selectedFileType = kAll();
  isAddingIphotos = true;
  addPhotosFromPathUrls(paths, true);
  return {};
}

QString PhotoIntake::libraryChooserButtonTitle() {
  // The Photos application of the system the libraries come from is never installed here.
  return platform::Files::fileExists(QStringLiteral("/Applications/Photos.app"))
             ? QStringLiteral("Add Photos Library")
             : QStringLiteral("Add iPhoto Library");
}

bool PhotoIntake::panelShouldEnableURL(const QString &path) const {
  bool isDirectory = false;
  const bool exists = platform::Files::fileExists(path, &isDirectory);
  const bool folder = exists && isDirectory;
  switch (pathType) {
  case 2:
    if (platform::PathText::pathExtension(path).toLower() == QLatin1String("migratedphotolibrary"))
      return false;
    // Packages can be picked; plain folders stay enabled so the user can move through them.
    return folder;
  case 1:
    return folder;
  case 0:
    return folder && !platform::FileTypes::isPackage(path);
  default:
    return true;
  }
}

AddPhotosStatus PhotoIntake::handleFileDragDropNotification(const QStringList &paths) {
  if (running_)
    return {AddPhotosStatus::Code::Busy, QStringLiteral("photos are being added")};
  const QStringList chosen = normalisedPaths(paths);
  if (chosen.isEmpty())
    return {AddPhotosStatus::Code::Ignored, {}};
  isAddFromSubFolderSelected = true;
  isAddingWithFilter = false;
  isAddingIphotos = false;
  selectedFileType = kAll();
  addPhotosFromPathUrls(chosen, false);
  return {};
}

AddPhotosStatus PhotoIntake::acceptDrop(const QStringList &paths) {
  if (running_)
    return {AddPhotosStatus::Code::Busy, QStringLiteral("photos are being added")};
  const QStringList chosen = normalisedPaths(paths);
  if (chosen.isEmpty())
    return {AddPhotosStatus::Code::Ignored, {}};
  // Sub-folders and the date filter stay as the last add action left them.
  isAddingIphotos = false;
  selectedFileType = kAll();
  addPhotosFromPathUrls(chosen, false);
  return {};
}

AddPhotosStatus PhotoIntake::addPaths(const QStringList &paths, bool recursive,
                                      const QDateTime &from, const QDateTime &to) {
  if (from.isValid() != to.isValid())
    return {AddPhotosStatus::Code::DatesIncomplete,
            QStringLiteral("the date filter needs both a From and a To date")};
  if (from.isValid()) {
    const AddPhotosStatus sheet = btnAddFilterOnPopupTapped(from, to);
    if (sheet.code != AddPhotosStatus::Code::Started)
      return sheet;
    return btnAddPhotosTappedWithIndex(2, paths);
  }
  return btnAddPhotosTappedWithIndex(recursive ? 1 : 0, paths);
}

void PhotoIntake::btnStopAddingTapped() {
  isPHOTOS_PROCESSING_IN_PROGERESS = false;
}

void PhotoIntake::waitForFinished() {
  // From inside a step the worker is waiting for us: waiting for it would never end.
  if ((!running_ && pendingSteps_ == 0) || inStep_ > 0)
    return;
  QEventLoop loop;
  QEventLoop *outer = waitLoop_;
  waitLoop_ = &loop;
  loop.exec();
  waitLoop_ = outer;
}

// --- The run ---

void PhotoIntake::addPhotosFromPathUrls(const QStringList &paths, bool isiPhoto) {
  (void)isiPhoto; // the library flag comes from isAddingIphotos
  if (running_)
    return;
  totalPhotoToAdd = 0;
  photosAdded = 0;
  alreadyExistsPhotosCount = 0;
  damagedFileCount = 0;
  isMAX_PHOTOS_LIMIT_EXCEEDED = false;
  isPhotosAlreadyAdded = false;
  isPhotoFormatNotSupported = false;
  isAddingPhotosInCollectionView = true;
  isPHOTOS_PROCESSING_IN_PROGERESS = true;
  damagedPromptScheduled_ = false;
  unreadableFolders_.clear();
  takenThisRun_.clear();
  takenCount_ = 0;
  runPaths_ = paths;
  running_ = true;
  qCDebug(lcIntake, "is adding iphotos = %d", int(isAddingIphotos));

  const QString fileType = selectedFileType;
  startWorker([this, fileType] {
    const qint32 count = countTotalPhotosToBeAddedFromUrls(runPaths_, fileType);
    handOverCall([this, count] { afterCount(count); });
  });
}

void PhotoIntake::afterCount(qint32 count) {
  totalPhotoToAdd = count;
  qCDebug(lcIntake, "is adding photos count = %d", count);
  if (isMAX_PHOTOS_LIMIT_EXCEEDED) {
    AddPhotosMessage m;
    m.kind = AddPhotosMessage::Kind::LimitExceeded;
    m.title = QStringLiteral("Photos Limit Exceeded").toUpper();
    m.text =
        QStringLiteral("Photo limit exceeded! A Batch of %1 photos can be processed at a time.")
            .arg(maxPhotosLimit_);
    message(m);
  } else if (count > 0) {
    const bool showProgressPanel = !isAddingIphotos;
    callListener([&](AddPhotosListener &l) { l.addPhotosWillAdd(showProgressPanel); });
    isIphotoDirectorySelected = false;
    startWorker([this] { addPhase(); });
  } else if (isPhotoFormatNotSupported && !isPhotosAlreadyAdded) {
    scheduleAfterDelay([this] { showPromtForDamagedFiles(); });
  } else if (isPhotosAlreadyAdded) {
    const qint32 n = alreadyExistsPhotosCount;
    AddPhotosMessage m;
    m.kind = AddPhotosMessage::Kind::PhotosExist;
    m.title = QStringLiteral("Photo%1 Exists").arg(plural(n, "s")).toUpper();
    m.text =
        QStringLiteral("Photo%1 already exist%2 in batch!").arg(plural(n, "s"), plural(n, "", "s"));
    message(m);
  } else {
    AddPhotosMessage m;
    m.kind = AddPhotosMessage::Kind::NoPhotosToAdd;
    m.title = QStringLiteral("No Photos to Add").toUpper();
    m.text = QStringLiteral("There are no new photos to add");
    message(m);
  }
}

qint32 PhotoIntake::countTotalPhotosToBeAddedFromUrls(const QStringList &paths,
                                                      const QString &fileType) {
  qint32 n = 0;
  const auto limitReached = [this] {
    isMAX_PHOTOS_LIMIT_EXCEEDED = true;
    isPHOTOS_PROCESSING_IN_PROGERESS = false;
  };
  for (const QString &path : paths) {
    if (closing_)
      return n;
    bool isDirectory = false;
    const bool exists = platform::Files::fileExists(path, &isDirectory);
    if (!exists || !isDirectory) {
      pathType = 0;
      if (isValidPhoto(path, fileType)) {
        // One by one the limit trips at the photo after the limit...
        if (n > maxPhotosLimit_ - 1) {
          limitReached();
          return n + 1;
        }
        ++n;
      }
    } else if (!platform::FileTypes::isPackage(path)) {
      pathType = 1;
      const QStringList listed = listFolder(path, isAddFromSubFolderSelected);
      for (const QString &file : listed) {
        if (closing_)
          return n;
        if (!isValidPhoto(file, fileType))
          continue;
        // ...inside a folder one photo later.
        if (n > maxPhotosLimit_) {
          limitReached();
          break;
        }
        ++n;
      }
    } else {
      if (isPhotosLibraryPackage(path))
        continue;
      const QStringList images = libraryImagePaths(path);
      qint32 inLibrary = 0;
      for (const QString &image : images) {
        if (!platform::Files::fileExists(image))
          continue;
        if (n > maxPhotosLimit_) {
          limitReached();
          break;
        }
        ++n;
        ++inLibrary;
      }
      qCDebug(lcIntake, "counting photos for iphoto == %d", inLibrary);
    }
  }
  return n;
}

bool PhotoIntake::isPhotosLibraryPackage(const QString &path) {
  pathType = 2;
  const QString extension = platform::PathText::pathExtension(path);
  if (extension == QLatin1String("migratedphotolibrary") ||
      extension == QLatin1String("photoslibrary")) {
    pathType = 3;
    qCDebug(lcIntake, "library type is not correct");
    return true;
  }
  return false;
}

QStringList PhotoIntake::libraryImagePaths(const QString &path) const {
  // The library reader is handed the path lower-cased, as the library chooser gives it.
  DataFiller reader;
  reader.setLibPath(path.toLower());
  QString error;
  if (!reader.fetchImagesFromLib(&error))
    qCDebug(lcIntake).noquote() << error;
  return reader.arrImagePaths;
}

bool PhotoIntake::isImagePath(const QString &path) {
  // These extensions count only as spelt in the list: the MIME database would take any case,
  // and mixed-case forms are refused.
  const QString extension = platform::PathText::pathExtension(path);
  if (additionalImageExtensions().contains(extension, Qt::CaseInsensitive))
    return additionalImageExtensions().contains(extension);
  return platform::FileTypes::conformsToImage(path);
}

const QStringList &PhotoIntake::additionalImageExtensions() {
  static const QStringList extensions = {
      QStringLiteral("eps"), QStringLiteral("jpc"),  QStringLiteral("p7"),  QStringLiteral("pc"),
      QStringLiteral("pgm"), QStringLiteral("pnm"),  QStringLiteral("ppm"), QStringLiteral("ptif"),
      QStringLiteral("ui"),  QStringLiteral("pct"),  QStringLiteral("EPS"), QStringLiteral("JPC"),
      QStringLiteral("P7"),  QStringLiteral("PC"),   QStringLiteral("PGM"), QStringLiteral("PNM"),
      QStringLiteral("PPM"), QStringLiteral("PTIF"), QStringLiteral("UI"),  QStringLiteral("PCT")};
  return extensions;
}

bool PhotoIntake::typeMatches(const QString &path, const QString &fileType) const {
  return fileType == kAll() || path.endsWith(fileType);
}

QDateTime PhotoIntake::captureDateFor(const QString &path, const QDateTime &fallback) const {
  const auto exif = ExifInfo::initWithFile(path);
  if (exif && exif->captureDate.isValid())
    return exif->captureDate;
  return fallback;
}

bool PhotoIntake::isValidPhoto(const QString &path, const QString &fileType) {
  if (isKnownPath(path)) {
    ++damagedFileCount;
    ++alreadyExistsPhotosCount;
    isPhotosAlreadyAdded = true;
    return false;
  }
  if (!isImagePath(path)) {
    isPhotoFormatNotSupported = true;
    ++damagedFileCount;
    return false;
  }
  if (isAddingWithFilter) {
    const auto info = ImageFileInfo::initWithPathForFile(path);
    if (!info)
      return false;
    handOverCall([this, info] {
      callListener([&](AddPhotosListener &l) { l.addPhotosExaminedForFilter(info); });
    });
    const auto exif = info->exifInfo();
    const QDateTime date =
        exif && exif->captureDate.isValid() ? exif->captureDate : info->createDate;
    if (!date.isValid() || !(datePickerFromDate <= date && date <= datePickerToDate))
      return false;
  }
  return typeMatches(path, fileType);
}

QStringList PhotoIntake::listFolder(const QString &folder, bool withSubFolders) {
  QStringList listed;
  if (!withSubFolders) {
    const QSet<QString> &extensions = platformImageExtensions();
    const platform::FolderListing::Listing listing = platform::FolderListing::list(folder);
    if (listing.undecodableNames > 0)
      noteUnreadableName(folder);
    for (const auto &entry : listing.entries)
      if (extensions.contains(platform::PathText::pathExtension(entry.name)))
        listed.append(folder + QLatin1Char('/') + entry.name);
    return listed;
  }
  // Depth first in name order, each sub-folder walked where it stands in its listing. A
  // symbolic link is an entry, never a folder to enter, so a link loop cannot trap the walk;
  // packages and hidden entries are left alone.
  std::function<void(const QString &)> walk = [&](const QString &current) {
    if (closing_)
      return;
    const platform::FolderListing::Listing listing = platform::FolderListing::list(current);
    if (listing.undecodableNames > 0)
      noteUnreadableName(current);
    for (const auto &entry : listing.entries) {
      if (entry.name.startsWith(QLatin1Char('.')))
        continue;
      const QString path = current + QLatin1Char('/') + entry.name;
      if (entry.isDirectory) {
        if (!platform::FileTypes::isPackage(path))
          walk(path);
        continue;
      }
      listed.append(path);
    }
  };
  walk(folder);
  return listed;
}

void PhotoIntake::noteUnreadableName(const QString &folder) {
  if (unreadableFolders_.contains(folder))
    return;
  unreadableFolders_.insert(folder);
  qCDebug(lcIntake).noquote() << QStringLiteral("name not valid UTF-8 in %1").arg(folder);
  handOverCall([this, folder] {
    callListener([&](AddPhotosListener &l) { l.addPhotosUnreadableName(folder); });
  });
}

bool PhotoIntake::isKnownPath(const QString &path) const {
  // Photos this run handed over may not be in the batch yet; the keys hold the rest.
  if (takenCount_ > 0 && takenThisRun_.contains(path))
    return true;
  std::lock_guard<std::mutex> lock(keysMutex_);
  return dictFileAdded.contains(path);
}

bool PhotoIntake::keepAdding() const {
  // Every counted photo taken: the owner ends the run when it reports the last of them.
  return isPHOTOS_PROCESSING_IN_PROGERESS && !closing_ && takenCount_ < totalPhotoToAdd;
}

void PhotoIntake::addPhase() {
  const QString fileType = selectedFileType;
  for (const QString &path : std::as_const(runPaths_)) {
    if (!keepAdding()) {
      handOverCall([this] { processAfterAllPhotosAdded(); });
      return;
    }
    bool isDirectory = false;
    const bool exists = platform::Files::fileExists(path, &isDirectory);
    if (!exists || !isDirectory) {
      addToImageArray(path, fileType);
    } else if (!platform::FileTypes::isPackage(path)) {
      getAllFilesInFolder(path, fileType, isAddFromSubFolderSelected);
    } else if (!isPhotosLibraryPackage(path)) {
      isIphotoDirectorySelected = true;
      const QStringList images = libraryImagePaths(path);
      handOverCall(
          [this] { callListener([](AddPhotosListener &l) { l.addPhotosShowProgressPanel(); }); });
      const bool completed = [&] {
        std::unique_ptr<ReadAhead> ahead;
        if (parallelReading_ && images.size() > 1)
          ahead = std::make_unique<ReadAhead>(this, images, fileType, unknownPaths(images));
        for (qsizetype i = 0; i < images.size(); ++i) {
          if (!keepAdding())
            return false;
          addToImageArray(images[i], fileType, ahead ? ahead->take(i) : nullptr);
        }
        return true;
      }();
      isIphotoDirectorySelected = false;
      if (!completed) {
        handOverCall([this] { processAfterAllPhotosAdded(); });
        return;
      }
    }
    if (path == runPaths_.last())
      handOverCall([this] { processAfterAllPhotosAdded(); });
  }
}

void PhotoIntake::getAllFilesInFolder(const QString &folder, const QString &fileType,
                                      bool isSubFolderSelected) {
  const QStringList paths = listFolder(folder, isSubFolderSelected);
  addListedPaths(paths, fileType);
}

void PhotoIntake::addListedPaths(const QStringList &paths, const QString &fileType) {
  std::unique_ptr<ReadAhead> ahead;
  // Paths already in the batch are not worth reading; the loop still decides each one.
  if (parallelReading_ && paths.size() > 1)
    ahead = std::make_unique<ReadAhead>(this, paths, fileType, unknownPaths(paths));
  for (qsizetype i = 0; i < paths.size(); ++i) {
    if (!keepAdding()) {
      handOverCall([this] { processAfterAllPhotosAdded(); });
      return;
    }
    addToImageArray(paths[i], fileType, ahead ? ahead->take(i) : nullptr);
  }
  if (!paths.isEmpty())
    handOverCall([this] { processAfterAllPhotosAdded(); });
}

std::vector<char> PhotoIntake::unknownPaths(const QStringList &paths) const {
  std::vector<char> unknown(paths.size());
  for (qsizetype i = 0; i < paths.size(); i += kLookupsPerLock) {
    const qsizetype end = std::min(paths.size(), i + kLookupsPerLock);
    std::lock_guard<std::mutex> lock(keysMutex_);
    for (qsizetype j = i; j < end; ++j)
      unknown[j] = !dictFileAdded.contains(paths[j]) && !takenThisRun_.contains(paths[j]);
  }
  return unknown;
}

std::shared_ptr<PhotoIntake::Candidate>
PhotoIntake::prepareCandidate(const QString &path, const QString &fileType) const {
  auto candidate = std::make_shared<Candidate>();
  candidate->typeMatches = typeMatches(path, fileType);
  candidate->isImage = isImagePath(path);
  if (!isAddingWithFilter && (!candidate->typeMatches || !candidate->isImage))
    return candidate;
  candidate->photo = PhotoFile::initWithFileUrl(path, isIphotoDirectorySelected);
  if (isAddingWithFilter && candidate->isImage && candidate->photo->width > 0 &&
      candidate->photo->height > 0)
    candidate->captureDate = captureDateFor(path, candidate->photo->fileCreationDate);
  return candidate;
}

void PhotoIntake::addToImageArray(const QString &path, const QString &fileType,
                                  std::shared_ptr<Candidate> prepared) {
  if (isKnownPath(path))
    return;
  const std::shared_ptr<Candidate> candidate =
      prepared ? std::move(prepared) : prepareCandidate(path, fileType);
  const auto &photo = candidate->photo;
  const auto append = [&] {
    takenThisRun_.insert(photo->filePath);
    ++takenCount_;
    handOverPhoto(photo, platform::PathText::stringByDeletingLastPathComponent(path));
  };
  if (!isAddingWithFilter) {
    if (!candidate->typeMatches || !candidate->isImage)
      return;
    if (photo->width > 0 && photo->height > 0) {
      append();
    } else {
      isPhotoFormatNotSupported = true;
      ++damagedFileCount;
    }
    return;
  }
  if (!candidate->isImage || !photo || photo->width <= 0 || photo->height <= 0) {
    isPhotoFormatNotSupported = true;
    ++damagedFileCount;
    return;
  }
  const QDateTime &date = candidate->captureDate;
  if (date.isValid() && datePickerFromDate <= date && date <= datePickerToDate &&
      candidate->typeMatches)
    append();
}

void PhotoIntake::callForUpdatingProgressCountWithFilePath(const QString &path) {
  ++photosAdded;
  AddPhotosProgress progress;
  progress.photosAdded = photosAdded;
  progress.totalPhotoToAdd = totalPhotoToAdd;
  progress.percent = totalPhotoToAdd > 0 ? int(qint64(photosAdded) * 100 / totalPhotoToAdd) : 0;
  progress.shownPercent = progress.percent / 5 * 5;
  progress.percentText = QStringLiteral("%1 %").arg(progress.shownPercent);
  QString shownPath = path;
  qsizetype cut = shownPath.indexOf(QLatin1String(".photolibrary"));
  if (cut < 0)
    cut = shownPath.indexOf(QLatin1String(".photoslibrary"));
  if (cut >= 0)
    shownPath.truncate(cut);
  progress.pathText = QStringLiteral("Photo path: : %1").arg(shownPath);
  // The pictures fill_5 to fill_105 come in steps of 5; fill_1 is the empty bar.
  const int s = progress.shownPercent;
  progress.pictureName =
      s >= 5 && s <= 105 ? QStringLiteral("fill_%1").arg(s) : QStringLiteral("fill_1.png");
  if (photosAdded == totalPhotoToAdd && photosAdded != 0) {
    progress.complete = true;
    progress.pictureName = QStringLiteral("fill_%1").arg(105);
    progress.progressText =
        QStringLiteral("%1 photo%2 added").arg(photosAdded).arg(plural(photosAdded, "s"));
    isPHOTOS_PROCESSING_IN_PROGERESS = false;
  } else {
    progress.progressText = QStringLiteral("%1 of %2 photo%3 added")
                                .arg(photosAdded)
                                .arg(totalPhotoToAdd)
                                .arg(plural(totalPhotoToAdd, "s"));
  }
  callListener([&](AddPhotosListener &l) { l.addPhotosProgress(progress); });
}

void PhotoIntake::processAfterAllPhotosAdded() {
  // The end step may come twice in one run; the refused-files message comes once.
  if (totalPhotoToAdd != 0 && (isPhotoFormatNotSupported || isPhotosAlreadyAdded) &&
      !damagedPromptScheduled_) {
    damagedPromptScheduled_ = true;
    scheduleAfterDelay([this] { showPromtForDamagedFiles(); });
  }
  callListener([](AddPhotosListener &l) { l.addPhotosEnded(); });
}

void PhotoIntake::showPromtForDamagedFiles() {
  AddPhotosMessage m;
  m.kind = AddPhotosMessage::Kind::FilesCannotBeAdded;
  m.title = QStringLiteral("File%1 cannot be added").arg(plural(totalPhotoToAdd, "s")).toUpper();
  m.text = QStringLiteral("%1 cannot be added. %2 either damaged or not supported by application.")
               .arg(damagedFileCount < 2 ? QStringLiteral("File") : QStringLiteral("Some files"),
                    totalPhotoToAdd < 2 ? QStringLiteral("It is") : QStringLiteral("They are"));
  message(m);
}

void PhotoIntake::message(AddPhotosMessage m) {
  callListener([&](AddPhotosListener &l) { l.addPhotosMessage(m); });
}

void PhotoIntake::callListener(const std::function<void(AddPhotosListener &)> &call) {
  if (!listener_)
    return;
  // A listener that waits for the run from here would wait for itself.
  ++inStep_;
  call(*listener_);
  --inStep_;
}

// --- Threads ---

void PhotoIntake::startWorker(std::function<void()> work) {
  ++workers_;
  threads_.emplace_back([this, work = std::move(work)] {
    work();
    handOverCall([this] {
      if (--workers_ == 0) {
        // Every thread has handed over its last step and is returning.
        for (std::thread &thread : threads_)
          thread.join();
        threads_.clear();
        // What the run handed over is in the batch now, or was dropped by a stop.
        takenThisRun_.clear();
        takenCount_ = 0;
      }
      finishIfIdle();
    });
  });
}

void PhotoIntake::handOver(Step step) {
  bool wake = false;
  {
    std::unique_lock<std::mutex> lock(queueMutex_);
    queueRoom_.wait(lock, [this] { return closing_ || qsizetype(queue_.size()) < maxQueued_; });
    if (closing_)
      return;
    queue_.push_back(std::move(step));
    wake = !wakePending_;
    wakePending_ = true;
  }
  if (wake)
    QMetaObject::invokeMethod(relay_, "wake", Qt::QueuedConnection);
}

void PhotoIntake::handOverPhoto(std::shared_ptr<PhotoFile> photo, QString folder) {
  handOver({std::move(photo), std::move(folder), {}});
}

void PhotoIntake::handOverCall(std::function<void()> call) {
  // The public steps may be called on the owner's thread while no run goes on.
  if (std::this_thread::get_id() == ownerThread_)
    call();
  else
    handOver({{}, {}, std::move(call)});
}

void PhotoIntake::drainHandOvers() {
  // A listener running an event loop (a modal alert) lets the outer slice go on afterwards.
  if (draining_)
    return;
  draining_ = true;
  QElapsedTimer clock;
  clock.start();
  bool more = true;
  while (more && clock.elapsed() < kSliceMs) {
    if (inHand_.empty()) {
      std::lock_guard<std::mutex> lock(queueMutex_);
      if (queue_.empty()) {
        wakePending_ = false;
        more = false;
        break;
      }
      inHand_.swap(queue_);
      queueRoom_.notify_all();
    }
    if (inHand_.front().photo) {
      std::vector<Step> chunk;
      while (!inHand_.empty() && inHand_.front().photo) {
        chunk.push_back(std::move(inHand_.front()));
        inHand_.pop_front();
      }
      // After the stop button, photos not yet reported stay out of the batch.
      if (isPHOTOS_PROCESSING_IN_PROGERESS)
        appendChunk(chunk);
    } else {
      const Step step = std::move(inHand_.front());
      inHand_.pop_front();
      step.call();
    }
  }
  draining_ = false;
  if (more)
    QMetaObject::invokeMethod(relay_, "wake", Qt::QueuedConnection);
}

void PhotoIntake::appendChunk(const std::vector<Step> &photos) {
  const qsizetype first = batch_->size();
  const qsizetype count = qsizetype(photos.size());
  callListener([&](AddPhotosListener &l) { l.addPhotosWillInsert(first, count); });
  {
    std::lock_guard<std::mutex> lock(keysMutex_);
    for (const Step &step : photos) {
      // Records are read ahead on several threads: the order of adding is the order here.
      step.photo->addedOrder = PhotoFile::nextAddedOrder();
      batch_->append(step.photo);
      dictFileAdded.insert(step.photo->filePath, kAdded());
    }
  }
  callListener([](AddPhotosListener &l) { l.addPhotosDidInsert(); });
  for (const Step &step : photos)
    callForUpdatingProgressCountWithFilePath(step.folder);
}

void PhotoIntake::scheduleAfterDelay(std::function<void()> step) {
  ++pendingSteps_;
  QTimer::singleShot(200, relay_, [this, step = std::move(step)] {
    step();
    --pendingSteps_;
    finishIfIdle();
  });
}

void PhotoIntake::finishIfIdle() {
  if (workers_ > 0 || pendingSteps_ > 0)
    return;
  if (running_) {
    running_ = false;
    isPHOTOS_PROCESSING_IN_PROGERESS = false;
    isAddingPhotosInCollectionView = false;
    callListener([](AddPhotosListener &l) { l.addPhotosFinished(); });
  }
  if (waitLoop_)
    waitLoop_->quit();
}

// --- Batch upkeep ---

QString PhotoIntake::updateBatchInformationInBottomView() const {
  if (batch_->isEmpty())
    return {};
  double total = 0;
  for (const auto &photo : std::as_const(*batch_))
    total += photo->fileSizeInBytes;
  return QStringLiteral("Images Count: %1  |  Total Size: %2  ")
      .arg(batch_->size())
      .arg(Utils::sharedUtils().unitStringFromBytes(total, 0));
}

AddPhotosSheet PhotoIntake::btnOnRemovePhotoPopupTapped(int tag, int selectedCount) {
  if (tag == 1) {
    const bool many = batch_->size() >= 2;
    const QString all = many ? QStringLiteral("all") : QString();
    const QString s = many ? QStringLiteral("s") : QString();
    return {QStringLiteral("REMOVE %1 PHOTO%2").arg(all, s).toUpper(),
            QStringLiteral("Remove %1 photo%2 from the Batch?").arg(all, s)};
  }
  if (tag != 0)
    return {};
  if (selectedCount <= 0) {
    AddPhotosMessage m;
    m.kind = AddPhotosMessage::Kind::NoPhotoToDelete;
    m.title = QStringLiteral("No Photo to Delete").toUpper();
    m.text = QStringLiteral("No Photo selected to Delete.");
    message(m);
    return {};
  }
  return {QStringLiteral("REMOVE SELECTED PHOTO%1").arg(plural(selectedCount, "S")),
          QStringLiteral("Remove selected photo%1 from Batch?").arg(plural(selectedCount, "s"))};
}

void PhotoIntake::btnYesOnRemoveAllPhotoTapped() {
  // The add phase owns the batch while it runs; the screen is disabled meanwhile.
  if (running_)
    return;
  if (!batch_->isEmpty()) {
    const qsizetype count = batch_->size();
    callListener([&](AddPhotosListener &l) { l.addPhotosWillRemove(0, count); });
    batch_->clear();
    callListener([](AddPhotosListener &l) { l.addPhotosDidRemove(); });
  }
  dictFileAdded.clear();
}

void PhotoIntake::removeRows(QList<qsizetype> rows) {
  std::sort(rows.begin(), rows.end(), std::greater<>());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  // Highest rows first, one notice a run of neighbours, so the rows below keep their indices.
  for (qsizetype i = 0; i < rows.size();) {
    qsizetype j = i + 1;
    while (j < rows.size() && rows[j] == rows[j - 1] - 1)
      ++j;
    const qsizetype first = rows[j - 1];
    const qsizetype count = j - i;
    callListener([&](AddPhotosListener &l) { l.addPhotosWillRemove(first, count); });
    for (qsizetype k = first; k < first + count; ++k)
      dictFileAdded.remove(batch_->at(k)->filePath);
    batch_->remove(first, count);
    callListener([](AddPhotosListener &l) { l.addPhotosDidRemove(); });
    i = j;
  }
}

void PhotoIntake::btnYesOnRemoveSelectedPhotoTapped(
    const QList<std::shared_ptr<PhotoFile>> &selected) {
  qCDebug(lcIntake, "yes on remove photos tapped");
  if (running_)
    return;
  QSet<const PhotoFile *> chosen;
  for (const auto &photo : selected)
    chosen.insert(photo.get());
  QList<qsizetype> rows;
  for (qsizetype i = 0; i < batch_->size(); ++i)
    if (chosen.contains(batch_->at(i).get()))
      rows.append(i);
  removeRows(rows);
}

void PhotoIntake::removePhotoFromBatch(const std::shared_ptr<PhotoFile> &photo) {
  if (running_)
    return;
  if (!photo)
    return;
  // The caller's reference may be the batch's own element, gone once removed.
  const std::shared_ptr<PhotoFile> kept = photo;
  const qsizetype at = batch_->indexOf(kept);
  if (at < 0)
    return;
  removeRows({at});
}

bool PhotoIntake::btnOnMenuOptionTapped(int option, const std::shared_ptr<PhotoFile> &photo) {
  if (!photo)
    return false;
  switch (option) {
  case 0:
    return platform::Workspace::revealInFileManager(photo->filePath);
  case 1:
    return platform::Workspace::openPath(photo->filePath);
  case 2:
    return platform::Workspace::showProperties(photo->filePath);
  case 3:
    if (running_ || !batch_->contains(photo))
      return false;
    removePhotoFromBatch(photo);
    return true;
  default:
    return false;
  }
}

QList<int> PhotoIntake::checkForDeletedPhotosInSourceFolder(bool remove) {
  if (running_)
    return {};
  qCDebug(lcIntake, "check for deleted photos");
  QList<int> missing;
  QList<qsizetype> rows;
  int present = 0;
  for (qsizetype i = 0; i < batch_->size(); ++i) {
    const auto &photo = batch_->at(i);
    if (platform::Files::fileExists(photo->filePath) && photo->width > 0 && photo->height > 0) {
      ++present;
      continue;
    }
    missing.append(int(i));
    rows.append(i);
  }
  if (remove)
    removeRows(rows);
  if (present == 0 && !batch_->isEmpty())
    scheduleAfterDelay([this] { showAlertForAllPhotosDeleted(); });
  return missing;
}

void PhotoIntake::showAlertForAllPhotosDeleted() {
  qCDebug(lcIntake, "show alert for all photos deleted");
  const qsizetype n = batch_->size();
  AddPhotosMessage m;
  m.kind = AddPhotosMessage::Kind::PhotosDeleted;
  m.title = QStringLiteral("PHOTO%1 DELETED").arg(plural(n, "S"));
  m.text = QStringLiteral("Photo%1 no longer exists in the Source folder!").arg(plural(n, "s"));
  // The panel keeps its remove button, so the gone photos can be dropped from the batch.
  m.showsRemove = true;
  message(m);
}

void PhotoIntake::photoNotAvailableOnIndex(int index) {
  (void)index;
  AddPhotosMessage m;
  m.kind = AddPhotosMessage::Kind::PhotoNotAvailable;
  m.title = QStringLiteral("PHOTO NOT AVAILABLE");
  m.text = QStringLiteral("Selected Photo not available at source location");
  m.showsOk = false;
  m.showsRemove = true;
  message(m);
}

QList<int> PhotoIntake::btnRemoveFromBatchOnAlertTapped() {
  return checkForDeletedPhotosInSourceFolder(true);
}

QList<int> PhotoIntake::viewWillAppear(bool isStartAsNewBatch) {
  const QList<int> missing = checkForDeletedPhotosInSourceFolder(false);
  if (isStartAsNewBatch && batch_->isEmpty() && !running_)
    dictFileAdded.clear();
  return missing;
}

void PhotoIntake::rebuildDictFileAdded() {
  if (running_)
    return;
  dictFileAdded.clear();
  dictFileAdded.reserve(batch_->size());
  for (const auto &photo : std::as_const(*batch_))
    dictFileAdded.insert(photo->filePath, kAdded());
}

bool PhotoIntake::replaceBatch(const Batch &photos) {
  if (running_)
    return false;
  if (!batch_->isEmpty()) {
    const qsizetype count = batch_->size();
    callListener([&](AddPhotosListener &l) { l.addPhotosWillRemove(0, count); });
    batch_->clear();
    callListener([](AddPhotosListener &l) { l.addPhotosDidRemove(); });
  }
  if (!photos.isEmpty()) {
    const qsizetype count = photos.size();
    callListener([&](AddPhotosListener &l) { l.addPhotosWillInsert(0, count); });
    *batch_ = photos;
    callListener([](AddPhotosListener &l) { l.addPhotosDidInsert(); });
  }
  rebuildDictFileAdded();
  return true;
}

#include "PhotoIntake.moc"

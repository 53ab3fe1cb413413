#include "ui/ThumbnailLoader.h"

#include "imaging/ImageProcessing.h"
#include "imaging/Utils.h"
#include "platform/ThumbnailCache.h"

#include <QRunnable>

using vips::VImage;
namespace SharedCache = platform::SharedThumbnailCache;

namespace {

// An 8-bit RGB or RGBA copy of a libvips image; null when it cannot be read.
QImage toQImage(const VImage &source) {
  try {
    const std::optional<VImage> rgb = Utils::toEightBitRgb(source);
    if (!rgb)
      return {};
    VImage image = rgb->bands() > 4 ? rgb->extract_band(0, VImage::option()->set("n", 4)) : *rgb;
    const int bands = image.bands();
    if (bands != 3 && bands != 4)
      return {};
    size_t bytes = 0;
    void *data = image.write_to_memory(&bytes);
    const QImage view(static_cast<const uchar *>(data), image.width(), image.height(),
                      qsizetype(image.width()) * bands,
                      bands == 4 ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    QImage copy = view.copy();
    g_free(data);
    return copy;
  } catch (const vips::VError &) {
    return {};
  }
}

} // namespace

class ThumbnailLoader::Job : public QRunnable {
public:
  Job(ThumbnailLoader *loader, QString path, std::shared_ptr<std::atomic<bool>> cancelled,
      bool useSharedCache)
      : loader_(loader), path_(std::move(path)), cancelled_(std::move(cancelled)),
        useSharedCache_(useSharedCache) {}

  void run() override {
    if (*cancelled_)
      return finish({path_, {}, false, true});
    Result result{path_, {}, false};
    std::optional<VImage> thumbnail;
    if (useSharedCache_) {
      thumbnail = SharedCache::read(path_, SharedCache::Size::Large);
      if (!thumbnail)
        thumbnail = SharedCache::read(path_, SharedCache::Size::Normal);
      result.fromSharedCache = bool(thumbnail);
    }
    if (!thumbnail && !*cancelled_) {
      thumbnail = ImageProcessing::getThumbnailForFile(path_, kSize, kSize);
      try {
        // Turned into 8-bit sRGB while the photo is still open (its colour profile lives with
        // it), then copied once into memory without the profile: both cached sizes and the
        // picture shown come from that copy.
        std::optional<VImage> rgb = thumbnail ? Utils::toEightBitRgb(*thumbnail) : std::nullopt;
        thumbnail.reset();
        if (rgb) {
          VImage plain = rgb->copy();
          vips_image_remove(plain.get_image(), "icc-profile-data");
          thumbnail = plain.copy_memory();
        }
      } catch (const vips::VError &) {
        thumbnail.reset();
      }
      if (thumbnail && useSharedCache_) {
        try {
          SharedCache::write(path_, *thumbnail, SharedCache::Size::Large);
          const VImage normal = thumbnail->thumbnail_image(
              int(SharedCache::Size::Normal),
              VImage::option()->set("height", int(SharedCache::Size::Normal)));
          SharedCache::write(path_, normal, SharedCache::Size::Normal);
        } catch (const vips::VError &) {
          // The cache is a convenience: the thumbnail is still shown.
        }
      }
    }
    if (thumbnail)
      result.image = toQImage(*thumbnail);
    finish(result);
  }

private:
  void finish(const Result &result) {
    QMetaObject::invokeMethod(
        loader_, [loader = loader_, result] { loader->deliver(result); }, Qt::QueuedConnection);
  }

  ThumbnailLoader *loader_;
  QString path_;
  std::shared_ptr<std::atomic<bool>> cancelled_;
  bool useSharedCache_;
};

ThumbnailLoader::ThumbnailLoader(QObject *parent) : QObject(parent) {
  // Two threads: libvips already spreads each thumbnail over the cores, and the window's
  // thread needs one.
  pool_.setMaxThreadCount(2);
  cache_.setMaxCost(96 * 1024 * 1024);
}

ThumbnailLoader::~ThumbnailLoader() {
  for (auto it = pending_.cbegin(); it != pending_.cend(); ++it)
    *it.value() = true;
  pool_.clear();
  pool_.waitForDone();
}

void ThumbnailLoader::request(const QStringList &paths) {
  wantedOrder_ = paths;
  wanted_ = QSet<QString>(paths.cbegin(), paths.cend());
  // Cells scrolled away: their requests are called off; one already running finishes and
  // its thumbnail is kept.
  for (auto it = pending_.cbegin(); it != pending_.cend(); ++it)
    *it.value() = !wanted_.contains(it.key());
  for (const QString &path : paths) {
    if (cache_.contains(path) || failed_.contains(path) || pending_.contains(path))
      continue;
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    auto *job = new Job(this, path, cancelled, useSharedCache_);
    job->setAutoDelete(true);
    pending_.insert(path, cancelled);
    pool_.start(job);
  }
  if (pending_.isEmpty())
    Q_EMIT idle();
}

void ThumbnailLoader::clear() {
  cache_.clear();
  failed_.clear();
}

void ThumbnailLoader::deliver(const Result &result) {
  pending_.remove(result.path);
  if (result.skipped) {
    // Called off, then scrolled back into view before the call-off was seen: ask again.
    if (wanted_.contains(result.path))
      request(QStringList(wantedOrder_));
  } else if (!result.image.isNull()) {
    cache_.insert(result.path, new QImage(result.image), result.image.sizeInBytes());
    result.fromSharedCache ? ++sharedHits_ : ++made_;
    Q_EMIT thumbnailReady(result.path);
  } else {
    failed_.insert(result.path);
    Q_EMIT thumbnailReady(result.path);
  }
  if (pending_.isEmpty())
    Q_EMIT idle();
}

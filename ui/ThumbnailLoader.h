#pragma once

#include <QCache>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <atomic>
#include <memory>

// Makes the thumbnails of the photos a view shows, off the window's thread: a small pool of
// threads, one request per visible cell, requests for cells scrolled away dropped before
// they start, and the results kept in memory by path (the cost is their bytes). Each
// thumbnail is first looked for in the desktop's shared cache and, when made here, stored
// there, so that a folder seen before (by us or a file manager) opens at once.
class ThumbnailLoader : public QObject {
  Q_OBJECT
public:
  // The longer side of the thumbnails kept (the shared cache's "large" size; sharp at 200%).
  static constexpr int kSize = 256;

  explicit ThumbnailLoader(QObject *parent = nullptr);
  // Drops the queued requests and waits for the ones running.
  ~ThumbnailLoader() override;

  // The thumbnail made for path, or null. A file that cannot be thumbnailed is reported
  // by failed().
  const QImage *cached(const QString &path) const { return cache_.object(path); }
  bool failed(const QString &path) const { return failed_.contains(path); }

  // The paths now visible, most wanted first. Starts those neither cached nor under way and
  // drops every queued request that is not among them.
  void request(const QStringList &paths);
  // Forgets every thumbnail made (the screen is shown again; files may have changed).
  void clear();
  // Whether the shared desktop cache is read and written (on by default).
  void setUseSharedCache(bool on) { useSharedCache_ = on; }
  void setMemoryBudget(qsizetype bytes) { cache_.setMaxCost(bytes); }
  int pendingCount() const { return int(pending_.size()); }
  // How many thumbnails were made from the photos and how many came from the shared cache.
  int madeCount() const { return made_; }
  int sharedHits() const { return sharedHits_; }

Q_SIGNALS:
  // A thumbnail for path is in cached() (or path failed); on the window's thread.
  void thumbnailReady(const QString &path);
  // Nothing is queued or under way any more.
  void idle();

private:
  class Job;
  struct Result {
    QString path;
    QImage image;
    bool fromSharedCache = false;
    bool skipped = false; // cancelled before it started
  };
  void deliver(const Result &result);

  QThreadPool pool_;
  QCache<QString, QImage> cache_;
  QSet<QString> failed_;
  // Queued or running requests and their cancel flags. A cancelled request that has not
  // started returns at once without work.
  QHash<QString, std::shared_ptr<std::atomic<bool>>> pending_;
  QSet<QString> wanted_;
  QStringList wantedOrder_;
  bool useSharedCache_ = true;
  int made_ = 0;
  int sharedHits_ = 0;
};

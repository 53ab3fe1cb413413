#include "platform/BackgroundRelease.h"

#include "platform/ThreadHandOff.h"

#include <QCoreApplication>
#include <QThreadPool>

namespace platform::BackgroundRelease {
namespace {

const char kReleaseHandOff = 0;

QThreadPool *releaseQueue() {
  static QThreadPool *const queue = [] {
    auto *pool = new QThreadPool;
    pool->setMaxThreadCount(1);
    // Whatever is still queued at quit is freed before the libraries shut down.
    qAddPostRoutine([] { releaseQueue()->waitForDone(); });
    return pool;
  }();
  return queue;
}

} // namespace

void run(std::function<void()> task) {
  ThreadHandOff::sent(&kReleaseHandOff);
  releaseQueue()->start([task = std::move(task)]() mutable {
    ThreadHandOff::received(&kReleaseHandOff);
    task();
    task = nullptr;
  });
}

} // namespace platform::BackgroundRelease

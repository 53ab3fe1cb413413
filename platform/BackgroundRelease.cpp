#include "platform/BackgroundRelease.h"

#include "platform/SerialQueue.h"
#include "platform/ThreadHandOff.h"

#include <QThreadPool>

namespace platform::BackgroundRelease {
namespace {

const char kReleaseHandOff = 0;

QThreadPool *releaseQueue() {
  static QThreadPool *const queue = newSerialQueue();
  return queue;
}

} // namespace

void run(std::function<void()> task) {
  // The job is made before the hand-over is marked, so all of it is seen as handed over.
  std::function<void()> job = [task = std::move(task)]() mutable {
    ThreadHandOff::received(&kReleaseHandOff);
    task();
    task = nullptr;
  };
  ThreadHandOff::sent(&kReleaseHandOff);
  releaseQueue()->start(std::move(job));
}

} // namespace platform::BackgroundRelease

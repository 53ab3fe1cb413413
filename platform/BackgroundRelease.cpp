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
  ThreadHandOff::sent(&kReleaseHandOff);
  releaseQueue()->start([task = std::move(task)]() mutable {
    ThreadHandOff::received(&kReleaseHandOff);
    task();
    task = nullptr;
  });
}

} // namespace platform::BackgroundRelease

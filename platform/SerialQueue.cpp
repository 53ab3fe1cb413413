#include "platform/SerialQueue.h"

#include <QCoreApplication>
#include <QThreadPool>

#include <mutex>
#include <vector>

namespace platform {
namespace {

std::mutex queuesLock;
std::vector<QThreadPool *> queues;

void waitForQueues() {
  const std::lock_guard<std::mutex> lock(queuesLock);
  for (QThreadPool *queue : queues)
    queue->waitForDone();
}

} // namespace

QThreadPool *newSerialQueue() {
  auto *pool = new QThreadPool;
  pool->setMaxThreadCount(1);
  const std::lock_guard<std::mutex> lock(queuesLock);
  if (queues.empty())
    qAddPostRoutine(waitForQueues);
  queues.push_back(pool);
  return pool;
}

} // namespace platform

#pragma once

class QThreadPool;

namespace platform {

// A pool of one thread: its tasks run one after another in the order they were started. It
// lives as long as the process, so nothing that goes away waits for it; when the application
// quits, what is still queued runs to its end before the libraries shut down.
QThreadPool *newSerialQueue();

} // namespace platform

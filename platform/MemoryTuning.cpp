#include "platform/MemoryTuning.h"

#include <malloc.h>

#include <mutex>

namespace platform::MemoryTuning {

void reuseLargeBuffers() {
  static std::once_flag once;
  std::call_once(once, [] {
    // A 12-megapixel photo decodes to 36 MB, over the allocator's largest mapping threshold
    // (32 MB), so by default each one is a fresh mapping whose pages the kernel zeroes.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 512 << 20);
    // Threads made from now on share the heap: a thread's own arena hands a freed buffer of
    // that size back to the kernel as soon as its heap empties.
    mallopt(M_ARENA_MAX, 1);
  });
}

} // namespace platform::MemoryTuning

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
  });
}

} // namespace platform::MemoryTuning

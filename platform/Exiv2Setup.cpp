#include "platform/Exiv2Setup.h"

#include <exiv2/exiv2.hpp>

#include <mutex>

namespace platform {

namespace {

// The XMP toolkit may take the lock again while holding it.
std::recursive_mutex &xmpMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}

void xmpLock(void *, bool lock) {
  if (lock)
    xmpMutex().lock();
  else
    xmpMutex().unlock();
}

} // namespace

void ensureExiv2Initialized() {
  static std::once_flag once;
  std::call_once(once, [] {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::XmpParser::initialize(xmpLock, nullptr);
#if !EXIV2_TEST_VERSION(0, 28, 0)
    Exiv2::enableBMFF(true); // 0.28 reads BMFF whenever it is built with it
#endif
  });
}

} // namespace platform

#pragma once

// Work handed to another thread through Qt's thread pool or event queue crosses locks that
// ThreadSanitizer cannot see, Qt not being built with it: it would take every such hand-over
// for a race and hide the real ones among them. The sending thread calls sent(tag) once the
// work is made, the receiving thread received(tag) before it touches any of it. Both do
// nothing in other builds.

#if defined(__SANITIZE_THREAD__)
#define QUILLMERE_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QUILLMERE_TSAN 1
#endif
#endif

#ifdef QUILLMERE_TSAN
#include <sanitizer/tsan_interface.h>
#endif

namespace platform::ThreadHandOff {

inline void sent(const void *tag) {
#ifdef QUILLMERE_TSAN
  __tsan_release(const_cast<void *>(tag));
#else
  (void)tag;
#endif
}

inline void received(const void *tag) {
#ifdef QUILLMERE_TSAN
  __tsan_acquire(const_cast<void *>(tag));
#else
  (void)tag;
#endif
}

} // namespace platform::ThreadHandOff

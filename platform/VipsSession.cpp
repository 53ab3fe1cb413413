#include "platform/VipsSession.h"

#include <vips/vips8>

namespace platform {

VipsSession::VipsSession(const char *argv0) {
  ok_ = VIPS_INIT(argv0) == 0;
  if (ok_) {
    vips_cache_set_max(0);
    vips_cache_set_max_mem(0);
  }
}

VipsSession::~VipsSession() {
  if (ok_)
    vips_shutdown();
}

VipsPipelineThreads::VipsPipelineThreads(int threads) : before_(vips_concurrency_get()) {
  vips_concurrency_set(threads);
}

VipsPipelineThreads::~VipsPipelineThreads() {
  vips_concurrency_set(before_);
}

} // namespace platform

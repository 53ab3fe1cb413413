#pragma once

namespace platform {

// Starts libvips for the life of the process and turns its operation cache off: the
// cache holds decoded images across a batch and distorts timings.
class VipsSession {
public:
  explicit VipsSession(const char *argv0);
  ~VipsSession();
  VipsSession(const VipsSession &) = delete;
  VipsSession &operator=(const VipsSession &) = delete;

  bool ok() const { return ok_; }

private:
  static void useTallerStrips();

  bool ok_ = false;
};

// While alive, each libvips pipeline started computes with this many worker threads. A caller
// that runs one pipeline per core itself (the batch run's workers) wants 1: more threads only
// hand tiles to each other.
class VipsPipelineThreads {
public:
  explicit VipsPipelineThreads(int threads);
  ~VipsPipelineThreads();
  VipsPipelineThreads(const VipsPipelineThreads &) = delete;
  VipsPipelineThreads &operator=(const VipsPipelineThreads &) = delete;

private:
  int before_;
};

} // namespace platform

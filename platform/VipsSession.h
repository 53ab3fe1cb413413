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
  bool ok_ = false;
};

} // namespace platform

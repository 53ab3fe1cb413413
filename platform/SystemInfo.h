#pragma once

#include <QString>

namespace platform::SystemInfo {

// Major and minor version of the running OS release (VERSION_ID of os-release, else
// the kernel release); 0 where unknown.
void osVersion(int *major, int *minor);

// The screen's backing scale factor: images here are measured in pixels, so 1, unless a
// test overrides it.
double backingScaleFactor();
void setBackingScaleFactorForTesting(double factor);

} // namespace platform::SystemInfo

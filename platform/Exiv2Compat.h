#pragma once

// Exiv2 0.27 (Debian 12) and 0.28 (Debian 13, Ubuntu 24.04) name a few things differently:
// the owning pointers, the exception type, the integer reading of a value and the ICC
// profile's buffer. The platform's Exiv2 code goes through these names to build with both.

#include <QByteArray>

#include <exiv2/exiv2.hpp>

#include <cstdint>

namespace platform::Exiv2Compat {

#if EXIV2_TEST_VERSION(0, 28, 0)

using ImagePtr = Exiv2::Image::UniquePtr;
using IoPtr = Exiv2::BasicIo::UniquePtr;
using Error = Exiv2::Error;

inline int64_t integerAt(const Exiv2::Value &value, size_t n) {
  return value.toInt64(n);
}

inline QByteArray iccProfile(Exiv2::Image &image) {
  if (!image.iccProfileDefined())
    return {};
  const Exiv2::DataBuf &profile = image.iccProfile();
  return QByteArray(reinterpret_cast<const char *>(profile.c_data()), qsizetype(profile.size()));
}

#else

using ImagePtr = Exiv2::Image::AutoPtr;
using IoPtr = Exiv2::BasicIo::AutoPtr;
using Error = Exiv2::AnyError;

inline int64_t integerAt(const Exiv2::Value &value, long n) {
  return value.toLong(n);
}

inline QByteArray iccProfile(Exiv2::Image &image) {
  if (!image.iccProfileDefined())
    return {};
  const Exiv2::DataBuf *profile = image.iccProfile();
  if (!profile->pData_ || profile->size_ <= 0)
    return {};
  return QByteArray(reinterpret_cast<const char *>(profile->pData_), qsizetype(profile->size_));
}

#endif

} // namespace platform::Exiv2Compat

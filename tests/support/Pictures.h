#pragma once

// Reading back what `quillmere run` wrote: the pictures, their colours and their profiles.
#include "tests/support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>
#include <vips/vips8>

#include <algorithm>
#include <cmath>
#include <vector>

namespace testenv {

inline vips::VImage loadImage(const QString &path) {
  return vips::VImage::new_from_file(QFile::encodeName(path).constData());
}

// The ICC profile libvips finds attached to a decoded image; empty when none.
inline QByteArray attachedProfile(const vips::VImage &image) {
  if (image.get_typeof(VIPS_META_ICC_NAME) == 0)
    return {};
  size_t size = 0;
  const void *data = image.get_blob(VIPS_META_ICC_NAME, &size);
  return QByteArray(static_cast<const char *>(data), qsizetype(size));
}

// The mean of each colour band, in 8-bit levels whatever the depth.
inline std::vector<double> colourMeans(const vips::VImage &image) {
  const double scale = image.format() == VIPS_FORMAT_USHORT ? 257.0 : 1.0;
  std::vector<double> means;
  for (int band = 0; band < 3; ++band)
    means.push_back(image.extract_band(band).avg() / scale);
  return means;
}

inline double largestDifference(const std::vector<double> &a, const std::vector<double> &b) {
  double largest = 0;
  for (size_t i = 0; i < a.size() && i < b.size(); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

// The one file in folder; empty when there is none or there are several.
inline QString onlyOutput(const QString &folder) {
  const QStringList files = QDir(folder).entryList(QDir::Files);
  return files.size() == 1 ? folder + "/" + files.first() : QString();
}

// Runs `quillmere run --yes --copy out <options> in`; a failed run fails the calling test.
inline bool runCopy(const QString &in, const QString &out, const QStringList &options) {
  // libimagequant (GIF) and x265 (HEIC) keep buffers to the end of the process: runs are
  // judged with the suite's leak suppressions, whatever environment the test got.
  if (qEnvironmentVariableIsEmpty("LSAN_OPTIONS"))
    qputenv("LSAN_OPTIONS",
            QFile::encodeName("suppressions=" + dataDir() + "/../lsan.supp:print_suppressions=0"));
  const ProcessResult result =
      runQuillmere(QStringList{"run", "--yes", "--copy", out} + options + QStringList{in});
  if (result.exitCode != 0)
    ADD_FAILURE() << "run failed: " << result.out.toStdString() << result.err.toStdString();
  return result.exitCode == 0;
}

// The one file such a run wrote; empty, with the failure reported, otherwise.
inline QString convertOne(const QString &in, const QString &out, const QStringList &options) {
  if (!runCopy(in, out, options))
    return {};
  const QString output = onlyOutput(out);
  if (output.isEmpty())
    ADD_FAILURE() << "not one output in " << out.toStdString();
  return output;
}

} // namespace testenv

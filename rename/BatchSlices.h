#pragma once

#include <QtGlobal>

#include <algorithm>
#include <thread>
#include <vector>

// Work over a large batch split into contiguous slices, one thread each (the calling thread
// takes the first). Small batches stay on the calling thread: a thread costs more than the
// string work of a few thousand records.
namespace BatchSlices {

// How many slices count items make, given the least worth a thread of its own.
inline int sliceCount(qsizetype count, qsizetype minimumPerSlice) {
  const int cores = int(std::max(1u, std::thread::hardware_concurrency()));
  return int(std::clamp<qsizetype>(count / std::max<qsizetype>(1, minimumPerSlice), 1,
                                   std::min(cores, 4)));
}

// Calls work(slice, begin, end) for each of slices ranges that cover [0, count) in order.
template <typename Work> void run(qsizetype count, int slices, const Work &work) {
  slices = std::max(1, slices);
  std::vector<std::thread> threads;
  threads.reserve(size_t(slices - 1));
  for (int s = 1; s < slices; ++s)
    threads.emplace_back(
        [&work, s, slices, count] { work(s, count * s / slices, count * (s + 1) / slices); });
  work(0, qsizetype(0), count / slices);
  for (std::thread &thread : threads)
    thread.join();
}

} // namespace BatchSlices

#pragma once

// How the C library's allocator treats the large buffers of a batch run.
namespace platform::MemoryTuning {

// Keeps buffers of up to 1 GiB in the heap and up to 512 MiB of freed heap in the process, so
// that the decoded pictures and encoded files of one photo are reused by the next instead of
// being returned to the kernel and faulted in again page by page; threads started afterwards
// share one heap (call it before the threads of a run start: a headless run calls it first
// thing). Takes effect once for the whole process; later calls do nothing.
void reuseLargeBuffers();

} // namespace platform::MemoryTuning

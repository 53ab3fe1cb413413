#pragma once

#include <functional>
#include <memory>
#include <utility>

// Freeing a superseded result of a hundred thousand records takes tens of milliseconds: the
// window's thread hands such values here and a thread of their own destroys them.
namespace platform::BackgroundRelease {

// Runs task on the release thread, in the order handed over.
void run(std::function<void()> task);

// value is destroyed on the release thread, not on the caller's.
template <class T> void release(T &&value) {
  auto holder = std::make_shared<std::decay_t<T>>(std::forward<T>(value));
  run([holder = std::move(holder)]() mutable { holder.reset(); });
}

} // namespace platform::BackgroundRelease

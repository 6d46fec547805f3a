#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace ble {

/// Runs work on a backend's own thread, one task at a time, in order of due time and then of
/// submission. All operations may be called from any thread, tasks included.
class Executor {
 public:
  using Task = std::function<void()>;
  /// Names a delayed task; never 0, never reused.
  using TaskId = std::uint64_t;
  using TimePoint = std::chrono::steady_clock::time_point;

  virtual ~Executor() = default;

  /// The time that delays are counted in: the machine's, or a simulated radio's.
  virtual TimePoint Now() const = 0;

  virtual TaskId Post(Task task) = 0;
  virtual TaskId PostAfter(std::chrono::milliseconds delay, Task task) = 0;

  /// Forgets a task that has not begun; unknown and finished ids are ignored. A task that is
  /// running on another thread is not waited for.
  virtual void Cancel(TaskId id) = 0;
};

}  // namespace ble

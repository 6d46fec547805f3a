#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Clang checks the annotations under -Wthread-safety; other compilers ignore them.
#if defined(__clang__)
#define BLE_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define BLE_THREAD_ATTRIBUTE(x)
#endif

/// On a field: read and written only while the mutex is held. On a function: called only while it
/// is held, or only while it is not.
#define GUARDED_BY(mutex) BLE_THREAD_ATTRIBUTE(guarded_by(mutex))
#define REQUIRES(...) BLE_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) BLE_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

namespace ble {

/// A `std::mutex` that Clang's thread analysis knows, which the standard library's own is not in
/// every implementation.
class BLE_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

/// Holds a mutex while it lives, except between `Unlock` and `Lock`.
class BLE_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) BLE_THREAD_ATTRIBUTE(acquire_capability(mutex))
      : lock_(mutex.mutex_) {}
  ~MutexLock() BLE_THREAD_ATTRIBUTE(release_capability()) {}
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void Lock() BLE_THREAD_ATTRIBUTE(acquire_capability()) { lock_.lock(); }
  void Unlock() BLE_THREAD_ATTRIBUTE(release_capability()) { lock_.unlock(); }

 private:
  friend class Condition;
  std::unique_lock<std::mutex> lock_;
};

/// A `std::condition_variable` for a `MutexLock`. Waits may end without a reason: wait in a loop
/// that checks the condition, where the analysis sees that the mutex is held.
class Condition {
 public:
  void Wait(MutexLock& lock) { condition_.wait(lock.lock_); }
  /// False when `end` has passed.
  template <class Clock, class Duration>
  bool WaitUntil(MutexLock& lock, std::chrono::time_point<Clock, Duration> end) {
    return condition_.wait_until(lock.lock_, end) == std::cv_status::no_timeout;
  }
  void NotifyOne() { condition_.notify_one(); }
  void NotifyAll() { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace ble

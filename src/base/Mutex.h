#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

/// Clang checks the annotations under -Wthread-safety; other compilers ignore them.
#if defined(__clang__)
#define BLE_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define BLE_THREAD_ATTRIBUTE(x)
#endif

/// A field that is read and written only while the mutex is held; a function that is called only
/// while it is held.
#define GUARDED_BY(mutex) BLE_THREAD_ATTRIBUTE(guarded_by(mutex))
#define REQUIRES(...) BLE_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))

namespace ble {

/// A `std::mutex` that Clang's thread analysis knows: the standard library's own is not annotated
/// everywhere.
class BLE_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() BLE_THREAD_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
  void Unlock() BLE_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }

 private:
  friend class Condition;
  std::mutex mutex_;
};

/// Holds a mutex while it lives, or until `Unlock`.
class BLE_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) BLE_THREAD_ATTRIBUTE(acquire_capability(mutex))
      : mutex_(&mutex) {
    mutex.Lock();
  }
  ~MutexLock() BLE_THREAD_ATTRIBUTE(release_capability()) {
    if (mutex_ != nullptr) mutex_->Unlock();
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void Unlock() BLE_THREAD_ATTRIBUTE(release_capability()) {
    std::exchange(mutex_, nullptr)->Unlock();
  }

 private:
  Mutex* mutex_;
};

/// A `std::condition_variable` for a `Mutex` that the caller holds. A wait may end without a
/// reason: wait in a loop that checks the condition, where the analysis sees that the mutex is
/// held.
class Condition {
 public:
  void Wait(Mutex& mutex) REQUIRES(mutex) {
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }
  /// False when `end` has passed.
  bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point end) REQUIRES(mutex) {
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    const std::cv_status status = condition_.wait_until(lock, end);
    lock.release();
    return status == std::cv_status::no_timeout;
  }
  void NotifyOne() { condition_.notify_one(); }
  void NotifyAll() { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace ble

#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace corvaneble::platform {

/// A flag that one thread waits for and any other thread sets, once.
class WakeSignal {
 public:
  /// All under the lock: whoever has waited in `WaitUntil` or had a `Waker` may destroy this at
  /// once. Who only looked at `IsSet` may not, unless the setter holds it too.
  void Set() {
    const std::lock_guard lock(mutex_);
    set_ = true;
    if (wakeElsewhere_) wakeElsewhere_();
    if (wake_) wake_->notify_all();
  }

  bool IsSet() const { return set_; }

  /// Waits in real time until the flag is set or `limit` has passed; returns the flag.
  bool WaitFor(std::chrono::milliseconds limit) const {
    return WaitUntil(std::chrono::steady_clock::now() + limit);
  }
  bool WaitUntil(std::chrono::steady_clock::time_point end) const {
    std::unique_lock lock(mutex_);
    if (!wake_) wake_.emplace();
    return wake_->wait_until(lock, end, [this] { return IsSet(); });
  }

  /// While it lives, `wake` is called when the flag is set, or at once: for a thread that waits for
  /// the flag and for something else besides. `wake` runs under the flag's lock.
  class Waker {
   public:
    Waker(const WakeSignal& signal, std::function<void()> wake) : signal_(signal) {
      const std::lock_guard lock(signal_.mutex_);
      if (signal_.set_) {
        wake();
      } else {
        signal_.wakeElsewhere_ = std::move(wake);
      }
    }
    ~Waker() {
      const std::lock_guard lock(signal_.mutex_);
      signal_.wakeElsewhere_ = nullptr;
    }
    Waker(const Waker&) = delete;
    Waker& operator=(const Waker&) = delete;

   private:
    const WakeSignal& signal_;
  };

 private:
  mutable std::mutex mutex_;                             // guards all below
  mutable std::optional<std::condition_variable> wake_;  // made by who waits for nothing else
  mutable std::function<void()> wakeElsewhere_;
  std::atomic<bool> set_{false};  // set under the lock
};

}  // namespace corvaneble::platform

#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>

namespace corvaneble::platform {

/// The time an instance lives by: the machine's, or a simulated radio's virtual time.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Milliseconds on a monotonic clock of arbitrary origin; wraps after about 49.7 days.
  virtual std::uint32_t TickCount() const = 0;

  /// Blocks the calling thread for `duration` of this clock's time.
  virtual void Sleep(std::chrono::milliseconds duration) = 0;
};

/// A flag that one thread waits for and any other thread sets, once.
class WakeSignal {
 public:
  /// All under the lock: whoever has waited may destroy this at once.
  void Set() {
    const std::lock_guard lock(mutex_);
    set_ = true;
    if (wakeElsewhere_) wakeElsewhere_();
    wake_.notify_all();
  }

  bool IsSet() const { return set_; }

  /// Waits in real time until the flag is set or `limit` has passed; returns the flag.
  bool WaitFor(std::chrono::milliseconds limit) const {
    return WaitUntil(std::chrono::steady_clock::now() + limit);
  }
  bool WaitUntil(std::chrono::steady_clock::time_point end) const {
    std::unique_lock lock(mutex_);
    return wake_.wait_until(lock, end, [this] { return IsSet(); });
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
  mutable std::mutex mutex_;  // guards all below
  mutable std::condition_variable wake_;
  mutable std::function<void()> wakeElsewhere_;
  std::atomic<bool> set_{false};  // set under the lock
};

/// Keeps the calling thread alive to its surroundings while a method waits: window messages on
/// Windows, due work of a simulated radio when the wait runs on that radio's own thread.
class MessagePump {
 public:
  virtual ~MessagePump() = default;

  /// Whether threads have message queues here; then no step of a wait may sleep longer than one
  /// pumping step, or the host's windows would freeze.
  virtual bool HasMessageQueue() const = 0;

  /// One step on the calling thread: dispatches at most one waiting message; with none waiting,
  /// sleeps until a message arrives, `signal` (if any) is set, or `wait` has passed. Returns
  /// whether the instance's message window still exists; always true where there are none.
  virtual bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) = 0;

  /// The instance that waits here; its window bears the address.
  virtual void SetOwner(void* /*instance*/) {}
};

}  // namespace corvaneble::platform

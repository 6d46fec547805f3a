#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace ble {

/// A thread that waits for a `WakeSignal`, as the thread that sets the signal sees it.
class Sleeper {
 public:
  using WakeFunction = void (*)(Sleeper&);

  constexpr explicit Sleeper(WakeFunction wake) : wake_(wake) {}

  void WakeUp() {
    wake_(*this);
    woken_ = true;
  }
  /// For a sleeper that another thread is waking, or about to: returns when it has.
  void WaitUntilWoken() const {
    constexpr int kYields = 100;  // longer only where this thread keeps the other from running
    for (int i = 0; !woken_; ++i)
      i < kYields ? std::this_thread::yield() : std::this_thread::sleep_for(kPause);
  }

 private:
  static constexpr std::chrono::microseconds kPause{50};

  const WakeFunction wake_;
  mutable std::atomic<bool> woken_{false};  // also of a Waker that is const
};

/// A flag that one thread waits for and any other thread sets, once. It takes no lock: who waits
/// brings along what wakes it.
class WakeSignal {
 public:
  template <class Wake>
  class Waker;

  WakeSignal() = default;
  WakeSignal(const WakeSignal&) = delete;
  WakeSignal& operator=(const WakeSignal&) = delete;

  /// Whoever sees the flag may destroy this at once.
  [[gnu::hot]] void Set() {
    Sleeper* const sleeper = sleeper_.exchange(&setMark);
    if (sleeper != nullptr && sleeper != &setMark) sleeper->WakeUp();
  }

  bool IsSet() const { return sleeper_ == &setMark; }

  /// Waits in real time until the flag is set or `limit` has passed; returns the flag.
  bool WaitFor(std::chrono::milliseconds limit) const {
    return WaitUntil(std::chrono::steady_clock::now() + limit);
  }
  bool WaitUntil(std::chrono::steady_clock::time_point end) const;

 private:
  inline static constinit Sleeper setMark{nullptr};

  mutable std::atomic<Sleeper*> sleeper_{nullptr};  ///< setMark: the flag is set; null: none waits
};

/// While it lives, `wake` is called once when the flag is set, or at once: for a thread that waits
/// for the flag and perhaps for something else besides. A flag has one at a time.
template <class Wake>
class WakeSignal::Waker final : private Sleeper {
 public:
  Waker(const WakeSignal& signal, Wake wake)
      : Sleeper([](Sleeper& self) { static_cast<Waker&>(self).wake_(); }),
        signal_(signal),
        wake_(std::move(wake)) {
    Sleeper* none = nullptr;
    if (!signal_.sleeper_.compare_exchange_strong(none, this)) WakeUp();
  }
  ~Waker() {
    Sleeper* self = this;
    if (!signal_.sleeper_.compare_exchange_strong(self, nullptr)) WaitUntilWoken();
  }
  Waker(const Waker&) = delete;
  Waker& operator=(const Waker&) = delete;

 private:
  const WakeSignal& signal_;
  const Wake wake_;
};

inline bool WakeSignal::WaitUntil(std::chrono::steady_clock::time_point end) const {
  std::mutex mutex;  // guards nothing: held from looking at the flag to falling asleep
  std::condition_variable awake;
  const Waker waker(*this, [&] {
    const std::lock_guard lock(mutex);
    awake.notify_one();
  });
  std::unique_lock lock(mutex);
  return awake.wait_until(lock, end, [this] { return IsSet(); });
}

}  // namespace ble

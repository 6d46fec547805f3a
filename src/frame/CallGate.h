#pragma once

#include <atomic>
#include <cstdint>

#include "base/Mutex.h"

namespace ble {

/// Lets calls through until it is closed; closing waits for those still inside. A thread that
/// closes the gate from inside a call of its own does not wait for itself.
class CallGate {
 public:
  /// Permission for one call, on the stack of its thread; given back when it dies. False when the
  /// gate was closed. Inside another pass of the thread it costs no more than a look at the gate.
  class Pass {
   public:
    explicit Pass(CallGate& gate)
        : gate_(gate),
          outer_(innermost),
          isNested_(gate.HasThisThread()),
          isInside_(isNested_ ? gate.IsOpen() : gate.Enter()) {
      innermost = this;
    }
    ~Pass() {
      innermost = outer_;
      if (isInside_ && !isNested_) gate_.Leave();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

    explicit operator bool() const { return isInside_; }

   private:
    friend class CallGate;

    CallGate& gate_;
    const Pass* const outer_;
    const bool isNested_;
    const bool isInside_;

    inline static thread_local constinit const Pass* innermost = nullptr;
  };

  CallGate() = default;
  CallGate(const CallGate&) = delete;
  CallGate& operator=(const CallGate&) = delete;

  void Close() {
    const std::uint32_t own = HasThisThread() ? 1 : 0;
    const MutexLock lock(mutex_);
    calls_ |= kClosed;
    while ((calls_ & ~kClosed) > own)
      left_.Wait(mutex_);
  }

 private:
  static constexpr std::uint32_t kClosed = 0x8000'0000;

  bool IsOpen() const { return (calls_ & kClosed) == 0; }

  bool Enter() {
    if ((calls_.fetch_add(1) & kClosed) == 0) return true;
    Leave();
    return false;
  }

  void Leave() {
    if ((calls_.fetch_sub(1) & kClosed) == 0) return;
    const MutexLock lock(mutex_);  // the closing thread waits already, or has not looked yet
    left_.NotifyAll();
  }

  bool HasThisThread() const {
    for (const Pass* pass = Pass::innermost; pass != nullptr; pass = pass->outer_)
      if (&pass->gate_ == this && pass->isInside_) return true;
    return false;
  }

  std::atomic<std::uint32_t> calls_{0};  // threads inside, and kClosed
  Mutex mutex_;                          // guards the wait for their end
  Condition left_;
};

}  // namespace ble

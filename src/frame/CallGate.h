#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace ble {

/// Lets calls through until it is closed; closing waits for those still inside. A thread that
/// closes the gate from inside a call of its own does not wait for itself.
class CallGate {
 public:
  /// Permission for one call, on the stack of its thread; given back when it dies. False when the
  /// gate was closed.
  class Pass {
   public:
    explicit Pass(CallGate& gate) : gate_(gate), isInside_(gate.Enter()), outer_(innermost) {
      if (isInside_) innermost = this;
    }
    ~Pass() {
      if (!isInside_) return;
      innermost = outer_;
      gate_.Leave();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

    explicit operator bool() const { return isInside_; }

   private:
    friend class CallGate;

    CallGate& gate_;
    const bool isInside_;
    const Pass* const outer_;

    inline static thread_local constinit const Pass* innermost = nullptr;
  };

  CallGate() = default;
  CallGate(const CallGate&) = delete;
  CallGate& operator=(const CallGate&) = delete;

  void Close() {
    std::unique_lock lock(mutex_);
    calls_ |= kClosed;
    left_.wait(lock, [this, own = CallsOfThisThread()] { return (calls_ & ~kClosed) <= own; });
  }

 private:
  static constexpr std::uint32_t kClosed = 0x8000'0000;

  bool Enter() {
    if ((calls_.fetch_add(1) & kClosed) == 0) return true;
    Leave();
    return false;
  }

  void Leave() {
    if ((calls_.fetch_sub(1) & kClosed) == 0) return;
    const std::lock_guard lock(mutex_);  // the closing thread waits already, or has not looked yet
    left_.notify_all();
  }

  std::uint32_t CallsOfThisThread() const {
    std::uint32_t calls = 0;
    for (const Pass* pass = Pass::innermost; pass != nullptr; pass = pass->outer_)
      if (&pass->gate_ == this) ++calls;
    return calls;
  }

  std::atomic<std::uint32_t> calls_{0};  // those inside, and kClosed
  std::mutex mutex_;                     // guards the wait for their end
  std::condition_variable left_;
};

}  // namespace ble

#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace corvaneble {

/// Lets calls through until it is closed; closing waits for those still inside. A thread that
/// closes the gate from inside a call of its own does not wait for itself.
class CallGate {
 public:
  /// Permission for one call; given back when it dies. False when the gate was closed.
  class Pass {
   public:
    Pass() = default;
    explicit Pass(CallGate* gate) : gate_(gate) {}
    Pass(Pass&& other) noexcept : gate_(std::exchange(other.gate_, nullptr)) {}
    Pass& operator=(Pass&&) = delete;
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    ~Pass() {
      if (gate_ != nullptr) gate_->Leave();
    }

    explicit operator bool() const { return gate_ != nullptr; }

   private:
    CallGate* gate_ = nullptr;
  };

  CallGate() = default;
  CallGate(const CallGate&) = delete;
  CallGate& operator=(const CallGate&) = delete;

  Pass Enter() {
    const std::lock_guard lock(mutex_);
    if (!open_) return {};
    inside_.push_back(std::this_thread::get_id());
    return Pass(this);
  }

  void Close() {
    std::unique_lock lock(mutex_);
    open_ = false;
    const auto self = std::this_thread::get_id();
    left_.wait(lock, [&] {
      return std::all_of(inside_.begin(), inside_.end(), [&](auto id) { return id == self; });
    });
  }

 private:
  void Leave() {
    const std::lock_guard lock(mutex_);
    *std::find(inside_.begin(), inside_.end(), std::this_thread::get_id()) = inside_.back();
    inside_.pop_back();
    if (!open_) left_.notify_all();
  }

  std::mutex mutex_;  // guards both fields
  std::condition_variable left_;
  bool open_ = true;
  std::vector<std::thread::id> inside_;  // one element a call; a thread may be inside repeatedly
};

}  // namespace corvaneble

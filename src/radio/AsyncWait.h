#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

#include "frame/ErrorState.h"
#include "platform/Async.h"
#include "platform/Radio.h"

namespace corvaneble {

/// How a wait ended: with code 0 and the result (null when the operation had none), or with the
/// code of a time-out or platform failure, whose text is stored.
template <class T>
struct Awaited {
  ErrorCode code = error::kSuccess;
  std::shared_ptr<T> result;
};

/// Shared by one wait and the completion handler of its operation. A completion that comes after
/// the wait was given up finds it abandoned and touches nothing else.
template <class T>
class CompletionState {
 public:
  /// The completion handler; any thread.
  void Complete(platform::AsyncOperation<T>& operation) {
    std::shared_ptr<T> result;
    std::optional<platform::PlatformFailure> failure;
    try {
      result = operation.GetResults();
    } catch (const platform::PlatformFailure& thrown) {
      failure = thrown;
    }
    {
      const std::lock_guard lock(mutex_);
      if (abandoned_) return;
      result_ = std::move(result);
      failure_ = std::move(failure);
    }
    done_.Set();
  }

  void Abandon() {
    const std::lock_guard lock(mutex_);
    abandoned_ = true;
  }

  const platform::WakeSignal& Done() const { return done_; }

  /// The result, once done, when nothing changes any more; throws the failure that took its place.
  std::shared_ptr<T> Take() {
    if (failure_) throw platform::PlatformFailure(*failure_);
    return std::move(result_);
  }

 private:
  std::mutex mutex_;  // guards all but the signal, until it is set
  bool abandoned_ = false;
  std::shared_ptr<T> result_;
  std::optional<platform::PlatformFailure> failure_;
  platform::WakeSignal done_;
};

/// Turns platform operations into blocking calls bounded by the `Timeout` property. Runs on the
/// thread that calls a method; waits nest when the host calls methods from inside a callback.
class AsyncWait {
 public:
  AsyncWait(ErrorState& errors, const platform::OpenedRadio& radio,
            const std::atomic<std::int32_t>& timeoutSeconds)
      : errors_(errors), radio_(radio), timeoutSeconds_(timeoutSeconds) {}

  /// Calls `start`, which returns a started `AsyncOperationPtr<T>`, and waits for the operation.
  /// An operation whose wait expires is left alone; its completion will be ignored.
  template <class Start>
  auto Await(Start start) {
    using Operation = typename std::invoke_result_t<Start>::element_type;
    return AwaitOperation(start, static_cast<Operation*>(nullptr));
  }

  /// How long a wait lasts at most; 0: for ever.
  std::chrono::milliseconds Limit() const { return std::chrono::seconds(timeoutSeconds_.load()); }

  /// One pumping step on the calling thread, of at most 20 ms; ends early when `signal` is set.
  /// False when the instance's message window is gone.
  bool DoEvents(const platform::WakeSignal* signal = nullptr);

  /// Stores the text of a failure that the platform raised, and returns its code.
  [[nodiscard]] ErrorCode Report(const platform::PlatformFailure& failure);

 private:
  template <class Start, class T>
  Awaited<T> AwaitOperation(Start& start, platform::AsyncOperation<T>* /*deduces T*/) {
    errors_.SetLastCode(error::kSuccess);
    try {
      const auto operation = start();
      const auto state = std::make_shared<CompletionState<T>>();
      operation->OnCompleted(
          [state](platform::AsyncOperation<T>& finished) { state->Complete(finished); });
      if (WaitFor(state->Done())) return {error::kSuccess, state->Take()};
      state->Abandon();
      return {Expire(), nullptr};
    } catch (const platform::PlatformFailure& failure) {
      return {Report(failure), nullptr};
    }
  }

  bool WaitFor(const platform::WakeSignal& done);
  ErrorCode Expire();

  ErrorState& errors_;
  const platform::OpenedRadio& radio_;
  const std::atomic<std::int32_t>& timeoutSeconds_;
};

}  // namespace corvaneble

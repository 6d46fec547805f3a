#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "frame/ErrorState.h"
#include "platform/Async.h"
#include "platform/Radio.h"

namespace ble {

/// Turns platform operations into blocking calls bounded by the `Timeout` property. Every wait of a
/// method is one of these. Runs on the thread that calls a method; waits nest when the host calls
/// methods from inside a callback.
class AsyncWait {
 public:
  AsyncWait(ErrorState& errors, const OpenedRadio& radio,
            const std::atomic<std::int32_t>& timeoutSeconds)
      : errors_(errors),
        radio_(radio),
        timeoutSeconds_(timeoutSeconds),
        longestStep_(radio.pump->HasMessageQueue() ? kPumpWait : kLongestStep) {}

  /// Calls `start`, which returns a started `AsyncOperationPtr<T>`, and waits for the operation.
  /// Gives its result, null when it had none, or the status of a time-out or platform failure. The
  /// result of an operation whose wait has expired is ignored.
  template <class Start>
  auto Await(Start start) {
    using Operation = typename std::invoke_result_t<Start>::element_type;
    return AwaitOperation(start, static_cast<Operation*>(nullptr));
  }

  /// Waits until a signal is set; false when `limit` (0: none) has passed first.
  [[nodiscard]] bool WaitFor(const WakeSignal& signal, std::chrono::milliseconds limit);

  /// How long a wait for an operation lasts at most; 0: for ever.
  std::chrono::milliseconds Limit() const { return std::chrono::seconds(timeoutSeconds_.load()); }

  /// One pumping step on the calling thread, of at most 20 ms.
  void DoEvents() { radio_.pump->Step(kPumpWait, nullptr); }

 private:
  /// The last error code tells of a time-out at once, also when the method goes on after it.
  template <class Start, class T>
  Result<std::shared_ptr<T>> AwaitOperation(Start& start, AsyncOperation<T>* /*deduces T*/) {
    errors_.SetLastCode(error::kSuccess);
    try {
      const auto operation = start();
      if (WaitFor(operation->Done(), Limit())) return operation->GetResults();
      errors_.SetLastCode(error::kTimeout);
      return failure::kTimeout;
    } catch (const PlatformFailure& failure) {
      return Status(failure);
    }
  }

  /// How long a step may sleep where threads have message queues.
  static constexpr std::chrono::milliseconds kPumpWait{20};
  /// How long a step may sleep where nothing but the signal can end it.
  static constexpr std::chrono::milliseconds kLongestStep{60'000};

  ErrorState& errors_;
  const OpenedRadio& radio_;
  const std::atomic<std::int32_t>& timeoutSeconds_;
  const std::chrono::milliseconds longestStep_;
};

}  // namespace ble

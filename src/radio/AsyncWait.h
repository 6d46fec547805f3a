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

/// How a wait ended: with code 0 and the result (null when the operation had none), or with the
/// code of a time-out or platform failure, whose text is stored.
template <class T>
struct Awaited {
  ErrorCode code = error::kSuccess;
  std::shared_ptr<T> result;
};

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
  /// An operation whose wait expires is left alone; nobody will look at its result.
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

  /// Stores the text of a failure that the platform raised, and returns its code.
  [[nodiscard]] ErrorCode Report(const PlatformFailure& failure);

 private:
  template <class Start, class T>
  Awaited<T> AwaitOperation(Start& start, AsyncOperation<T>* /*deduces T*/) {
    errors_.SetLastCode(error::kSuccess);
    try {
      const auto operation = start();
      if (WaitFor(operation->Done(), Limit())) return {error::kSuccess, operation->GetResults()};
      return {Expire(), nullptr};
    } catch (const PlatformFailure& failure) {
      return {Report(failure), nullptr};
    }
  }

  /// How long a step may sleep where threads have message queues.
  static constexpr std::chrono::milliseconds kPumpWait{20};
  /// How long a step may sleep where nothing but the signal can end it.
  static constexpr std::chrono::milliseconds kLongestStep{60'000};

  ErrorCode Expire();

  ErrorState& errors_;
  const OpenedRadio& radio_;
  const std::atomic<std::int32_t>& timeoutSeconds_;
  const std::chrono::milliseconds longestStep_;
};

}  // namespace ble

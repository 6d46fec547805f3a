#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

#include "base/Callback.h"
#include "base/WakeSignal.h"
#include "platform/PlatformFailure.h"

namespace ble {

/// A started operation of the platform; finishes on any thread. `T` is the result object; a result
/// may be null.
template <class T>
class AsyncOperation {
 public:
  using Completed = Callback<void(AsyncOperation<T>&)>;

  virtual ~AsyncOperation() = default;

  /// Set once the operation has finished: for a thread that waits.
  virtual const WakeSignal& Done() const = 0;

  /// Attaches the completion handler; allowed once. The handler is called exactly once, on any
  /// thread, also when the operation already finished (then possibly before this call returns).
  virtual void OnCompleted(Completed handler) = 0;

  /// The result of a finished operation, possibly null; throws `PlatformFailure` when it failed.
  virtual std::shared_ptr<T> GetResults() = 0;
};

template <class T>
using AsyncOperationPtr = std::shared_ptr<AsyncOperation<T>>;

/// The operation that a backend hands out and completes later, from any thread. The first
/// completion counts; later ones are ignored. The completing thread holds a reference meanwhile,
/// for a thread that has waited may release its own at once.
template <class T>
class CompletableOperation : public AsyncOperation<T> {
 public:
  using Completed = typename AsyncOperation<T>::Completed;

  [[gnu::hot]] const WakeSignal& Done() const override { return done_; }

  void OnCompleted(Completed handler) override {
    handler_ = std::move(handler);
    Meet();
  }

  [[gnu::hot]] std::shared_ptr<T> GetResults() override {
    if (failure_) throw PlatformFailure(*failure_);
    return result_;
  }

  [[gnu::hot]] void Complete(std::shared_ptr<T> result) {
    if (completed_.exchange(true)) return;
    result_ = std::move(result);
    Finish();
  }
  void Fail(const PlatformFailure& failure) {
    if (completed_.exchange(true)) return;
    failure_ = failure;
    Finish();
  }

 private:
  void Finish() {
    done_.Set();
    Meet();
  }

  // Handler and result come from two threads, each once: the second of them sees both.
  void Meet() {
    if (!oneIsThere_.exchange(true)) return;
    const Completed handler = std::move(handler_);  // it may own whoever owns this
    handler(*this);
  }

  std::atomic<bool> completed_{false};
  std::atomic<bool> oneIsThere_{false};
  WakeSignal done_;
  Completed handler_;  // handed over by oneIsThere_
  // Written before done_ is set, never after.
  std::shared_ptr<T> result_;
  std::optional<PlatformFailure> failure_;
};

/// An operation that has already finished with `result`.
template <class T>
AsyncOperationPtr<T> CompletedOperation(std::shared_ptr<T> result) {
  auto operation = std::make_shared<CompletableOperation<T>>();
  operation->Complete(std::move(result));
  return operation;
}

}  // namespace ble

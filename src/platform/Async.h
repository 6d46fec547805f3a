#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/Callback.h"
#include "platform/PlatformFailure.h"

namespace corvaneble::platform {

/// A started operation of the platform. `T` is the result object; a result may be null.
template <class T>
class AsyncOperation {
 public:
  using Completed = Callback<void(AsyncOperation<T>&)>;

  virtual ~AsyncOperation() = default;

  /// Attaches the completion handler; allowed once. The handler is called exactly once, on any
  /// thread, also when the operation already finished (then possibly before this call returns).
  virtual void OnCompleted(Completed handler) = 0;

  /// The result of a finished operation, possibly null; throws `PlatformFailure` when it failed.
  /// Only valid from the completion handler on.
  virtual std::shared_ptr<T> GetResults() = 0;
};

template <class T>
using AsyncOperationPtr = std::shared_ptr<AsyncOperation<T>>;

/// The operation that a backend hands out and completes later, from any thread. The first
/// completion counts; later ones are ignored.
template <class T>
class CompletableOperation final : public AsyncOperation<T> {
 public:
  using Completed = typename AsyncOperation<T>::Completed;

  void OnCompleted(Completed handler) override {
    {
      const std::lock_guard lock(mutex_);
      if (!done_) {
        handler_ = std::move(handler);
        return;
      }
    }
    handler(*this);
  }

  // No lock: once done, nothing changes any more.
  std::shared_ptr<T> GetResults() override {
    if (failure_) throw PlatformFailure(*failure_);
    return result_;
  }

  void Complete(std::shared_ptr<T> result) { Finish(std::move(result), {}); }
  void Fail(const PlatformFailure& failure) { Finish(nullptr, failure); }

 private:
  void Finish(std::shared_ptr<T> result, std::optional<PlatformFailure> failure) {
    Completed handler;
    {
      const std::lock_guard lock(mutex_);
      if (done_) return;
      done_ = true;
      result_ = std::move(result);
      failure_ = std::move(failure);
      handler = std::exchange(handler_, {});
    }
    if (handler) handler(*this);
  }

  std::mutex mutex_;  // guards every field until it is done; never held while the handler runs
  bool done_ = false;
  Completed handler_;
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

}  // namespace corvaneble::platform

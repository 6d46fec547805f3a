#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "backends/simulated/Fault.h"
#include "base/Executor.h"
#include "base/Mutex.h"
#include "platform/Async.h"
#include "platform/Gatt.h"
#include "platform/PlatformFailure.h"

namespace ble::simulated {

/// Counts platform calls and lets the chosen ones go wrong. Shared by a radio, or a device, and
/// every object it has handed out; any thread.
class FaultPlan : public std::enable_shared_from_this<FaultPlan> {
 public:
  /// `executor` runs delayed completions; it is not kept alive.
  FaultPlan(std::weak_ptr<Executor> executor, std::vector<Fault> faults)
      : executor_(std::move(executor)), faults_(std::move(faults)), seen_(faults_.size()) {}

  std::uint32_t CallCount() const {
    const MutexLock lock(mutex_);
    return calls_;
  }

  /// Counts the call of an operation and starts it, or lets it go wrong. `convert` makes the result
  /// that the caller sees of the backend's, which is not null.
  template <class T, class Start, class Convert>
  AsyncOperationPtr<T> Operation(CallKind call, Start start, Convert convert) {
    const Fault* const fault = Count(call);
    auto operation = std::make_shared<CompletableOperation<T>>();
    if (fault != nullptr && EndsBeforeItStarts(*fault, operation)) return operation;
    const auto inner = start();
    inner->OnCompleted([self = shared_from_this(), operation, fault,
                        convert = std::move(convert)](AsyncOperation<T>& finished) {
      auto finish = [operation, result = Outcome<T>(finished, convert)] {
        if (result.second) return operation->Fail(*result.second);
        operation->Complete(result.first);
      };
      if (fault != nullptr) return self->Divert(*fault, std::move(finish));
      finish();
    });
    return operation;
  }

  /// The one wrapper of a backend's object while anybody holds it: identity carries over.
  template <class Wrapper, class Inner>
  std::shared_ptr<Wrapper> Wrap(const std::shared_ptr<Inner>& inner) {
    if (!inner) return nullptr;
    const MutexLock lock(mutex_);
    std::weak_ptr<void>& known = wrappers_[inner.get()];
    if (auto wrapper = std::static_pointer_cast<Wrapper>(known.lock())) return wrapper;
    auto wrapper = std::make_shared<Wrapper>(inner, shared_from_this());
    known = wrapper;
    return wrapper;
  }

  /// Counts a call; the first fault that it is due for, if any.
  const Fault* Count(CallKind call) {
    const Fault* due = nullptr;
    const MutexLock lock(mutex_);
    ++calls_;
    for (std::size_t i = 0; i < faults_.size(); ++i) {
      const Fault& fault = faults_[i];
      if (fault.call && *fault.call != call) continue;
      const std::uint32_t number = ++seen_[i];
      if (!due && number >= fault.first && number - fault.first < fault.count) due = &fault;
    }
    return due;
  }

  static PlatformFailure Failure(const Fault& fault) {
    return {fault.failureResult, fault.failureText};
  }

  /// Runs `finish` after the fault's delay or elsewhere. The other thread is joined here, so that
  /// virtual time does not go on without it.
  void Divert(const Fault& fault, std::function<void()> finish) {
    if (fault.kind == Fault::Kind::OtherThread) {
      std::thread(std::move(finish)).join();
    } else if (fault.delay <= fault.delay.zero()) {
      finish();
    } else if (const auto executor = executor_.lock()) {
      executor->PostAfter(fault.delay, std::move(finish));
    }
  }

 private:
  template <class T>
  using ResultOrFailure = std::pair<std::shared_ptr<T>, std::shared_ptr<const PlatformFailure>>;

  template <class T, class Convert>
  static ResultOrFailure<T> Outcome(AsyncOperation<T>& finished, const Convert& convert) {
    try {
      const auto result = finished.GetResults();
      return {result ? convert(result) : nullptr, nullptr};
    } catch (const PlatformFailure& failure) {
      return {nullptr, std::make_shared<const PlatformFailure>(failure)};
    }
  }

  template <class T>
  bool EndsBeforeItStarts(const Fault& fault, std::shared_ptr<CompletableOperation<T>> operation) {
    switch (fault.kind) {
      case Fault::Kind::Throw:
        throw Failure(fault);
      case Fault::Kind::Fail:
        Divert(fault, [operation, failure = Failure(fault)] { operation->Fail(failure); });
        return true;
      case Fault::Kind::Hang:
        return true;
      case Fault::Kind::Null:
        Divert(fault, [operation] { operation->Complete(nullptr); });
        return true;
      case Fault::Kind::GattStatus:
        Divert(fault, [operation, result = WithStatus<T>(fault)] { operation->Complete(result); });
        return true;
      case Fault::Kind::Late:
      case Fault::Kind::OtherThread:
        break;
    }
    return false;
  }

  template <class T>
  static std::shared_ptr<T> WithStatus(const Fault& fault) {
    if constexpr (std::is_base_of_v<GattResult, T>) {
      auto result = std::make_shared<T>();
      static_cast<GattResult&>(*result) = fault.gatt;
      return result;
    } else {
      return nullptr;
    }
  }

  const std::weak_ptr<Executor> executor_;
  const std::vector<Fault> faults_;

  mutable Mutex mutex_;
  std::vector<std::uint32_t> seen_ GUARDED_BY(mutex_);  ///< by fault: the calls of its kind
  std::uint32_t calls_ GUARDED_BY(mutex_) = 0;
  /// By the backend's object.
  std::unordered_map<const void*, std::weak_ptr<void>> wrappers_ GUARDED_BY(mutex_);
};

}  // namespace ble::simulated

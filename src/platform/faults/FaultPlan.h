#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "platform/Async.h"
#include "platform/Executor.h"
#include "platform/Gatt.h"
#include "platform/PlatformFailure.h"

namespace corvaneble::platform::faults {

/// What goes wrong, and at which call of the platform.
struct Fault {
  enum class Kind {
    Throw,        ///< the call itself throws `PlatformFailure`
    Fail,         ///< the operation finishes, and `GetResults` throws
    Hang,         ///< the operation never finishes; a synchronous call does nothing
    Late,         ///< the operation finishes `delay` later than it would
    Null,         ///< the operation finishes without a result; a factory returns null
    GattStatus,   ///< the operation finishes with `gatt`; null where it has no GATT status
    OtherThread,  ///< the operation finishes on a thread that exists for this alone
  };

  std::uint32_t call = 0;  ///< counted from 1 over all calls; 0: nothing goes wrong
  Kind kind = Kind::Throw;
  std::chrono::milliseconds delay{0};
  GattResult gatt{GattCommunicationStatus::Unreachable, {}};
  std::int32_t failureResult = -1;
  std::string failureText = "Injected failure.";
};

/// Counts the platform calls of one radio and lets the chosen one go wrong. Shared by the radio and
/// every object it has handed out; any thread.
class FaultPlan : public std::enable_shared_from_this<FaultPlan> {
 public:
  /// `executor` runs delayed completions; it is not kept alive.
  FaultPlan(std::weak_ptr<Executor> executor, Fault fault)
      : executor_(std::move(executor)), fault_(std::move(fault)) {}

  std::uint32_t CallCount() const { return calls_; }

  /// Counts the call of an operation and starts it, or lets it go wrong. `convert` makes the result
  /// that the caller sees of the backend's, which is not null.
  template <class T, class Start, class Convert>
  AsyncOperationPtr<T> Operation(Start start, Convert convert) {
    const bool faulty = NextIsFaulty();
    auto operation = std::make_shared<CompletableOperation<T>>();
    if (faulty && EndsBeforeItStarts(*operation)) return operation;
    const auto inner = start();
    inner->OnCompleted([self = shared_from_this(), operation, faulty,
                        convert = std::move(convert)](AsyncOperation<T>& finished) {
      auto finish = [operation, result = Outcome<T>(finished, convert)] {
        if (result.second) return operation->Fail(*result.second);
        operation->Complete(result.first);
      };
      if (faulty) return self->Divert(std::move(finish));
      finish();
    });
    return operation;
  }

  /// Counts a synchronous call without a result and makes it, or lets it go wrong.
  void Call(std::function<void()> call) {
    if (!NextIsFaulty()) return call();
    switch (fault_.kind) {
      case Fault::Kind::Throw:
      case Fault::Kind::Fail:
      case Fault::Kind::GattStatus:
        throw Failure();
      case Fault::Kind::Hang:
      case Fault::Kind::Null:
        return;
      case Fault::Kind::Late:
      case Fault::Kind::OtherThread:
        return Divert(std::move(call));
    }
  }

  /// Counts a synchronous call that makes an object and makes it, or lets it go wrong: what delays
  /// or diverts an operation leaves such a call alone.
  template <class T>
  std::shared_ptr<T> Create(const std::function<std::shared_ptr<T>()>& create) {
    if (!NextIsFaulty()) return create();
    switch (fault_.kind) {
      case Fault::Kind::Throw:
      case Fault::Kind::Fail:
      case Fault::Kind::GattStatus:
        throw Failure();
      case Fault::Kind::Hang:
      case Fault::Kind::Null:
        return nullptr;
      case Fault::Kind::Late:
      case Fault::Kind::OtherThread:
        break;
    }
    return create();
  }

  /// The one wrapper of a backend's object while anybody holds it: identity carries over.
  template <class Wrapper, class Inner>
  std::shared_ptr<Wrapper> Wrap(const std::shared_ptr<Inner>& inner) {
    if (!inner) return nullptr;
    const std::lock_guard lock(mutex_);
    std::weak_ptr<void>& known = wrappers_[inner.get()];
    if (auto wrapper = std::static_pointer_cast<Wrapper>(known.lock())) return wrapper;
    auto wrapper = std::make_shared<Wrapper>(inner, shared_from_this());
    known = wrapper;
    return wrapper;
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

  bool NextIsFaulty() { return ++calls_ == fault_.call; }
  PlatformFailure Failure() const { return {fault_.failureResult, fault_.failureText}; }

  template <class T>
  bool EndsBeforeItStarts(CompletableOperation<T>& operation) {
    switch (fault_.kind) {
      case Fault::Kind::Throw:
        throw Failure();
      case Fault::Kind::Fail:
        operation.Fail(Failure());
        return true;
      case Fault::Kind::Hang:
        return true;
      case Fault::Kind::Null:
        operation.Complete(nullptr);
        return true;
      case Fault::Kind::GattStatus:
        operation.Complete(WithStatus<T>());
        return true;
      case Fault::Kind::Late:
      case Fault::Kind::OtherThread:
        break;
    }
    return false;
  }

  template <class T>
  std::shared_ptr<T> WithStatus() const {
    if constexpr (std::is_base_of_v<GattResult, T>) {
      auto result = std::make_shared<T>();
      static_cast<GattResult&>(*result) = fault_.gatt;
      return result;
    } else {
      return nullptr;
    }
  }

  /// Runs `finish` later or elsewhere. The other thread is joined here, so that virtual time does
  /// not go on without it.
  void Divert(std::function<void()> finish) {
    if (fault_.kind == Fault::Kind::OtherThread) {
      std::thread(std::move(finish)).join();
    } else if (const auto executor = executor_.lock()) {
      executor->PostAfter(fault_.delay, std::move(finish));
    }
  }

  const std::weak_ptr<Executor> executor_;
  const Fault fault_;
  std::atomic<std::uint32_t> calls_{0};
  std::mutex mutex_;                                               // guards wrappers_
  std::unordered_map<const void*, std::weak_ptr<void>> wrappers_;  ///< by the backend's object
};

}  // namespace corvaneble::platform::faults

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "frame/ErrorState.h"
#include "platform/SystemServices.h"
#include "radio/AsyncWait.h"

namespace ble::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Operation = CompletableOperation<int>;

/// Completes operations on its own thread, after a delay.
class Completer {
 public:
  Completer() : thread_([this](const std::stop_token& stop) { Run(stop); }) {}

  void Give(std::shared_ptr<Operation> operation) {
    {
      const std::lock_guard lock(mutex_);
      operation_ = std::move(operation);
    }
    given_.notify_one();
  }

  Clock::time_point CompletedAt() const { return completedAt_; }

 private:
  void Run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (given_.wait(lock, stop, [this] { return operation_ != nullptr; })) {
      const auto operation = std::exchange(operation_, nullptr);
      std::this_thread::sleep_for(std::chrono::microseconds(200));  // let the waiter fall asleep
      completedAt_ = Clock::now();
      operation->Complete(nullptr);
    }
  }

  std::mutex mutex_;
  std::condition_variable_any given_;
  std::shared_ptr<Operation> operation_;
  std::atomic<Clock::time_point> completedAt_{};
  std::jthread thread_;
};

/// From the completion on another thread to the return on the waiting thread.
void WakeUp(benchmark::State& state) {
  ErrorState errors;
  const OpenedRadio radio{nullptr, SystemClock(), SystemPump()};
  const std::atomic<std::int32_t> timeout{60};
  AsyncWait wait(errors, radio, timeout);
  Completer completer;
  std::vector<double> microseconds;
  for (auto _ : state) {
    (void)wait.Await([&]() -> AsyncOperationPtr<int> {
      auto operation = std::make_shared<Operation>();
      completer.Give(operation);
      return operation;
    });
    const std::chrono::duration<double, std::micro> late = Clock::now() - completer.CompletedAt();
    microseconds.push_back(late.count());
  }
  std::sort(microseconds.begin(), microseconds.end());
  state.counters["median_us"] = microseconds[microseconds.size() / 2];
  state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}
BENCHMARK(WakeUp)->Iterations(5000)->UseRealTime();

}  // namespace
}  // namespace ble::bench

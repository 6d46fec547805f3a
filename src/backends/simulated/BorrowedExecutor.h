#pragma once

#include <memory>
#include <utility>

#include "base/Executor.h"

namespace ble::simulated {

/// The simulated radio's timeline as its GATT clients have it: without keeping it alive, since
/// tasks that wait in it, for a time that may never come, may own the client.
class BorrowedExecutor final : public Executor {
 public:
  explicit BorrowedExecutor(std::weak_ptr<Executor> executor) : executor_(std::move(executor)) {}

  TimePoint Now() const override {
    const auto executor = executor_.lock();
    return executor ? executor->Now() : TimePoint();
  }
  TaskId Post(Task task) override {
    return PostAfter(std::chrono::milliseconds{0}, std::move(task));
  }
  TaskId PostAfter(std::chrono::milliseconds delay, Task task) override {
    const auto executor = executor_.lock();
    return executor ? executor->PostAfter(delay, std::move(task)) : kNeverRun;
  }
  void Cancel(TaskId id) override {
    if (const auto executor = executor_.lock()) executor->Cancel(id);
  }

 private:
  static constexpr TaskId kNeverRun = ~TaskId{0};

  const std::weak_ptr<Executor> executor_;
};

}  // namespace ble::simulated

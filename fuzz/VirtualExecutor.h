#pragma once

#include <chrono>
#include <map>
#include <unordered_map>
#include <utility>

#include "base/Executor.h"
#include "fuzz/Input.h"

namespace ble::fuzz {

/// Runs tasks on the calling thread in the order of their due times, without waiting. Every run is
/// the same, and a time-out takes no time.
class VirtualExecutor final : public Executor {
 public:
  TimePoint Now() const override { return TimePoint(now_); }
  TaskId Post(Task task) override { return PostAfter({}, std::move(task)); }
  TaskId PostAfter(std::chrono::milliseconds delay, Task task) override {
    const Due due{now_ + delay, ++lastId_};
    tasks_.emplace(due, std::move(task));
    dues_.emplace(lastId_, due);
    return lastId_;
  }
  void Cancel(TaskId id) override {
    if (const auto due = dues_.extract(id)) tasks_.erase(due.mapped());
  }

  /// Runs all tasks and the tasks that they post, which must come to an end.
  void RunAll(std::size_t limit) {
    for (; !tasks_.empty(); --limit) {
      Require(limit > 0);
      const auto next = tasks_.extract(tasks_.begin());
      now_ = next.key().first;
      dues_.erase(next.key().second);
      next.mapped()();
    }
  }

 private:
  using Due = std::pair<std::chrono::milliseconds, TaskId>;

  std::chrono::milliseconds now_{0};
  TaskId lastId_ = 0;
  std::map<Due, Task> tasks_;
  std::unordered_map<TaskId, Due> dues_;
};

}  // namespace ble::fuzz

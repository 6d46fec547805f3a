#pragma once

#include <map>
#include <unordered_map>
#include <utility>

#include "base/Executor.h"

namespace ble {

/// The tasks of an executor, in order of due time and then of submission. Guarded by its owner's
/// lock; what is taken out must die without that lock, for a task may own anything.
class TaskQueue {
  using Tasks = std::map<std::pair<Executor::TimePoint, Executor::TaskId>, Executor::Task>;

 public:
  using Taken = Tasks::node_type;

  Executor::TaskId NewId() { return ++lastId_; }

  /// Says whether the task is the first of all now.
  bool Add(Executor::TaskId id, Executor::TimePoint due, Executor::Task task) {
    const auto place = tasks_.emplace(std::pair(due, id), std::move(task)).first;
    dueTimes_.emplace(id, due);
    return place == tasks_.begin();
  }

  bool IsEmpty() const { return tasks_.empty(); }
  Executor::TimePoint FirstDue() const { return tasks_.begin()->first.first; }
  bool IsDue(Executor::TimePoint now) const { return !IsEmpty() && FirstDue() <= now; }

  Taken TakeFirst() {
    Taken first = tasks_.extract(tasks_.begin());
    dueTimes_.erase(first.key().second);
    return first;
  }

  /// Empty for a task that is not there.
  Taken Take(Executor::TaskId id) {
    const auto due = dueTimes_.find(id);
    if (due == dueTimes_.end()) return {};
    Taken task = tasks_.extract({due->second, id});
    dueTimes_.erase(due);
    return task;
  }

 private:
  Executor::TaskId lastId_ = 0;
  Tasks tasks_;
  std::unordered_map<Executor::TaskId, Executor::TimePoint> dueTimes_;
};

}  // namespace ble

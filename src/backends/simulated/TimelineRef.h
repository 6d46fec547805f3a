#pragma once

#include <memory>
#include <utility>

#include "backends/simulated/Timeline.h"

namespace ble::simulated {

/// The simulated radio's timeline for whoever must not keep it alive, since tasks that wait in it,
/// for a time that may never come, may own their poster. Once the timeline has gone no task runs.
class TimelineRef final : public Executor {
 public:
  TimelineRef(const std::shared_ptr<Timeline>& timeline) : timeline_(timeline) {}  // NOLINT

  bool IsGone() const { return timeline_.expired(); }

  TimePoint Now() const override {
    const auto timeline = timeline_.lock();
    return timeline ? timeline->Now() : TimePoint();
  }
  TaskId Post(Task task) override {
    return PostAfter(std::chrono::milliseconds{0}, std::move(task));
  }
  TaskId PostAfter(std::chrono::milliseconds delay, Task task) override {
    const auto timeline = timeline_.lock();
    return timeline ? timeline->PostAfter(delay, std::move(task)) : kNeverRun;
  }
  TaskId PostAt(TimePoint due, Task task) {
    const auto timeline = timeline_.lock();
    return timeline ? timeline->PostAt(due, std::move(task)) : kNeverRun;
  }
  void Cancel(TaskId id) override {
    if (const auto timeline = timeline_.lock()) timeline->Cancel(id);
  }

 private:
  static constexpr TaskId kNeverRun = ~TaskId{0};

  std::weak_ptr<Timeline> timeline_;
};

}  // namespace ble::simulated

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "base/Executor.h"
#include "platform/Clock.h"

namespace ble::simulated {

/// The time of a simulated radio, and the thread its events happen on ("the radio's thread",
/// started with the first task).
///
/// `Real` time is the machine's: tasks run when they are due. `Virtual` time stands still except
/// while some thread waits in `Step` or `Sleep`: then the radio's thread runs the tasks of that
/// window in order, each at its due time, until the wait's signal is set or its end is reached. The
/// same program thus meets the same events at the same times in every run, and a minute of waiting
/// costs microseconds. Of several waiting threads the one that ends first sets the window.
///
/// In real time a wait is the system's, with its messages. A wait on the radio's own thread runs
/// due tasks itself, nested in the task that waits, in both modes. Tasks still pending when the
/// timeline dies are dropped; it may die inside a task.
class Timeline final : public Executor, public Clock, public MessagePump {
 public:
  enum class Mode { Real, Virtual };

  explicit Timeline(Mode mode);
  ~Timeline() override;
  Timeline(const Timeline&) = delete;
  Timeline& operator=(const Timeline&) = delete;

  /// The present time; in virtual mode it begins at the clock's epoch.
  TimePoint Now() const override;

  TaskId Post(Task task) override;
  TaskId PostAfter(std::chrono::milliseconds delay, Task task) override;
  /// As `PostAfter`, for a point in time; one in the past means at once.
  TaskId PostAt(TimePoint due, Task task);
  void Cancel(TaskId id) override;

  std::uint32_t TickCount() const override;
  void Sleep(std::chrono::milliseconds duration) override;

  bool HasMessageQueue() const override;
  bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) override;
  void SetOwner(void* instance) override { system_->SetOwner(instance); }

 private:
  class Core;
  const Mode mode_;
  const std::shared_ptr<MessagePump> system_;
  const std::shared_ptr<Core> core_;  // shared with the radio's thread, which may outlive this
};

}  // namespace ble::simulated

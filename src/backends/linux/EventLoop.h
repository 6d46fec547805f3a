#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "backends/linux/DescriptorWatch.h"
#include "backends/linux/LendableInput.h"
#include "base/Executor.h"
#include "platform/Clock.h"

namespace ble::linux_radio {

/// The thread of the Linux radio ("the radio's thread"), started with the first work: runs tasks
/// when they are due and handlers when their file descriptors are ready.
///
/// A wait on that thread (`Step`) runs what is due nested in the task or handler that waits;
/// handlers must therefore expect to be called again before they return. The loop may die on its
/// own thread.
class EventLoop final : public Executor, public MessagePump {
 public:
  using ReadyHandler = DescriptorWatch::ReadyHandler;
  using WatchId = DescriptorWatch::Id;

  /// Throws `PlatformFailure` when the system gives no descriptors.
  EventLoop();
  ~EventLoop() override;
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  TimePoint Now() const override { return std::chrono::steady_clock::now(); }
  TaskId Post(Task task) override;
  TaskId PostAfter(std::chrono::milliseconds delay, Task task) override;
  void Cancel(TaskId id) override;

  /// Calls `handler` on the radio's thread whenever one of `events` is there, until `Unwatch`,
  /// which must come before the descriptor is closed. Any thread. A handler that runs already is
  /// not waited for.
  [[nodiscard]] WatchId Watch(int fd, std::uint32_t events, ReadyHandler handler);
  void SetEvents(WatchId id, std::uint32_t events);
  void Unwatch(WatchId id);

  /// Lets threads of the host that wait in `Step` take this input in place of the radio's thread,
  /// one of them at a time. The input lent last counts. Any thread.
  void Lend(std::weak_ptr<LendableInput> input);

  bool IsLoopThread() const;

  /// Ends the loop, after the task or handler that runs; from its own thread it ends once that has
  /// returned. What is pending is dropped. More calls do nothing.
  void Stop();

  bool HasMessageQueue() const override { return false; }
  bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) override;

 private:
  class Core;
  const std::shared_ptr<Core> core_;  // shared with the thread, which may outlive this
};

}  // namespace ble::linux_radio

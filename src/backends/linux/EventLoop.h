#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>

#include "backends/RadioThread.h"
#include "backends/linux/DescriptorWatch.h"
#include "backends/linux/LendableInput.h"
#include "base/Executor.h"
#include "platform/Clock.h"

namespace ble::linux_radio {

/// The thread of the Linux radio ("the radio's thread"), started with the first work: runs tasks
/// when they are due and handlers when their file descriptors are ready. Until `Stop` the thread
/// keeps the loop alive.
///
/// A wait on that thread (`Step`) runs what is due nested in the task or handler that waits;
/// handlers must therefore expect to be called again before they return. Construction throws
/// `PlatformFailure` when the system gives no descriptors.
class EventLoop final : public Executor,
                        public MessagePump,
                        public std::enable_shared_from_this<EventLoop>,
                        private TaskThread {
 public:
  using ReadyHandler = DescriptorWatch::ReadyHandler;
  using WatchId = DescriptorWatch::Id;

  TimePoint Now() const override { return std::chrono::steady_clock::now(); }
  TaskId Post(Task task) override;
  TaskId PostAfter(std::chrono::milliseconds delay, Task task) override;
  void Cancel(TaskId id) override { TaskThread::Cancel(id); }

  /// Calls `handler` on the radio's thread whenever one of `events` is there, until `Unwatch`,
  /// which must come before the descriptor is closed. Any thread. A handler that runs already is
  /// not waited for.
  [[nodiscard]] WatchId Watch(int fd, std::uint32_t events, ReadyHandler handler);
  void SetEvents(WatchId id, std::uint32_t events) { descriptors_.SetEvents(id, events); }
  void Unwatch(WatchId id) { descriptors_.Remove(id); }

  /// Lets threads of the host that wait in `Step` take this input in place of the radio's thread,
  /// one of them at a time. The input lent last counts. Any thread.
  void Lend(std::weak_ptr<LendableInput> input);

  bool IsLoopThread() const { return threadId_ == std::this_thread::get_id(); }

  /// Ends the loop, after the task or handler that runs; from its own thread it ends once that has
  /// returned. What is pending is dropped. More calls do nothing.
  void Stop();

  bool HasMessageQueue() const override { return false; }
  bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) override;

 private:
  TaskId Submit(TimePoint due, Task task);
  /// On the radio's thread: runs what is due, until `signal` is set or `duration` has passed.
  void WaitNested(std::chrono::milliseconds duration, const WakeSignal* signal);
  /// On any other thread: waits as long, and meanwhile takes the lent input if nobody else does.
  void WaitOutside(std::chrono::milliseconds duration, const WakeSignal& signal);
  bool RunDueTask();
  /// Runs one due task, or waits for one or for a descriptor at most `limit` and handles that.
  void RunOnce(std::chrono::milliseconds limit);
  std::shared_ptr<LendableInput> LentInput() const;
  bool IsStopped() const;

  void StartThread() REQUIRES(mutex_);
  /// How long the thread may sleep.
  std::chrono::milliseconds TimeToSleep(std::chrono::milliseconds limit) REQUIRES(mutex_);

  DescriptorWatch descriptors_;
  std::atomic<std::thread::id> threadId_;  ///< set under the lock; stays when it was detached
  std::weak_ptr<LendableInput> lent_ GUARDED_BY(mutex_);
  /// When the thread wakes without being woken.
  TimePoint sleepsUntil_ GUARDED_BY(mutex_){};
};

}  // namespace ble::linux_radio

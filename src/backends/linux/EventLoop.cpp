#include "backends/linux/EventLoop.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "backends/RadioThread.h"

namespace ble::linux_radio {
namespace {

using std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

constexpr milliseconds kLongestWait = std::chrono::hours(1);

}  // namespace

class EventLoop::Core : public TaskThread, public std::enable_shared_from_this<Core> {
 public:
  TaskId Submit(SteadyClock::time_point due, Task task) {
    const MutexLock lock(mutex_);
    const TaskId id = queue_.NewId();
    if (stopped_) return id;
    StartThread();
    const bool isFirst = queue_.Add(id, due, std::move(task));
    if (isFirst && due < sleepsUntil_ && !IsLoopThread()) descriptors_.Wake();
    return id;
  }

  WatchId Watch(int fd, std::uint32_t events, ReadyHandler handler) {
    const WatchId id = descriptors_.Add(fd, events, std::move(handler));
    const MutexLock lock(mutex_);
    if (!stopped_) StartThread();
    return id;
  }
  DescriptorWatch& Descriptors() { return descriptors_; }

  bool IsLoopThread() const { return threadId_ == std::this_thread::get_id(); }

  /// On the radio's thread: runs what is due, until `signal` is set or `duration` has passed.
  void WaitNested(milliseconds duration, const WakeSignal* signal) {
    const auto end = SteadyClock::now() + duration;
    const WakeSignal never;
    const WakeSignal& awaited = signal ? *signal : never;
    const WakeSignal::Waker waker(awaited, [this] {
      if (!IsLoopThread()) descriptors_.Wake();
    });
    while (!IsStopped() && !awaited.IsSet()) {
      const auto left = std::chrono::ceil<milliseconds>(end - SteadyClock::now());
      if (left <= milliseconds{0}) return;
      RunOnce(left);
    }
  }

  /// On any other thread: waits as long, and meanwhile takes the lent input if nobody else does.
  void WaitOutside(milliseconds duration, const WakeSignal& signal) {
    const auto end = SteadyClock::now() + duration;
    const auto input = LentInput();
    if (!input || !input->TakeUntil(signal, end)) signal.WaitUntil(end);
  }

  void Lend(std::weak_ptr<LendableInput> input) {
    const MutexLock lock(mutex_);
    lent_ = std::move(input);
  }

  void Stop() {
    StopAnd([this] {
      descriptors_.Close();
      descriptors_.Wake();
    });
  }

 private:
  void StartThread() REQUIRES(mutex_) {
    if (threadId_.load() != std::thread::id()) return;
    thread_ = StartRadioThread([self = shared_from_this()] {
      while (!self->IsStopped())
        self->RunOnce(kLongestWait);
    });
    threadId_ = thread_.get_id();
  }
  /// How long the thread may sleep. A wake-up time stays set when its task is cancelled: to wake
  /// for nothing now and then costs less than to be woken for each new task, for most are time
  /// limits that will be cancelled too.
  milliseconds TimeToSleep(milliseconds limit) REQUIRES(mutex_) {
    const auto now = SteadyClock::now();
    if (sleepsUntil_ <= now) sleepsUntil_ = now + kLongestWait;
    if (!queue_.IsEmpty()) sleepsUntil_ = std::min(sleepsUntil_, queue_.FirstDue());
    const auto left = std::chrono::ceil<milliseconds>(sleepsUntil_ - now);
    return std::clamp(left, milliseconds{0}, limit);
  }

  std::shared_ptr<LendableInput> LentInput() const {
    const MutexLock lock(mutex_);
    return lent_.lock();
  }

  bool IsStopped() const {
    const MutexLock lock(mutex_);
    return stopped_;
  }

  bool RunDueTask() {
    TaskQueue::Taken due;
    {
      const MutexLock lock(mutex_);
      if (!queue_.IsDue(SteadyClock::now())) return false;
      due = queue_.TakeFirst();
    }
    RunOnRadioThread(due.mapped());
    return true;
  }

  /// Runs one due task, or waits for one or for a descriptor at most `limit` and handles that.
  void RunOnce(milliseconds limit) {
    if (RunDueTask()) return;
    {
      const MutexLock lock(mutex_);
      if (stopped_) return;
      limit = TimeToSleep(limit);
    }
    descriptors_.Wait(limit);
  }

  DescriptorWatch descriptors_;
  std::atomic<std::thread::id> threadId_;  ///< set under the lock; stays when it was detached
  std::weak_ptr<LendableInput> lent_ GUARDED_BY(mutex_);
  /// When the thread wakes without being woken.
  SteadyClock::time_point sleepsUntil_ GUARDED_BY(mutex_){};
};

EventLoop::EventLoop() : core_(std::make_shared<Core>()) {}
EventLoop::~EventLoop() {
  core_->Stop();
}
void EventLoop::Stop() {
  core_->Stop();
}

Executor::TaskId EventLoop::Post(Task task) {
  return core_->Submit(SteadyClock::now(), std::move(task));
}
Executor::TaskId EventLoop::PostAfter(milliseconds delay, Task task) {
  const milliseconds bounded = std::clamp(delay, milliseconds{0}, milliseconds{kLongestWait});
  return core_->Submit(SteadyClock::now() + bounded, std::move(task));
}
void EventLoop::Cancel(TaskId id) {
  core_->Cancel(id);
}

EventLoop::WatchId EventLoop::Watch(int fd, std::uint32_t events, ReadyHandler handler) {
  return core_->Watch(fd, events, std::move(handler));
}
void EventLoop::SetEvents(WatchId id, std::uint32_t events) {
  core_->Descriptors().SetEvents(id, events);
}
void EventLoop::Unwatch(WatchId id) {
  core_->Descriptors().Remove(id);
}
void EventLoop::Lend(std::weak_ptr<LendableInput> input) {
  core_->Lend(std::move(input));
}

bool EventLoop::IsLoopThread() const {
  return core_->IsLoopThread();
}

[[gnu::hot]] bool EventLoop::Step(milliseconds wait, const WakeSignal* signal) {
  if (IsLoopThread()) {
    const auto core = core_;  // what runs meanwhile may end the radio
    core->WaitNested(wait, signal);
  } else if (signal) {
    core_->WaitOutside(wait, *signal);
  } else {
    std::this_thread::sleep_for(wait);
  }
  return true;
}

}  // namespace ble::linux_radio

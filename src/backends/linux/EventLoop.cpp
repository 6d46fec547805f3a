#include "backends/linux/EventLoop.h"

#include <algorithm>
#include <utility>

namespace ble::linux_radio {

using std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr milliseconds kLongestWait = std::chrono::hours(1);

}  // namespace

Executor::TaskId EventLoop::Post(Task task) {
  return Submit(SteadyClock::now(), std::move(task));
}

Executor::TaskId EventLoop::PostAfter(milliseconds delay, Task task) {
  const milliseconds bounded = std::clamp(delay, milliseconds{0}, milliseconds{kLongestWait});
  return Submit(SteadyClock::now() + bounded, std::move(task));
}

Executor::TaskId EventLoop::Submit(TimePoint due, Task task) {
  const MutexLock lock(mutex_);
  const TaskId id = queue_.NewId();
  if (stopped_) return id;
  StartThread();
  const bool isFirst = queue_.Add(id, due, std::move(task));
  if (isFirst && due < sleepsUntil_ && !IsLoopThread()) descriptors_.Wake();
  return id;
}

EventLoop::WatchId EventLoop::Watch(int fd, std::uint32_t events, ReadyHandler handler) {
  const WatchId id = descriptors_.Add(fd, events, std::move(handler));
  const MutexLock lock(mutex_);
  if (!stopped_) StartThread();
  return id;
}

void EventLoop::Lend(std::weak_ptr<LendableInput> input) {
  const MutexLock lock(mutex_);
  lent_ = std::move(input);
}

void EventLoop::Stop() {
  StopAnd([this] {
    descriptors_.Close();
    descriptors_.Wake();
  });
}

[[gnu::hot]] bool EventLoop::Step(milliseconds wait, const WakeSignal* signal) {
  if (IsLoopThread()) {
    const auto self = shared_from_this();  // what runs meanwhile may end the radio
    WaitNested(wait, signal);
  } else if (signal) {
    WaitOutside(wait, *signal);
  } else {
    std::this_thread::sleep_for(wait);
  }
  return true;
}

void EventLoop::WaitNested(milliseconds duration, const WakeSignal* signal) {
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

void EventLoop::WaitOutside(milliseconds duration, const WakeSignal& signal) {
  const auto end = SteadyClock::now() + duration;
  const auto input = LentInput();
  if (!input || !input->TakeUntil(signal, end)) signal.WaitUntil(end);
}

void EventLoop::StartThread() {
  if (threadId_.load() != std::thread::id()) return;
  thread_ = StartRadioThread([self = shared_from_this()] {
    while (!self->IsStopped())
      self->RunOnce(kLongestWait);
  });
  threadId_ = thread_.get_id();
}

// A wake-up time stays set when its task is cancelled: to wake for nothing now and then costs less
// than to be woken for each new task, for most are time limits that will be cancelled too.
milliseconds EventLoop::TimeToSleep(milliseconds limit) {
  const auto now = SteadyClock::now();
  if (sleepsUntil_ <= now) sleepsUntil_ = now + kLongestWait;
  if (!queue_.IsEmpty()) sleepsUntil_ = std::min(sleepsUntil_, queue_.FirstDue());
  const auto left = std::chrono::ceil<milliseconds>(sleepsUntil_ - now);
  return std::clamp(left, milliseconds{0}, limit);
}

std::shared_ptr<LendableInput> EventLoop::LentInput() const {
  const MutexLock lock(mutex_);
  return lent_.lock();
}

bool EventLoop::IsStopped() const {
  const MutexLock lock(mutex_);
  return stopped_;
}

bool EventLoop::RunDueTask() {
  TaskQueue::Taken due;
  {
    const MutexLock lock(mutex_);
    if (!queue_.IsDue(SteadyClock::now())) return false;
    due = queue_.TakeFirst();
  }
  RunOnRadioThread(due.mapped());
  return true;
}

void EventLoop::RunOnce(milliseconds limit) {
  if (RunDueTask()) return;
  {
    const MutexLock lock(mutex_);
    if (stopped_) return;
    limit = TimeToSleep(limit);
  }
  descriptors_.Wait(limit);
}

}  // namespace ble::linux_radio

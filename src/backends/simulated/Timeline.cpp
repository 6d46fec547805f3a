#include "backends/simulated/Timeline.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "backends/RadioThread.h"
#include "platform/SystemServices.h"

namespace ble::simulated {
namespace {

using std::chrono::milliseconds;
using TimePoint = Timeline::TimePoint;

/// How often a real-time wait on the radio's own thread looks at its signal, which another thread
/// may set without waking this one.
constexpr milliseconds kSignalCheck{5};

/// Keeps sums of time points far from overflow.
constexpr milliseconds kLongestWait = std::chrono::hours(24 * 365);

milliseconds Bounded(milliseconds duration) {
  return std::clamp(duration, milliseconds{0}, kLongestWait);
}

}  // namespace

class Timeline::Core : public TaskThread, public std::enable_shared_from_this<Core> {
 public:
  explicit Core(Mode mode) : virtual_(mode == Mode::Virtual) {}

  TimePoint Now() const {
    if (!virtual_) return std::chrono::steady_clock::now();
    const MutexLock lock(mutex_);
    return now_;
  }

  TaskId PostAfter(milliseconds delay, Task task) {
    const MutexLock lock(mutex_);
    return Submit(LockedNow() + delay, std::move(task));
  }

  TaskId PostAt(TimePoint due, Task task) {
    const MutexLock lock(mutex_);
    return Submit(std::max(due, LockedNow()), std::move(task));
  }

  bool IsRadioThread() const {
    const MutexLock lock(mutex_);
    return thread_.get_id() == std::this_thread::get_id();
  }

  /// Waits until `signal` is set or `duration` has passed.
  void Wait(milliseconds duration, const WakeSignal* signal) {
    MutexLock lock(mutex_);
    const bool nested = thread_.get_id() == std::this_thread::get_id();
    if (virtual_) return WaitVirtual(duration, signal, nested);
    if (nested) return WaitNested(duration, signal);
    lock.Unlock();
    std::this_thread::sleep_for(duration);  // for a signal, the system's pump waits
  }

  void Stop() {
    StopAnd([this] {
      wake_.NotifyOne();
      waitFinished_.NotifyAll();
    });
  }

 private:
  /// A thread that waits in virtual time.
  struct Waiter {
    TimePoint end;
    const WakeSignal* signal;
    bool finished = false;
  };

  TimePoint LockedNow() const REQUIRES(mutex_) {
    return virtual_ ? now_ : std::chrono::steady_clock::now();
  }

  TaskId Submit(TimePoint due, Task task) REQUIRES(mutex_) {
    const TaskId id = queue_.NewId();
    if (stopped_) return id;
    if (!thread_.joinable())
      thread_ = StartRadioThread([self = shared_from_this()] { self->Run(); });
    if (queue_.Add(id, due, std::move(task))) wake_.NotifyOne();
    return id;
  }

  void Run() {
    const MutexLock lock(mutex_);
    while (!stopped_) {
      if (virtual_) {
        if (!AdvanceVirtual()) wake_.Wait(mutex_);
      } else if (queue_.IsEmpty()) {
        wake_.Wait(mutex_);
      } else if (!RunDueTask()) {
        wake_.WaitUntil(mutex_, TimePoint(queue_.FirstDue()));
      }
    }
  }

  void RunFirstTask() REQUIRES(mutex_) {
    TaskQueue::Taken first = queue_.TakeFirst();
    ++running_;
    mutex_.Unlock();
    RunOnRadioThread(first.mapped());
    first = {};
    mutex_.Lock();
    --running_;
  }

  bool RunDueTask() REQUIRES(mutex_) {
    if (!queue_.IsDue(LockedNow())) return false;
    RunFirstTask();
    return true;
  }

  /// One step of virtual time, on the radio's thread: a task, or the end of the earliest wait.
  /// False when nobody waits, so that time stands still.
  bool AdvanceVirtual() REQUIRES(mutex_) {
    if (waiters_.empty()) return false;
    if (Finish([](const Waiter& waiter) { return waiter.signal && waiter.signal->IsSet(); }))
      return true;  // the time goes on only if somebody still waits for it
    const TimePoint end =
        (*std::min_element(waiters_.begin(), waiters_.end(), [](auto* a, auto* b) {
          return a->end < b->end;
        }))->end;
    if (queue_.IsDue(end)) {
      now_ = std::max(now_, queue_.FirstDue());
      RunFirstTask();
      return true;
    }
    now_ = std::max(now_, end);
    Finish([end](const Waiter& waiter) { return waiter.end <= end; });
    return true;
  }

  template <class Predicate>
  bool Finish(Predicate isFinished) REQUIRES(mutex_) {
    const auto count = std::erase_if(
        waiters_, [&](Waiter* waiter) { return waiter->finished = isFinished(*waiter); });
    if (count > 0) waitFinished_.NotifyAll();
    return count > 0;
  }

  void WaitVirtual(milliseconds duration, const WakeSignal* signal, bool nested) REQUIRES(mutex_) {
    Waiter waiter{now_ + duration, signal};
    if (signal && signal->IsSet()) return;
    if (!queue_.IsDue(waiter.end) && waiters_.empty() && running_ == 0) {
      now_ = waiter.end;
      return;
    }
    waiters_.push_back(&waiter);
    if (nested) {
      while (!waiter.finished && !stopped_)
        AdvanceVirtual();
    } else {
      wake_.NotifyOne();
      while (!waiter.finished && !stopped_)
        waitFinished_.Wait(mutex_);
    }
    if (!waiter.finished) std::erase(waiters_, &waiter);
  }

  void WaitNested(milliseconds duration, const WakeSignal* signal) REQUIRES(mutex_) {
    const TimePoint end = std::chrono::steady_clock::now() + duration;
    while (!stopped_ && !(signal && signal->IsSet())) {
      if (RunDueTask()) continue;
      TimePoint next = std::chrono::steady_clock::now();
      if (next >= end) return;
      next = signal ? std::min(end, next + kSignalCheck) : end;
      if (!queue_.IsEmpty()) next = std::min(next, queue_.FirstDue());
      wake_.WaitUntil(mutex_, next);
    }
  }

  const bool virtual_;
  Condition wake_;          // the radio's thread waits for work
  Condition waitFinished_;  // virtual mode: other threads wait for their waits
  /// Tasks begun and not finished; more than one when waits nest.
  int running_ GUARDED_BY(mutex_) = 0;
  TimePoint now_ GUARDED_BY(mutex_){};  ///< virtual mode
  /// Virtual mode; owned by the waiting threads.
  std::vector<Waiter*> waiters_ GUARDED_BY(mutex_);
};

Timeline::Timeline(Mode mode)
    : mode_(mode), system_(SystemPump()), core_(std::make_shared<Core>(mode)) {}
Timeline::~Timeline() {
  core_->Stop();
}

Timeline::TimePoint Timeline::Now() const {
  return core_->Now();
}

Executor::TaskId Timeline::Post(Task task) {
  return core_->PostAfter(milliseconds{0}, std::move(task));
}

Executor::TaskId Timeline::PostAfter(milliseconds delay, Task task) {
  return core_->PostAfter(Bounded(delay), std::move(task));
}

Executor::TaskId Timeline::PostAt(TimePoint due, Task task) {
  return core_->PostAt(due, std::move(task));
}

void Timeline::Cancel(TaskId id) {
  core_->Cancel(id);
}

std::uint32_t Timeline::TickCount() const {
  const auto sinceEpoch = core_->Now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<milliseconds>(sinceEpoch).count());
}

void Timeline::Sleep(milliseconds duration) {
  core_->Wait(Bounded(duration), nullptr);
}

bool Timeline::HasMessageQueue() const {
  return mode_ == Mode::Real && system_->HasMessageQueue();
}

bool Timeline::Step(milliseconds wait, const WakeSignal* signal) {
  if (mode_ == Mode::Real && !core_->IsRadioThread()) return system_->Step(Bounded(wait), signal);
  core_->Wait(Bounded(wait), signal);
  return true;
}

}  // namespace ble::simulated

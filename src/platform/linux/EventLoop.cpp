#include "platform/linux/EventLoop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>

#include "platform/PlatformFailure.h"
#include "platform/linux/FileDescriptor.h"

namespace corvaneble::platform::linux_radio {
namespace {

using std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

/// How often a wait on the radio's own thread looks at its signal, which another thread may set
/// without waking this one.
constexpr milliseconds kSignalCheck{5};
constexpr milliseconds kLongestWait = std::chrono::hours(1);

FileDescriptor Require(int fd) {
  if (fd >= 0) return FileDescriptor(fd);
  throw PlatformFailure(
      errno, "The Bluetooth radio cannot be opened: " + std::string(std::strerror(errno)) + ".");
}

}  // namespace

class EventLoop::Core : public std::enable_shared_from_this<Core> {
 public:
  Core()
      : epoll_(Require(epoll_create1(EPOLL_CLOEXEC))),
        wake_(Require(eventfd(0, kWakeFlags))),
        wakeBorrower_(Require(eventfd(0, kWakeFlags))) {
    Control(EPOLL_CTL_ADD, wake_.Get(), kWakeId, EPOLLIN);
  }

  TaskId Submit(SteadyClock::time_point due, Task task) {
    const std::lock_guard lock(mutex_);
    const TaskId id = ++lastId_;
    if (stopped_) return id;
    const auto place = queue_.emplace(std::pair(due, id), std::move(task)).first;
    dueTimes_.emplace(id, due);
    StartThread();
    if (place == queue_.begin() && due < sleepsUntil_ && !OnThread()) Wake();
    return id;
  }

  void Cancel(TaskId id) {
    Queue::node_type forgotten;  // dies after the lock: a task may own anything
    const std::lock_guard lock(mutex_);
    const auto due = dueTimes_.find(id);
    if (due == dueTimes_.end()) return;
    forgotten = queue_.extract({due->second, id});
    dueTimes_.erase(due);
  }

  WatchId Watch(int fd, std::uint32_t events, ReadyHandler handler) {
    const std::lock_guard lock(mutex_);
    const WatchId id = ++lastId_;
    if (stopped_) return id;
    watches_.emplace(id, Watched{fd, events, std::make_shared<ReadyHandler>(std::move(handler))});
    Control(EPOLL_CTL_ADD, fd, id, events);
    StartThread();
    return id;
  }

  void SetEvents(WatchId id, std::uint32_t events) {
    const std::lock_guard lock(mutex_);
    const auto watched = watches_.find(id);
    if (watched == watches_.end()) return;
    watched->second.events = events;
    Arm(*watched);
  }

  void Lend(WatchId id, std::weak_ptr<LendableInput> input) {
    const std::lock_guard lock(mutex_);
    lent_ = {id, std::move(input)};
  }

  void Unwatch(WatchId id) {
    std::shared_ptr<ReadyHandler> forgotten;  // dies after the lock
    const std::lock_guard lock(mutex_);
    const auto watched = watches_.find(id);
    if (watched == watches_.end()) return;
    epoll_ctl(epoll_.Get(), EPOLL_CTL_DEL, watched->second.fd, nullptr);
    forgotten = std::move(watched->second.handler);
    watches_.erase(watched);
  }

  bool IsLoopThread() const {
    const std::lock_guard lock(mutex_);
    return OnThread();
  }

  /// On the radio's thread: runs what is due, until `signal` is set or `duration` has passed.
  void WaitNested(milliseconds duration, const WakeSignal* signal) {
    const auto end = SteadyClock::now() + duration;
    while (!IsStopped() && !(signal && signal->IsSet())) {
      const auto left = std::chrono::ceil<milliseconds>(end - SteadyClock::now());
      if (left <= milliseconds{0}) return;
      RunOnce(signal ? std::min(left, kSignalCheck) : left);
    }
  }

  /// On any other thread: waits as long, and meanwhile takes the lent input if nobody else does.
  void WaitOutside(milliseconds duration, const WakeSignal& signal) {
    if (const Loan loan(*this); loan.input) {
      if (TakeWhileWaiting(*loan.input, wakeBorrower_.Get(), signal, duration)) return;
      duration = std::min(duration, kSignalCheck);  // its end will set the signal
    }
    signal.WaitFor(duration);
  }

  void Stop() {
    Queue tasks;
    Watches watches;
    std::thread thread;
    {
      const std::lock_guard lock(mutex_);
      stopped_ = true;
      tasks.swap(queue_);
      watches.swap(watches_);
      dueTimes_.clear();
      thread = std::move(thread_);
      Wake();
    }
    if (!thread.joinable()) return;
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();
    } else {
      thread.join();
    }
  }

 private:
  struct Watched {
    int fd;
    std::uint32_t events;
    std::shared_ptr<ReadyHandler> handler;
  };
  struct Lent {
    WatchId id = 0;
    std::weak_ptr<LendableInput> input;
  };
  /// The lent input while a thread of the host has it; null when there is none to be had.
  struct Loan {
    explicit Loan(Core& lender) : core(lender), input(core.Borrow()) {}
    ~Loan() {
      if (input) core.Return();
    }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    Core& core;
    const std::shared_ptr<LendableInput> input;
  };
  using Queue = std::map<std::pair<SteadyClock::time_point, TaskId>, Task>;
  using Watches = std::unordered_map<WatchId, Watched>;
  static constexpr int kWakeFlags = EFD_CLOEXEC | EFD_NONBLOCK;
  static constexpr WatchId kWakeId = 0;

  std::shared_ptr<LendableInput> Borrow() {
    const std::lock_guard lock(mutex_);
    const auto watched = watches_.find(lent_.id);
    if (borrowed_ != 0 || watched == watches_.end()) return nullptr;
    auto input = lent_.input.lock();
    if (input) {
      borrowed_ = lent_.id;
      Arm(*watched);
    }
    return input;
  }
  void Return() {
    const std::lock_guard lock(mutex_);
    const auto watched = watches_.find(std::exchange(borrowed_, 0));
    if (watched != watches_.end()) Arm(*watched);
  }

  // Down to `TimeToSleep` all expect mutex_ to be held.
  void Arm(const Watches::value_type& watched) {
    const auto& [id, watch] = watched;
    const std::uint32_t mine = id == borrowed_ ? ~std::uint32_t{EPOLLIN} : ~std::uint32_t{0};
    Control(EPOLL_CTL_MOD, watch.fd, id, watch.events & mine);
  }
  void Control(int operation, int fd, WatchId id, std::uint32_t events) {
    epoll_event event{events, {}};
    event.data.u64 = id;
    epoll_ctl(epoll_.Get(), operation, fd, &event);
  }
  bool OnThread() const { return threadId_ == std::this_thread::get_id(); }
  void StartThread() {
    if (threadId_ != std::thread::id()) return;
    thread_ = std::thread([self = shared_from_this()] {
      while (!self->IsStopped())
        self->RunOnce(kLongestWait);
    });
    threadId_ = thread_.get_id();
  }
  void Wake() {
    const std::uint64_t one = 1;
    (void)!::write(wake_.Get(), &one, sizeof one);
  }
  /// How long the thread may sleep. A time it once meant to wake at stands, though the task for it
  /// was cancelled: a wake-up for nothing now and then costs less than being woken for each new
  /// task that, like most, bounds something and will be cancelled too.
  milliseconds TimeToSleep(milliseconds limit) {
    const auto now = SteadyClock::now();
    if (sleepsUntil_ <= now) sleepsUntil_ = now + kLongestWait;
    if (!queue_.empty()) sleepsUntil_ = std::min(sleepsUntil_, queue_.begin()->first.first);
    const auto left = std::chrono::ceil<milliseconds>(sleepsUntil_ - now);
    return std::clamp(left, milliseconds{0}, limit);
  }

  bool IsStopped() const {
    const std::lock_guard lock(mutex_);
    return stopped_;
  }

  bool RunDueTask() {
    Queue::node_type node;
    {
      const std::lock_guard lock(mutex_);
      if (queue_.empty() || queue_.begin()->first.first > SteadyClock::now()) return false;
      node = queue_.extract(queue_.begin());
      dueTimes_.erase(node.key().second);
    }
    node.mapped()();
    return true;
  }

  /// Runs one due task, or waits for one or for a descriptor at most `limit` and handles that.
  void RunOnce(milliseconds limit) {
    if (RunDueTask()) return;
    {
      const std::lock_guard lock(mutex_);
      if (stopped_) return;
      limit = TimeToSleep(limit);
    }
    // One event at a time: a handler may wait here nested, and what it finds must be fresh.
    epoll_event event{};
    if (epoll_wait(epoll_.Get(), &event, 1, static_cast<int>(limit.count())) <= 0) return;
    if (event.data.u64 == kWakeId) {
      std::uint64_t count = 0;
      (void)!::read(wake_.Get(), &count, sizeof count);
      return;
    }
    std::shared_ptr<ReadyHandler> handler;
    {
      const std::lock_guard lock(mutex_);
      const auto watched = watches_.find(event.data.u64);
      if (watched != watches_.end()) handler = watched->second.handler;
    }
    if (handler) (*handler)(event.events);
  }

  const FileDescriptor epoll_;
  const FileDescriptor wake_;
  const FileDescriptor wakeBorrower_;
  mutable std::mutex mutex_;  // guards every field below; never held by a task or handler
  std::thread thread_;
  std::thread::id threadId_;  ///< stays when the thread was detached
  bool stopped_ = false;
  SteadyClock::time_point sleepsUntil_{};  ///< when the thread wakes without being woken
  TaskId lastId_ = 0;
  Queue queue_;
  std::unordered_map<TaskId, SteadyClock::time_point> dueTimes_;  ///< of the queued tasks
  Watches watches_;
  Lent lent_;
  WatchId borrowed_ = 0;  ///< whose input a thread of the host takes; 0: none
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
  core_->SetEvents(id, events);
}
void EventLoop::Unwatch(WatchId id) {
  core_->Unwatch(id);
}
void EventLoop::Lend(WatchId id, std::weak_ptr<LendableInput> input) {
  core_->Lend(id, std::move(input));
}

bool EventLoop::IsLoopThread() const {
  return core_->IsLoopThread();
}

bool EventLoop::Step(milliseconds wait, const WakeSignal* signal) {
  if (IsLoopThread()) {
    const auto core = core_;  // what runs nested may end the radio
    core->WaitNested(wait, signal);
  } else if (signal) {
    const auto core = core_;
    core->WaitOutside(wait, *signal);
  } else {
    std::this_thread::sleep_for(wait);
  }
  return true;
}

}  // namespace corvaneble::platform::linux_radio

#pragma once

#include <exception>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "base/Mutex.h"
#include "base/TaskQueue.h"
#include "platform/PlatformFailure.h"

namespace ble {

/// Starts a backend's thread. Throws `PlatformFailure` where the system allows no more.
template <class Run>
std::thread StartRadioThread(Run run) {
  try {
    return std::thread(std::move(run));
  } catch (const std::system_error& failure) {
    throw PlatformFailure(failure.code().value(),
                          std::string("The radio's thread cannot be started: ") + failure.what());
  }
}

/// Runs something on a backend's thread. Exceptions end here, since no caller could handle them:
/// memory has run out, and a thread that waits for the outcome has a time limit.
template <class Task, class... Args>
void RunOnRadioThread(const Task& task, Args... args) {
  try {
    task(args...);
  } catch (const std::exception&) {
  }
}

/// The tasks of a backend and the thread that runs them, which starts with the first of them.
class TaskThread {
 public:
  void Cancel(Executor::TaskId id) {
    TaskQueue::Taken forgotten;  // dies after the lock
    const MutexLock lock(mutex_);
    forgotten = queue_.Take(id);
  }

 protected:
  /// Drops what is pending, has `wake` wake the thread, and waits for its end; on that very thread,
  /// which then ends once the present task has returned, it does not wait.
  template <class Wake>
  void StopAnd(Wake wake) {
    TaskQueue dropped;  // dies after the lock
    std::thread thread;
    {
      const MutexLock lock(mutex_);
      stopped_ = true;
      std::swap(dropped, queue_);
      thread = std::move(thread_);
    }
    wake();
    if (!thread.joinable()) return;
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();
    } else {
      thread.join();
    }
  }

  mutable Mutex mutex_;  // guards fields of derived classes too; no task runs under it
  std::thread thread_ GUARDED_BY(mutex_);
  bool stopped_ GUARDED_BY(mutex_) = false;
  TaskQueue queue_ GUARDED_BY(mutex_);
};

}  // namespace ble

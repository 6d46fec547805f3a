#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "base/WakeSignal.h"

namespace ble {

/// Something that happens once. Any number of threads may wait for it, each for a signal of its
/// own. Any thread.
class Latch {
 public:
  using SignalPtr = std::shared_ptr<const WakeSignal>;

  /// Sets the signals handed out so far, and at once those handed out later.
  void Open() {
    std::vector<std::shared_ptr<WakeSignal>> waiting;  // set after the lock
    {
      const MutexLock lock(mutex_);
      isOpen_ = true;
      waiting.swap(waiting_);
    }
    for (const auto& signal : waiting)
      signal->Set();
  }

  SignalPtr Signal() {
    auto signal = std::make_shared<WakeSignal>();
    const MutexLock lock(mutex_);
    if (isOpen_) {
      signal->Set();  // nobody waits for it yet
    } else {
      waiting_.push_back(signal);
    }
    return signal;
  }

 private:
  Mutex mutex_;
  bool isOpen_ GUARDED_BY(mutex_) = false;
  std::vector<std::shared_ptr<WakeSignal>> waiting_ GUARDED_BY(mutex_);
};

}  // namespace ble

#pragma once

#include <memory>
#include <string>
#include <utility>

#include "base/Mutex.h"

namespace ble {

/// A text computed for the host, kept in the record that it describes. Any thread.
class KeptText {
 public:
  /// Keeps a text and returns it. The pointer is valid as long as this object and until the text
  /// has changed twice: a thread may still use the text that another thread has just replaced.
  const char* Keep(std::string text) {
    const MutexLock lock(mutex_);
    if (!latest_ || *latest_ != text) {
      earlier_ = std::move(latest_);
      latest_ = std::make_unique<const std::string>(std::move(text));
    }
    return latest_->c_str();
  }

 private:
  Mutex mutex_;
  std::unique_ptr<const std::string> latest_ GUARDED_BY(mutex_);
  std::unique_ptr<const std::string> earlier_ GUARDED_BY(mutex_);
};

}  // namespace ble

#pragma once

#include <memory>
#include <string>
#include <utility>

#include "base/Mutex.h"
#include "base/NeverDestroyed.h"

namespace ble {

/// A text computed for the host, kept in the record that it describes. As large as a pointer until
/// there is a text. Any thread.
class KeptText {
 public:
  /// Keeps a text and returns it. The pointer is valid as long as this object and until the text
  /// has changed twice: a thread may still use the text that another thread has just replaced.
  const char* Keep(std::string text) {
    const MutexLock lock(TextMutex());
    if (!texts_) texts_ = std::make_unique<Texts>();
    if (!texts_->latest || *texts_->latest != text) {
      texts_->earlier = std::move(texts_->latest);
      texts_->latest = std::make_unique<const std::string>(std::move(text));
    }
    return texts_->latest->c_str();
  }

 private:
  struct Texts {
    std::unique_ptr<const std::string> latest;
    std::unique_ptr<const std::string> earlier;
  };

  /// One for all objects: records are many, and their texts are rarely read.
  static Mutex& TextMutex() {
    static NeverDestroyed<Mutex> mutex;
    return *mutex;
  }

  std::unique_ptr<Texts> texts_ GUARDED_BY(TextMutex());
};

}  // namespace ble

#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "base/Mutex.h"
#include "frame/Status.h"

namespace ble {

/// The two error pairs of an instance: the last failed operation's, and the one recorded for a
/// failing event handler. Storing a text never changes a code and storing a code never clears a
/// text. Any thread.
class ErrorState {
 public:
  /// Ends a method or property write: stores the code, and the message of a failure. Without any
  /// message, now or before, the failure gets a default one. Returns the code.
  ErrorCode Finish(const Status& status);

  /// Stores the message of a failure, and not its code: for one that the method goes on after.
  void Note(const Status& status);

  ErrorCode LastCode() const { return lastCode_.load(std::memory_order_acquire); }
  void SetLastCode(ErrorCode code) { lastCode_.store(code, std::memory_order_release); }
  std::string LastText() const;
  void SetLastText(std::string_view text);

  ErrorCode EventCode() const { return eventCode_; }
  std::string EventText() const;
  void SetEvent(ErrorCode code, std::string_view text);

  /// Records `text` and `code` as the event error unless a text is there already; returns whether
  /// it was recorded.
  bool RecordUnhandledEvent(ErrorCode code, std::string_view text);

 private:
  std::atomic<ErrorCode> lastCode_ = error::kSuccess;
  std::atomic<ErrorCode> eventCode_ = error::kSuccess;
  mutable Mutex mutex_;
  std::string lastText_ GUARDED_BY(mutex_);
  std::string eventText_ GUARDED_BY(mutex_);
};

}  // namespace ble

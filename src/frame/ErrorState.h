#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>

#include "frame/ErrorCode.h"

namespace ble {

/// The two error pairs of an instance: the last failed operation's, and the one recorded for a
/// failing event handler. Storing a text never changes a code and storing a code never clears a
/// text. Any thread.
class ErrorState {
 public:
  /// Stores the message and returns the code, for `return errors.Raise(...)`.
  [[nodiscard]] ErrorCode Raise(const Failure& failure) {
    return Raise(failure.code, failure.text);
  }
  [[nodiscard]] ErrorCode Raise(ErrorCode code, std::string_view text) {
    SetLastText(text);
    return code;
  }

  /// Ends a method or property write: gives a failure without any text its default text, stores
  /// the code and returns it.
  ErrorCode Finish(ErrorCode code);

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
  mutable std::mutex mutex_;  // guards the texts
  std::string lastText_;
  std::string eventText_;
};

}  // namespace ble

#pragma once

#include <string>
#include <utility>

#include "frame/ErrorCode.h"
#include "platform/PlatformFailure.h"

namespace ble {

/// How an operation ended: success, or a code with its message. Costs no allocation on success.
/// The instance's last error is stored where a method or property access ends
/// (`ErrorState::Finish`).
class [[nodiscard]] Status {
 public:
  Status() = default;
  Status(const Failure& failure)  // NOLINT: `return failure::kTimeout;`
      : code_(failure.code), text_(failure.text) {}
  Status(ErrorCode code, std::string text) : code_(code), text_(std::move(text)) {}
  /// A code without a message, which leaves the last message as it is; 0 is success.
  explicit Status(ErrorCode code) : code_(code) {}
  /// What a call of the platform threw.
  explicit Status(const PlatformFailure& failure);

  bool Ok() const { return code_ == error::kSuccess; }
  ErrorCode Code() const { return code_; }
  const std::string& Text() const { return text_; }

 private:
  ErrorCode code_ = error::kSuccess;
  std::string text_;
};

/// A value, or the status that says why there is none; the value is then a default one.
template <class T>
struct [[nodiscard]] Result {
  Result(T found) : value(std::move(found)) {}          // NOLINT: `return value;`
  Result(Status failed) : status(std::move(failed)) {}  // NOLINT: `return status;`
  Result(const Failure& failure) : status(failure) {}   // NOLINT: `return failure::kTimeout;`

  Status status;
  T value{};
};

}  // namespace ble

#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace ble {

/// What a platform call throws when it cannot be carried out at all, as opposed to a GATT result
/// that reports a failure. It is the only exception that crosses the seam; the component turns it
/// into an error code and never lets it reach the host. Copies, which may be on other threads,
/// share the text.
class PlatformFailure : public std::exception {
 public:
  PlatformFailure(std::int32_t result, std::string text)
      : result_(result), text_(std::make_shared<const std::string>(std::move(text))) {}

  const char* what() const noexcept override { return text_->c_str(); }

  /// The platform's own number for the failure: an HRESULT on Windows, an errno elsewhere.
  std::int32_t Result() const noexcept { return result_; }

 private:
  std::int32_t result_;
  std::shared_ptr<const std::string> text_;
};

}  // namespace ble

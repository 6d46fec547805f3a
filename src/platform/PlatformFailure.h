#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace corvaneble::platform {

/// What a platform call throws when it cannot be carried out at all, as opposed to a GATT result
/// that reports a failure. It is the only exception that crosses the seam; the component turns it
/// into an error code and never lets it reach the host.
class PlatformFailure : public std::runtime_error {
 public:
  PlatformFailure(std::int32_t result, const std::string& text)
      : std::runtime_error(text), result_(result) {}

  /// The platform's own number for the failure: an HRESULT on Windows, an errno elsewhere.
  std::int32_t Result() const noexcept { return result_; }

 private:
  std::int32_t result_;
};

}  // namespace corvaneble::platform

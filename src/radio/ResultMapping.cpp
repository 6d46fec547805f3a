#include "radio/ResultMapping.h"

#include <array>
#include <string_view>

#include "base/Text.h"
#include "radio/EnumText.h"

namespace ble {
namespace {

/// An ATT error with a message of its own (Bluetooth Core 5.4, Vol 3 Part F, 3.4.1.1, and the
/// Core Supplement, Part B).
struct ProtocolErrorInfo {
  std::uint8_t value;
  ErrorCode code;
  std::string_view reason;
};

constexpr auto kProtocolErrors = std::to_array<ProtocolErrorInfo>({
    {0x01, 701, "Invalid handle."},
    {0x02, 702, "Read not permitted."},
    {0x03, 703, "Write not permitted."},
    {0x04, 704, "Invalid PDU."},
    {0x05, 705, "Insufficient authentication."},
    {0x06, 706, "Request not supported."},
    {0x07, 707, "Invalid offset."},
    {0x08, 708, "Insufficient authorization."},
    {0x09, 709, "Prepare queue full."},
    {0x0A, 710, "Attribute not found."},
    {0x0B, 711, "Attribute not long."},
    {0x0C, 712, "Insufficient encryption key size."},
    {0x0D, 713, "Invalid attribute value length."},
    {0x0E, 714, "Unlikely error."},
    {0x0F, 715, "Insufficient encryption."},
    {0x10, 716, "Unsupported group type."},
    {0x11, 717, "Insufficient resources."},
    {0xFC, 952, "Write request rejected."},
    {0xFD, 953, "Client characteristic configuration descriptor (CCCD) improperly configured."},
    {0xFE, 954, "A procedure is already in progress."},
    {0xFF, 955, "Attribute value is out of range."},
});

constexpr bool IsApplicationError(std::uint8_t value) {
  return value >= 0x80 && value <= 0x9F;
}

Status MapProtocolError(std::uint8_t value) {
  for (const ProtocolErrorInfo& info : kProtocolErrors) {
    if (info.value != value) continue;
    return {info.code, Concat("Protocol error returned during communication: [", value, "] {",
                              value, "}. ", info.reason)};
  }
  if (IsApplicationError(value)) {
    // The brace is never closed: hosts know the text as it is.
    return {error::kApplicationError,
            Concat("Application-specific protocol error {", value, " (0x", Hex{value},
                   ") returned during communication. Consult the remote device's documentation "
                   "for more information.")};
  }
  return {error::kUnknownProtocolError, Concat("Unknown protocol error ", value, " (0x", Hex{value},
                                               ") returned during communication.")};
}

}  // namespace

[[gnu::hot]] Status MapGattResult(GattCommunicationStatus status, std::uint8_t protocolError) {
  using enum GattCommunicationStatus;
  switch (status) {
    case Success:
      return {};
    case Unreachable:
      return failure::kUnreachable;
    case ProtocolError:
      return MapProtocolError(protocolError);
    case AccessDenied:
      return failure::kAccessDenied;
  }
  return {};
}

[[gnu::hot]] Status ReportGattResult(const GattResult& result, Log& log, const char* logType) {
  const std::uint8_t protocolError = result.protocolError.value_or(0);
  log.Write(LogLevel::Debug, logType, "BLE Result Status: ", EnumText(result.status),
            " (Protocol Code: ", protocolError, ").");
  return MapGattResult(result.status, protocolError);
}

}  // namespace ble

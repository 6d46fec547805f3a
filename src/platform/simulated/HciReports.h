#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include "platform/simulated/ByteReader.h"
#include "platform/simulated/Capture.h"

namespace corvaneble::platform::simulated {

/// Collects the advertising reports out of a run of HCI events: LE Advertising Report and LE
/// Extended Advertising Report (Bluetooth Core 5.4, Vol 4 Part E, 7.7.65.2 and 7.7.65.13). The
/// fragments of an extended advertisement become one report; fragments whose end never comes
/// become none.
class HciReports {
 public:
  /// Takes the next event, from its event code to its last parameter. Events of other kinds change
  /// nothing, but their length must be what they say.
  [[nodiscard]] std::optional<CaptureError> TakeEvent(ByteReader event,
                                                      std::chrono::microseconds at);

  std::vector<CapturedReport> TakeReports() { return std::move(reports_); }

 private:
  /// Address type, address, advertising set and kind of packet: whose fragments belong together.
  using FragmentKey = std::tuple<std::uint8_t, std::uint64_t, std::uint8_t, std::uint16_t>;

  std::optional<CaptureError> TakeLegacyReport(ByteReader& reader, std::chrono::microseconds at);
  std::optional<CaptureError> TakeExtendedReport(ByteReader& reader, std::chrono::microseconds at);

  std::map<FragmentKey, Bytes> fragments_;
  std::vector<CapturedReport> reports_;
};

}  // namespace corvaneble::platform::simulated

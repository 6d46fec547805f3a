#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "platform/BluetoothAdvertisement.h"

namespace ble::simulated {

/// One advertising packet or scan response as a controller once reported it.
struct CapturedReport {
  std::chrono::microseconds at{0};  ///< since the first report of the capture
  std::uint64_t address = 0;        ///< 48 bits
  bool randomAddress = false;
  BluetoothLEAdvertisementType type = BluetoothLEAdvertisementType::ConnectableUndirected;
  std::int16_t rssi = 0;  ///< dBm; 127: the controller did not know
  Bytes payload;

  friend bool operator==(const CapturedReport&, const CapturedReport&) = default;
};

/// Why a capture was refused: what is wrong, and the byte of the file where.
struct CaptureError {
  std::size_t offset = 0;
  std::string text;
};

/// What a capture holds, or why it was refused. A capture is taken whole or not at all.
struct CaptureResult {
  std::vector<CapturedReport> reports;  ///< in the order of the file; empty after an error
  std::optional<CaptureError> error;
};

/// Finds the advertising reports in a btsnoop file: unencapsulated HCI (link type 1001), HCI H4
/// (1002) or Linux monitor (2001). Records of every other kind are skipped.
[[nodiscard]] CaptureResult ParseCapture(ByteView file);

/// The same for a file on disk; one that cannot be read is an error at offset 0.
[[nodiscard]] CaptureResult LoadCapture(const std::filesystem::path& file);

}  // namespace ble::simulated

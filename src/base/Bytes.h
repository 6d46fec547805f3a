#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ble {

/// Owned bytes: attribute values, advertisement payloads.
using Bytes = std::vector<std::uint8_t>;

/// Borrowed bytes; never outlives the call it is passed to unless a comment says so.
using ByteView = std::span<const std::uint8_t>;

/// Appends a number as Bluetooth writes it: little-endian.
inline void AppendU16(Bytes& bytes, std::uint16_t number) {
  bytes.push_back(static_cast<std::uint8_t>(number));
  bytes.push_back(static_cast<std::uint8_t>(number >> 8));
}

}  // namespace ble

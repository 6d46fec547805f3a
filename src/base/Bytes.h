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

/// The little-endian number at the front of `bytes`, which must hold two.
constexpr std::uint16_t LoadU16(ByteView bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline void Append(Bytes& bytes, ByteView more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace ble

#pragma once

#include <cstdint>
#include <span>

#include "base/Bytes.h"
#include "platform/BluetoothAdvertisement.h"

/// Building the payload of an advertising packet (Bluetooth Core 5.4, Vol 3 Part C, 11).
namespace ble {

/// A section's length byte counts the type byte too.
inline constexpr std::size_t kMaxSectionData = 254;

/// Appends one section. `data` must not be longer than `kMaxSectionData`.
void AppendSection(std::uint8_t type, ByteView data, Bytes& payload);

/// Those of the UUIDs whose shortest form has `size` bytes, one behind the other.
[[nodiscard]] Bytes UuidsOfSize(std::span<const Uuid> uuids, std::size_t size);

/// The type of a service data section, and what it begins with.
struct ServiceDataHead {
  explicit ServiceDataHead(const Uuid& uuid);

  std::uint8_t type = 0;
  Bytes bytes;
};

}  // namespace ble

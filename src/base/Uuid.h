#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "base/Bytes.h"

namespace ble {

/// A UUID as it travels over the air, least significant byte first (Bluetooth Core 5.4, Vol 3 Part
/// B, 2.5.1).
struct UuidBytes {
  std::array<std::uint8_t, 16> bytes{};
  std::size_t size = 0;

  constexpr ByteView View() const { return {bytes.data(), size}; }
};

/// A 128-bit UUID in GUID field layout: the fields hold numbers, not bytes in memory order.
struct Uuid {
  std::uint32_t data1 = 0;
  std::uint16_t data2 = 0;
  std::uint16_t data3 = 0;
  std::array<std::uint8_t, 8> data4{};

  friend constexpr bool operator==(const Uuid&, const Uuid&) = default;

  /// The assigned number `value` on the Bluetooth base UUID, 0000xxxx-0000-1000-8000-00805F9B34FB
  /// (Bluetooth Core 5.4, Vol 3 Part B, 2.5.1).
  static constexpr Uuid FromAssignedNumber(std::uint32_t value) {
    return {value, 0x0000, 0x1000, {0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB}};
  }

  /// The 16-bit assigned number this UUID stands for, if it lies on the base UUID and fits.
  constexpr std::optional<std::uint16_t> AssignedNumber16() const {
    if (data1 > 0xFFFF || *this != FromAssignedNumber(data1)) return std::nullopt;
    return static_cast<std::uint16_t>(data1);
  }

  /// The shortest form that ATT has for the UUID: 2 or 16 bytes (Bluetooth Core 5.4, Vol 3 Part F,
  /// 3.2.1).
  constexpr UuidBytes AttForm() const { return InBytes(AssignedNumber16() ? 2 : 16); }

  /// The shortest form that advertising data have for the UUID: 2, 4 or 16 bytes
  /// (Supplement to the Bluetooth Core, 1.1).
  constexpr UuidBytes AdvertisingForm() const {
    if (*this != FromAssignedNumber(data1)) return InBytes(16);
    return InBytes(AssignedNumber16() ? 2 : 4);
  }

  /// A UUID as ATT carries it: 2 or 16 bytes. Any other size gives no UUID.
  static constexpr std::optional<Uuid> FromAttForm(ByteView bytes) {
    return bytes.size() == 4 ? std::nullopt : FromLittleEndian(bytes);
  }

  /// A UUID in any form it has over the air: 2, 4 or 16 bytes. Any other size gives no UUID.
  static constexpr std::optional<Uuid> FromLittleEndian(ByteView bytes) {
    if (bytes.size() == 2) return FromAssignedNumber(Number(bytes, 0, 2));
    if (bytes.size() == 4) return FromAssignedNumber(Number(bytes, 0, 4));
    if (bytes.size() != 16) return std::nullopt;
    Uuid guid{Number(bytes, 12, 4),
              static_cast<std::uint16_t>(Number(bytes, 10, 2)),
              static_cast<std::uint16_t>(Number(bytes, 8, 2)),
              {}};
    for (std::size_t i = 0; i < 8; ++i)
      guid.data4[i] = bytes[7 - i];
    return guid;
  }

  /// All 16 bytes in text order, most significant first.
  constexpr std::array<std::uint8_t, 16> BigEndian() const {
    std::array<std::uint8_t, 16> bytes{};
    for (unsigned i = 0; i < 4; ++i)
      bytes[i] = static_cast<std::uint8_t>(data1 >> (24 - 8 * i));
    for (unsigned i = 0; i < 2; ++i) {
      bytes[4 + i] = static_cast<std::uint8_t>(data2 >> (8 - 8 * i));
      bytes[6 + i] = static_cast<std::uint8_t>(data3 >> (8 - 8 * i));
    }
    for (std::size_t i = 0; i < 8; ++i)
      bytes[8 + i] = data4[i];
    return bytes;
  }

  /// The reverse of `BigEndian`.
  static constexpr Uuid FromBigEndian(const std::array<std::uint8_t, 16>& bytes) {
    std::array<std::uint8_t, 16> reversed{};
    for (std::size_t i = 0; i < 16; ++i)
      reversed[i] = bytes[15 - i];
    return *FromLittleEndian(reversed);
  }

 private:
  /// A short form holds the lowest bytes of `data1`.
  constexpr UuidBytes InBytes(std::size_t size) const {
    const auto text = BigEndian();
    UuidBytes form{{}, size};
    for (std::size_t i = 0; i < size; ++i)
      form.bytes[i] = text[(size == 16 ? 15 : 3) - i];
    return form;
  }

  static constexpr std::uint32_t Number(ByteView bytes, std::size_t offset, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;)
      value = value << 8 | bytes[offset + i];
    return value;
  }
};

}  // namespace ble

template <>
struct std::hash<ble::Uuid> {
  std::size_t operator()(const ble::Uuid& guid) const noexcept {
    std::uint64_t mix = guid.data1 * 0x9E3779B97F4A7C15ULL + guid.data2 * 31U + guid.data3;
    for (const std::uint8_t byte : guid.data4)
      mix = (mix ^ byte) * 0x100000001B3ULL;
    return static_cast<std::size_t>(mix ^ mix >> 32);
  }
};

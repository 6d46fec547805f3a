#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "corvaneble/corvaneble.h"
#include "platform/Gatt.h"

namespace ble {

/// What a characteristic allows, in the component's own bits: the platform's property bits without
/// ExtendedProperties, which leaves no gap.
namespace characteristic_flag {
inline constexpr std::uint32_t kBroadcast = CORVANEBLE_FLAG_BROADCAST;
inline constexpr std::uint32_t kRead = CORVANEBLE_FLAG_READ;
inline constexpr std::uint32_t kWriteWithoutResponse = CORVANEBLE_FLAG_WRITE_WITHOUT_RESPONSE;
inline constexpr std::uint32_t kWrite = CORVANEBLE_FLAG_WRITE;
inline constexpr std::uint32_t kNotify = CORVANEBLE_FLAG_NOTIFY;
inline constexpr std::uint32_t kIndicate = CORVANEBLE_FLAG_INDICATE;
inline constexpr std::uint32_t kAuthenticatedSignedWrites =
    CORVANEBLE_FLAG_AUTHENTICATED_SIGNED_WRITES;
inline constexpr std::uint32_t kReliableWrites = CORVANEBLE_FLAG_RELIABLE_WRITES;
inline constexpr std::uint32_t kWritableAuxiliaries = CORVANEBLE_FLAG_WRITABLE_AUXILIARIES;
}  // namespace characteristic_flag

struct CharacteristicFlagInfo {
  std::uint32_t flag;
  std::uint32_t platformProperty;
  const char* abbreviation;
};

inline constexpr auto kCharacteristicFlagTable = [] {
  namespace property = gatt_characteristic_properties;
  namespace flag = characteristic_flag;
  return std::to_array<CharacteristicFlagInfo>({
      {flag::kBroadcast, property::kBroadcast, "B"},
      {flag::kRead, property::kRead, "R"},
      {flag::kWriteWithoutResponse, property::kWriteWithoutResponse, "WWR"},
      {flag::kWrite, property::kWrite, "W"},
      {flag::kNotify, property::kNotify, "N"},
      {flag::kIndicate, property::kIndicate, "I"},
      {flag::kAuthenticatedSignedWrites, property::kAuthenticatedSignedWrites, "ASR"},
      {flag::kReliableWrites, property::kReliableWrites, "RW"},
      {flag::kWritableAuxiliaries, property::kWritableAuxiliaries, "WA"},
  });
}();

constexpr std::uint32_t FlagsFromProperties(std::uint32_t platformProperties) {
  std::uint32_t flags = 0;
  for (const CharacteristicFlagInfo& info : kCharacteristicFlagTable) {
    if ((platformProperties & info.platformProperty) != 0) flags |= info.flag;
  }
  return flags;
}

constexpr bool CanSubscribe(std::uint32_t flags) {
  return (flags & (characteristic_flag::kNotify | characteristic_flag::kIndicate)) != 0;
}

/// The abbreviations of the set flags, lowest bit first, joined with ",".
inline std::string FlagsText(std::uint32_t flags) {
  std::string text;
  for (const CharacteristicFlagInfo& info : kCharacteristicFlagTable) {
    if ((flags & info.flag) == 0) continue;
    if (!text.empty()) text += ',';
    text += info.abbreviation;
  }
  return text;
}

}  // namespace ble

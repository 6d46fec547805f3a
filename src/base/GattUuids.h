#pragma once

#include <cstdint>

/// The assigned numbers that GATT itself is made of; `Uuid::FromAssignedNumber` makes UUIDs of
/// them.
namespace ble::gatt_uuid {

// Services (Assigned Numbers, 3.4).
inline constexpr std::uint16_t kGenericAccess = 0x1800;
inline constexpr std::uint16_t kGenericAttribute = 0x1801;

// Declarations (Bluetooth Core 5.4, Vol 3 Part G, 3.1 to 3.3).
inline constexpr std::uint16_t kPrimaryService = 0x2800;
inline constexpr std::uint16_t kSecondaryService = 0x2801;
inline constexpr std::uint16_t kInclude = 0x2802;
inline constexpr std::uint16_t kCharacteristic = 0x2803;

// Descriptors (Bluetooth Core 5.4, Vol 3 Part G, 3.3.3).
inline constexpr std::uint16_t kExtendedProperties = 0x2900;
inline constexpr std::uint16_t kUserDescription = 0x2901;
inline constexpr std::uint16_t kClientConfiguration = 0x2902;
inline constexpr std::uint16_t kPresentationFormat = 0x2904;
inline constexpr std::uint16_t kAggregateFormat = 0x2905;

// Characteristics (Bluetooth Core 5.4, Vol 3 Part C, 12 and Part G, 7.1).
inline constexpr std::uint16_t kDeviceName = 0x2A00;
inline constexpr std::uint16_t kAppearance = 0x2A01;
inline constexpr std::uint16_t kServiceChanged = 0x2A05;

}  // namespace ble::gatt_uuid

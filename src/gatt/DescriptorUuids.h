#pragma once

#include "gatt/UuidText.h"

namespace ble::descriptor_uuid {

/// The descriptors that the component itself looks for (Assigned Numbers, 3.7).
inline constexpr Uuid kCharacteristicExtendedProperties = UuidFromShort(0x2900);
inline constexpr Uuid kCharacteristicUserDescription = UuidFromShort(0x2901);
inline constexpr Uuid kClientCharacteristicConfiguration = UuidFromShort(0x2902);
inline constexpr Uuid kCharacteristicPresentationFormat = UuidFromShort(0x2904);
inline constexpr Uuid kCharacteristicAggregateFormat = UuidFromShort(0x2905);

}  // namespace ble::descriptor_uuid

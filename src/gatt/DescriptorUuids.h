#pragma once

#include "base/GattUuids.h"
#include "gatt/UuidText.h"

namespace ble::descriptor_uuid {

/// The descriptors that the component itself looks for.
inline constexpr Uuid kCharacteristicExtendedProperties =
    UuidFromShort(gatt_uuid::kExtendedProperties);
inline constexpr Uuid kCharacteristicUserDescription = UuidFromShort(gatt_uuid::kUserDescription);
inline constexpr Uuid kClientCharacteristicConfiguration =
    UuidFromShort(gatt_uuid::kClientConfiguration);
inline constexpr Uuid kCharacteristicPresentationFormat =
    UuidFromShort(gatt_uuid::kPresentationFormat);
inline constexpr Uuid kCharacteristicAggregateFormat = UuidFromShort(gatt_uuid::kAggregateFormat);

}  // namespace ble::descriptor_uuid

#pragma once

#include "backends/linux/BluezObjects.h"
#include "base/Bytes.h"

namespace ble::linux_radio {

/// An advertising payload that says what BlueZ knows of a device: flags, service UUIDs by size,
/// name, TX power, service data, manufacturer data, in this order. It may hold more than any one of
/// the device's packets did, since BlueZ collects.
[[nodiscard]] Bytes RebuildPayload(const DeviceObject& device);

}  // namespace ble::linux_radio

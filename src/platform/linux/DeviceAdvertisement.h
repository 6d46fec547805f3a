#pragma once

#include "platform/Bytes.h"
#include "platform/linux/BluezObjects.h"

namespace corvaneble::platform::linux_radio {

/// An advertising payload that says what BlueZ knows of a device: flags, service UUIDs by size,
/// name, TX power, service data, manufacturer data, in this order. It may hold more than any one of
/// the device's packets did, since BlueZ collects.
[[nodiscard]] Bytes RebuildPayload(const DeviceObject& device);

}  // namespace corvaneble::platform::linux_radio

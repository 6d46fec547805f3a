#pragma once

#include "gatt/UuidText.h"

namespace ble {

/// The assigned-number name of a UUID (Assigned Numbers, GATT services, characteristics and
/// descriptors); empty when the UUID is not in the table or not on the Bluetooth base UUID. The
/// texts are static.
const char* ServiceName(const Uuid& uuid);
const char* CharacteristicName(const Uuid& uuid);
const char* DescriptorName(const Uuid& uuid);

}  // namespace ble

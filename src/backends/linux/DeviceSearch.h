#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "backends/linux/LinuxSession.h"

namespace ble::linux_radio {

/// Told once: the device, or null when it was not found.
using DeviceFound = std::function<void(const DeviceObject* device)>;

/// Finds a device by its address: at once when BlueZ knows it, else by discovering until it is
/// heard or the session's `SearchLimit` has passed. On the radio's thread.
void FindDevice(LinuxSession& session, std::uint64_t address, DeviceFound found);

}  // namespace ble::linux_radio

#pragma once

#include <string>

namespace ble::linux_radio {

/// Whether the kernel's radio switch keeps an adapter ("hci0") off, by software or by hardware.
[[nodiscard]] bool IsAdapterBlocked(const std::string& adapterName);

/// Whether any switch keeps Bluetooth off: a laptop's own takes the adapter away altogether.
[[nodiscard]] bool IsBluetoothBlocked();

}  // namespace ble::linux_radio

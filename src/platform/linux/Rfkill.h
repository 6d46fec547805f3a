#pragma once

#include <string>

namespace corvaneble::platform::linux_radio {

/// Whether the kernel's radio switch keeps an adapter ("hci0") off, by software or by hardware.
[[nodiscard]] bool IsBluetoothBlocked(const std::string& adapterName);

}  // namespace corvaneble::platform::linux_radio

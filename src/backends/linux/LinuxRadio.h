#pragma once

#include <string>

#include "platform/Radio.h"

namespace ble::linux_radio {

/// What to do when BlueZ or the adapter is missing.
enum class Absence {
  Fails,        ///< the user asked for this radio: operations fail and say why
  IsNoAdapter,  ///< there is just no adapter; why is a notice
};

/// Opens the radio that uses BlueZ and the kernel's Bluetooth sockets. `adapterName` is "hci1" and
/// the like, or empty. Nothing is asked of the system before the first operation. Throws
/// `PlatformFailure` when the process is out of descriptors.
[[nodiscard]] OpenedRadio OpenLinuxRadio(const std::string& adapterName, Absence absence);

}  // namespace ble::linux_radio

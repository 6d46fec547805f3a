#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "att/AttDevice.h"
#include "backends/linux/LinuxSession.h"
#include "base/Mutex.h"

namespace ble::linux_radio {

/// A device that BlueZ knows: GATT by a client over the kernel's ATT channel, the name from BlueZ.
/// Once it has had a link that was lost, it tries to get it back for as long as it lives. Events
/// are raised on the radio's thread.
class LinuxDevice final : public att::AttDevice {
 public:
  /// On the radio's thread.
  LinuxDevice(LinuxSession& session, const DeviceObject& device);

  std::uint64_t BluetoothAddress() const override { return address_; }
  std::u16string Name() const override;

 private:
  class Relink;
  struct NameKeeper {
    Mutex mutex;
    std::string name GUARDED_BY(mutex);
  };

  const std::uint64_t address_;
  const std::shared_ptr<NameKeeper> name_ = std::make_shared<NameKeeper>();
  EventToken linkChanged_;
  EventToken deviceChanged_;
};

}  // namespace ble::linux_radio

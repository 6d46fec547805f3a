#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "att/AttDevice.h"
#include "backends/linux/LinuxSession.h"

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
    mutable std::mutex mutex;  // guards the name
    std::string name;
  };

  const std::uint64_t address_;
  const std::shared_ptr<NameKeeper> name_ = std::make_shared<NameKeeper>();
  EventToken linkChanged_;
  EventToken deviceChanged_;
};

}  // namespace ble::linux_radio

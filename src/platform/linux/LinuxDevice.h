#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/Radio.h"
#include "platform/att/GattClient.h"
#include "platform/linux/L2capConnector.h"
#include "platform/linux/LinuxSession.h"

namespace corvaneble::platform::linux_radio {

/// A device that BlueZ knows: GATT by a client over the kernel's ATT channel, the name from BlueZ.
/// Once it has had a link that was lost, it tries to get it back for as long as it lives. Events
/// are raised on the radio's thread.
class LinuxDevice final : public BluetoothLEDevice {
 public:
  /// On the radio's thread.
  static std::shared_ptr<LinuxDevice> Create(LinuxSession& session, const DeviceObject& device);
  ~LinuxDevice() override;

  std::uint64_t BluetoothAddress() const override { return address_; }
  BluetoothConnectionStatus ConnectionStatus() const override;
  std::u16string Name() const override;

  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesAsync(
      BluetoothCacheMode mode) override {
    return client_->GetGattServicesAsync(mode);
  }
  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesForUuidAsync(
      const Guid& uuid, BluetoothCacheMode mode) override {
    return client_->GetGattServicesForUuidAsync(uuid, mode);
  }

  EventToken OnConnectionStatusChanged(Changed::Handler handler) override {
    return connectionStatusChanged_.Add(std::move(handler));
  }
  EventToken OnNameChanged(Changed::Handler handler) override {
    return nameChanged_.Add(std::move(handler));
  }
  EventToken OnGattServicesChanged(GattServicesChanged::Handler handler) override {
    return servicesChanged_.Add(std::move(handler));
  }

 private:
  class Relink;
  struct NameKeeper {
    mutable std::mutex mutex;  // guards the name
    std::string name;
  };

  LinuxDevice(LinuxSession& session, const DeviceObject& device);

  // Handlers registered elsewhere hold copies of these: copies of a source share its handlers.
  Changed connectionStatusChanged_;
  Changed nameChanged_;
  GattServicesChanged servicesChanged_;

  const std::uint64_t address_;
  const std::shared_ptr<NameKeeper> name_ = std::make_shared<NameKeeper>();
  const std::shared_ptr<Relink> relink_;
  std::shared_ptr<att::GattClient> client_;
  EventToken deviceChanged_;
};

}  // namespace corvaneble::platform::linux_radio

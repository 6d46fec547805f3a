#pragma once

#include <cstdint>
#include <memory>

#include "platform/Radio.h"
#include "platform/att/GattClient.h"
#include "platform/simulated/Timeline.h"
#include "platform/simulated/VirtualPeripheral.h"

namespace corvaneble::platform::simulated {

/// A virtual peripheral as its client sees it: GATT by a client over a simulated link, the name
/// from the peripheral. Once it has had a link, it opens it again when the peripheral comes back
/// into reach. Events are raised on the radio's thread.
class SimulatedDevice final : public BluetoothLEDevice {
 public:
  SimulatedDevice(std::weak_ptr<Timeline> timeline, std::shared_ptr<VirtualPeripheral> peripheral);
  ~SimulatedDevice() override;

  std::uint64_t BluetoothAddress() const override { return peripheral_->Scenario().address; }
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
  // Handlers registered elsewhere hold copies of these: copies of a source share its handlers.
  Changed connectionStatusChanged_;
  Changed nameChanged_;
  GattServicesChanged servicesChanged_;

  const std::shared_ptr<VirtualPeripheral> peripheral_;
  std::shared_ptr<att::GattClient> client_;
  EventToken nameToken_;
  EventToken reachToken_;
};

}  // namespace corvaneble::platform::simulated

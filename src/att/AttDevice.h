#pragma once

#include <memory>
#include <utility>

#include "att/GattClient.h"
#include "base/GattUuids.h"
#include "platform/Radio.h"

namespace ble::att {

/// A device that is reached over an ATT channel; derived classes add its address and its name.
/// Events are raised on the thread of its client.
class AttDevice : public BluetoothLEDevice {
 public:
  ~AttDevice() override { client_->Close(); }

  BluetoothConnectionStatus ConnectionStatus() const final {
    return client_->IsLinkOpen() ? BluetoothConnectionStatus::Connected
                                 : BluetoothConnectionStatus::Disconnected;
  }

  AsyncOperationPtr<GattDeviceServicesResult> QueryGattServices(const std::optional<Uuid>& wanted,
                                                                BluetoothCacheMode mode) final {
    return wanted ? client_->GetGattServicesForUuidAsync(*wanted, mode)
                  : client_->GetGattServicesAsync(mode);
  }

  EventToken OnConnectionStatusChanged(Changed::Handler handler) final {
    return connectionStatusChanged_.Add(std::move(handler));
  }
  EventToken OnNameChanged(Changed::Handler handler) final {
    return nameChanged_.Add(std::move(handler));
  }
  EventToken OnGattServicesChanged(GattServicesChanged::Handler handler) final {
    return servicesChanged_.Add(std::move(handler));
  }

 protected:
  AttDevice(std::shared_ptr<AttConnector> connector, std::shared_ptr<Executor> executor,
            const Radio::Notice& notices)
      : client_(std::make_shared<GattClient>(
            std::move(connector), std::move(executor),
            GattClientEvents{[changed = connectionStatusChanged_](bool) { changed.Raise(); },
                             [changed = servicesChanged_](const std::u16string& range) {
                               changed.Raise({range});
                             },
                             [notices](const std::string& text) { notices.Raise(text); }})) {}

  const std::shared_ptr<GattClient>& Client() const { return client_; }
  /// A copy shares its handlers.
  Changed NameChanged() const { return nameChanged_; }

  /// Opens the link by means of the smallest operation there is.
  static AsyncOperationPtr<GattDeviceServicesResult> OpenLink(GattClient& client) {
    return client.GetGattServicesForUuidAsync(Uuid::FromAssignedNumber(gatt_uuid::kGenericAccess),
                                              BluetoothCacheMode::Uncached);
  }

 private:
  Changed connectionStatusChanged_;
  Changed nameChanged_;
  GattServicesChanged servicesChanged_;
  const std::shared_ptr<GattClient> client_;
};

}  // namespace ble::att

#include "platform/simulated/SimulatedDevice.h"

#include <atomic>
#include <utility>

#include "platform/Utf.h"
#include "platform/simulated/BorrowedExecutor.h"
#include "platform/simulated/SimulatedLink.h"

namespace corvaneble::platform::simulated {

SimulatedDevice::SimulatedDevice(std::weak_ptr<Timeline> timeline,
                                 std::shared_ptr<VirtualPeripheral> peripheral)
    : peripheral_(std::move(peripheral)) {
  const auto hadLink = std::make_shared<std::atomic<bool>>(false);
  att::GattClientEvents events;
  events.linkChanged = [changed = connectionStatusChanged_, hadLink](bool open) {
    if (open) *hadLink = true;
    changed.Raise();
  };
  events.servicesChanged = [changed = servicesChanged_](const std::u16string& range) {
    changed.Raise({range});
  };
  client_ = std::make_shared<att::GattClient>(
      std::make_shared<SimulatedConnector>(timeline, peripheral_),
      std::make_shared<BorrowedExecutor>(timeline), std::move(events));

  nameToken_ = peripheral_->OnNameChanged([changed = nameChanged_] { changed.Raise(); });
  reachToken_ = peripheral_->OnBackInReach([client = std::weak_ptr(client_), hadLink] {
    const auto alive = client.lock();
    if (!alive || !*hadLink) return;
    // Any operation over the air opens the link; this is the smallest.
    (void)alive->GetGattServicesForUuidAsync(
        Guid::FromAssignedNumber(att::gatt_uuid::kGenericAccess), BluetoothCacheMode::Uncached);
  });
}

SimulatedDevice::~SimulatedDevice() {
  client_->Close();
}

BluetoothConnectionStatus SimulatedDevice::ConnectionStatus() const {
  return client_->IsLinkOpen() ? BluetoothConnectionStatus::Connected
                               : BluetoothConnectionStatus::Disconnected;
}

std::u16string SimulatedDevice::Name() const {
  std::u16string name;
  AppendUtf16(peripheral_->Name(), name);
  return name;
}

}  // namespace corvaneble::platform::simulated

#include "backends/simulated/SimulatedDevice.h"

#include <atomic>
#include <utility>

#include "backends/simulated/SimulatedLink.h"
#include "base/IfAlive.h"
#include "base/Utf.h"

namespace ble::simulated {

SimulatedDevice::SimulatedDevice(const TimelineRef& timeline,
                                 std::shared_ptr<VirtualPeripheral> peripheral,
                                 const Radio::Notice& notices)
    : AttDevice(std::make_shared<SimulatedConnector>(timeline, peripheral),
                std::make_shared<TimelineRef>(timeline), notices),
      peripheral_(std::move(peripheral)) {
  const auto hadLink = std::make_shared<std::atomic<bool>>(false);
  linkToken_ = OnConnectionStatusChanged(
      IfAlive(std::weak_ptr(Client()), [hadLink](const att::GattClient& client) {
        if (client.IsLinkOpen()) *hadLink = true;
      }));
  nameToken_ = peripheral_->OnNameChanged([changed = NameChanged()] { changed.Raise(); });
  reachToken_ = peripheral_->OnBackInReach(
      IfAlive(std::weak_ptr(Client()), [hadLink](att::GattClient& client) {
        if (*hadLink) (void)OpenLink(client);
      }));
}

std::u16string SimulatedDevice::Name() const {
  std::u16string name;
  AppendUtf16(peripheral_->Name(), name);
  return name;
}

}  // namespace ble::simulated

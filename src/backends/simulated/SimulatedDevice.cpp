#include "backends/simulated/SimulatedDevice.h"

#include <atomic>
#include <utility>

#include "backends/simulated/BorrowedExecutor.h"
#include "backends/simulated/SimulatedLink.h"
#include "base/Utf.h"

namespace ble::simulated {

SimulatedDevice::SimulatedDevice(const std::weak_ptr<Timeline>& timeline,
                                 std::shared_ptr<VirtualPeripheral> peripheral,
                                 const Radio::Notice& notices)
    : AttDevice(std::make_shared<SimulatedConnector>(timeline, peripheral),
                std::make_shared<BorrowedExecutor>(timeline), notices),
      peripheral_(std::move(peripheral)) {
  const auto hadLink = std::make_shared<std::atomic<bool>>(false);
  linkToken_ = OnConnectionStatusChanged([client = std::weak_ptr(Client()), hadLink] {
    const auto alive = client.lock();
    if (alive && alive->IsLinkOpen()) *hadLink = true;
  });
  nameToken_ = peripheral_->OnNameChanged([changed = NameChanged()] { changed.Raise(); });
  reachToken_ = peripheral_->OnBackInReach([client = std::weak_ptr(Client()), hadLink] {
    const auto alive = client.lock();
    if (alive && *hadLink) (void)OpenLink(*alive);
  });
}

std::u16string SimulatedDevice::Name() const {
  std::u16string name;
  AppendUtf16(peripheral_->Name(), name);
  return name;
}

}  // namespace ble::simulated

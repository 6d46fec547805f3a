#pragma once

#include <cstdint>
#include <memory>

#include "att/AttDevice.h"
#include "backends/simulated/TimelineRef.h"
#include "backends/simulated/VirtualPeripheral.h"

namespace ble::simulated {

/// A virtual peripheral as its client sees it: GATT by a client over a simulated link, the name
/// from the peripheral. Once it has had a link, it opens it again when the peripheral comes back
/// into reach. Events are raised on the radio's thread.
class SimulatedDevice final : public att::AttDevice {
 public:
  SimulatedDevice(const TimelineRef& timeline, std::shared_ptr<VirtualPeripheral> peripheral,
                  const Radio::Notice& notices);

  std::uint64_t BluetoothAddress() const override { return peripheral_->Scenario().address; }
  std::u16string Name() const override;

 private:
  const std::shared_ptr<VirtualPeripheral> peripheral_;
  EventToken linkToken_;
  EventToken nameToken_;
  EventToken reachToken_;
};

}  // namespace ble::simulated

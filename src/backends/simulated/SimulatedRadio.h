#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "backends/simulated/FaultPlan.h"
#include "backends/simulated/ScanSession.h"
#include "backends/simulated/Scenario.h"
#include "backends/simulated/Timeline.h"
#include "backends/simulated/VirtualPeripheral.h"
#include "platform/Radio.h"

namespace ble::simulated {

/// The radio that plays a scenario. Its operations complete on the radio's thread; those that fail
/// at once, on the calling one.
class SimulatedRadio final : public Radio {
 public:
  /// Throws `PlatformFailure` when a peripheral's services cannot be laid out.
  SimulatedRadio(std::shared_ptr<Timeline> timeline, Scenario scenario);

  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override;
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override;
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(
      std::uint64_t address) override;
  EventToken OnNotice(Notice::Handler handler) override { return notices_.Add(std::move(handler)); }

 private:
  struct Reachable {
    std::shared_ptr<VirtualPeripheral> peripheral;
    std::shared_ptr<FaultPlan> faults;  ///< null: none
  };

  const std::shared_ptr<Timeline> timeline_;
  const AdapterScenario adapter_;
  const std::shared_ptr<FaultPlan> adapterFaults_;
  std::map<std::uint64_t, Reachable> peripherals_;
  std::shared_ptr<const AirTraffic> traffic_;
  Notice notices_;
};

/// An opened simulated radio with the timeline that is its clock and its pump, for callers that
/// post tasks of their own.
struct OpenedSimulatedRadio : OpenedRadio {
  std::shared_ptr<Timeline> timeline;
};

/// Throws as `SimulatedRadio` does.
[[nodiscard]] OpenedSimulatedRadio OpenSimulatedRadio(Scenario scenario);

}  // namespace ble::simulated

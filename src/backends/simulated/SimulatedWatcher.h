#pragma once

#include <memory>

#include "backends/StatefulWatcher.h"
#include "backends/simulated/ScanSession.h"

namespace ble::simulated {

/// The advertisement watcher of the simulated radio. What the radio does to it (starting, packets,
/// stopping, aborting) happens on the radio's thread.
class SimulatedWatcher final : public StatefulWatcher,
                               public std::enable_shared_from_this<SimulatedWatcher> {
 public:
  SimulatedWatcher(TimelineRef timeline, const AdapterScenario& adapter,
                   std::shared_ptr<const AirTraffic> traffic);

 private:
  void BeginScan(ScanOrderPtr order) override;
  void EndScan() override;
  void Listen(const ScanOrderPtr& order);
  void Abort(BluetoothError error);

  TimelineRef timeline_;
  const AdapterScenario adapter_;
  const std::shared_ptr<const AirTraffic> traffic_;
  std::shared_ptr<ScanSession> session_;  // the radio's thread alone
};

}  // namespace ble::simulated

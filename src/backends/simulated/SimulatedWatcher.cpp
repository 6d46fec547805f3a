#include "backends/simulated/SimulatedWatcher.h"

#include <utility>

#include "base/IfAlive.h"

namespace ble::simulated {

SimulatedWatcher::SimulatedWatcher(TimelineRef timeline, const AdapterScenario& adapter,
                                   std::shared_ptr<const AirTraffic> traffic)
    : timeline_(std::move(timeline)), adapter_(adapter), traffic_(std::move(traffic)) {}

void SimulatedWatcher::BeginScan(ScanOrderPtr order) {
  if (adapter_.neverStarts) return;
  timeline_.PostAfter(adapter_.scanStartLatency,
                      IfAlive(weak_from_this(), [order = std::move(order)](SimulatedWatcher& self) {
                        self.Listen(order);
                      }));
}

void SimulatedWatcher::EndScan() {
  timeline_.Post(IfAlive(weak_from_this(), [](SimulatedWatcher& self) {
    if (!self.OnSilent()) return;
    self.session_ = nullptr;
    self.RaiseStopped(BluetoothError::Success);
  }));
}

void SimulatedWatcher::Listen(const ScanOrderPtr& order) {
  if (adapter_.startError) return Abort(*adapter_.startError);
  if (!OnListening()) return;
  session_ = std::make_shared<ScanSession>(timeline_, traffic_, order);
  session_->Begin(IfAlive(weak_from_this(), &SimulatedWatcher::Abort));
}

void SimulatedWatcher::Abort(BluetoothError error) {
  if (!OnAborted()) return;
  session_ = nullptr;
  RaiseStopped(error);
}

}  // namespace ble::simulated

#include "backends/simulated/SimulatedWatcher.h"

#include <utility>

namespace ble::simulated {

SimulatedWatcher::SimulatedWatcher(std::weak_ptr<Timeline> timeline, const AdapterScenario& adapter,
                                   std::shared_ptr<const AirTraffic> traffic)
    : timeline_(std::move(timeline)), adapter_(adapter), traffic_(std::move(traffic)) {}

void SimulatedWatcher::BeginScan(ScanOrderPtr order) {
  const auto timeline = timeline_.lock();
  if (!timeline || adapter_.neverStarts) return;
  timeline->PostAfter(adapter_.scanStartLatency,
                      [weak = weak_from_this(), order = std::move(order)] {
                        if (const auto self = weak.lock()) self->Listen(order);
                      });
}

void SimulatedWatcher::EndScan() {
  const auto timeline = timeline_.lock();
  if (!timeline) return;
  timeline->Post([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || !self->OnSilent()) return;
    self->session_ = nullptr;
    self->RaiseStopped(BluetoothError::Success);
  });
}

void SimulatedWatcher::Listen(const ScanOrderPtr& order) {
  if (adapter_.startError) return Abort(*adapter_.startError);
  if (!OnListening()) return;
  session_ = std::make_shared<ScanSession>(timeline_, traffic_, order);
  session_->Begin([weak = weak_from_this()](BluetoothError error) {
    if (const auto self = weak.lock()) self->Abort(error);
  });
}

void SimulatedWatcher::Abort(BluetoothError error) {
  if (!OnAborted()) return;
  session_ = nullptr;
  RaiseStopped(error);
}

}  // namespace ble::simulated

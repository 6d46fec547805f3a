#include "platform/simulated/SimulatedWatcher.h"

#include <utility>

namespace corvaneble::platform::simulated {

SimulatedWatcher::SimulatedWatcher(std::weak_ptr<Timeline> timeline, const AdapterScenario& adapter,
                                   std::shared_ptr<const AirTraffic> traffic)
    : timeline_(std::move(timeline)), adapter_(adapter), traffic_(std::move(traffic)) {}

BluetoothLEAdvertisementWatcherStatus SimulatedWatcher::Status() const {
  const std::lock_guard lock(mutex_);
  return status_;
}

void SimulatedWatcher::SetScanningMode(BluetoothLEScanningMode mode) {
  const std::lock_guard lock(mutex_);
  mode_ = mode;
}

void SimulatedWatcher::SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) {
  const std::lock_guard lock(mutex_);
  filter_ = std::move(filter);
}

void SimulatedWatcher::Start() {
  std::uint32_t attempt = 0;
  {
    const std::lock_guard lock(mutex_);
    if (starting_ || status_ == WatcherStatus::Started) return;
    starting_ = true;
    attempt = ++attempt_;
  }
  const auto timeline = timeline_.lock();
  if (!timeline || adapter_.neverStarts) return;
  timeline->PostAfter(adapter_.scanStartLatency, [weak = weak_from_this(), attempt] {
    if (const auto self = weak.lock()) self->OnRadioListens(attempt);
  });
}

void SimulatedWatcher::Stop() {
  {
    const std::lock_guard lock(mutex_);
    if (!starting_ && status_ != WatcherStatus::Started) return;
    starting_ = false;
    if (status_ == WatcherStatus::Stopping) return;  // a restart that never came to be
    status_ = WatcherStatus::Stopping;
    if (session_) session_->End();
  }
  const auto timeline = timeline_.lock();
  if (!timeline) return;
  timeline->Post([weak = weak_from_this()] {
    if (const auto self = weak.lock())
      self->Finish(WatcherStatus::Stopping, WatcherStatus::Stopped, BluetoothError::Success);
  });
}

void SimulatedWatcher::OnRadioListens(std::uint32_t attempt) {
  std::shared_ptr<ScanSession> session;
  {
    const std::lock_guard lock(mutex_);
    if (!starting_ || attempt != attempt_) return;
    starting_ = false;
    status_ = WatcherStatus::Started;
    session_ = session =
        std::make_shared<ScanSession>(timeline_, traffic_, mode_, filter_, received_);
  }
  const auto abort = [weak = weak_from_this()](BluetoothError error) {
    if (const auto self = weak.lock())
      self->Finish(WatcherStatus::Started, WatcherStatus::Aborted, error);
  };
  if (adapter_.startError) return abort(*adapter_.startError);
  session->Begin(abort);
}

void SimulatedWatcher::Finish(WatcherStatus from, WatcherStatus to, BluetoothError error) {
  std::shared_ptr<ScanSession> ended;  // dies after the lock
  {
    const std::lock_guard lock(mutex_);
    if (status_ != from) return;
    status_ = to;
    ended = std::move(session_);
  }
  stopped_.Raise({error});
}

}  // namespace corvaneble::platform::simulated

#include "platform/StatefulWatcher.h"

namespace corvaneble::platform {

StatefulWatcher::~StatefulWatcher() {
  if (order_) order_->over = true;
}

BluetoothLEAdvertisementWatcherStatus StatefulWatcher::Status() const {
  const std::lock_guard lock(mutex_);
  return status_;
}

void StatefulWatcher::SetScanningMode(BluetoothLEScanningMode mode) {
  const std::lock_guard lock(mutex_);
  mode_ = mode;
}

void StatefulWatcher::SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) {
  const std::lock_guard lock(mutex_);
  filter_ = std::move(filter);
}

void StatefulWatcher::Start() {
  ScanOrderPtr order;
  {
    const std::lock_guard lock(mutex_);
    if (order_) return;
    order_ = order = std::make_shared<ScanOrder>(mode_, filter_, received_);
  }
  BeginScan(std::move(order));
}

void StatefulWatcher::Stop() {
  {
    const std::lock_guard lock(mutex_);
    if (!order_) return;
    std::exchange(order_, nullptr)->over = true;
    status_ = WatcherStatus::Stopping;
  }
  EndScan();
}

bool StatefulWatcher::OnListening(const ScanOrderPtr& order) {
  const std::lock_guard lock(mutex_);
  if (order_ != order || status_ == WatcherStatus::Started) return false;
  status_ = WatcherStatus::Started;
  return true;
}

bool StatefulWatcher::OnSilent() {
  const std::lock_guard lock(mutex_);
  if (status_ != WatcherStatus::Stopping) return false;
  status_ = WatcherStatus::Stopped;
  return true;
}

bool StatefulWatcher::OnAborted(const ScanOrderPtr& order) {
  const std::lock_guard lock(mutex_);
  if (order_ != order) return false;
  std::exchange(order_, nullptr)->over = true;
  status_ = WatcherStatus::Aborted;
  return true;
}

}  // namespace corvaneble::platform

#include "backends/StatefulWatcher.h"

namespace ble {

StatefulWatcher::~StatefulWatcher() {
  if (order_) order_->over = true;
}

BluetoothLEAdvertisementWatcherStatus StatefulWatcher::Status() const {
  const MutexLock lock(mutex_);
  return status_;
}

void StatefulWatcher::SetScanningMode(BluetoothLEScanningMode mode) {
  const MutexLock lock(mutex_);
  mode_ = mode;
}

void StatefulWatcher::SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) {
  const MutexLock lock(mutex_);
  filter_ = std::move(filter);
}

void StatefulWatcher::Start() {
  ScanOrderPtr order;
  {
    const MutexLock lock(mutex_);
    if (order_) return;
    order_ = order = std::make_shared<ScanOrder>(mode_, std::move(filter_), received_);
  }
  BeginScan(std::move(order));
}

void StatefulWatcher::Stop() {
  {
    const MutexLock lock(mutex_);
    if (!order_ || order_->over.exchange(true)) return;
    status_ = WatcherStatus::Stopping;
  }
  begun_.Open();
  EndScan();
}

bool StatefulWatcher::OnListening() {
  {
    const MutexLock lock(mutex_);
    if (order_->over || status_ == WatcherStatus::Started) return false;
    status_ = WatcherStatus::Started;
  }
  begun_.Open();
  return true;
}

bool StatefulWatcher::OnSilent() {
  {
    const MutexLock lock(mutex_);
    if (status_ != WatcherStatus::Stopping) return false;
    status_ = WatcherStatus::Stopped;
  }
  over_.Open();
  return true;
}

bool StatefulWatcher::OnAborted() {
  {
    const MutexLock lock(mutex_);
    if (order_->over.exchange(true)) return false;
    status_ = WatcherStatus::Aborted;
  }
  over_.Open();
  return true;
}

void StatefulWatcher::RaiseStopped(BluetoothError error) {
  stopped_.Raise(*this, {error});
  begun_.Open();  // StartScanning reports the failure after the events
}

}  // namespace ble

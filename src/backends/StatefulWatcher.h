#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "base/Mutex.h"
#include "platform/BluetoothAdvertisement.h"

namespace ble {

/// What a watcher was asked to do. It is over for good once the watcher is stopped, aborted or
/// destroyed; after that no packet is reported, except one whose report has begun.
struct ScanOrder {
  ScanOrder(BluetoothLEScanningMode scanningMode,
            BluetoothLEAdvertisementFilter advertisementFilter,
            BluetoothLEAdvertisementWatcher::Received receivedEvent)
      : mode(scanningMode),
        filter(std::move(advertisementFilter)),
        received(std::move(receivedEvent)) {}

  const BluetoothLEScanningMode mode;
  const BluetoothLEAdvertisementFilter filter;
  const BluetoothLEAdvertisementWatcher::Received received;
  std::atomic<bool> over{false};
};

using ScanOrderPtr = std::shared_ptr<ScanOrder>;

/// The watcher of a radio that begins and ends its scans on a thread of its own: the status and how
/// it changes. The radio carries orders out.
class StatefulWatcher : public BluetoothLEAdvertisementWatcher {
 public:
  ~StatefulWatcher() override;

  BluetoothLEAdvertisementWatcherStatus Status() const final;
  void SetScanningMode(BluetoothLEScanningMode mode) final;
  void SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) final;
  void Start() final;
  void Stop() final;
  Latch::SignalPtr Begun() final { return begun_.Signal(); }
  Latch::SignalPtr Over() final { return over_.Signal(); }
  EventToken OnReceived(Received::Handler handler) final {
    return received_.Add(std::move(handler));
  }
  EventToken OnStopped(Stopped::Handler handler) final { return stopped_.Add(std::move(handler)); }

 protected:
  /// Has the radio begin, unless the order is over by then, and then call `OnListening`, or
  /// `OnAborted` when it cannot. Called once, on any thread.
  virtual void BeginScan(ScanOrderPtr order) = 0;
  /// Has the radio end the scan that it has begun, if any, and then call `OnSilent`. Any thread.
  virtual void EndScan() = 0;

  /// What the radio has done. Each returns whether the status has changed; where it has become
  /// `Stopped` or `Aborted`, the radio calls `RaiseStopped` next.
  bool OnListening();
  bool OnSilent();
  bool OnAborted();

  void RaiseStopped(BluetoothError error);

 private:
  using WatcherStatus = BluetoothLEAdvertisementWatcherStatus;

  Received received_;
  Stopped stopped_;
  Latch begun_;
  Latch over_;

  mutable Mutex mutex_;  // not held while anything is called
  WatcherStatus status_ GUARDED_BY(mutex_) = WatcherStatus::Created;
  BluetoothLEScanningMode mode_ GUARDED_BY(mutex_) = BluetoothLEScanningMode::Passive;
  BluetoothLEAdvertisementFilter filter_ GUARDED_BY(mutex_);
  ScanOrderPtr order_ GUARDED_BY(mutex_);  ///< null until `Start`
};

}  // namespace ble

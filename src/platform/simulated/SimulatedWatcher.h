#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/BluetoothAdvertisement.h"
#include "platform/simulated/ScanSession.h"

namespace corvaneble::platform::simulated {

/// The advertisement watcher of the simulated radio. What the radio does to it (starting, packets,
/// stopping, aborting) happens on the radio's thread.
class SimulatedWatcher final : public BluetoothLEAdvertisementWatcher,
                               public std::enable_shared_from_this<SimulatedWatcher> {
 public:
  SimulatedWatcher(std::weak_ptr<Timeline> timeline, const AdapterScenario& adapter,
                   std::shared_ptr<const AirTraffic> traffic);

  BluetoothLEAdvertisementWatcherStatus Status() const override;
  void SetScanningMode(BluetoothLEScanningMode mode) override;
  void SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) override;
  void Start() override;
  void Stop() override;
  EventToken OnReceived(Received::Handler handler) override {
    return received_.Add(std::move(handler));
  }
  EventToken OnStopped(Stopped::Handler handler) override {
    return stopped_.Add(std::move(handler));
  }

 private:
  using WatcherStatus = BluetoothLEAdvertisementWatcherStatus;

  void OnRadioListens(std::uint32_t attempt);
  /// Ends a scan at the radio: the status changes, if it is still `from`, then `Stopped` is raised.
  void Finish(WatcherStatus from, WatcherStatus to, BluetoothError error);

  const std::weak_ptr<Timeline> timeline_;
  const AdapterScenario adapter_;
  const std::shared_ptr<const AirTraffic> traffic_;
  Received received_;
  Stopped stopped_;

  mutable std::mutex mutex_;  // guards the fields below; not held while anything is called
  WatcherStatus status_ = WatcherStatus::Created;
  BluetoothLEScanningMode mode_ = BluetoothLEScanningMode::Passive;
  BluetoothLEAdvertisementFilter filter_;
  std::uint32_t attempt_ = 0;  ///< counts calls of `Start`
  bool starting_ = false;      ///< `Start` was called and the radio does not listen yet
  std::shared_ptr<ScanSession> session_;
};

}  // namespace corvaneble::platform::simulated

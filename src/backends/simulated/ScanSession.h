#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "backends/StatefulWatcher.h"
#include "backends/simulated/Scenario.h"
#include "backends/simulated/TimelineRef.h"

namespace ble::simulated {

/// A peripheral that advertises: its packets, parsed once for all scans.
struct Advertiser {
  Advertiser(std::uint64_t bluetoothAddress, const AdvertisingScenario& advertising)
      : address(bluetoothAddress), scenario(advertising), packet(advertising.data) {
    if (advertising.scanResponse) scanResponse.Assign(*advertising.scanResponse);
  }

  const std::uint64_t address;
  const AdvertisingScenario scenario;
  BluetoothLEAdvertisement packet;
  BluetoothLEAdvertisement scanResponse;
};

/// What every scan of a radio hears, and what ends it.
struct AirTraffic {
  std::vector<std::unique_ptr<const Advertiser>> advertisers;
  std::vector<CaptureScenario> captures;
  std::vector<RadioEvent> radioEvents;
};

/// One scan, from `Started` to its end: plays the traffic on the radio's thread, until its order is
/// over or the last reference dies.
class ScanSession : public std::enable_shared_from_this<ScanSession> {
 public:
  using Aborted = std::function<void(BluetoothError)>;

  ScanSession(TimelineRef timeline, std::shared_ptr<const AirTraffic> traffic, ScanOrderPtr order);

  /// Begins; on the radio's thread. `aborted` is called there when the radio ends the scan.
  void Begin(const Aborted& aborted);

 private:
  struct Playing {
    const Advertiser* advertiser;
    bool packetPasses;
    bool scanResponsePasses;
    Timeline::TimePoint due;
    std::uint32_t sent = 0;
  };
  struct Replay {
    const CaptureScenario* capture;
    std::size_t next = 0;
    Timeline::TimePoint base;          ///< when the first report was heard
    BluetoothLEAdvertisement current;  ///< storage for the packet being reported
  };

  bool IsActive() const { return !order_->over; }
  void At(Timeline::TimePoint due, std::function<void(ScanSession&)> action);
  void Advertise(Playing& playing);
  void PlayCapture(Replay& replay);
  void ReportCaptured(Replay& replay);
  void Report(const BluetoothLEAdvertisement& advertisement, std::uint64_t address,
              std::int16_t rssi, BluetoothLEAdvertisementType type);

  TimelineRef timeline_;
  const std::shared_ptr<const AirTraffic> traffic_;
  const ScanOrderPtr order_;
  const bool activeScanning_;

  // Below: the radio's thread alone; neither list changes once the scan has begun.
  std::vector<Playing> playing_;
  std::vector<std::unique_ptr<Replay>> replays_;
};

}  // namespace ble::simulated

#include "backends/simulated/ScanSession.h"

#include <algorithm>
#include <utility>

#include "base/IfAlive.h"

namespace ble::simulated {
namespace {

/// Sets advertisers of one interval apart from each other.
constexpr milliseconds kPhaseStep{3};
/// Packets of a fast capture that are played before other tasks run.
constexpr std::size_t kFastBatch = 256;
/// Silence before a capture plays again.
constexpr milliseconds kRepeatPause{100};

bool IsScannable(BluetoothLEAdvertisementType type) {
  return type == BluetoothLEAdvertisementType::ConnectableUndirected ||
         type == BluetoothLEAdvertisementType::ScannableUndirected;
}

}  // namespace

ScanSession::ScanSession(TimelineRef timeline, std::shared_ptr<const AirTraffic> traffic,
                         ScanOrderPtr order)
    : timeline_(std::move(timeline)),
      traffic_(std::move(traffic)),
      order_(std::move(order)),
      activeScanning_(order_->mode == BluetoothLEScanningMode::Active) {}

void ScanSession::Begin(const Aborted& aborted) {
  const Timeline::TimePoint now = timeline_.Now();
  for (const RadioEvent& event : traffic_->radioEvents) {
    At(now + event.at, [aborted, error = event.error](ScanSession&) { aborted(error); });
  }
  milliseconds phase = kPhaseStep;
  playing_.reserve(traffic_->advertisers.size());  // tasks point into it
  for (const auto& advertiser : traffic_->advertisers) {
    const AdvertisingScenario& scenario = advertiser->scenario;
    const bool hasScanResponse = scenario.scanResponse && IsScannable(scenario.type);
    playing_.push_back(
        {advertiser.get(), order_->filter.Passes(advertiser->packet),
         activeScanning_ && hasScanResponse && order_->filter.Passes(advertiser->scanResponse),
         now + phase % std::max(scenario.interval, kShortestInterval)});
    phase += kPhaseStep;
    Playing& playing = playing_.back();
    if (playing.packetPasses || playing.scanResponsePasses)
      At(playing.due, [&playing](ScanSession& self) { self.Advertise(playing); });
  }
  for (const CaptureScenario& capture : traffic_->captures) {
    if (capture.reports.empty()) continue;
    replays_.push_back(std::make_unique<Replay>());
    Replay& replay = *replays_.back();
    replay.capture = &capture;
    replay.base = now;
    At(now, [&replay](ScanSession& self) { self.PlayCapture(replay); });
  }
}

void ScanSession::At(Timeline::TimePoint due, std::function<void(ScanSession&)> action) {
  timeline_.PostAt(due, IfAlive(weak_from_this(), [action = std::move(action)](ScanSession& self) {
                     if (self.IsActive()) action(self);
                   }));
}

void ScanSession::Advertise(Playing& playing) {
  const Advertiser& advertiser = *playing.advertiser;
  const AdvertisingScenario& scenario = advertiser.scenario;
  if (scenario.count && playing.sent >= *scenario.count) return;
  ++playing.sent;
  if (playing.packetPasses)
    Report(advertiser.packet, advertiser.address, scenario.rssi, scenario.type);
  if (playing.scanResponsePasses)
    Report(advertiser.scanResponse, advertiser.address, scenario.rssi,
           BluetoothLEAdvertisementType::ScanResponse);
  playing.due = std::max(playing.due + std::max(scenario.interval, kShortestInterval),
                         timeline_.Now());  // packets that a slow host missed are not repeated
  At(playing.due, [&playing](ScanSession& self) { self.Advertise(playing); });
}

void ScanSession::PlayCapture(Replay& replay) {
  const auto& reports = replay.capture->reports;
  const bool fast = replay.capture->pace == CaptureScenario::Pace::Fast;
  const auto dueOf = [&](const CapturedReport& report) { return replay.base + report.at; };
  for (std::size_t count = 0; count < kFastBatch && replay.next < reports.size() && IsActive() &&
                              (fast || dueOf(reports[replay.next]) <= timeline_.Now());
       ++count) {
    ReportCaptured(replay);
  }
  Timeline::TimePoint due = timeline_.Now() + kShortestInterval;
  if (replay.next == reports.size()) {
    if (!replay.capture->repeat) return;
    replay.next = 0;
    due = timeline_.Now() + (fast ? kShortestInterval : kRepeatPause);
    replay.base = due;
  } else if (!fast) {
    due = dueOf(reports[replay.next]);
  }
  At(due, [&replay](ScanSession& self) { self.PlayCapture(replay); });
}

void ScanSession::ReportCaptured(Replay& replay) {
  const CapturedReport& report = replay.capture->reports[replay.next++];
  if (report.type == BluetoothLEAdvertisementType::ScanResponse && !activeScanning_) return;
  replay.current.Assign(report.payload);
  if (order_->filter.Passes(replay.current))
    Report(replay.current, report.address, report.rssi, report.type);
}

void ScanSession::Report(const BluetoothLEAdvertisement& advertisement, std::uint64_t address,
                         std::int16_t rssi, BluetoothLEAdvertisementType type) {
  if (IsActive()) order_->received.Raise({advertisement, address, rssi, type});
}

}  // namespace ble::simulated

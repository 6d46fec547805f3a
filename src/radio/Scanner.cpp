#include "radio/Scanner.h"

#include <algorithm>
#include <chrono>

#include "gatt/UuidText.h"
#include "radio/EnumText.h"

namespace ble {
namespace {

using WatcherStatus = BluetoothLEAdvertisementWatcherStatus;

/// The radio listens, or is about to stop.
bool Listens(const BluetoothLEAdvertisementWatcher& watcher) {
  const WatcherStatus status = watcher.Status();
  return status == WatcherStatus::Started || status == WatcherStatus::Stopping;
}

bool IsOver(const BluetoothLEAdvertisementWatcher& watcher) {
  const WatcherStatus status = watcher.Status();
  return status == WatcherStatus::Stopped || status == WatcherStatus::Aborted;
}

}  // namespace

Scanner::~Scanner() {
  try {
    Replace({});
  } catch (const PlatformFailure&) {
    // The instance is being destroyed; no error can be reported any more.
  }
}

Status Scanner::StartScanning(std::string_view serviceUuids) {
  if (IsScanning()) return {};
  if (Status status = CheckAdapter(); !status.Ok()) return status;
  Scan scan = MakeScan();
  const std::shared_ptr<Watcher> watcher = scan.watcher;
  if (!watcher) return failure::kNoResult;

  auto [status, uuids] = ParseUuidList(serviceUuids);
  if (!status.Ok()) return status;
  std::string filterText;
  JoinUuids(uuids, filterText);
  watcher->SetAdvertisementFilter({std::move(uuids)});
  watcher->SetScanningMode(activeScanning_ != 0 ? BluetoothLEScanningMode::Active
                                                : BluetoothLEScanningMode::Passive);

  parts_.base.log.Write(LogLevel::Detail, log_type::kScanning, "Scanning is starting.");
  parts_.base.log.Write(LogLevel::Debug, log_type::kScanning,
                        "Scanning parameters:\r\n\tActive scanning: ", activeScanning_.load(),
                        "\r\n\tService UUIDs: ", filterText, ".");
  const Latch::SignalPtr begun = watcher->Begun();
  Replace(std::move(scan));
  try {
    watcher->Start();
  } catch (const PlatformFailure&) {
    Replace({});  // there is nothing to stop
    throw;
  }
  const std::chrono::seconds limit(parts_.base.settings.Integer(Setting::ScanStartedTimeout));
  if (limit.count() > 0) (void)parts_.link.wait.WaitFor(*begun, limit);
  if (watcher->Status() != WatcherStatus::Started) {
    parts_.base.log.Write(LogLevel::Information, log_type::kScanning, "Scanning failed to start.");
    return {};
  }
  parts_.base.log.Write(LogLevel::Information, log_type::kScanning, "Scanning started.");
  parts_.base.events.FireStartScan(filterText.c_str());
  return {};
}

Status Scanner::CheckAdapter() {
  const auto [status, adapter] =
      parts_.link.wait.Await([&] { return parts_.link.Get().GetDefaultAdapterAsync(); });
  if (status.Code() == error::kPlatformFailure) return status;
  if (!adapter) return failure::kNoAdapter;
  if (!adapter->IsLowEnergySupported()) return failure::kNoLowEnergy;
  return {};
}

Scanner::Scan Scanner::MakeScan() {
  Scan scan;
  scan.watcher = parts_.link.Get().CreateAdvertisementWatcher();
  if (!scan.watcher) return scan;
  const auto bridge = parts_.link.bridge;
  scan.received = scan.watcher->OnReceived(
      [this, bridge](const auto& args) { bridge->Deliver([&] { OnReceived(args); }); });
  scan.stopped = scan.watcher->OnStopped([this, bridge](const auto& watcher, const auto& args) {
    bridge->Deliver([&] { OnStopped(watcher, args); });
  });
  return scan;
}

void Scanner::Replace(Scan next) {
  {
    const MutexLock lock(mutex_);
    std::swap(scan_, next);
  }
  if (!next.watcher) return;
  next.received.Reset();
  next.stopped.Reset();
  next.watcher->Stop();
}

std::shared_ptr<Scanner::Watcher> Scanner::LatestWatcher() const {
  const MutexLock lock(mutex_);
  return scan_.watcher;
}

Status Scanner::StopScanning() {
  const std::shared_ptr<Watcher> watcher = LatestWatcher();
  if (!watcher || IsOver(*watcher)) return {};
  parts_.base.log.Write(LogLevel::Detail, log_type::kScanning, "Scanning is stopping.");
  const Latch::SignalPtr over = watcher->Over();
  watcher->Stop();
  if (!Listens(*watcher)) return {};
  if (parts_.link.wait.WaitFor(*over, parts_.link.wait.Limit())) return {};
  return failure::kTimeout;
}

bool Scanner::IsScanning() const {
  const std::shared_ptr<Watcher> watcher = LatestWatcher();
  return watcher && Listens(*watcher);
}

Status Scanner::SetActiveScanning(std::int32_t value) {
  if (value != activeScanning_ && IsScanning()) return failure::kScanningNow;
  activeScanning_ = value;
  return {};
}

const HeldAdvertisement* Scanner::CurrentAdvertisement() const {
  const auto self = std::this_thread::get_id();
  const MutexLock lock(mutex_);
  const auto mine = std::find_if(reporting_.rbegin(), reporting_.rend(),
                                 [&](const auto& report) { return report.first == self; });
  return mine != reporting_.rend() ? mine->second : nullptr;
}

Scanner::Lease Scanner::TakeIdle() {
  const MutexLock lock(mutex_);
  if (idle_.empty()) idle_.push_back(std::make_unique<HeldAdvertisement>());
  idle_.reserve(idle_.size() + reporting_.size());  // putting back must not fail
  reporting_.emplace_back(std::this_thread::get_id(), idle_.back().get());
  Lease held(idle_.back().release(), {this});
  idle_.pop_back();
  return held;
}

void Scanner::PutBack(HeldAdvertisement* held) {
  held->Release();
  const MutexLock lock(mutex_);
  std::erase_if(reporting_, [&](const auto& report) { return report.second == held; });
  idle_.emplace_back(held);
}

[[gnu::hot]] void Scanner::OnReceived(const BluetoothLEAdvertisementReceivedEventArgs& args) {
  const Lease held = TakeIdle();
  parts_.base.events.FireAdvertisement(held->Hold(args, parts_.base.codec));
}

void Scanner::OnStopped(const Watcher& watcher,
                        const BluetoothLEAdvertisementWatcherStoppedEventArgs& args) {
  const char* reason = EnumText(args.error);
  if (watcher.Status() == WatcherStatus::Aborted) {
    parts_.base.events.FireError(
        error::kScanAborted,
        Concat("Scanning was aborted for the following reason: ", std::string_view(reason))
            .c_str());
  } else {
    parts_.base.log.Write(LogLevel::Information, log_type::kScanning, "Scanning stopped.");
  }
  if (args.error == BluetoothError::Success) {
    parts_.base.events.FireStopScan(error::kSuccess, "");
  } else {
    parts_.base.events.FireStopScan(error::kScanAborted, reason);
  }
}

}  // namespace ble

#include "radio/Scanner.h"

#include <algorithm>
#include <chrono>

#include "gatt/Uuid.h"
#include "radio/EnumText.h"

namespace corvaneble {
namespace {

using platform::BluetoothLEAdvertisementWatcherStatus;
using std::chrono::milliseconds;

constexpr milliseconds kStartPoll{50};
constexpr std::int64_t kStartPollsPerSecond = 20;

}  // namespace

Scanner::~Scanner() {
  if (!IsScanning()) return;
  try {
    watcher_->Stop();
  } catch (const platform::PlatformFailure&) {
    // The radio is going away with its instance; there is nobody left to tell.
  }
}

ErrorCode Scanner::StartScanning(std::string_view serviceUuids) {
  if (IsScanning()) return error::kSuccess;
  if (const ErrorCode code = CheckAdapter(); code != error::kSuccess) return code;
  const WatcherPtr watcher = EnsureWatcher();
  if (!watcher) return parts_.errors.Raise(failure::kNoResult);

  platform::BluetoothLEAdvertisementFilter filter;
  const ErrorCode code = ParseUuidList(serviceUuids, filter.serviceUuids, parts_.errors);
  if (code != error::kSuccess) return code;
  std::string filterText;
  JoinUuids(filter.serviceUuids, filterText);
  watcher->SetAdvertisementFilter(std::move(filter));
  watcher->SetScanningMode(activeScanning_ != 0 ? platform::BluetoothLEScanningMode::Active
                                                : platform::BluetoothLEScanningMode::Passive);

  parts_.log.Write(LogLevel::Detail, log_type::kScanning, "Scanning is starting.");
  parts_.log.Write(LogLevel::Debug, log_type::kScanning,
                   "Scanning parameters:\r\n\tActive scanning: ", activeScanning_.load(),
                   "\r\n\tService UUIDs: ", filterText, ".");
  watcher->Start();
  mayStartLater_ = true;
  if (!WaitUntilStarted(*watcher)) {
    parts_.log.Write(LogLevel::Information, log_type::kScanning, "Scanning failed to start.");
    return error::kSuccess;
  }
  mayStartLater_ = false;
  parts_.log.Write(LogLevel::Information, log_type::kScanning, "Scanning started.");
  parts_.events.FireStartScan(filterText.c_str());
  return error::kSuccess;
}

ErrorCode Scanner::CheckAdapter() {
  const auto adapter =
      parts_.wait.Await([&] { return parts_.radio.radio->GetDefaultAdapterAsync(); });
  if (adapter.code == error::kPlatformFailure) return adapter.code;
  if (!adapter.result) return parts_.errors.Raise(failure::kNoAdapter);
  if (!adapter.result->IsLowEnergySupported()) return parts_.errors.Raise(failure::kNoLowEnergy);
  return error::kSuccess;
}

Scanner::WatcherPtr Scanner::Watcher() const {
  const std::lock_guard lock(mutex_);
  return watcher_;
}

Scanner::WatcherPtr Scanner::EnsureWatcher() {
  if (WatcherPtr watcher = Watcher()) return watcher;
  const WatcherPtr watcher = parts_.radio.radio->CreateAdvertisementWatcher();
  if (!watcher) return nullptr;
  const auto bridge = parts_.bridge;
  auto received = watcher->OnReceived(
      [this, bridge](const auto& args) { bridge->Deliver([&] { OnReceived(args); }); });
  auto stopped = watcher->OnStopped(
      [this, bridge](const auto& args) { bridge->Deliver([&] { OnStopped(args); }); });
  const std::lock_guard lock(mutex_);
  watcher_ = watcher;
  received_ = std::move(received);
  stopped_ = std::move(stopped);
  return watcher;
}

bool Scanner::WaitUntilStarted(const platform::BluetoothLEAdvertisementWatcher& watcher) {
  const auto isStarted = [&] {
    return watcher.Status() == BluetoothLEAdvertisementWatcherStatus::Started;
  };
  std::int64_t polls = parts_.settings.Integer(Setting::ScanStartedTimeout) * kStartPollsPerSecond;
  for (; !isStarted() && polls > 0; --polls) {
    parts_.wait.DoEvents();
    parts_.radio.clock->Sleep(kStartPoll);
  }
  return isStarted();
}

ErrorCode Scanner::StopScanning() {
  const bool mayStartLater = mayStartLater_.exchange(false);
  if (!IsScanning() && !mayStartLater) return error::kSuccess;
  parts_.log.Write(LogLevel::Detail, log_type::kScanning, "Scanning is stopping.");
  Watcher()->Stop();
  const std::int64_t limit = std::int64_t{parts_.timeoutSeconds} * 1000;  // 0: no limit
  const std::uint32_t begin = parts_.radio.clock->TickCount();
  while (IsScanning()) {
    parts_.wait.DoEvents();
    const std::int64_t elapsed = parts_.radio.clock->TickCount() - begin;
    if (limit != 0 && elapsed > limit) return parts_.errors.Raise(failure::kTimeout);
  }
  return error::kSuccess;
}

bool Scanner::IsScanning() const {
  const WatcherPtr watcher = Watcher();
  if (!watcher) return false;
  const auto status = watcher->Status();
  return status == BluetoothLEAdvertisementWatcherStatus::Started ||
         status == BluetoothLEAdvertisementWatcherStatus::Stopping;
}

ErrorCode Scanner::SetActiveScanning(std::int32_t value) {
  if (value != activeScanning_ && IsScanning()) return parts_.errors.Raise(failure::kScanningNow);
  activeScanning_ = value;
  return error::kSuccess;
}

const HeldAdvertisement* Scanner::CurrentAdvertisement() const {
  const auto self = std::this_thread::get_id();
  const std::lock_guard lock(mutex_);
  const auto mine = std::find_if(reporting_.rbegin(), reporting_.rend(),
                                 [&](const auto& report) { return report.first == self; });
  return mine != reporting_.rend() ? mine->second : nullptr;
}

Scanner::Lease Scanner::TakeIdle() {
  const std::lock_guard lock(mutex_);
  if (idle_.empty()) idle_.push_back(std::make_unique<HeldAdvertisement>());
  idle_.reserve(idle_.size() + reporting_.size());  // putting back must not fail
  reporting_.emplace_back(std::this_thread::get_id(), idle_.back().get());
  Lease held(idle_.back().release(), {this});
  idle_.pop_back();
  return held;
}

void Scanner::PutBack(HeldAdvertisement* held) {
  held->Release();
  const std::lock_guard lock(mutex_);
  std::erase_if(reporting_, [&](const auto& report) { return report.second == held; });
  idle_.emplace_back(held);
}

[[gnu::hot]] void Scanner::OnReceived(
    const platform::BluetoothLEAdvertisementReceivedEventArgs& args) {
  const Lease held = TakeIdle();
  parts_.events.FireAdvertisement(held->Hold(args, parts_.codec));
}

void Scanner::OnStopped(const platform::BluetoothLEAdvertisementWatcherStoppedEventArgs& args) {
  mayStartLater_ = false;
  const char* reason = EnumText(args.error);
  if (Watcher()->Status() == BluetoothLEAdvertisementWatcherStatus::Aborted) {
    parts_.events.FireError(
        error::kScanAborted,
        Concat("Scanning was aborted for the following reason: ", std::string_view(reason))
            .c_str());
  } else {
    parts_.log.Write(LogLevel::Information, log_type::kScanning, "Scanning stopped.");
  }
  if (args.error == platform::BluetoothError::Success) {
    parts_.events.FireStopScan(error::kSuccess, "");
  } else {
    parts_.events.FireStopScan(error::kScanAborted, reason);
  }
}

}  // namespace corvaneble

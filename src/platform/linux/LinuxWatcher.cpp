#include "platform/linux/LinuxWatcher.h"

#include <atomic>
#include <utility>

#include "platform/linux/DeviceAdvertisement.h"

namespace corvaneble::platform::linux_radio {

/// One scan, from asking BlueZ for it to its end. Created and ended on the radio's thread.
class LinuxWatcher::Scan {
 public:
  Scan(LinuxSession& session, std::string adapterPath, BluetoothLEScanningMode mode,
       BluetoothLEAdvertisementFilter filter, Received received)
      : session_(session.weak_from_this()),
        adapterPath_(std::move(adapterPath)),
        active_(mode == BluetoothLEScanningMode::Active),
        filter_(std::move(filter)),
        received_(std::move(received)) {}

  /// Listens before BlueZ is asked, so that the first packet is not missed.
  void Begin(const std::shared_ptr<Scan>& self, LinuxSession& session,
             const Discovery::Started& started) {
    const std::string name = adapterPath_.substr(adapterPath_.rfind('/') + 1);
    monitor_ = HciMonitor::Open(session.Loop(), name,
                                [weak = std::weak_ptr(self)](const hci::AdvertisingReport& report) {
                                  if (const auto scan = weak.lock()) scan->OnReport(report);
                                });
    if (!monitor_) {
      deviceChanged_ = session.Objects().OnDeviceChanged(
          [weak = std::weak_ptr(self)](const DeviceObject& device, DeviceChange change) {
            const auto scan = weak.lock();
            if (scan && change.heard) scan->OnDevice(device);
          });
    }
    user_ = session.Scanning().Add(adapterPath_, started);
  }

  /// No packet is reported any more, but for one whose report has begun. Any thread.
  void Mute() { muted_ = true; }

  void End(Discovery::Done done) {
    Mute();
    monitor_.reset();
    deviceChanged_.Reset();
    const auto session = session_.lock();
    if (session && user_ != 0) session->Scanning().Remove(std::exchange(user_, 0), std::move(done));
  }

 private:
  void OnReport(const hci::AdvertisingReport& report) {
    if (report.type == BluetoothLEAdvertisementType::ScanResponse && !active_) return;
    Report(report.payload, report.address, report.rssi, report.type);
  }

  void OnDevice(const DeviceObject& device) {
    if (device.adapterPath != adapterPath_) return;
    constexpr std::int16_t kUnknown = 127;
    Report(RebuildPayload(device), device.address, device.rssi.value_or(kUnknown),
           BluetoothLEAdvertisementType::ConnectableUndirected);
  }

  void Report(ByteView payload, std::uint64_t address, std::int16_t rssi,
              BluetoothLEAdvertisementType type) {
    if (muted_) return;
    // A handler that waits lets the next report in: that one then needs storage of its own.
    std::optional<BluetoothLEAdvertisement> nested;
    BluetoothLEAdvertisement& advertisement = reporting_ ? nested.emplace() : advertisement_;
    const bool outer = std::exchange(reporting_, true);
    advertisement.Assign(payload);
    if (filter_.Passes(advertisement)) received_.Raise({advertisement, address, rssi, type});
    reporting_ = outer;
  }

  const std::weak_ptr<LinuxSession> session_;
  const std::string adapterPath_;
  const bool active_;
  const BluetoothLEAdvertisementFilter filter_;
  const Received received_;
  std::atomic<bool> muted_{false};

  // Below: the radio's thread alone.
  std::unique_ptr<HciMonitor> monitor_;
  EventToken deviceChanged_;
  Discovery::UserId user_ = 0;
  bool reporting_ = false;
  BluetoothLEAdvertisement advertisement_;
};

LinuxWatcher::~LinuxWatcher() {
  if (!scan_) return;
  scan_->Mute();
  session_->Loop()->Post([scan = std::move(scan_)] { scan->End({}); });
}

BluetoothLEAdvertisementWatcherStatus LinuxWatcher::Status() const {
  const std::lock_guard lock(mutex_);
  return status_;
}

void LinuxWatcher::SetScanningMode(BluetoothLEScanningMode mode) {
  const std::lock_guard lock(mutex_);
  mode_ = mode;
}

void LinuxWatcher::SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) {
  const std::lock_guard lock(mutex_);
  filter_ = std::move(filter);
}

void LinuxWatcher::Start() {
  std::uint32_t attempt = 0;
  {
    const std::lock_guard lock(mutex_);
    if (starting_ || status_ == WatcherStatus::Started) return;
    starting_ = true;
    attempt = ++attempt_;
  }
  session_->Run([weak = weak_from_this(), attempt](LinuxSession& session) {
    if (const auto self = weak.lock()) self->Begin(session, attempt);
  });
}

void LinuxWatcher::Begin(LinuxSession& session, std::uint32_t attempt) {
  if (!session.WhyNoAdapter().empty()) return OnStarted(attempt, BluetoothError::RadioNotAvailable);
  std::shared_ptr<Scan> scan;
  {
    const std::lock_guard lock(mutex_);
    if (!starting_ || attempt != attempt_) return;
    scan_ = scan =
        std::make_shared<Scan>(session, session.Adapter()->path, mode_, filter_, received_);
  }
  scan->Begin(scan, session, [weak = weak_from_this(), attempt](BluetoothError error) {
    if (const auto self = weak.lock()) self->OnStarted(attempt, error);
  });
}

void LinuxWatcher::OnStarted(std::uint32_t attempt, BluetoothError error) {
  {
    const std::lock_guard lock(mutex_);
    if (attempt != attempt_) return;
    if (std::exchange(starting_, false)) status_ = WatcherStatus::Started;
    if (status_ != WatcherStatus::Started) return;  // stopped meanwhile
  }
  if (error == BluetoothError::Success) return;
  session_->NotifyWhyNoAdapter();
  Finish(WatcherStatus::Aborted, error);
}

void LinuxWatcher::Stop() {
  std::shared_ptr<Scan> scan;
  {
    const std::lock_guard lock(mutex_);
    if (!starting_ && status_ != WatcherStatus::Started) return;
    starting_ = false;
    status_ = WatcherStatus::Stopping;
    if (scan_) scan_->Mute();
  }
  session_->Loop()->Post([weak = weak_from_this()] {
    if (const auto self = weak.lock())
      self->Finish(WatcherStatus::Stopped, BluetoothError::Success);
  });
}

void LinuxWatcher::Finish(WatcherStatus status, BluetoothError error) {
  std::shared_ptr<Scan> ended;
  {
    const std::lock_guard lock(mutex_);
    if (status_ != WatcherStatus::Started && status_ != WatcherStatus::Stopping) return;
    status_ = status;
    ended = std::move(scan_);
  }
  if (ended) ended->End({});
  stopped_.Raise({error});
}

}  // namespace corvaneble::platform::linux_radio

#include "backends/linux/LinuxWatcher.h"

#include <utility>

#include "backends/linux/DeviceAdvertisement.h"
#include "base/IfAlive.h"

namespace ble::linux_radio {

/// One scan, from asking BlueZ for it to its end. On the radio's thread alone.
class LinuxWatcher::Scan {
 public:
  Scan(LinuxSession& session, std::string adapterPath, ScanOrderPtr order)
      : session_(session.weak_from_this()),
        adapterPath_(std::move(adapterPath)),
        order_(std::move(order)),
        active_(order_->mode == BluetoothLEScanningMode::Active) {}

  /// Listens before BlueZ is asked, so that the first packet is not missed.
  void Begin(const std::shared_ptr<Scan>& self, LinuxSession& session,
             const BluezDiscovery::Started& started) {
    const std::string name = adapterPath_.substr(adapterPath_.rfind('/') + 1);
    monitor_ =
        HciMonitor::Open(session.Loop(), name, IfAlive(std::weak_ptr(self), &Scan::OnReport));
    if (!monitor_) {
      deviceChanged_ =
          session.Objects().OnDeviceChanged(IfAlive(std::weak_ptr(self), &Scan::OnDevice));
    }
    user_ = session.Scanning().Add(adapterPath_, started);
  }

  void End() {
    monitor_.reset();
    deviceChanged_.Reset();
    const auto session = session_.lock();
    if (session && user_ != 0) session->Scanning().Remove(std::exchange(user_, 0));
  }

 private:
  void OnReport(const hci::AdvertisingReport& report) {
    if (report.type == BluetoothLEAdvertisementType::ScanResponse && !active_) return;
    Report(report.payload, report.address, report.rssi, report.type);
  }

  void OnDevice(const DeviceObject& device, DeviceChange change) {
    if (!change.heard || device.adapterPath != adapterPath_) return;
    constexpr std::int16_t kUnknown = 127;
    Report(RebuildPayload(device), device.address, device.rssi.value_or(kUnknown),
           BluetoothLEAdvertisementType::ConnectableUndirected);
  }

  void Report(ByteView payload, std::uint64_t address, std::int16_t rssi,
              BluetoothLEAdvertisementType type) {
    if (order_->over) return;
    // A handler that waits lets the next report in: that one then needs storage of its own.
    std::optional<BluetoothLEAdvertisement> nested;
    BluetoothLEAdvertisement& advertisement = reporting_ ? nested.emplace() : advertisement_;
    const bool outer = std::exchange(reporting_, true);
    advertisement.Assign(payload);
    if (order_->filter.Passes(advertisement))
      order_->received.Raise({advertisement, address, rssi, type});
    reporting_ = outer;
  }

  const std::weak_ptr<LinuxSession> session_;
  const std::string adapterPath_;
  const ScanOrderPtr order_;
  const bool active_;
  std::unique_ptr<HciMonitor> monitor_;
  EventToken deviceChanged_;
  BluezDiscovery::UserId user_ = 0;
  bool reporting_ = false;
  BluetoothLEAdvertisement advertisement_;
};

LinuxWatcher::~LinuxWatcher() {
  if (scan_) session_->Loop()->Post([scan = std::move(scan_)] { scan->End(); });
}

void LinuxWatcher::BeginScan(ScanOrderPtr order) {
  session_->Run(IfAlive(weak_from_this(),
                        [order = std::move(order)](LinuxWatcher& self, LinuxSession& session) {
                          self.Begin(session, order);
                        }));
}

void LinuxWatcher::EndScan() {
  session_->Loop()->Post(IfAlive(weak_from_this(), [](LinuxWatcher& self) {
    if (!self.OnSilent()) return;
    self.LetGoOfScan();
    self.RaiseStopped(BluetoothError::Success);
  }));
}

void LinuxWatcher::Begin(LinuxSession& session, const ScanOrderPtr& order) {
  if (order->over) return;
  if (!session.WhyNoAdapter().empty()) return OnStarted(BluetoothError::RadioNotAvailable);
  scan_ = std::make_shared<Scan>(session, session.Adapter()->path, order);
  const auto scan = scan_;
  scan->Begin(scan, session, IfAlive(weak_from_this(), &LinuxWatcher::OnStarted));
}

void LinuxWatcher::OnStarted(BluetoothError error) {
  if (error == BluetoothError::Success) {
    OnListening();
  } else if (OnAborted()) {
    LetGoOfScan();
    session_->NotifyWhyNoAdapter();
    RaiseStopped(error);
  }
}

void LinuxWatcher::LetGoOfScan() {
  if (const auto scan = std::exchange(scan_, nullptr)) scan->End();
}

}  // namespace ble::linux_radio

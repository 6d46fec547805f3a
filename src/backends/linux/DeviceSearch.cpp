#include "backends/linux/DeviceSearch.h"

#include <utility>

#include "base/IfAlive.h"

namespace ble::linux_radio {
namespace {

/// A search that is under way. Its timer keeps it alive until it has reported.
class DeviceSearch : public std::enable_shared_from_this<DeviceSearch> {
 public:
  DeviceSearch(LinuxSession& session, std::string adapterPath, std::uint64_t address,
               DeviceFound found)
      : session_(session.weak_from_this()),
        adapterPath_(std::move(adapterPath)),
        address_(address),
        found_(std::move(found)) {}

  void Begin(LinuxSession& session) {
    deviceChanged_ =
        session.Objects().OnDeviceChanged(IfAlive(weak_from_this(), &DeviceSearch::OnDevice));
    timer_ = session.Loop()->PostAfter(session.SearchLimit(),
                                       [self = shared_from_this()] { self->TimeIsUp(); });
    user_ =
        session.Scanning().Add(adapterPath_, IfAlive(weak_from_this(), &DeviceSearch::OnScanning));
  }

 private:
  void OnDevice(const DeviceObject& device, DeviceChange) {
    if (device.address == address_ && device.adapterPath == adapterPath_) End();
  }

  void OnScanning(BluetoothError error) {
    if (error == BluetoothError::Success || user_ == 0) return;  // 0: it has ended
    if (const auto session = session_.lock()) session->NotifyWhyNoAdapter();
    End();
  }

  /// Reports once discovery is off: the kernel opens no link while it is on.
  void End() {
    deviceChanged_.Reset();
    const auto session = session_.lock();
    const BluezDiscovery::UserId user = std::exchange(user_, 0);
    if (session && user != 0)
      session->Scanning().Remove(user, [self = shared_from_this()] { self->Report(); });
  }

  /// The caller's time is up, however long the daemon takes to stop.
  void TimeIsUp() {
    End();
    Report();
  }

  void Report() {
    const DeviceFound found = std::exchange(found_, {});
    const auto session = session_.lock();
    if (!found || !session) return;
    session->Loop()->Cancel(timer_);
    found(session->Objects().Device(adapterPath_, address_));
  }

  const std::weak_ptr<LinuxSession> session_;
  const std::string adapterPath_;
  const std::uint64_t address_;
  DeviceFound found_;  ///< empty once called
  EventToken deviceChanged_;
  EventLoop::TaskId timer_ = 0;
  BluezDiscovery::UserId user_ = 0;  ///< while it listens
};

}  // namespace

void FindDevice(LinuxSession& session, std::uint64_t address, DeviceFound found) {
  if (!session.WhyNoAdapter().empty()) {
    session.NotifyWhyNoAdapter();
    return found(nullptr);
  }
  const std::string path = session.Adapter()->path;
  if (const DeviceObject* const known = session.Objects().Device(path, address))
    return found(known);
  std::make_shared<DeviceSearch>(session, path, address, std::move(found))->Begin(session);
}

}  // namespace ble::linux_radio

#include "platform/linux/DeviceSearch.h"

#include <utility>

namespace corvaneble::platform::linux_radio {
namespace {

/// A search that is under way. It keeps itself alive until it ends.
class DeviceSearch : public std::enable_shared_from_this<DeviceSearch> {
 public:
  DeviceSearch(LinuxSession& session, std::string adapterPath, std::uint64_t address,
               DeviceFound found)
      : session_(session.weak_from_this()),
        adapterPath_(std::move(adapterPath)),
        address_(address),
        found_(std::move(found)) {}

  void Begin(LinuxSession& session) {
    self_ = shared_from_this();
    deviceChanged_ = session.Objects().OnDeviceChanged(
        [weak = weak_from_this()](const DeviceObject& device, DeviceChange) {
          const auto self = weak.lock();
          if (self && device.address == self->address_ && device.adapterPath == self->adapterPath_)
            self->End();
        });
    timer_ = session.Loop()->PostAfter(session.SearchLimit(), [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->End();
    });
    user_ = session.Scanning().Add(adapterPath_, [weak = weak_from_this()](BluetoothError error) {
      const auto self = weak.lock();
      if (self && error != BluetoothError::Success) self->Fail();
    });
  }

 private:
  void Fail() {
    if (!self_) return;  // it has ended
    if (const auto session = session_.lock()) session->NotifyWhyNoAdapter();
    End();
  }

  /// Whoever connects next must find discovery at rest.
  void End() {
    const auto self = std::exchange(self_, nullptr);
    const auto session = session_.lock();
    if (!self || !session) return;
    deviceChanged_.Reset();
    session->Loop()->Cancel(timer_);
    session->Scanning().Remove(user_, [self] { self->Report(); });
  }

  void Report() {
    const auto session = session_.lock();
    if (session) found_(session->Objects().Device(adapterPath_, address_));
  }

  const std::weak_ptr<LinuxSession> session_;
  const std::string adapterPath_;
  const std::uint64_t address_;
  const DeviceFound found_;
  EventToken deviceChanged_;
  EventLoop::TaskId timer_ = 0;
  Discovery::UserId user_ = 0;
  std::shared_ptr<DeviceSearch> self_;
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

}  // namespace corvaneble::platform::linux_radio

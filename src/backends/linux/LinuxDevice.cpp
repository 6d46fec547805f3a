#include "backends/linux/LinuxDevice.h"

#include <algorithm>
#include <utility>

#include "backends/linux/L2capConnector.h"
#include "base/IfAlive.h"
#include "base/Utf.h"

namespace ble::linux_radio {

/// Opens a lost link again: at growing intervals, until it is there or the device is let go.
class LinuxDevice::Relink : public std::enable_shared_from_this<Relink> {
 public:
  Relink(std::weak_ptr<EventLoop> loop, std::weak_ptr<att::GattClient> client)
      : loop_(std::move(loop)), client_(std::move(client)) {}

  /// On the radio's thread.
  void OnLinkChanged() {
    const auto client = client_.lock();
    if (!client) return;
    pause_ = kFirstPause;
    if (!client->IsLinkOpen()) Schedule();
  }

 private:
  static constexpr std::chrono::milliseconds kFirstPause{500};
  static constexpr std::chrono::milliseconds kLongestPause{15'000};

  // On whatever thread found out that there is no link.
  void Schedule() {
    if (const auto loop = loop_.lock())
      loop->Post(IfAlive(weak_from_this(), &Relink::TryAfterPause));
  }

  // Of several reasons for one try, such as a link lost during a try, the last sets its time.
  void TryAfterPause() {
    const auto loop = loop_.lock();
    if (!loop) return;
    loop->Cancel(next_);
    next_ = loop->PostAfter(pause_, IfAlive(weak_from_this(), &Relink::Try));
    pause_ = std::min(pause_ * 2, kLongestPause);
  }

  void Try() {
    const auto client = client_.lock();
    if (!client || client->IsLinkOpen()) return;
    OpenLink(*client)->OnCompleted(IfAlive(weak_from_this(), &Relink::OnTried));
  }

  void OnTried(AsyncOperation<GattDeviceServicesResult>& tried) {
    const GattCommunicationStatus status = tried.GetResults()->status;
    if (status == GattCommunicationStatus::Unreachable ||
        status == GattCommunicationStatus::AccessDenied)
      Schedule();
  }

  const std::weak_ptr<EventLoop> loop_;
  const std::weak_ptr<att::GattClient> client_;

  // Below: the radio's thread alone.
  std::chrono::milliseconds pause_ = kFirstPause;
  EventLoop::TaskId next_ = 0;
};

LinuxDevice::LinuxDevice(LinuxSession& session, const DeviceObject& device)
    : AttDevice(std::make_shared<L2capConnector>(session.shared_from_this(), device),
                session.Loop(), session.Notices()),
      address_(device.address) {
  name_->name = device.name;
  linkChanged_ = OnConnectionStatusChanged(
      [relink = std::make_shared<Relink>(session.Loop(), Client())] { relink->OnLinkChanged(); });
  deviceChanged_ =
      session.Objects().OnDeviceChanged([path = device.path, kept = name_, changed = NameChanged()](
                                            const DeviceObject& now, DeviceChange change) {
        if (!change.name || now.path != path) return;
        {
          const MutexLock lock(kept->mutex);
          if (kept->name == now.name) return;
          kept->name = now.name;
        }
        changed.Raise();
      });
}

std::u16string LinuxDevice::Name() const {
  std::u16string name;
  const MutexLock lock(name_->mutex);
  AppendUtf16(name_->name, name);
  return name;
}

}  // namespace ble::linux_radio

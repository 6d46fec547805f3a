#include "backends/linux/L2capConnector.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include "backends/linux/BluetoothSockets.h"
#include "backends/linux/FileDescriptor.h"
#include "backends/linux/L2capChannel.h"

namespace ble::linux_radio {
namespace {

using std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

constexpr milliseconds kFirstPause{100};
constexpr milliseconds kLongestPause{2'000};

kernel::L2capAddress SocketAddress(std::uint64_t address, bool random) {
  kernel::L2capAddress result;
  for (std::uint8_t& byte : result.address) {
    byte = static_cast<std::uint8_t>(address);
    address >>= 8;
  }
  result.channel = kernel::kAttChannel;
  result.addressType = random ? kernel::kLeRandom : kernel::kLePublic;
  return result;
}

const sockaddr* Generic(const kernel::L2capAddress& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

/// Begins to connect; the errno when that fails at once.
int BeginConnect(const kernel::L2capAddress& local, const kernel::L2capAddress& remote,
                 std::uint8_t securityLevel, FileDescriptor& socket) {
  socket = FileDescriptor(::socket(
      kernel::kAfBluetooth, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, kernel::kProtocolL2cap));
  if (!socket) return errno;
  if (bind(socket.Get(), Generic(local), sizeof local) != 0) return errno;
  const kernel::Security security{securityLevel, 0};
  setsockopt(socket.Get(), kernel::kSolBluetooth, kernel::kSecurityOption, &security,
             sizeof security);
  kernel::EnlargeReceiveBuffer(socket.Get());
  if (connect(socket.Get(), Generic(remote), sizeof remote) != 0 && errno != EINPROGRESS)
    return errno;
  return 0;
}

int SocketError(int socket) {
  int error = 0;
  socklen_t size = sizeof error;
  return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/// What an errno of a Bluetooth socket means for whoever wanted the channel.
att::ChannelError ToChannelError(int error) {
  const bool denied = error == EACCES || error == EPERM || error == EAFNOSUPPORT;
  return denied ? att::ChannelError::AccessDenied : att::ChannelError::Unreachable;
}

/// Whether the next try may do better: the kernel gives a device that it has heard a few seconds to
/// answer, and not every link that begins comes about. ENOSYS is what it makes of "Connection
/// Failed to be Established" (Bluetooth Core 5.4, Vol 1 Part F, 0x3E).
bool IsWorthAnotherTry(int error) {
  constexpr int kWorthIt[] = {EBUSY,     ECONNABORTED, ECONNRESET, EAGAIN, ETIMEDOUT,
                              EHOSTDOWN, ECONNREFUSED, ENOTCONN,   ENOSYS};
  return std::ranges::find(kWorthIt, error) != std::end(kWorthIt);
}

}  // namespace

/// One `Open`, with all its tries. On the radio's thread alone, but for its cancellation.
class L2capConnector::Attempt : public std::enable_shared_from_this<Attempt> {
 public:
  Attempt(const std::shared_ptr<LinuxSession>& session, Peer peer, Opened opened)
      : session_(session),
        loop_(session->Loop()),
        peer_(std::move(peer)),
        end_(SteadyClock::now() + session->SearchLimit()),
        opened_(std::move(opened)) {}

  void Begin(LinuxSession& session) {
    const auto left = std::chrono::ceil<milliseconds>(end_ - SteadyClock::now());
    limitTimer_ = loop_->PostAfter(
        left, [self = shared_from_this()] { self->Finish({}, self->LastError()); });
    TryAtRest(session);
  }

  void Cancel() {
    if (opened_) Finish({}, att::ChannelError::Unreachable);
  }

 private:
  /// The kernel opens no link while it scans; between two tries it may.
  void TryAtRest(LinuxSession& session) {
    session.Scanning().Pause([self = shared_from_this()] {
      self->paused_ = true;
      if (!self->opened_) return self->Release();
      self->Try();
    });
  }

  void Try() {
    const auto session = session_.lock();
    const AdapterObject* const adapter =
        session ? session->Objects().Adapter(peer_.adapterPath) : nullptr;
    if (!adapter || !adapter->powered) return Finish({}, att::ChannelError::Unreachable);
    const DeviceObject* const known = session->Objects().Device(peer_.path);
    if (known) peer_ = Peer(*known);
    encrypts_ = known && known->HasKey() && !keyIsLost_;
    const int error =
        BeginConnect(SocketAddress(adapter->address, adapter->randomAddress),
                     SocketAddress(peer_.address, peer_.randomAddress),
                     encrypts_ ? kernel::kSecurityMedium : kernel::kSecurityLow, socket_);
    encrypts_ &= error == 0;  // what fails at once fails for other reasons
    if (error != 0) return OnFailed(error);
    watch_ = loop_->Watch(socket_.Get(), EPOLLOUT,
                          [self = shared_from_this()](std::uint32_t) { self->OnReady(); });
  }

  void OnReady() {
    loop_->Unwatch(std::exchange(watch_, 0));
    if (!opened_) return;
    if (const int error = SocketError(socket_.Get())) return OnFailed(error);
    const auto session = session_.lock();
    if (!session) return Finish({}, att::ChannelError::Unreachable);
    Finish(std::make_shared<L2capChannel>(loop_, std::move(socket_), session),
           att::ChannelError::None);
  }

  void OnFailed(int error) {
    lastError_ = error;
    socket_.Reset();
    Release();
    const auto session = session_.lock();
    // What a device remembers of a bond, such as subscriptions, it takes up when the link is
    // encrypted; but one that has lost its key can still be used without.
    keyIsLost_ |= encrypts_ && !IsWorthAnotherTry(error);
    if (session) Explain(*session, error);
    if (!session || !(keyIsLost_ || IsWorthAnotherTry(error)) ||
        SteadyClock::now() + pause_ >= end_)
      return Finish({}, ToChannelError(error));
    retryTimer_ = loop_->PostAfter(pause_, [self = shared_from_this()] {
      const auto alive = self->session_.lock();
      if (!alive) return self->Finish({}, att::ChannelError::Unreachable);
      if (self->opened_) self->TryAtRest(*alive);
    });
    pause_ = std::min(pause_ * 2, kLongestPause);
  }

  void Explain(LinuxSession& session, int error) {
    if (error == EBUSY && !std::exchange(saidBusy_, true))
      session.Notify("Another program holds the connection to the device; trying again.");
    if (encrypts_ && keyIsLost_)
      session.Notify(
          "The device does not accept the key of its pairing; remove the pairing (bluetoothctl "
          "remove) and pair again.");
    if (error == EAFNOSUPPORT)
      session.Notify(
          "This process may not open Bluetooth sockets; a container needs the host's "
          "network.");
  }

  att::ChannelError LastError() const { return ToChannelError(lastError_); }

  void Finish(std::shared_ptr<att::AttChannel> channel, att::ChannelError error) {
    const Opened opened = std::exchange(opened_, {});
    if (!opened) return;
    if (watch_ != 0) loop_->Unwatch(std::exchange(watch_, 0));
    loop_->Cancel(limitTimer_);
    loop_->Cancel(retryTimer_);
    socket_.Reset();
    Release();
    opened(std::move(channel), error);
  }

  void Release() {
    const auto session = session_.lock();
    if (std::exchange(paused_, false) && session) session->Scanning().Resume();
  }

  const std::weak_ptr<LinuxSession> session_;
  const std::shared_ptr<EventLoop> loop_;
  Peer peer_;
  const SteadyClock::time_point end_;
  Opened opened_;  ///< empty once called
  FileDescriptor socket_;
  EventLoop::WatchId watch_ = 0;
  EventLoop::TaskId limitTimer_ = 0;
  EventLoop::TaskId retryTimer_ = 0;
  milliseconds pause_ = kFirstPause;
  int lastError_ = ETIMEDOUT;
  bool paused_ = false;
  bool saidBusy_ = false;
  bool encrypts_ = false;  ///< the present try has the kernel encrypt the link
  bool keyIsLost_ = false;
};

L2capConnector::~L2capConnector() {
  if (const auto attempt = attempt_.lock())
    session_->Loop()->Post([attempt] { attempt->Cancel(); });
}

void L2capConnector::Open(Opened opened) {
  const auto attempt = std::make_shared<Attempt>(session_, peer_, std::move(opened));
  attempt_ = attempt;
  session_->Run([attempt](LinuxSession& session) { attempt->Begin(session); });
}

}  // namespace ble::linux_radio

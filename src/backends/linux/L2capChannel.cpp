#include "backends/linux/L2capChannel.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "backends/linux/BluetoothSockets.h"
#include "base/IfAlive.h"

namespace ble::linux_radio {
namespace {

/// Pairing may ask a person; the kernel's own limit for it (Bluetooth Core 5.4, Vol 3 Part H, 3.4).
constexpr std::chrono::seconds kPairingLimit{30};

/// How many PDUs are taken at most before the loop looks at everything else.
constexpr int kLargestBatch = 32;
constexpr int kSignsOfABurst = 4;

/// How many PDUs a waiting thread keeps at most for the radio's, which may be held up by the host.
/// As many again fit into the socket; what comes then is lost, for the kernel cannot make a sender
/// wait.
constexpr std::size_t kMostKept = 256;

/// What the radio's thread watches for always; a thread that waits is woken in its place.
constexpr std::uint32_t kInput = EPOLLIN | EPOLLEXCLUSIVE;

bool IsTemporary(int error) {
  return error == EAGAIN || error == EINTR;
}

bool HasEnded(int socket) {
  pollfd state{socket, POLLRDHUP, 0};
  return poll(&state, 1, 0) > 0 && (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

/// Whether what `recv` gave is a PDU without a byte, which says nothing; the end of the link reads
/// the same, but the kernel shows it besides.
bool IsEmptyPdu(int socket, ssize_t size) {
  return size == 0 && !HasEnded(socket);
}

/// Sending fails in the same way on a link that is being secured and on one that has ended.
bool MaySendLater(int socket, int error) {
  return IsTemporary(error) || (error == ENOTCONN && !HasEnded(socket));
}

}  // namespace

L2capChannel::L2capChannel(std::shared_ptr<EventLoop> loop, FileDescriptor socket,
                           std::shared_ptr<void> keepAlive)
    : keepAlive_(std::move(keepAlive)),
      loop_(std::move(loop)),
      socket_(std::move(socket)),
      input_(
          socket_.Get(), [this] { return TakeOne(); }, [this](bool ended) { GiveBack(ended); }) {}

L2capChannel::~L2capChannel() {
  loop_->Unwatch(watch_);
}

void L2capChannel::Start(std::weak_ptr<Listener> listener) {
  if (loop_->IsLoopThread()) return Listen(std::move(listener));
  loop_->Post(
      [self = shared_from_this(), listener = std::move(listener)] { self->Listen(listener); });
}

void L2capChannel::Listen(std::weak_ptr<Listener> listener) {
  listener_ = std::move(listener);
  if (!open_) return;
  watch_ = loop_->Watch(socket_.Get(), kInput, IfAlive(weak_from_this(), &L2capChannel::OnReady));
  loop_->Lend(std::shared_ptr<LendableInput>(shared_from_this(), &input_));
}

[[gnu::hot]] bool L2capChannel::Send(ByteView pdu) {
  if (!open_) return false;
  if (!isCongested_) {
    if (SendNow(pdu)) return true;
    if (!MaySendLater(socket_.Get(), errno)) return false;
  }
  const MutexLock lock(mutex_);
  isCongested_ = true;
  waiting_.emplace_back(pdu.begin(), pdu.end());
  loop_->Post(
      IfAlive(weak_from_this(), [](L2capChannel& self) { self.WatchFor(kInput | EPOLLOUT); }));
  return true;
}

void L2capChannel::WhenSent(Callback<void()> done) {
  if (isCongested_) {
    const MutexLock lock(mutex_);
    if (isCongested_ && open_) return whenSent_.push_back(std::move(done));
  }
  done();
}

bool L2capChannel::SendNow(ByteView pdu) const {
  return ::send(socket_.Get(), pdu.data(), pdu.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

[[gnu::hot]] void L2capChannel::OnReady(std::uint32_t events) {
  if ((events & (EPOLLERR | EPOLLHUP)) != 0) return ReceiveRest();
  if ((events & EPOLLIN) != 0) Receive();
  if (!open_ || (events & EPOLLOUT) == 0) return;
  SecurityDone(IsSecured());
  SendWaiting();
}

// An end may have PDUs before it; the socket gives them once it has been asked for its error.
void L2capChannel::ReceiveRest() {
  int error = 0;
  socklen_t size = sizeof error;
  getsockopt(socket_.Get(), SOL_SOCKET, SO_ERROR, &error, &size);
  ReceiveAll();
  End();
}

void L2capChannel::ReceiveAll() {
  while (open_ && ReceiveOne())
    ;
}

// Answers come one by one, and asking for a second PDU would be a call to the kernel for nothing;
// values come in bursts. So more than one is asked for only when one was there several times.
[[gnu::hot]] void L2capChannel::Receive() {
  const int batch = ++filled_ < kSignsOfABurst ? 1 : kLargestBatch;
  for (int i = 0; i < batch && open_; ++i) {
    if (ReceiveOne()) continue;
    if (i < 2) filled_ = 0;
    return;
  }
}

[[gnu::hot]] bool L2capChannel::ReceiveOne() {
  PduBuffer pdu;  // one each: a call may be nested in a call
  const ssize_t size = Next(pdu);
  if (size < 0 && IsTemporary(errno)) return false;
  if (IsEmptyPdu(socket_.Get(), size)) return true;
  if (size > 0)
    Deliver(ByteView(pdu).first(static_cast<std::size_t>(size)));
  else
    End();
  return size > 0;
}

// What another thread has kept comes first: values must not overtake each other.
[[gnu::hot]] ssize_t L2capChannel::Next(PduBuffer& pdu) {
  const MutexLock lock(inputMutex_);
  if (kept_.empty()) return recv(socket_.Get(), pdu.data(), pdu.size(), MSG_DONTWAIT);
  const Bytes next = std::move(kept_.front());
  kept_.pop_front();
  std::ranges::copy(next, pdu.begin());
  return static_cast<ssize_t>(next.size());
}

// Only what raises no event may be handled here. The answer to the ATT_MTU does: the link is there.
[[gnu::hot]] LendableInput::Taken L2capChannel::TakeOne() {
  using Taken = LendableInput::Taken;
  PduBuffer buffer;
  ByteView pdu;
  bool isForWaiter = false;
  {
    const MutexLock lock(inputMutex_);
    if (kept_.size() >= kMostKept) return Taken::Enough;
    const ssize_t size = recv(socket_.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (size < 0 && IsTemporary(errno)) return Taken::Nothing;
    if (IsEmptyPdu(socket_.Get(), size)) return Taken::One;
    if (size <= 0) return Taken::End;
    pdu = ByteView(buffer).first(static_cast<std::size_t>(size));
    const att::Opcode opcode = att::OpcodeOf(pdu);
    isForWaiter = att::IsResponse(opcode) && opcode != att::Opcode::ExchangeMtuResponse;
    if (!isForWaiter) kept_.emplace_back(pdu.begin(), pdu.end());
  }
  if (isForWaiter) {
    Deliver(pdu);
    return Taken::One;
  }
  loop_->Post(IfAlive(weak_from_this(), [](L2capChannel& self) {
    if (self.open_) self.ReceiveOne();
  }));
  return Taken::One;
}

void L2capChannel::GiveBack(bool ended) {
  loop_->Post(
      IfAlive(weak_from_this(), ended ? &L2capChannel::ReceiveRest : &L2capChannel::ReceiveAll));
}

[[gnu::hot]] void L2capChannel::Deliver(ByteView pdu) {
  if (const auto listener = listener_.lock()) listener->OnPdu(pdu);
}

void L2capChannel::SendWaiting() {
  {
    const MutexLock lock(mutex_);
    while (!waiting_.empty()) {
      if (!SendNow(waiting_.front())) return;
      waiting_.pop_front();
    }
    isCongested_ = false;
    WatchFor(kInput);
  }
  RunWhenSent();
}

void L2capChannel::RunWhenSent() {
  std::vector<Callback<void()>> ready;
  {
    const MutexLock lock(mutex_);
    ready.swap(whenSent_);
  }
  for (const Callback<void()>& done : ready)
    done();
}

void L2capChannel::WatchFor(std::uint32_t events) {
  loop_->SetEvents(watch_, events);
}

void L2capChannel::RaiseSecurity(std::function<void(bool raised)> done) {
  loop_->Post([self = shared_from_this(), done = std::move(done)] { self->Secure(done); });
}

void L2capChannel::Secure(std::function<void(bool raised)> done) {
  if (!open_) return done(false);
  const kernel::Security wanted{kernel::kSecurityMedium, 0};
  if (setsockopt(socket_.Get(), kernel::kSolBluetooth, kernel::kSecurityOption, &wanted,
                 sizeof wanted) != 0)
    return done(IsSecured());  // the kernel refuses where the device has seen to it meanwhile
  securityDone_ = std::move(done);
  securityTimer_ = loop_->PostAfter(kPairingLimit, IfAlive(weak_from_this(), &L2capChannel::End));
  // The kernel lets nothing be sent until the link is secured. When that fails it mostly ends the
  // link; where it does not, as when this side refused, the channel is of no more use.
  WatchFor(kInput | EPOLLOUT);
}

bool L2capChannel::IsSecured() const {
  kernel::Security present;
  socklen_t size = sizeof present;
  return getsockopt(socket_.Get(), kernel::kSolBluetooth, kernel::kSecurityOption, &present,
                    &size) == 0 &&
         present.level >= kernel::kSecurityMedium;
}

void L2capChannel::SecurityDone(bool raised) {
  loop_->Cancel(std::exchange(securityTimer_, 0));
  if (const auto done = std::exchange(securityDone_, {})) done(raised);
}

void L2capChannel::End() {
  if (!open_.exchange(false)) return;
  shutdown(socket_.Get(), SHUT_RDWR);
  loop_->Post([self = shared_from_this()] {
    self->loop_->Unwatch(self->watch_);
    self->SecurityDone(false);
    self->RunWhenSent();
    if (const auto listener = self->listener_.lock())
      listener->OnClosed(att::ChannelError::Unreachable);
  });
}

}  // namespace ble::linux_radio

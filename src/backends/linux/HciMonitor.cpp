#include "backends/linux/HciMonitor.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "backends/linux/BluetoothSockets.h"
#include "backends/linux/FileDescriptor.h"

namespace ble::linux_radio {
namespace {

constexpr std::uint8_t kEventPacket = 0x04;
constexpr std::uint8_t kLeMetaEvent = 0x3E;
constexpr std::size_t kLargestEvent = 1 + 2 + 255;

std::optional<std::uint16_t> IndexOf(std::string_view adapterName) {
  std::uint16_t index = 0;
  if (!adapterName.starts_with("hci")) return std::nullopt;
  const char* const end = adapterName.data() + adapterName.size();
  const auto [stop, error] = std::from_chars(adapterName.data() + 3, end, index);
  if (error != std::errc() || stop != end) return std::nullopt;
  return index;
}

/// Asks for LE events alone. The kernel accepts the request from anybody and leaves out the events
/// that the process may not have, so the filter is read back.
bool AcceptsLeEvents(int socket) {
  kernel::HciFilter filter;
  filter.packetTypes = 1U << kEventPacket;
  filter.events[kLeMetaEvent / 32] = 1U << (kLeMetaEvent % 32);
  if (setsockopt(socket, kernel::kSolHci, kernel::kHciFilterOption, &filter, sizeof filter) != 0)
    return false;
  kernel::HciFilter granted;
  socklen_t size = sizeof granted;
  return getsockopt(socket, kernel::kSolHci, kernel::kHciFilterOption, &granted, &size) == 0 &&
         granted.events[kLeMetaEvent / 32] == filter.events[kLeMetaEvent / 32];
}

FileDescriptor OpenSocket(std::uint16_t index) {
  FileDescriptor socket(::socket(kernel::kAfBluetooth, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK,
                                 kernel::kProtocolHci));
  kernel::HciAddress address;
  address.device = index;
  if (!socket || !AcceptsLeEvents(socket.Get()) ||
      bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return {};
  kernel::EnlargeReceiveBuffer(socket.Get());
  return socket;
}

}  // namespace

struct HciMonitor::Listening {
  FileDescriptor socket;
  hci::AdvertisingReports reports;
  hci::AdvertisingReports::Sink sink;

  void OnReadable() {
    std::array<std::uint8_t, kLargestEvent> packet;
    const ssize_t size = recv(socket.Get(), packet.data(), packet.size(), 0);
    if (size < 1 || packet[0] != kEventPacket) return;
    const ByteView event = ByteView(packet).subspan(1, static_cast<std::size_t>(size) - 1);
    (void)reports.TakeEvent(ByteReader(event, 0), sink);  // a malformed one tells us nothing
  }
};

std::unique_ptr<HciMonitor> HciMonitor::Open(const std::shared_ptr<EventLoop>& loop,
                                             const std::string& adapterName,
                                             hci::AdvertisingReports::Sink sink) {
  const auto index = IndexOf(adapterName);
  if (!index) return nullptr;
  FileDescriptor socket = OpenSocket(*index);
  if (!socket) return nullptr;
  auto listening = std::make_shared<Listening>();
  listening->socket = std::move(socket);
  listening->sink = std::move(sink);
  return std::unique_ptr<HciMonitor>(new HciMonitor(loop, std::move(listening)));
}

HciMonitor::HciMonitor(std::shared_ptr<EventLoop> loop, std::shared_ptr<Listening> listening)
    : loop_(std::move(loop)), listening_(std::move(listening)) {
  watch_ = loop_->Watch(
      listening_->socket.Get(), EPOLLIN,
      [weak = std::weak_ptr(listening_), loop = loop_.get(), this](std::uint32_t events) {
        const auto alive = weak.lock();
        if (!alive) return;
        // An adapter that is gone stays ready for ever; BlueZ tells the rest.
        if ((events & (EPOLLHUP | EPOLLERR)) != 0) return loop->Unwatch(watch_);
        alive->OnReadable();
      });
}

HciMonitor::~HciMonitor() {
  loop_->Unwatch(watch_);
}

}  // namespace ble::linux_radio

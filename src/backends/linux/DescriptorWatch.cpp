#include "backends/linux/DescriptorWatch.h"

#include <sys/epoll.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "backends/RadioThread.h"

namespace ble::linux_radio {
namespace {

constexpr DescriptorWatch::Id kWakeId = 0;

}  // namespace

DescriptorWatch::DescriptorWatch() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  if (!epoll_ || !wake_)
    throw PlatformFailure(
        errno, "The Bluetooth radio cannot be opened: " + std::string(std::strerror(errno)) + ".");
  Control(EPOLL_CTL_ADD, wake_.Get(), kWakeId, EPOLLIN);
}

DescriptorWatch::Id DescriptorWatch::Add(int fd, std::uint32_t events, ReadyHandler handler) {
  const MutexLock lock(mutex_);
  const Id id = ++lastId_;
  if (closed_) return id;
  watches_.emplace(id, Watched{fd, events, std::make_shared<ReadyHandler>(std::move(handler))});
  Control(EPOLL_CTL_ADD, fd, id, events);
  return id;
}

void DescriptorWatch::SetEvents(Id id, std::uint32_t events) {
  const MutexLock lock(mutex_);
  const auto watched = watches_.find(id);
  if (watched == watches_.end()) return;
  const int fd = watched->second.fd;
  if ((std::exchange(watched->second.events, events) & EPOLLEXCLUSIVE) == 0)
    return Control(EPOLL_CTL_MOD, fd, id, events);
  epoll_ctl(epoll_.Get(), EPOLL_CTL_DEL, fd, nullptr);  // such a watch cannot be changed
  Control(EPOLL_CTL_ADD, fd, id, events);
}

void DescriptorWatch::Remove(Id id) {
  std::shared_ptr<ReadyHandler> forgotten;
  const MutexLock lock(mutex_);
  const auto watched = watches_.find(id);
  if (watched == watches_.end()) return;
  epoll_ctl(epoll_.Get(), EPOLL_CTL_DEL, watched->second.fd, nullptr);
  forgotten = std::move(watched->second.handler);
  watches_.erase(watched);
}

void DescriptorWatch::Close() {
  Watches forgotten;
  const MutexLock lock(mutex_);
  closed_ = true;
  forgotten.swap(watches_);
}

void DescriptorWatch::Wait(std::chrono::milliseconds limit) {
  epoll_event event{};
  if (epoll_wait(epoll_.Get(), &event, 1, static_cast<int>(limit.count())) <= 0) return;
  if (event.data.u64 == kWakeId) {
    wake_.Clear();
  } else if (const auto handler = HandlerOf(event.data.u64)) {
    RunOnRadioThread(*handler, event.events);
  }
}

std::shared_ptr<DescriptorWatch::ReadyHandler> DescriptorWatch::HandlerOf(Id id) {
  const MutexLock lock(mutex_);
  const auto watched = watches_.find(id);
  return watched != watches_.end() ? watched->second.handler : nullptr;
}

void DescriptorWatch::Control(int operation, int fd, Id id, std::uint32_t events) {
  epoll_event event{events, {}};
  event.data.u64 = id;
  epoll_ctl(epoll_.Get(), operation, fd, &event);
}

}  // namespace ble::linux_radio

#include "backends/linux/SystemBus.h"

#include <poll.h>
#include <sys/epoll.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace ble::linux_radio {
namespace {

constexpr const char* kBluez = "org.bluez";

/// Tells whoever waits for a reply that none will come.
void ReplyDisconnected(const SystemBus::Reply& reply) {
  const BusError error{"org.freedesktop.DBus.Error.Disconnected", "The bus went away."};
  reply(nullptr, &error);
}

std::uint32_t ToEpoll(int pollEvents) {
  std::uint32_t events = 0;
  if ((pollEvents & POLLIN) != 0) events |= EPOLLIN;
  if ((pollEvents & POLLOUT) != 0) events |= EPOLLOUT;
  return events;
}

/// sd-bus gives points in time as microseconds of CLOCK_MONOTONIC.
std::chrono::milliseconds Until(std::uint64_t deadline) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto present = std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
  const auto left = std::chrono::microseconds(deadline) - present;
  return std::max(std::chrono::ceil<std::chrono::milliseconds>(left), std::chrono::milliseconds{0});
}

}  // namespace

SystemBus::SystemBus(EventLoop& loop, std::function<void()> onClosed)
    : loop_(loop), onClosed_(std::move(onClosed)) {}

SystemBus::~SystemBus() {
  Close();
}

int SystemBus::Open() {
  if (const int result = sd_bus_open_system(&bus_); result < 0) {
    bus_ = nullptr;
    return -result;
  }
  watch_ = loop_.Watch(sd_bus_get_fd(bus_), EPOLLIN, Owned([this] { Process(); }));
  Rearm();
  return 0;
}

void SystemBus::Subscribe(const std::string& rule, Handler handler) {
  if (!bus_) return;
  auto pending = std::make_unique<Pending>();
  pending->bus = this;
  pending->handler = std::move(handler);
  sd_bus_slot* slot = nullptr;
  sd_bus_add_match_async(bus_, &slot, rule.c_str(), &OnMessage, nullptr, pending.get());
  pending->slot.reset(slot);
  subscriptions_.push_back(std::move(pending));
  Rearm();
}

void SystemBus::Call(const std::string& path, const char* interface, const char* member,
                     const AppendArguments& append, Reply reply, std::chrono::milliseconds limit) {
  auto pending = std::make_unique<Pending>();
  pending->bus = this;
  pending->reply = std::move(reply);
  int result = -ENOTCONN;
  if (bus_) {
    sd_bus_message* message = nullptr;
    result =
        sd_bus_message_new_method_call(bus_, &message, kBluez, path.c_str(), interface, member);
    const BusMessage call(message);
    if (result >= 0 && append) result = append(call.get());
    sd_bus_slot* slot = nullptr;
    if (result >= 0)
      result =
          sd_bus_call_async(bus_, &slot, call.get(), &OnMessage, pending.get(),
                            static_cast<std::uint64_t>(std::chrono::microseconds(limit).count()));
    pending->slot.reset(slot);
  }
  if (result >= 0) {
    calls_.push_back(std::move(pending));
    Rearm();
    return;
  }
  loop_.Post(Owned([reply = std::move(pending->reply)] { ReplyDisconnected(reply); }));
}

int SystemBus::OnMessage(sd_bus_message* message, void* pending, sd_bus_error* /*error*/) {
  auto* const waiting = static_cast<Pending*>(pending);
  waiting->bus->delivered_.emplace_back(waiting, BusMessage(sd_bus_message_ref(message)));
  return 0;
}

void SystemBus::Process() {
  while (bus_) {
    const int result = sd_bus_process(bus_, nullptr);
    if (result < 0 && result != -EBUSY) {
      Close();
      onClosed_();
      return;
    }
    Deliver();
    if (result <= 0) break;
  }
  Rearm();
}

void SystemBus::Deliver() {
  while (!delivered_.empty()) {
    const auto [pending, message] = std::move(delivered_.front());
    delivered_.pop_front();
    if (pending->handler) {
      const Handler handler = pending->handler;
      handler(message.get());
      continue;
    }
    const Reply reply = std::move(pending->reply);
    std::erase_if(calls_, [call = pending](const auto& each) { return each.get() == call; });
    if (const sd_bus_error* const failed = sd_bus_message_get_error(message.get())) {
      const BusError error{failed->name, failed->message ? failed->message : ""};
      reply(nullptr, &error);
    } else {
      reply(message.get(), nullptr);
    }
  }
}

void SystemBus::Rearm() {
  if (!bus_) return;
  const int events = sd_bus_get_events(bus_);
  loop_.SetEvents(watch_, ToEpoll(events < 0 ? POLLIN : events));
  loop_.Cancel(timer_);
  std::uint64_t deadline = 0;
  if (sd_bus_get_timeout(bus_, &deadline) <= 0 || deadline == UINT64_MAX) return;
  timer_ = loop_.PostAfter(Until(deadline), Owned([this] { Process(); }));
}

void SystemBus::Close() {
  if (!bus_) return;
  loop_.Unwatch(watch_);
  loop_.Cancel(timer_);
  delivered_.clear();
  subscriptions_.clear();
  // Whoever waits for a reply learns that none will come.
  for (auto& call : std::exchange(calls_, {})) {
    call->slot.reset();
    loop_.Post(Owned([reply = std::move(call->reply)] { ReplyDisconnected(reply); }));
  }
  sd_bus_unref(std::exchange(bus_, nullptr));
}

}  // namespace ble::linux_radio

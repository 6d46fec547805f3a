#include "backends/linux/LendableInput.h"

#include <sys/epoll.h>

#include <chrono>
#include <cstdint>
#include <utility>

namespace ble::linux_radio {
namespace {

enum class Source : std::uint32_t { Input, Wake, Alarm };

// The kernel tells of what arrives, not of what is there: to have it look again at each wait would
// cost as much as the wait does. So whatever is there is taken, or given back, before the next.
constexpr std::uint32_t kArrival = EPOLLIN | EPOLLEXCLUSIVE | EPOLLET;

bool Add(const FileDescriptor& epoll, int fd, std::uint32_t events, Source source) {
  epoll_event event{events, {}};
  event.data.u32 = static_cast<std::uint32_t>(source);
  return epoll_ctl(epoll.Get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

FileDescriptor Watch(int input, const EventFd& wake, const TimerFd& alarm) {
  FileDescriptor epoll(epoll_create1(EPOLL_CLOEXEC));
  const bool watched = Add(epoll, input, kArrival, Source::Input) &&
                       Add(epoll, wake.Get(), EPOLLIN, Source::Wake) &&
                       Add(epoll, alarm.Get(), EPOLLIN, Source::Alarm);
  if (!watched) epoll.Reset();
  return epoll;
}

}  // namespace

LendableInput::LendableInput(int descriptor, TakeOne takeOne, GiveBack giveBack)
    : takeOne_(std::move(takeOne)),
      giveBack_(std::move(giveBack)),
      epoll_(Watch(descriptor, wake_, alarm_)) {}

[[gnu::hot]] bool LendableInput::TakeUntil(const WakeSignal& signal, TimePoint end) {
  if (!epoll_ || inUse_.exchange(true)) return false;
  const struct Use {  // ends also where there is no memory left to keep a PDU
    ~Use() { inUse = false; }
    std::atomic<bool>& inUse;
  } use{inUse_};
  return Take(signal, end);
}

[[gnu::hot]] bool LendableInput::Take(const WakeSignal& signal, TimePoint end) {
  while (!signal.IsSet()) {
    SetAlarm(end);
    const Taken taken = TakeNext(signal);
    if (taken >= Taken::Enough) {
      giveBack_(taken == Taken::End);
      return false;
    }
    if (!signal.IsSet() && std::chrono::steady_clock::now() >= end) break;
  }
  return true;
}

// An alarm of an earlier wait is left as it is if it comes soon enough: to be woken for nothing now
// and then costs less than to have the kernel set and cancel a timer for each wait.
[[gnu::hot]] void LendableInput::SetAlarm(TimePoint latest) {
  if (alarmAt_ <= latest) return;
  alarmAt_ = latest;
  alarm_.Set(latest);
}

[[gnu::hot]] LendableInput::Taken LendableInput::TakeNext(const WakeSignal& signal) {
  epoll_event ready[3];
  int count = 0;
  {  // for no longer than this sleeps: what it takes itself need not wake it
    const WakeSignal::Waker waker(signal, [this] { wake_.Set(); });
    count = epoll_wait(epoll_.Get(), ready, 3, -1);
  }
  auto taken = Taken::Nothing;
  for (int i = 0; i < count; ++i) {
    switch (static_cast<Source>(ready[i].data.u32)) {
      case Source::Input:
        taken = (ready[i].events & ~EPOLLIN) == 0 ? TakeAll() : Taken::End;
        break;
      case Source::Wake:
        wake_.Clear();
        break;
      case Source::Alarm:
        alarm_.Clear();
        alarmAt_ = kNoAlarm;
    }
  }
  return taken;
}

// Also what came after the kernel woke this thread: it may have woken nobody.
[[gnu::hot]] LendableInput::Taken LendableInput::TakeAll() {
  auto taken = Taken::One;
  while (taken == Taken::One)
    taken = takeOne_();
  return taken;
}

}  // namespace ble::linux_radio

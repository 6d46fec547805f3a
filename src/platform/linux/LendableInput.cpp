#include "platform/linux/LendableInput.h"

#include <sys/epoll.h>

#include <cstdint>
#include <thread>

namespace corvaneble::platform::linux_radio {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

enum class Source : std::uint32_t { Input, Wake };

bool Add(const FileDescriptor& epoll, int fd, std::uint32_t events, Source source) {
  epoll_event event{events, {}};
  event.data.u32 = static_cast<std::uint32_t>(source);
  return epoll_ctl(epoll.Get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

FileDescriptor Watch(int input, const EventFd& wake) {
  FileDescriptor epoll(epoll_create1(EPOLL_CLOEXEC));
  const bool watched = Add(epoll, input, EPOLLIN | EPOLLEXCLUSIVE, Source::Input) &&
                       Add(epoll, wake.Get(), EPOLLIN, Source::Wake);
  if (!watched) epoll.Reset();
  return epoll;
}

}  // namespace

LendableInput::LendableInput(int descriptor) : epoll_(Watch(descriptor, wake_)) {}

bool LendableInput::TakeUntil(const WakeSignal& signal, TimePoint end) {
  if (!epoll_ || inUse_.exchange(true)) return false;
  const bool served = Take(signal, end);
  inUse_ = false;
  return served;
}

bool LendableInput::Take(const WakeSignal& signal, TimePoint end) {
  const WakeSignal::Waker waker(signal, [this, waiter = std::this_thread::get_id()] {
    if (std::this_thread::get_id() != waiter) wake_.Set();
  });
  auto taken = Taken::Nothing;
  while (!signal.IsSet() && taken < Taken::Enough) {
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    if (left <= milliseconds{0}) break;
    taken = TakeNext(left);
  }
  // What came after the kernel woke this thread may have woken nobody.
  while (taken == Taken::One)
    taken = TakeOne();
  if (taken < Taken::Enough) return true;
  GiveBack(taken == Taken::End);
  return false;
}

LendableInput::Taken LendableInput::TakeNext(milliseconds limit) {
  epoll_event ready[2];
  const int count = epoll_wait(epoll_.Get(), ready, 2, static_cast<int>(limit.count()));
  auto taken = Taken::Nothing;
  for (int i = 0; i < count; ++i) {
    if (ready[i].data.u32 == static_cast<std::uint32_t>(Source::Wake)) {
      wake_.Clear();
    } else {
      taken = (ready[i].events & ~EPOLLIN) == 0 ? TakeOne() : Taken::End;
    }
  }
  return taken;
}

}  // namespace corvaneble::platform::linux_radio

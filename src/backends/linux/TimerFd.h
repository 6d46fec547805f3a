#pragma once

#include <sys/timerfd.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>

#include "backends/linux/FileDescriptor.h"

namespace ble::linux_radio {

/// A descriptor that is ready for reading from a given time on, until `Clear`: an alarm for a
/// thread that waits for descriptors. Any thread.
class TimerFd {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Without a descriptor when the system gives none.
  TimerFd() : fd_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {}

  int Get() const { return fd_.Get(); }

  /// In place of any time that was set before.
  void Set(TimePoint time) const {
    using std::chrono::seconds, std::chrono::nanoseconds;
    const auto sinceBoot = time.time_since_epoch();  // the steady clock is CLOCK_MONOTONIC
    const auto whole = std::chrono::floor<seconds>(sinceBoot);
    itimerspec alarm{};
    alarm.it_value.tv_sec = static_cast<time_t>(whole.count());
    alarm.it_value.tv_nsec = static_cast<long>(nanoseconds(sinceBoot - whole).count());
    ::timerfd_settime(fd_.Get(), TFD_TIMER_ABSTIME, &alarm, nullptr);
  }
  void Clear() const {
    std::uint64_t times = 0;
    (void)!::read(fd_.Get(), &times, sizeof times);
  }

 private:
  const FileDescriptor fd_;
};

}  // namespace ble::linux_radio

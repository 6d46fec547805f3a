#include "system/posix/PosixClock.h"

#include <thread>

#include "platform/SystemServices.h"

namespace ble {
namespace posix {

[[gnu::hot]] std::uint32_t PosixClock::TickCount() const {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void PosixClock::Sleep(std::chrono::milliseconds duration) {
  std::this_thread::sleep_for(duration);
}

}  // namespace posix

std::shared_ptr<Clock> SystemClock() {
  return std::make_shared<posix::PosixClock>();
}

}  // namespace ble

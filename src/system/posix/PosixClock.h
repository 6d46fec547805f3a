#pragma once

#include "platform/Clock.h"

namespace ble::posix {

/// The machine's monotonic clock.
class PosixClock final : public Clock {
 public:
  std::uint32_t TickCount() const override;
  void Sleep(std::chrono::milliseconds duration) override;
};

}  // namespace ble::posix

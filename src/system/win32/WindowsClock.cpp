#include <windows.h>

#include "platform/SystemServices.h"

namespace ble {
namespace {

class WindowsClock final : public Clock {
 public:
  std::uint32_t TickCount() const override { return GetTickCount(); }
  void Sleep(std::chrono::milliseconds duration) override {
    ::Sleep(static_cast<DWORD>(duration.count()));
  }
};

}  // namespace

std::shared_ptr<Clock> SystemClock() {
  return std::make_shared<WindowsClock>();
}

}  // namespace ble

#include <cstdlib>
#include <thread>

#include "platform/SystemServices.h"

namespace ble {
namespace {

class PosixClock final : public Clock {
 public:
  [[gnu::hot]] std::uint32_t TickCount() const override {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
  }
  void Sleep(std::chrono::milliseconds duration) override { std::this_thread::sleep_for(duration); }
};

/// Waits where threads have no message queues: on the signal itself.
class PosixPump final : public MessagePump {
 public:
  bool HasMessageQueue() const override { return false; }
  bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) override {
    if (signal != nullptr)
      (void)signal->WaitFor(wait);
    else
      std::this_thread::sleep_for(wait);
    return true;
  }
};

}  // namespace

std::shared_ptr<Clock> SystemClock() {
  return std::make_shared<PosixClock>();
}

std::shared_ptr<MessagePump> SystemPump() {
  return std::make_shared<PosixPump>();
}

std::string EnvironmentVariable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

void CallAtThreadEnd(void (*handler)()) {
  struct Ending {
    void (*const handler)();
    ~Ending() { handler(); }
  };
  thread_local const Ending ending{handler};
}

void PrepareProcess() {}
void ReleaseProcess() {}

}  // namespace ble

#include "system/posix/PosixPump.h"

#include <thread>

#include "platform/SystemServices.h"

namespace ble {
namespace posix {

bool PosixPump::Step(std::chrono::milliseconds wait, const WakeSignal* signal) {
  if (signal != nullptr)
    (void)signal->WaitFor(wait);
  else
    std::this_thread::sleep_for(wait);
  return true;
}

}  // namespace posix

std::shared_ptr<MessagePump> SystemPump() {
  return std::make_shared<posix::PosixPump>();
}

void PrepareProcess() {}
void ReleaseProcess() {}

}  // namespace ble

#include "platform/linux/LendableInput.h"

#include <poll.h>
#include <unistd.h>

#include <cstdint>
#include <thread>

namespace corvaneble::platform::linux_radio {

bool TakeWhileWaiting(LendableInput& input, int wakeDescriptor, const WakeSignal& signal,
                      std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  const WakeSignal::Waker waker(signal, [wakeDescriptor, waiter = std::this_thread::get_id()] {
    const std::uint64_t one = 1;
    if (std::this_thread::get_id() != waiter) (void)!::write(wakeDescriptor, &one, sizeof one);
  });
  while (!signal.IsSet()) {
    pollfd ready[] = {{input.Descriptor(), POLLIN, 0}, {wakeDescriptor, POLLIN, 0}};
    if (limit.count() <= 0 || ::poll(ready, 2, static_cast<int>(limit.count())) == 0) return true;
    if (ready[1].revents != 0) {
      std::uint64_t count = 0;
      (void)!::read(wakeDescriptor, &count, sizeof count);
    }
    if ((ready[0].revents & ~POLLIN) != 0) return false;
    if (ready[0].revents != 0 && !input.TakeOne()) return false;
    limit = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
  }
  return true;
}

}  // namespace corvaneble::platform::linux_radio

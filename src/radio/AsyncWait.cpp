#include "radio/AsyncWait.h"

#include <algorithm>
#include <chrono>

namespace ble {

using std::chrono::milliseconds;

namespace {

/// A limit has passed when the clock is beyond it.
constexpr milliseconds kTick{1};

}  // namespace

[[gnu::hot]] bool AsyncWait::WaitFor(const WakeSignal& signal, milliseconds limit) {
  const std::uint32_t begin = radio_.clock->TickCount();
  milliseconds left = limit;
  while (!signal.IsSet()) {
    radio_.pump->Step(limit.count() == 0 ? longestStep_ : std::min(longestStep_, left + kTick),
                      &signal);
    if (limit.count() == 0 || signal.IsSet()) continue;
    const milliseconds elapsed(radio_.clock->TickCount() - begin);  // right across a wrap
    if (elapsed > limit) return false;
    left = limit - elapsed;
  }
  return true;
}

}  // namespace ble

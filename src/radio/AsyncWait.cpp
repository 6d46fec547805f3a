#include "radio/AsyncWait.h"

#include <algorithm>
#include <chrono>

#include "base/Text.h"

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

ErrorCode AsyncWait::Expire() {
  errors_.SetLastCode(error::kTimeout);
  return errors_.Raise(failure::kTimeout);
}

ErrorCode AsyncWait::Report(const PlatformFailure& failure) {
  return errors_.Raise(
      error::kPlatformFailure,
      Concat("Platform failure [0x", Hex{static_cast<std::uint32_t>(failure.Result())},
             "]: ", std::string_view(failure.what())));
}

}  // namespace ble

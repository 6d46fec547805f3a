#include "radio/AsyncWait.h"

#include <algorithm>
#include <chrono>

#include "frame/Text.h"

namespace corvaneble {

using std::chrono::milliseconds;

[[gnu::hot]] bool AsyncWait::WaitFor(const platform::WakeSignal& done) {
  const std::int64_t limit = std::int64_t{timeoutSeconds_} * 1000;  // 0: no limit
  const std::uint32_t begin = radio_.clock->TickCount();
  milliseconds step = limit == 0 ? longestStep_ : std::min(longestStep_, milliseconds(limit + 1));
  while (!done.IsSet()) {
    radio_.pump->Step(step, &done);
    if (limit == 0 || done.IsSet()) continue;
    const std::int64_t elapsed = radio_.clock->TickCount() - begin;  // right across a wrap
    if (elapsed > limit) return false;
    step = std::min(longestStep_, milliseconds(limit + 1 - elapsed));
  }
  return true;
}

ErrorCode AsyncWait::Expire() {
  errors_.SetLastCode(error::kTimeout);
  return errors_.Raise(failure::kTimeout);
}

ErrorCode AsyncWait::Report(const platform::PlatformFailure& failure) {
  return errors_.Raise(
      error::kPlatformFailure,
      Concat("Platform failure [0x", Hex{static_cast<std::uint32_t>(failure.Result())},
             "]: ", std::string_view(failure.what())));
}

}  // namespace corvaneble

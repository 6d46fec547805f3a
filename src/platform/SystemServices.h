#pragma once

#include <memory>

#include "platform/Clock.h"

namespace corvaneble::platform {

/// The machine's monotonic time.
[[nodiscard]] std::shared_ptr<Clock> SystemClock();

/// The system's way of waiting, for one instance.
[[nodiscard]] std::shared_ptr<MessagePump> SystemPump();

}  // namespace corvaneble::platform

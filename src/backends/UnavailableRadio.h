#pragma once

#include <memory>
#include <string>

#include "platform/Radio.h"

namespace ble {

/// A radio that could not be opened: every call throws a `PlatformFailure` with `result` and
/// `text`.
[[nodiscard]] std::shared_ptr<Radio> MakeUnavailableRadio(std::int32_t result,
                                                          const std::string& text);

/// The radio of a machine without Bluetooth: it has no default adapter and reaches no device.
[[nodiscard]] std::shared_ptr<Radio> MakeAbsentRadio();

}  // namespace ble

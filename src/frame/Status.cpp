#include "frame/Status.h"

#include <cstdint>
#include <string_view>

#include "base/Text.h"

namespace ble {

Status::Status(const PlatformFailure& failure)
    : Status(error::kPlatformFailure,
             Concat("Platform failure [0x", Hex{static_cast<std::uint32_t>(failure.Result())},
                    "]: ", std::string_view(failure.what()))) {}

}  // namespace ble

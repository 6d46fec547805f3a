#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "platform/Gatt.h"

namespace ble::simulated {

/// The calls of a radio and of the objects it hands out, by what they do.
enum class CallKind {
  AdapterLookUp,
  Watch,  ///< creating a watcher, setting its mode and filter, starting and stopping it
  DeviceLookUp,
  DiscoverServices,
  DiscoverIncludedServices,
  DiscoverCharacteristics,
  DiscoverDescriptors,
  Read,  ///< the value of a characteristic or descriptor
  Write,
  ReadConfiguration,  ///< the client characteristic configuration
  WriteConfiguration,
};

/// What goes wrong, and at which calls of the platform.
struct Fault {
  enum class Kind {
    Throw,        ///< the call itself throws `PlatformFailure`
    Fail,         ///< the operation finishes, and `GetResults` throws
    Hang,         ///< the operation never finishes; a synchronous call does nothing
    Late,         ///< the operation finishes `delay` later than it would
    Null,         ///< the operation finishes without a result; a factory returns null
    GattStatus,   ///< the operation finishes with `gatt`; null where it has no GATT status
    OtherThread,  ///< the operation finishes on a thread that exists for this alone
  };

  Kind kind = Kind::Late;
  std::optional<CallKind> call;  ///< none: the calls of every kind
  std::uint32_t first = 1;       ///< the first of these calls that goes wrong, counted from 1
  std::uint32_t count = std::numeric_limits<std::uint32_t>::max();  ///< how many do
  std::chrono::milliseconds delay{0};  ///< until an operation that finishes does so
  GattResult gatt{GattCommunicationStatus::Unreachable, {}};
  std::int32_t failureResult = -1;
  std::string failureText = "Injected failure.";
};

}  // namespace ble::simulated

#pragma once

#include <new>

#include "frame/Status.h"
#include "platform/PlatformFailure.h"

namespace ble {

/// Runs the body of a method or property access; turns what it throws into a status. The only
/// things thrown in the component are platform failures and failed allocations.
template <class Body>
Status RunToStatus(Body body) {
  try {
    return body();
  } catch (const PlatformFailure& failure) {
    return Status(failure);
  } catch (const std::bad_alloc&) {
    return failure::kOutOfMemory;
  }
}

}  // namespace ble

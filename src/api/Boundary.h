#pragma once

#include <new>

#include "frame/ErrorState.h"
#include "platform/PlatformFailure.h"
#include "radio/AsyncWait.h"

namespace ble {

/// Runs the body of a method or property access; turns what it throws into a code with its text.
/// The only things thrown in the component are platform failures and failed allocations.
template <class Body>
ErrorCode RunToCode(ErrorState& errors, AsyncWait& wait, Body body) {
  try {
    return body();
  } catch (const PlatformFailure& failure) {
    return wait.Report(failure);
  } catch (const std::bad_alloc&) {
    return errors.Raise(failure::kOutOfMemory);
  }
}

}  // namespace ble

#pragma once

#include <utility>

#include "frame/Log.h"
#include "frame/Status.h"
#include "radio/AsyncWait.h"
#include "radio/ResultMapping.h"

namespace ble {

/// Runs one GATT operation from start to status. Runs on the thread that calls a method.
class GattCall {
 public:
  GattCall(AsyncWait& wait, Log& log) : wait_(wait), log_(log) {}

  /// Starts the operation, waits for it, logs its status under `logType` and maps it. The result is
  /// null unless the status is success.
  template <class Start>
  auto Run(const char* logType, Start start) {
    auto awaited = wait_.Await(start);
    if (!awaited.status.Ok()) return awaited;
    awaited.status =
        awaited.value ? ReportGattResult(*awaited.value, log_, logType) : failure::kNoResult;
    if (!awaited.status.Ok()) awaited.value = nullptr;
    return awaited;
  }

 private:
  AsyncWait& wait_;
  Log& log_;
};

}  // namespace ble

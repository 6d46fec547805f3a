#pragma once

#include <memory>

#include "frame/ErrorState.h"
#include "radio/AsyncWait.h"
#include "radio/ResultMapping.h"

namespace ble {

/// Runs one GATT operation from start to code: starts it, waits for it, logs its status under the
/// procedure's log type and maps it. Runs on the thread that calls a method.
class GattCall {
 public:
  GattCall(ErrorState& errors, AsyncWait& wait, ResultReporter& reporter)
      : errors_(errors), wait_(wait), reporter_(reporter) {}

  /// With code 0 the result is there; with any other its text is stored and the result is null.
  template <class Start>
  auto Run(const char* logType, Start start) {
    auto awaited = wait_.Await(start);
    if (awaited.code != error::kSuccess) return awaited;
    if (!awaited.result) {
      awaited.code = errors_.Raise(failure::kNoResult);
      return awaited;
    }
    awaited.code = reporter_.ReportGattResult(*awaited.result, logType);
    if (awaited.code != error::kSuccess) awaited.result = nullptr;
    return awaited;
  }

 private:
  ErrorState& errors_;
  AsyncWait& wait_;
  ResultReporter& reporter_;
};

}  // namespace ble

#pragma once

#include <cstdint>

#include "frame/ErrorState.h"
#include "frame/Log.h"
#include "platform/Gatt.h"

namespace ble {

/// The code of a GATT outcome, with its message stored when it is not 0. `protocolError` is the ATT
/// error byte, 0 when there was none. An unknown status counts as success.
[[nodiscard]] ErrorCode MapGattResult(GattCommunicationStatus status, std::uint8_t protocolError,
                                      ErrorState& errors);

/// Logs and maps the outcome of every GATT operation.
class ResultReporter {
 public:
  ResultReporter(ErrorState& errors, Log& log) : errors_(errors), log_(log) {}

  /// Writes the status line at level 3 under the procedure's log type and returns the code.
  [[nodiscard]] ErrorCode ReportGattResult(const GattResult& result, const char* logType);

 private:
  ErrorState& errors_;
  Log& log_;
};

}  // namespace ble

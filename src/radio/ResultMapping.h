#pragma once

#include <cstdint>

#include "frame/Log.h"
#include "frame/Status.h"
#include "platform/Gatt.h"

namespace ble {

/// The status of a GATT outcome. `protocolError` is the ATT error byte, 0 when there was none. An
/// unknown communication status counts as success.
Status MapGattResult(GattCommunicationStatus status, std::uint8_t protocolError);

/// Maps the outcome of a GATT operation after writing it to the log, at level 3 under the
/// procedure's log type.
Status ReportGattResult(const GattResult& result, Log& log, const char* logType);

}  // namespace ble

#pragma once

#include <cstdint>
#include <memory>

#include "att/AttLink.h"
#include "platform/Async.h"
#include "platform/Gatt.h"

/// Reading whole attribute values (Bluetooth Core 5.4, Vol 3 Part G, 4.8 and 4.12), however many
/// requests that takes.
namespace ble::att {

/// Remembers what was read.
class ValueKeeper {
 public:
  /// A whole value; called before its read is complete, on whatever thread completes it.
  virtual void Keep(ByteView value) = 0;

 protected:
  ~ValueKeeper() = default;
};

/// Reads a value: Read, and Read Blob for as long as the answers are full. A server that calls the
/// attribute not long, or the offset invalid, only says that there is no more. A value of more
/// than 512 bytes is no value: protocol error Invalid PDU (0x04). `keeper` may be null.
AsyncOperationPtr<GattReadResult> ReadWholeValue(AttLink& link, std::uint16_t handle,
                                                 std::shared_ptr<ValueKeeper> keeper);

/// The same over a bearer that the caller has already: never over another one.
AsyncOperationPtr<GattReadResult> ReadWholeValue(
    BearerPtr bearer, std::uint16_t handle, std::shared_ptr<ValueKeeper> keeper,
    AttBearer::OnRefusal onRefusal = AttBearer::OnRefusal::SecureLink);

}  // namespace ble::att

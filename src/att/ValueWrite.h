#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

#include "att/AttBearer.h"
#include "base/Mutex.h"
#include "platform/Gatt.h"

/// Writing whole attribute values (Bluetooth Core 5.4, Vol 3 Part G, 4.9 and 4.12), however many
/// requests that takes.
namespace ble::att {

using WriteDone = Callback<void(const GattResult& status)>;

/// Writes one value after another. A server has one queue of prepared writes per client: two long
/// writes at once would execute each other's parts.
class LongWriteQueue : public std::enable_shared_from_this<LongWriteQueue> {
 public:
  /// A write; it calls `finished` once, when the next one may begin.
  using Job = Callback<void(Callback<void()> finished)>;

  void Run(Job job);

 private:
  void RunNext();

  Mutex mutex_;  // not held while a job runs
  std::deque<Job> waiting_ GUARDED_BY(mutex_);
  bool running_ GUARDED_BY(mutex_) = false;
};

/// Writes a value with a response: Write Request when it fits, else Prepare Write and Execute
/// Write. An echo that differs from what was prepared cancels the write: protocol error Unlikely
/// Error (0x0E). More than 512 bytes: Invalid Attribute Value Length (0x0D), and nothing is sent.
void WriteWholeValue(const std::shared_ptr<AttBearer>& bearer,
                     const std::shared_ptr<LongWriteQueue>& longWrites, std::uint16_t handle,
                     Bytes value, WriteDone done);

/// Sends a value without a response. What does not fit into one command, ATT_MTU - 3 bytes, is
/// refused, never cut: Invalid Attribute Value Length (0x0D).
void WriteWithoutResponse(AttBearer& bearer, std::uint16_t handle, ByteView value, WriteDone done);

}  // namespace ble::att

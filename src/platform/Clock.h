#pragma once

#include <chrono>
#include <cstdint>

#include "base/WakeSignal.h"

namespace ble {

/// The time an instance uses: the machine's, or a simulated radio's virtual time.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Milliseconds on a monotonic clock of arbitrary origin; wraps after about 49.7 days.
  virtual std::uint32_t TickCount() const = 0;

  /// Blocks the calling thread for `duration` of this clock's time.
  virtual void Sleep(std::chrono::milliseconds duration) = 0;
};

/// Keeps the calling thread responsive while a method waits: window messages on Windows, due work
/// of a simulated radio when the wait runs on that radio's own thread.
class MessagePump {
 public:
  virtual ~MessagePump() = default;

  /// Whether threads have message queues here; then no step of a wait may sleep longer than one
  /// pumping step, or the host's windows would freeze.
  virtual bool HasMessageQueue() const = 0;

  /// One step on the calling thread: dispatches at most one waiting message; with none waiting,
  /// sleeps until a message arrives, `signal` (if any) is set, or `wait` has passed. Returns
  /// whether the instance's message window still exists; always true where there are none.
  virtual bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) = 0;

  /// Sets the instance that waits here, whose address its message window stores.
  virtual void SetOwner(void* /*instance*/) {}
};

}  // namespace ble

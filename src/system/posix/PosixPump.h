#pragma once

#include "platform/Clock.h"

namespace ble::posix {

/// Waiting where threads have no message queues: on the signal itself.
class PosixPump final : public MessagePump {
 public:
  bool HasMessageQueue() const override { return false; }
  bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) override;
};

}  // namespace ble::posix

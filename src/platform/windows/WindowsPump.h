#pragma once

#include "platform/Clock.h"
#include "platform/windows/MessageWindow.h"

namespace corvaneble::platform::windows {

/// Keeps the windows of a waiting thread alive. Any thread may take steps, each with a message
/// queue of its own.
class WindowsPump final : public MessagePump {
 public:
  bool HasMessageQueue() const override { return true; }
  bool Step(std::chrono::milliseconds wait, const WakeSignal* signal) override;
  void SetOwner(void* instance) override { window_.SetOwner(instance); }

 private:
  bool Dispatch(const MSG& message) const;

  MessageWindow window_;
};

}  // namespace corvaneble::platform::windows

#pragma once

#include <vector>

#include "base/Mutex.h"
#include "platform/Clock.h"
#include "system/win32/MessageWindow.h"

namespace ble::win32 {

/// Events that wake waiting threads, one for each wait. They belong to the pump and not to the
/// threads: what belongs to a thread would keep the library loaded for as long as that lives.
class WakeEvents {
 public:
  class Loan {
   public:
    explicit Loan(WakeEvents& events) : events_(events), event_(events.Take()) {}
    ~Loan() { events_.Return(event_); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    HANDLE Get() const { return event_; }

   private:
    WakeEvents& events_;
    const HANDLE event_;
  };

  WakeEvents() = default;
  ~WakeEvents();
  WakeEvents(const WakeEvents&) = delete;
  WakeEvents& operator=(const WakeEvents&) = delete;

 private:
  HANDLE Take();
  void Return(HANDLE event);

  Mutex mutex_;
  std::vector<HANDLE> free_ GUARDED_BY(mutex_);  ///< events that no thread uses
};

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
  WakeEvents events_;
};

}  // namespace ble::win32

#pragma once

#include <memory>
#include <string>

#include "platform/Clock.h"

namespace ble {

/// The machine's monotonic time.
[[nodiscard]] std::shared_ptr<Clock> SystemClock();

/// The system's way of waiting, for one instance.
[[nodiscard]] std::shared_ptr<MessagePump> SystemPump();

/// A variable of the process's environment, as it is now; empty when it is not set.
[[nodiscard]] std::string EnvironmentVariable(const char* name);

/// Has a handler called on the calling thread when that ends; a thread has one handler, whatever it
/// asks later. Not called when the process ends with the thread still running.
void CallAtThreadEnd(void (*handler)());

/// Set up and release what the system's services need once per process, before the first instance
/// and after the last. Both are called while the library is loaded and unloaded, where little is
/// allowed.
void PrepareProcess();
void ReleaseProcess();

}  // namespace ble

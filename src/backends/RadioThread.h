#pragma once

#include <exception>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/PlatformFailure.h"

namespace ble {

/// Starts a backend's thread. Throws `PlatformFailure` where the system allows no more.
template <class Run>
std::thread StartRadioThread(Run run) {
  try {
    return std::thread(std::move(run));
  } catch (const std::system_error& failure) {
    throw PlatformFailure(failure.code().value(),
                          std::string("The radio's thread cannot be started: ") + failure.what());
  }
}

/// Runs something on a backend's thread. What it throws ends here, for nobody above could make
/// sense of it: memory ran out, and whoever waits for the outcome waits no longer than its limit.
template <class Task, class... Args>
void RunOnRadioThread(const Task& task, Args... args) {
  try {
    task(args...);
  } catch (const std::exception&) {
  }
}

}  // namespace ble

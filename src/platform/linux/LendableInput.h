#pragma once

#include <chrono>

#include "platform/Clock.h"

namespace corvaneble::platform::linux_radio {

/// Input of the radio that a thread waiting for it may take by itself: to be woken by the radio's
/// thread would cost more than to do what that thread would have done.
class LendableInput {
 public:
  virtual int Descriptor() const = 0;

  /// Takes what has arrived, one piece at most, on the calling thread; keeps for the radio's thread
  /// what only that may handle. False when nothing more will come.
  virtual bool TakeOne() = 0;

 protected:
  ~LendableInput() = default;
};

/// Takes from `input` until `signal` is set or `limit` has passed. False as soon as the input can
/// give no more; its end is for the radio's thread to see. `wakeDescriptor` is an eventfd that
/// nobody else uses meanwhile.
bool TakeWhileWaiting(LendableInput& input, int wakeDescriptor, const WakeSignal& signal,
                      std::chrono::milliseconds limit);

}  // namespace corvaneble::platform::linux_radio

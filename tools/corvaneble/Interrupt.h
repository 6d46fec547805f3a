#pragma once

namespace corvaneble::tool {

/// From now on the first Ctrl-C (or termination request) only makes `Interrupted` true; the second
/// one ends the process, in case an operation of the radio takes too long. A reader that leaves our
/// pipe ends the process quietly. Call once, early.
void WatchForInterrupt();

bool Interrupted();

/// While it lives, an interrupt also ends a call to the system that waits, such as for input.
class InterruptibleCalls {
 public:
  InterruptibleCalls();
  ~InterruptibleCalls();
  InterruptibleCalls(const InterruptibleCalls&) = delete;
  InterruptibleCalls& operator=(const InterruptibleCalls&) = delete;
};

/// What an interrupted command throws once it is between two operations.
struct InterruptedError {};
void StopIfInterrupted();

}  // namespace corvaneble::tool

#pragma once

namespace corvaneble::tool {

/// From now on the first Ctrl-C (or termination request) only makes `Interrupted` true. The second
/// one ends the process, in case an operation of the radio takes too long. A closed output pipe
/// ends the process without a message. Call once, early.
void WatchForInterrupt();

bool Interrupted();

/// While it exists, an interrupt also ends a blocking system call, such as reading input.
class InterruptibleCalls {
 public:
  InterruptibleCalls();
  ~InterruptibleCalls();
  InterruptibleCalls(const InterruptibleCalls&) = delete;
  InterruptibleCalls& operator=(const InterruptibleCalls&) = delete;
};

/// Thrown by `StopIfInterrupted`, which commands call between two operations.
struct InterruptedError {};
void StopIfInterrupted();

}  // namespace corvaneble::tool

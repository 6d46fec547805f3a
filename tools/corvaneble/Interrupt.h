#pragma once

namespace corvaneble::tool {

/// From now on the first Ctrl-C (or termination request) only makes `Interrupted` true; the second
/// one ends the process, in case an operation of the radio takes too long. A reader that leaves our
/// pipe ends the process quietly. Call once, early.
void WatchForInterrupt();

bool Interrupted();

/// What an interrupted command throws once it is between two operations.
struct InterruptedError {};
void StopIfInterrupted();

}  // namespace corvaneble::tool

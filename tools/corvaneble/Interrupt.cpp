#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace corvaneble::tool {
namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler must not block");

extern "C" void OnInterrupt(int signal) {
  interrupted = true;
  std::signal(signal, SIG_DFL);
}

}  // namespace

void WatchForInterrupt() {
  std::signal(SIGINT, OnInterrupt);
  std::signal(SIGTERM, OnInterrupt);
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_DFL);
#endif
}

bool Interrupted() {
  return interrupted;
}

void StopIfInterrupted() {
  if (Interrupted()) throw InterruptedError{};
}

}  // namespace corvaneble::tool

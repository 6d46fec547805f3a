#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace corvaneble::tool {
namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler must not block");

extern "C" void OnInterrupt(int /*signal*/) {
  interrupted = true;
}

}  // namespace

// The first interrupt restores the default action, so that a second one ends the program at once.

#ifdef _WIN32
void WatchForInterrupt() {
  std::signal(SIGINT, OnInterrupt);
  std::signal(SIGTERM, OnInterrupt);
}

InterruptibleCalls::InterruptibleCalls() = default;  // on Windows every call is
InterruptibleCalls::~InterruptibleCalls() = default;
#else
void WatchForInterrupt() {
  // SA_RESTART, which std::signal does not guarantee: an interrupted call goes on and no output is
  // lost.
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = SA_RESTART | SA_RESETHAND;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  std::signal(SIGPIPE, SIG_DFL);
}

namespace {

void RestartCalls(bool restart) {
  for (const int signal : {SIGINT, SIGTERM}) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    action.sa_flags = restart ? action.sa_flags | SA_RESTART : action.sa_flags & ~SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace

InterruptibleCalls::InterruptibleCalls() {
  RestartCalls(false);
}
InterruptibleCalls::~InterruptibleCalls() {
  RestartCalls(true);
}
#endif

bool Interrupted() {
  return interrupted;
}

void StopIfInterrupted() {
  if (Interrupted()) throw InterruptedError{};
}

}  // namespace corvaneble::tool

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

#ifdef _WIN32
InterruptibleCalls::InterruptibleCalls() = default;  // they are
InterruptibleCalls::~InterruptibleCalls() = default;
#else
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

#include "system/win32/WindowsPump.h"

#include "platform/SystemServices.h"

namespace ble {
namespace win32 {
namespace {

/// Input that ends a sleep: every kind but raw input and touch.
constexpr DWORD kAnyInput = 0x1CFF;

}  // namespace

WakeEvents::~WakeEvents() {
  for (HANDLE event : free_)
    CloseHandle(event);
}

HANDLE WakeEvents::Take() {
  const MutexLock lock(mutex_);
  if (free_.empty()) return CreateEventA(nullptr, FALSE, FALSE, nullptr);
  HANDLE event = free_.back();
  free_.pop_back();
  return event;
}

void WakeEvents::Return(HANDLE event) {
  if (event == nullptr) return;
  ResetEvent(event);  // the wait may have ended otherwise
  const MutexLock lock(mutex_);
  free_.push_back(event);
}

bool WindowsPump::Step(std::chrono::milliseconds wait, const WakeSignal* signal) {
  MSG message;
  if (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) return Dispatch(message);
  const auto limit = static_cast<DWORD>(wait.count());
  if (signal != nullptr) {
    const WakeEvents::Loan loan(events_);
    const HANDLE event = loan.Get();
    const WakeSignal::Waker waker(*signal, [event] { SetEvent(event); });
    // Where there was no event left, the step just lasts.
    MsgWaitForMultipleObjects(event != nullptr ? 1 : 0, &event, FALSE, limit, kAnyInput);
  } else if (limit != 0) {
    MsgWaitForMultipleObjects(0, nullptr, FALSE, limit, kAnyInput);
  }
  return window_.Exists();
}

bool WindowsPump::Dispatch(const MSG& message) const {
  if (message.message == WM_QUIT) {  // for the host's own loop, not for a method that waits
    PostQuitMessage(static_cast<int>(message.wParam));
    return false;
  }
  TranslateMessage(&message);
  DispatchMessageA(&message);
  return message.message != WM_CLOSE && window_.Exists();
}

}  // namespace win32

std::shared_ptr<MessagePump> SystemPump() {
  return std::make_shared<win32::WindowsPump>();
}

void PrepareProcess() {
  win32::RegisterMessageWindowClass();
}

void ReleaseProcess() {
  win32::UnregisterMessageWindowClass();
}

}  // namespace ble

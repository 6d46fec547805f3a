#pragma once

#include <windows.h>

namespace ble::win32 {

/// Registers the class of the message windows; once more does nothing. Any thread.
void RegisterMessageWindowClass();
void UnregisterMessageWindowClass();

/// A message-only window of the thread that creates it, with its owner's address in the first user
/// slot, for debuggers and hooks that ask whose it is. Where the system gives none it is null, and
/// everything goes on without.
class MessageWindow {
 public:
  MessageWindow();
  ~MessageWindow();
  MessageWindow(const MessageWindow&) = delete;
  MessageWindow& operator=(const MessageWindow&) = delete;

  void SetOwner(void* owner);

  /// False when somebody has destroyed it, or it could not be created.
  bool Exists() const { return IsWindow(window_) != FALSE; }

 private:
  const HWND window_;
};

}  // namespace ble::win32

#include "system/win32/MessageWindow.h"

#include <cstdint>

namespace ble::win32 {
namespace {

constexpr const char* kClassName = "__corvaneble_socket_wnd__";

/// Of the file this code is in, library or program.
HINSTANCE ThisModule() {
  HMODULE module = nullptr;
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const char*>(reinterpret_cast<std::intptr_t>(&RegisterMessageWindowClass)),
      &module);
  return module;
}

HWND Create() {
  RegisterMessageWindowClass();
  return CreateWindowExA(0, kClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, ThisModule(),
                         nullptr);
}

}  // namespace

void RegisterMessageWindowClass() {
  WNDCLASSA wanted{};
  wanted.style = CS_GLOBALCLASS;
  wanted.lpfnWndProc = &DefWindowProcA;
  wanted.cbWndExtra = sizeof(void*);
  wanted.hInstance = ThisModule();
  wanted.lpszClassName = kClassName;
  RegisterClassA(&wanted);  // fails harmlessly when it is registered
}

void UnregisterMessageWindowClass() {
  UnregisterClassA(kClassName, ThisModule());
}

MessageWindow::MessageWindow() : window_(Create()) {}

MessageWindow::~MessageWindow() {
  // Only the window's own thread may destroy it; another asks it to.
  if (Exists() && !DestroyWindow(window_)) PostMessageA(window_, WM_CLOSE, 0, 0);
}

void MessageWindow::SetOwner(void* owner) {
  SetWindowLongPtrA(window_, 0, reinterpret_cast<LONG_PTR>(owner));
}

}  // namespace ble::win32

// Tests window messages: the windows of a host respond while a method waits.

#include <gtest/gtest.h>
#include <windows.h>

#include "support/Host.h"

namespace ble::tests {
namespace {

constexpr const char* kSlow = R"({"time": "real", "peripherals": [
  {"address": "00A050C4E2F1", "responseDelay": 100, "services": [{"uuid": "180F", "handle": 32}]}]})";

HWND WindowOfTheInstance() {
  return FindWindowExA(HWND_MESSAGE, nullptr, "__corvaneble_socket_wnd__", nullptr);
}

TEST(MessageWindow, LivesAsLongAsItsInstanceAndNamesIt) {
  MSG message;  // closes the windows of instances that other threads destroyed
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
    DispatchMessageA(&message);
  ASSERT_EQ(WindowOfTheInstance(), nullptr);
  {
    const Host host(kSlow);
    ASSERT_NE(WindowOfTheInstance(), nullptr);
    EXPECT_NE(GetWindowLongPtrA(WindowOfTheInstance(), 0), 0);
  }
  EXPECT_EQ(WindowOfTheInstance(), nullptr);
}

int ticks = 0;

void CALLBACK CountTick(HWND /*window*/, UINT /*message*/, UINT_PTR /*timer*/, DWORD /*time*/) {
  ++ticks;
}

TEST(Wait, TheHostsTimersGoOn) {
  Host host(kSlow);
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  const UINT_PTR timer = SetTimer(nullptr, 0, 10, &CountTick);
  ASSERT_NE(timer, 0U);
  for (int waits = 0; waits < 100 && ticks < 5; ++waits)  // a busy machine has few ticks
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES), 0) << host.LastError();
  KillTimer(nullptr, timer);
  EXPECT_GE(ticks, 5);
}

TEST(Wait, AQuitMessageIsLeftForTheHost) {
  Host host(kSlow);
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  PostQuitMessage(7);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES), 0) << host.LastError();
  MSG message{};
  ASSERT_TRUE(PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 7U);
}

TEST(Wait, AClosedWindowDoesNotEndIt) {
  Host host(kSlow);
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  PostMessageA(WindowOfTheInstance(), WM_CLOSE, 0, 0);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES), 0) << host.LastError();
  EXPECT_EQ(WindowOfTheInstance(), nullptr);
}

}  // namespace
}  // namespace ble::tests

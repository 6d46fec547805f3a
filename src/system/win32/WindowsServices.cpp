#include <pthread.h>
#include <windows.h>

#include "platform/SystemServices.h"

namespace ble {
namespace {

class WindowsClock final : public Clock {
 public:
  std::uint32_t TickCount() const override { return GetTickCount(); }
  void Sleep(std::chrono::milliseconds duration) override {
    ::Sleep(static_cast<DWORD>(duration.count()));
  }
};

using Handler = void (*)();

pthread_key_t MakeKey() {
  pthread_key_t key = 0;
  pthread_key_create(&key, [](void* handler) { reinterpret_cast<Handler>(handler)(); });
  return key;
}

}  // namespace

std::shared_ptr<Clock> SystemClock() {
  return std::make_shared<WindowsClock>();
}

// Not the C library's copy: that was made when the program began, and hosts in other languages
// change the system's.
std::string EnvironmentVariable(const char* name) {
  std::string value;
  while (true) {
    const DWORD room = static_cast<DWORD>(value.size());
    const DWORD size = GetEnvironmentVariableA(name, value.data(), room + 1);
    if (size <= room) {
      value.resize(size);
      return value;
    }
    value.resize(size);  // another thread may change it meanwhile
  }
}

// MinGW-w64 has POSIX threads, and takes every thread of the process for one. The destructor of a
// thread_local object would keep the library loaded for as long as the thread lives.
void CallAtThreadEnd(Handler handler) {
  static const pthread_key_t key = MakeKey();
  pthread_setspecific(key, reinterpret_cast<void*>(handler));
}

}  // namespace ble

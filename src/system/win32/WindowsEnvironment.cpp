#include <windows.h>

#include "platform/SystemServices.h"

namespace ble {

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

}  // namespace ble

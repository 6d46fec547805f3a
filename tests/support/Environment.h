#pragma once

#include <cstdlib>

namespace ble::tests {

/// Sets a variable of this process's environment; an empty value removes it.
inline void SetEnvironment(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value);
#else
  if (*value == '\0') {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
#endif
}

}  // namespace ble::tests

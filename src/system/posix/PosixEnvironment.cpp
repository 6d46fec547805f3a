#include <cstdlib>

#include "platform/SystemServices.h"

namespace ble {

std::string EnvironmentVariable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace ble

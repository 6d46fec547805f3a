#include <cstdlib>

#include "platform/SystemServices.h"

namespace corvaneble::platform {

std::string EnvironmentVariable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace corvaneble::platform

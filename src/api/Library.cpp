#include "api/Library.h"

#include <atomic>

namespace corvaneble {
namespace {

std::atomic<void*> moduleHandle{nullptr};

/// Lives from the loading of the library to its unloading.
class LoadedLibrary {
 public:
  LoadedLibrary() { StaticInit(nullptr); }
  ~LoadedLibrary() { StaticDestroy(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
};

const LoadedLibrary kLoadedLibrary;

}  // namespace

// Nothing here uses sockets or the system's security layer, and a message window class is needed
// only where threads have message queues: remembering the module is all there is to do.

std::int32_t StaticInit(void* module) {
  moduleHandle = module;
  return 0;
}

std::int32_t StaticDestroy() {
  moduleHandle = nullptr;
  return 0;
}

void* ModuleHandle() {
  return moduleHandle;
}

}  // namespace corvaneble

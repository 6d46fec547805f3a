#include "api/Library.h"

#include "platform/SystemServices.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace ble {
namespace {

#ifndef _WIN32
/// Lives from the loading of the library to its unloading.
class LoadedLibrary {
 public:
  LoadedLibrary() { StaticInit(nullptr); }
  ~LoadedLibrary() { StaticDestroy(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
};

const LoadedLibrary kLoadedLibrary;
#endif

}  // namespace

// Only the services of the system need preparation.

std::int32_t StaticInit(void* /*module*/) {
  PrepareProcess();
  return 0;
}

std::int32_t StaticDestroy() {
  ReleaseProcess();
  return 0;
}

}  // namespace ble

#ifdef _WIN32
/// Runs under the system's loader lock.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    ble::StaticInit(module);
  } else if (reason == DLL_PROCESS_DETACH) {
    ble::StaticDestroy();
  }
  return TRUE;
}
#endif

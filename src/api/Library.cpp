#include "api/Library.h"

#include "platform/SystemServices.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace corvaneble {
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

// Nothing here uses sockets or the system's security layer: what the system's own services want is
// all there is to prepare.

std::int32_t StaticInit(void* /*module*/) {
  platform::PrepareProcess();
  return 0;
}

std::int32_t StaticDestroy() {
  platform::ReleaseProcess();
  return 0;
}

}  // namespace corvaneble

#ifdef _WIN32
/// Runs under the system's loader lock.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    corvaneble::StaticInit(module);
  } else if (reason == DLL_PROCESS_DETACH) {
    corvaneble::StaticDestroy();
  }
  return TRUE;
}
#endif

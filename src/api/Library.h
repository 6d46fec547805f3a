#pragma once

#include <cstdint>

namespace ble {

/// Prepares the process for instances, and undoes it. Run when the library is loaded and unloaded;
/// a host may run them too. Both return 0. `module` is not needed: the library knows its own.
std::int32_t StaticInit(void* module);
std::int32_t StaticDestroy();

}  // namespace ble

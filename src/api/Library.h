#pragma once

#include <cstdint>

namespace corvaneble {

/// Prepares the process for instances, and undoes it. Run when the library is loaded and unloaded;
/// a host may run them too. Both return 0.
std::int32_t StaticInit(void* module);
std::int32_t StaticDestroy();

/// The module handle given last; null before.
void* ModuleHandle();

}  // namespace corvaneble

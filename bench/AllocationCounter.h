#pragma once

#include <cstddef>

namespace ble::bench {

/// The heap usage of this program, counted by a replaced operator new.
struct Allocations {
  std::size_t count = 0;
  std::size_t liveBytes = 0;  ///< including the rounding of the allocator
};

Allocations AllocationsNow();

}  // namespace ble::bench

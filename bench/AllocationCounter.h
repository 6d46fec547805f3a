#pragma once

#include <cstddef>

namespace ble::bench {

/// What this program has asked the heap for so far: the benchmarks replace operator new.
struct Allocations {
  std::size_t count = 0;
  std::size_t liveBytes = 0;  ///< as the allocator rounds them
};

Allocations AllocationsNow();

}  // namespace ble::bench

#include "AllocationCounter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count{0};
std::atomic<std::size_t> liveBytes{0};

/// Keeps freed memory in the process. Otherwise the kernel would provide new pages to a large case
/// in every round, and a comparison with a small case would measure that.
[[maybe_unused]] const bool keepsMemory =
    mallopt(M_TRIM_THRESHOLD, 1 << 30) != 0 && mallopt(M_MMAP_THRESHOLD, 1 << 30) != 0;

void* Allocate(std::size_t size) {
  void* block = std::malloc(size != 0 ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  count.fetch_add(1, std::memory_order_relaxed);
  liveBytes.fetch_add(malloc_usable_size(block) + sizeof(std::size_t), std::memory_order_relaxed);
  return block;
}

void Free(void* block) {
  if (block == nullptr) return;
  liveBytes.fetch_sub(malloc_usable_size(block) + sizeof(std::size_t), std::memory_order_relaxed);
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
}
void operator delete(void* block) noexcept {
  Free(block);
}
void operator delete[](void* block) noexcept {
  Free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  Free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  Free(block);
}

namespace ble::bench {

Allocations AllocationsNow() {
  return {count, liveBytes};
}

}  // namespace ble::bench

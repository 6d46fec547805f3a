#include "frame/tables/ReturnSlots.h"

namespace corvaneble {

ReturnSlot& ReturnSlots::Mine(std::size_t slot) {
  const auto self = std::this_thread::get_id();
  const std::lock_guard lock(mutex_);
  for (const auto& [thread, slots] : threads_) {
    if (thread == self) return (*slots)[slot];
  }
  threads_.emplace_back(self, std::make_unique<Slots>());
  return (*threads_.back().second)[slot];
}

}  // namespace corvaneble

#include "frame/tables/ReturnSlots.h"

#include <atomic>

namespace corvaneble {

std::uint64_t ReturnSlots::NextIdentity() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

[[gnu::hot]] ReturnSlot& ReturnSlots::Mine(std::size_t slot) {
  // A thread mostly asks the same instance again: then the list need not be locked and searched.
  thread_local std::pair<std::uint64_t, Slots*> recent{0, nullptr};
  if (recent.first != identity_) recent = {identity_, &MySlots()};
  return (*recent.second)[slot];
}

ReturnSlots::Slots& ReturnSlots::MySlots() {
  const auto self = std::this_thread::get_id();
  const std::lock_guard lock(mutex_);
  for (const auto& [thread, slots] : threads_) {
    if (thread == self) return *slots;
  }
  threads_.emplace_back(self, std::make_unique<Slots>());
  return *threads_.back().second;
}

}  // namespace corvaneble

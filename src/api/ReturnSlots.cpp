#include "api/ReturnSlots.h"

#include "base/Mutex.h"

#include <algorithm>
#include <atomic>
#include <tuple>
#include <vector>

#include "base/NeverDestroyed.h"
#include "platform/SystemServices.h"

namespace ble {

/// Every object there is, for threads that end.
struct ReturnSlots::Everyone {
  Mutex mutex;  // may be held while taking an object's
  std::vector<ReturnSlots*> objects GUARDED_BY(mutex);
};

thread_local constinit std::pair<std::uint64_t, ReturnSlots::Slots*> ReturnSlots::recent{0,
                                                                                         nullptr};

ReturnSlots::Everyone& ReturnSlots::All() {
  static NeverDestroyed<Everyone> all;
  return *all;
}

ReturnSlots::ReturnSlots() {
  Everyone& all = All();
  const MutexLock lock(all.mutex);
  all.objects.push_back(this);
}

ReturnSlots::~ReturnSlots() {
  Everyone& all = All();
  const MutexLock lock(all.mutex);
  std::erase(all.objects, this);
}

std::uint64_t ReturnSlots::NextIdentity() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

[[gnu::hot]] ReturnSlot& ReturnSlots::Mine(std::size_t slot) {
  // A thread mostly asks the same instance again: then the list need not be locked and searched.
  if (recent.first != identity_) recent = {identity_, &MySlots()};
  return (*recent.second)[slot];
}

ReturnSlots::Slots& ReturnSlots::MySlots() {
  CallAtThreadEnd(&OnThreadEnd);
  const auto self = std::this_thread::get_id();
  const MutexLock lock(mutex_);
  for (auto& [thread, slots] : threads_) {
    if (thread == self) return slots;
  }
  threads_.emplace_front(std::piecewise_construct, std::tuple(self), std::tuple());
  return threads_.front().second;
}

void ReturnSlots::GiveUp(ThreadList& out) {
  const MutexLock lock(mutex_);
  const auto mine =
      std::ranges::find(threads_, std::this_thread::get_id(), &ThreadList::value_type::first);
  if (mine != threads_.end()) out.splice(out.end(), threads_, mine);
}

void ReturnSlots::OnThreadEnd() {
  recent = {0, nullptr};
  ThreadList mine;  // freed after the lock: a record may be the last to hold what it describes
  Everyone& all = All();
  const MutexLock lock(all.mutex);
  for (ReturnSlots* const each : all.objects)
    each->GiveUp(mine);
}

}  // namespace ble

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "base/Bytes.h"
#include "base/Mutex.h"
#include "frame/PropertyTable.h"

namespace ble {

/// What a returned pointer points into, kept until the same thread asks for the same value again.
struct ReturnSlot {
  std::string narrow;
  std::u16string wide;
  Bytes bytes;                         ///< with a 0 byte behind the value's last one
  std::shared_ptr<const void> record;  ///< keeps a record whose own text was returned
};

/// The slots of an instance. Every thread has its own, since the host may ask from inside a
/// callback on a platform thread while its own thread uses what it was given. They go when the
/// thread ends, or with the instance.
class ReturnSlots {
 public:
  ReturnSlots();
  ~ReturnSlots();
  ReturnSlots(const ReturnSlots&) = delete;
  ReturnSlots& operator=(const ReturnSlots&) = delete;

  /// The slot of a property for the calling thread, which alone may use it.
  ReturnSlot& OfProperty(Property property) { return Mine(static_cast<std::size_t>(property) - 1); }

  /// The slots of everything else that hands out pointers.
  ReturnSlot& OfConfig() { return Mine(kConfig); }
  ReturnSlot& OfReadValue() { return Mine(kReadValue); }
  ReturnSlot& OfLastError() { return Mine(kLastError); }
  ReturnSlot& OfEventError() { return Mine(kEventError); }

 private:
  enum : std::size_t {
    kConfig = kPropertyTable.size(),
    kReadValue,
    kLastError,
    kEventError,
    kCount
  };
  using Slots = std::array<ReturnSlot, kCount>;
  using ThreadList = std::list<std::pair<std::thread::id, Slots>>;
  struct Everyone;

  /// The object that this thread used last, and its slots there: a cache that saves the search.
  static thread_local constinit std::pair<std::uint64_t, Slots*> recent;

  static std::uint64_t NextIdentity();
  static Everyone& All();
  static void OnThreadEnd();

  ReturnSlot& Mine(std::size_t slot);
  Slots& MySlots();
  /// Moves the calling thread's slots, if it has any, to `out`.
  void GiveUp(ThreadList& out);

  /// Unique among all objects ever made; an address may be used again.
  const std::uint64_t identity_ = NextIdentity();
  Mutex mutex_;
  ThreadList threads_ GUARDED_BY(mutex_);  ///< the slots belong to their threads
};

}  // namespace ble

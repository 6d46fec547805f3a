#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace ble {

/// An object with static storage that lives as long as the process. When a host ends without
/// destroying its instances, radios still run while static objects are destroyed: none that their
/// threads use may be among those.
template <class T>
class NeverDestroyed {
 public:
  template <class... Args>
  explicit NeverDestroyed(Args&&... args) {
    ::new (static_cast<void*>(storage_)) T(std::forward<Args>(args)...);
  }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& operator*() { return *std::launder(reinterpret_cast<T*>(storage_)); }
  const T& operator*() const { return *std::launder(reinterpret_cast<const T*>(storage_)); }

 private:
  alignas(T) std::byte storage_[sizeof(T)];
};

}  // namespace ble

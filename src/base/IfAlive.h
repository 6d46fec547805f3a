#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace ble {

/// A callable that calls `action`, a member function or anything that takes a `T&` first, with an
/// object that still lives, and keeps it alive meanwhile; does nothing once the object is gone.
template <class T, class Action>
auto IfAlive(std::weak_ptr<T> object, Action action) {
  return [object = std::move(object), action = std::move(action)](auto&&... args) {
    if (const auto alive = object.lock())
      std::invoke(action, *alive, std::forward<decltype(args)>(args)...);
  };
}

}  // namespace ble

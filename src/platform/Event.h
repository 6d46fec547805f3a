#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/Mutex.h"

namespace ble {

/// Keeps one event handler registered until the token is destroyed. A call that has begun by then
/// may continue: to exclude that, let the handler pass a gate.
class EventToken {
 public:
  EventToken() = default;
  explicit EventToken(std::function<void()> unregister) : unregister_(std::move(unregister)) {}
  EventToken(EventToken&& other) noexcept : unregister_(std::exchange(other.unregister_, {})) {}
  EventToken& operator=(EventToken&& other) noexcept {
    if (this != &other) {
      Reset();
      unregister_ = std::exchange(other.unregister_, {});
    }
    return *this;
  }
  EventToken(const EventToken&) = delete;
  EventToken& operator=(const EventToken&) = delete;
  ~EventToken() { Reset(); }

  void Reset() {
    if (auto unregister = std::exchange(unregister_, {})) unregister();
  }

 private:
  std::function<void()> unregister_;
};

/// A list of handlers for one event. `Raise` may run on several threads at once, also while
/// handlers come and go; it allocates nothing and holds no lock while a handler runs. Tokens may
/// outlive the source.
template <class... Args>
class EventSource {
 public:
  using Handler = std::function<void(Args...)>;

  [[nodiscard]] EventToken Add(Handler handler) {
    const MutexLock lock(state_->mutex);
    const std::uint64_t id = ++state_->lastId;
    auto next = std::make_shared<Handlers>(*state_->handlers);
    next->emplace_back(id, std::move(handler));
    state_->handlers = std::move(next);
    return EventToken([weak = std::weak_ptr<State>(state_), id] {
      if (const auto state = weak.lock()) Remove(*state, id);
    });
  }

  void Raise(Args... args) const {
    std::shared_ptr<const Handlers> handlers;
    {
      const MutexLock lock(state_->mutex);
      handlers = state_->handlers;
    }
    for (const auto& [id, handler] : *handlers)
      handler(args...);
  }

 private:
  using Handlers = std::vector<std::pair<std::uint64_t, Handler>>;
  struct State {
    Mutex mutex;
    std::uint64_t lastId GUARDED_BY(mutex) = 0;
    /// Replaced, never changed.
    std::shared_ptr<const Handlers> handlers GUARDED_BY(mutex) = std::make_shared<Handlers>();
  };

  static void Remove(State& state, std::uint64_t id) {
    std::shared_ptr<const Handlers> retired;  // dies after the lock: handlers may own anything
    const MutexLock lock(state.mutex);
    auto next = std::make_shared<Handlers>(*state.handlers);
    std::erase_if(*next, [id](const auto& entry) { return entry.first == id; });
    retired = std::exchange(state.handlers, std::move(next));
  }

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace ble

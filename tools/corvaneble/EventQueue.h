#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <corvaneble/corvaneble.hpp>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <variant>

namespace corvaneble::tool {

/// Events on their way from the threads that raise them to the thread that handles them. Each kind
/// has limited room: what comes while it is full is dropped and counted. All members may be called
/// on any thread.
class EventQueue {
 public:
  struct Entry {
    AnyEvent event;
    std::chrono::steady_clock::time_point raised;
  };

  void Put(AnyEvent event);

  /// The next event: first of those that decide how things go on, then of those that are only shown
  /// (advertisements, values, log lines).
  std::optional<Entry> Take();

  /// How many events wait that decide how things go on.
  std::size_t DecisiveCount() const;

  /// Drops the advertisements and values that wait.
  void DropShown();

  /// Waits until there is an event, for `limit` at most.
  void Wait(std::chrono::milliseconds limit);

  template <class Event>
  std::size_t Waiting() const {
    return Count<Event>(waiting_);
  }
  template <class Event>
  std::size_t Dropped() const {
    return Count<Event>(dropped_);
  }

 private:
  using Counts = std::array<std::size_t, std::variant_size_v<AnyEvent>>;

  template <class Event>
  std::size_t Count(const Counts& counts) const {
    const std::lock_guard lock(mutex_);
    return counts[AnyEvent(Event()).index()];
  }

  mutable std::mutex mutex_;  // guards all fields below
  std::condition_variable arrived_;
  std::deque<Entry> decisive_;
  std::deque<Entry> shown_;
  Counts waiting_{};
  Counts dropped_{};
};

}  // namespace corvaneble::tool

#include "EventQueue.h"

#include <utility>

namespace corvaneble::tool {
namespace {

/// The room of each kind, so that a slow reader of our output does not make the queue grow without
/// end and a flood of one kind leaves the others theirs.
constexpr std::size_t kRoom = 16384;

bool IsOnlyShown(const AnyEvent& event) {
  return std::holds_alternative<AdvertisementEvent>(event) ||
         std::holds_alternative<ValueEvent>(event) || std::holds_alternative<LogEvent>(event);
}

}  // namespace

void EventQueue::Put(AnyEvent event) {
  Entry entry{std::move(event), std::chrono::steady_clock::now()};
  {
    const std::lock_guard lock(mutex_);
    const std::size_t kind = entry.event.index();
    if (waiting_[kind] >= kRoom) {
      ++dropped_[kind];
      return;
    }
    (IsOnlyShown(entry.event) ? shown_ : decisive_).push_back(std::move(entry));
    ++waiting_[kind];
  }
  arrived_.notify_one();
}

std::optional<EventQueue::Entry> EventQueue::Take() {
  const std::lock_guard lock(mutex_);
  std::deque<Entry>& queue = decisive_.empty() ? shown_ : decisive_;
  if (queue.empty()) return std::nullopt;
  std::optional<Entry> entry(std::move(queue.front()));
  queue.pop_front();
  --waiting_[entry->event.index()];
  return entry;
}

std::size_t EventQueue::DecisiveCount() const {
  const std::lock_guard lock(mutex_);
  return decisive_.size();
}

void EventQueue::DropShown() {
  std::deque<Entry> all;  // dies after the lock
  const std::lock_guard lock(mutex_);
  all.swap(shown_);
  for (Entry& entry : all) {
    if (std::holds_alternative<LogEvent>(entry.event)) {
      shown_.push_back(std::move(entry));
    } else {
      --waiting_[entry.event.index()];
      ++dropped_[entry.event.index()];
    }
  }
}

void EventQueue::Wait(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  arrived_.wait_for(lock, limit, [this] { return !decisive_.empty() || !shown_.empty(); });
}

}  // namespace corvaneble::tool

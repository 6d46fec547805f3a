#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>

#include "backends/linux/EventFd.h"
#include "backends/linux/FileDescriptor.h"
#include "base/Mutex.h"

namespace ble::linux_radio {

/// The file descriptors that the radio's thread waits for, and what is done when one is ready. Any
/// thread, but for `Wait`.
class DescriptorWatch {
 public:
  /// Told which of the watched `EPOLL…` events are there.
  using ReadyHandler = std::function<void(std::uint32_t events)>;
  /// Names a watched descriptor; never 0, never reused.
  using Id = std::uint64_t;

  /// Throws `PlatformFailure` when the system gives no descriptors.
  DescriptorWatch();

  /// Has `Wait` call `handler` whenever one of `events` is there, until `Remove`.
  Id Add(int fd, std::uint32_t events, ReadyHandler handler);
  void SetEvents(Id id, std::uint32_t events);
  void Remove(Id id);
  /// Removes all there are, and all that are added later.
  void Close();

  /// On the radio's thread: waits until a descriptor is ready, at most for `limit`, and calls its
  /// handler. One only: a handler may wait here nested, and what it finds must be fresh.
  void Wait(std::chrono::milliseconds limit);
  /// Ends the present or the next `Wait`.
  void Wake() { wake_.Set(); }

 private:
  struct Watched {
    int fd;
    std::uint32_t events;
    std::shared_ptr<ReadyHandler> handler;
  };
  using Watches = std::unordered_map<Id, Watched>;

  std::shared_ptr<ReadyHandler> HandlerOf(Id id);
  void Control(int operation, int fd, Id id, std::uint32_t events);

  const FileDescriptor epoll_;
  const EventFd wake_;
  Mutex mutex_;  // no handler dies under it
  bool closed_ GUARDED_BY(mutex_) = false;
  Id lastId_ GUARDED_BY(mutex_) = 0;
  Watches watches_ GUARDED_BY(mutex_);
};

}  // namespace ble::linux_radio

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/LendableInput.h"

namespace corvaneble::platform::linux_radio {

/// The file descriptors that the radio's thread waits for, what is done when one is ready, and the
/// input that another thread may have for a while. Any thread, but for `Wait`.
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

  /// Makes `input`, the input of a watched descriptor, the one that can be borrowed.
  void Lend(Id id, std::weak_ptr<LendableInput> input);
  /// Takes the lent input on the calling thread until `signal` is set or `limit` has passed, while
  /// the radio's thread keeps away from it. False at once when there is none or another thread has
  /// it, and as soon as it can give no more.
  bool WaitBorrowing(const WakeSignal& signal, std::chrono::milliseconds limit);

  /// On the radio's thread: waits until a descriptor is ready, at most for `limit`, and calls its
  /// handler. One only: a handler may wait here nested, and what it finds must be fresh.
  void Wait(std::chrono::milliseconds limit);
  /// Ends the present or the next `Wait`.
  void Wake();

 private:
  struct Watched {
    int fd;
    std::uint32_t events;
    std::shared_ptr<ReadyHandler> handler;
  };
  using Watches = std::unordered_map<Id, Watched>;
  class Loan;

  std::shared_ptr<ReadyHandler> HandlerOf(Id id);
  std::shared_ptr<LendableInput> Borrow();
  void Return();
  void Arm(const Watches::value_type& watched);  // expects mutex_ to be held
  void Control(int operation, int fd, Id id, std::uint32_t events);

  const FileDescriptor epoll_;
  const FileDescriptor wake_;
  const FileDescriptor wakeBorrower_;
  std::mutex mutex_;  // guards every field below; no handler or input dies under it
  bool closed_ = false;
  Id lastId_ = 0;
  Watches watches_;
  Id lent_ = 0;
  std::weak_ptr<LendableInput> lentInput_;
  Id borrowed_ = 0;  ///< whose input another thread takes; 0: none
};

}  // namespace corvaneble::platform::linux_radio

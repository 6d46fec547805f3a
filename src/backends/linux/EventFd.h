#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

#include "backends/linux/FileDescriptor.h"

namespace ble::linux_radio {

/// A descriptor that is ready for reading from `Set` to `Clear`: wakes a thread that waits for
/// descriptors. Any thread.
class EventFd {
 public:
  /// Without a descriptor, with `errno` saying why, when the system gives none.
  EventFd() : fd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

  int Get() const { return fd_.Get(); }
  explicit operator bool() const { return static_cast<bool>(fd_); }

  void Set() const {
    const std::uint64_t one = 1;
    (void)!::write(fd_.Get(), &one, sizeof one);
  }
  void Clear() const {
    std::uint64_t times = 0;
    (void)!::read(fd_.Get(), &times, sizeof times);
  }

 private:
  const FileDescriptor fd_;
};

}  // namespace ble::linux_radio

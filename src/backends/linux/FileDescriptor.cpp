#include "backends/linux/FileDescriptor.h"

#include <unistd.h>

#include <utility>

namespace ble::linux_radio {

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    Reset();
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

void FileDescriptor::Reset() {
  if (const int fd = std::exchange(fd_, -1); fd >= 0) ::close(fd);
}

}  // namespace ble::linux_radio

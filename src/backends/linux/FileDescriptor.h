#pragma once

#include <unistd.h>

#include <utility>

namespace ble::linux_radio {

/// A file descriptor that closes itself.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Reset(); }

  int Get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  void Reset() {
    if (const int fd = std::exchange(fd_, -1); fd >= 0) ::close(fd);
  }

 private:
  int fd_ = -1;
};

}  // namespace ble::linux_radio

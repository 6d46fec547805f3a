#pragma once

namespace ble::linux_radio {

/// A file descriptor that closes itself.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept;
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Reset(); }

  int Get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  void Reset();

 private:
  int fd_ = -1;
};

}  // namespace ble::linux_radio

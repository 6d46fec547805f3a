#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Bytes.h"

namespace ble::hci {

/// Reads fields from a piece of a capture file or a packet, keeping count of where they stand. A
/// read past the end gives zeros and marks the reader as failed, at the byte that is missing.
class ByteReader {
 public:
  ByteReader(ByteView bytes, std::size_t fileOffset) : bytes_(bytes), fileOffset_(fileOffset) {}

  bool Ok() const { return ok_; }
  std::size_t Remaining() const { return bytes_.size() - position_; }
  std::size_t FileOffset() const { return fileOffset_ + position_; }

  /// The next `count` bytes; empty when there are not as many.
  ByteView Take(std::size_t count) {
    if (count > Remaining()) {
      ok_ = false;
      position_ = bytes_.size();
      return {};
    }
    position_ += count;
    return bytes_.subspan(position_ - count, count);
  }

  std::uint8_t Byte() { return static_cast<std::uint8_t>(Little(1)); }

  std::uint64_t Little(std::size_t count) {
    const ByteView field = Take(count);
    std::uint64_t value = 0;
    for (std::size_t i = field.size(); i-- > 0;)
      value = value << 8 | field[i];
    return value;
  }

  std::uint64_t Big(std::size_t count) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : Take(count))
      value = value << 8 | byte;
    return value;
  }

 private:
  ByteView bytes_;
  std::size_t fileOffset_;
  std::size_t position_ = 0;
  bool ok_ = true;
};

}  // namespace ble::hci

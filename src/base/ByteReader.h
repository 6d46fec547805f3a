#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Bytes.h"

namespace ble {

/// Reads fields from the front of a PDU, a packet or a piece of a file. A read past the end gives
/// zeros and turns `Ok` false for good; the reader then stands at the end.
class ByteReader {
 public:
  /// `offset` is where `bytes` stand in a file, for messages about it.
  explicit ByteReader(ByteView bytes, std::size_t offset = 0) : bytes_(bytes), offset_(offset) {}

  bool Ok() const { return ok_; }
  bool AtEnd() const { return Remaining() == 0; }
  std::size_t Remaining() const { return bytes_.size() - position_; }
  std::size_t Offset() const { return offset_ + position_; }

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
  ByteView TakeRest() { return Take(Remaining()); }

  std::uint8_t U8() {
    const ByteView byte = Take(1);
    return byte.empty() ? 0 : byte[0];
  }
  /// Little-endian, as Bluetooth writes numbers.
  std::uint16_t U16() {
    const ByteView bytes = Take(2);
    return bytes.empty() ? 0 : LoadU16(bytes);
  }
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
  std::size_t offset_;
  std::size_t position_ = 0;
  bool ok_ = true;
};

}  // namespace ble

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"

/// What the fuzzers have in common.
namespace ble::fuzz {

/// Ends the process, so that the input is kept as a finding, when `holds` is false.
inline void Require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: what must hold does not\n", file, line);
  std::abort();
}

/// An input taken apart from front to back. Behind its end there are zeros and empty texts, so that
/// every input is a whole program.
class Input {
 public:
  explicit Input(ByteView bytes) : rest_(bytes) {}
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool AtEnd() const { return rest_.empty(); }

  std::uint8_t Byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t byte = rest_.front();
    rest_ = rest_.subspan(1);
    return byte;
  }
  std::uint16_t U16() { return static_cast<std::uint16_t>(Byte() | Byte() << 8); }
  std::int32_t I32() {
    const std::uint32_t low = U16();
    return static_cast<std::int32_t>(low | static_cast<std::uint32_t>(U16()) << 16);
  }
  bool Flag() { return (Byte() & 1) != 0; }

  ByteView Take(std::size_t size) {
    const ByteView taken = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }
  /// A run of bytes with its length in front: one byte, or two where runs may be long.
  ByteView Run() { return Take(Byte()); }
  ByteView LongRun() { return Take(U16()); }

 private:
  ByteView rest_;
};

/// Bytes as the host's text: it ends at a zero.
inline std::string Text(ByteView bytes) {
  return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
}

}  // namespace ble::fuzz

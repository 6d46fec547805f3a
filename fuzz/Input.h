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

/// The common functions of the fuzzers.
namespace ble::fuzz {

/// Aborts the process if `holds` is false: libFuzzer then stores the input as a finding.
inline void Require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: what must hold does not\n", file, line);
  std::abort();
}

/// Reads an input from front to back. After its end it returns zeros and empty texts, so that every
/// input is a complete program.
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
  /// A byte array with its length in front: one byte, or two if arrays may be long.
  ByteView Run() { return Take(Byte()); }
  ByteView LongRun() { return Take(U16()); }

 private:
  ByteView rest_;
};

/// The bytes as a text of the host: it ends at a 0 byte.
inline std::string Text(ByteView bytes) {
  return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
}

}  // namespace ble::fuzz

#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <vector>

#include "base/Uuid.h"
#include "platform/Radio.h"

namespace ble::tests {

/// A radio under test, with the peripheral of the conformance cases: "Conformant", whose battery
/// service includes another and whose characteristics have all properties (see
/// simulated_backends.cpp and vm/peripheral.py).
struct Backend {
  const char* name;
  std::function<OpenedRadio()> open;
  std::uint64_t address;                  ///< of the peripheral
  Uuid information;                       ///< the service with a value longer than a packet
  std::function<void()> beHeard = [] {};  ///< makes the peripheral advertise, if needed
  std::size_t longestWrite = 512;         ///< bytes, that the peripheral accepts
  int others = 0;                         ///< packets of other devices in a second
  int responses = 0;                      ///< scan responses in a second

  friend std::ostream& operator<<(std::ostream& out, const Backend& backend) {
    return out << backend.name;
  }
};

/// The radios that this program tests.
std::vector<Backend> Backends();

}  // namespace ble::tests

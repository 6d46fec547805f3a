#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/Radio.h"

namespace ble::tests {

/// The address of the second virtual controller.
inline constexpr std::uint64_t kPeripheralAddress = 0x00AA01010001;
inline constexpr const char* kPeripheralId = "00AA01010001";

/// A limit for short operations: the emulated machine may be slow.
inline constexpr std::chrono::seconds kLongTime{300};

/// Sends a command to the peripheral of the virtual machine (vm/peripheral.py). Throws if the
/// command fails.
void Tell(const std::string& command);

/// The radio on the first controller, with a peripheral whose values are the initial ones.
OpenedRadio OpenLinux();

/// Waits until the kernel has ended every link, some seconds after its last use.
void WaitUntilNoLink();

/// Runs a shell command in the guest. Throws if it fails.
void Shell(const std::string& command);

}  // namespace ble::tests

#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/Radio.h"

namespace ble::tests {

/// The address that the second virtual controller always has.
inline constexpr std::uint64_t kPeripheralAddress = 0x00AA01010001;
inline constexpr const char* kPeripheralId = "00AA01010001";

/// For what takes moments on an idle machine: an emulated one may be slow.
inline constexpr std::chrono::seconds kLongTime{300};

/// Has the peripheral of the virtual machine (vm/peripheral.py) do something; throws when it says
/// that it could not.
void Tell(const std::string& command);

/// The radio on the first controller, with a peripheral whose values are the first ones.
OpenedRadio OpenLinux();

/// Waits until the kernel has ended every link, which it does some seconds after the last use.
void WaitUntilNoLink();

/// Runs a command of the guest's shell; throws when it fails.
void Shell(const std::string& command);

}  // namespace ble::tests

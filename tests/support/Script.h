#pragma once

#include <string>
#include <string_view>

#include "support/Host.h"

namespace ble::tests {

/// Plays the calls of a script on a host and expects what the script says of them, byte for byte:
///
///     > Select 002000000000 ''
///     > Get CharacteristicFlags[0] CharacteristicId[1]
///       = 314, "002000300000"
///       Log|3|Ensuring that ...
///     ~ Value|002000000000|...
///
/// A call is a method with its arguments, `Get` with properties, `Set` with a property and its
/// value, or `Pass` with a number of milliseconds. Below it come its code and message, or what it
/// gave, if anything; then every event meanwhile, behind a "~" when it came on a thread of the
/// radio. What does not print is written as \xNN, a carriage return as \r; letters that are not
/// ASCII stand for themselves and come in the system's code page.
void ExpectPlayed(Host& host, std::string_view script);

/// Makes such calls, one a line, until one fails; returns its code, or 0.
std::int32_t Play(Host& host, const std::string& calls);

}  // namespace ble::tests

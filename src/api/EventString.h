#pragma once

#include <cstdint>

#include "corvaneble/corvaneble.h"

namespace ble {

/// The operations on the text record that the host shares with the library. A record is used by one
/// thread at a time.
using EventString = CorvaneBLE_EventString;

/// Frees what the record owns; the code page stays.
void ClearEventString(EventString& record);

/// The text in the wanted form, converted and kept when only the other one is there; null when
/// there is none or a conversion has failed.
const char* ReadNarrow(EventString& record);
const char16_t* ReadWide(EventString& record);

/// Store the caller's text, by pointer or as a copy. A text equal to the one stored in the same
/// form changes nothing; otherwise the record is cleared first.
void SetNarrow(EventString& record, const char* text, bool copy);
void SetWide(EventString& record, const char16_t* text, bool copy);

}  // namespace ble

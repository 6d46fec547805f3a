#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frame/Status.h"
#include "gatt/UuidText.h"
#include "platform/BluetoothAdvertisement.h"

namespace ble {

/// The UUID in advertisement bytes: 2, 4 or 16 of them, least significant byte first; none for any
/// other count (600).
std::optional<Uuid> UuidFromAdvertisementBytes(ByteView bytes);

/// Fills two index-aligned lists with the service-data sections of an advertisement, those with
/// 128-bit UUIDs first, then 32-bit, then 16-bit; the values point into the advertisement.
/// Replaces `text` with the UUIDs joined with ",". A section too short for its UUID fails with 202;
/// the lists keep what came before it, the text is then empty.
Status ServiceDataUuids(const BluetoothLEAdvertisement& advertisement, std::vector<Uuid>& uuids,
                        std::vector<ByteView>& values, std::string& text);

/// Replaces `text` with the UUIDs of the service-solicitation sections, each once, in the same
/// order of widths. A section that is no whole number of UUIDs fails with 202 and an empty text.
/// `uuids` is scratch space.
Status SolicitedUuids(const BluetoothLEAdvertisement& advertisement, std::vector<Uuid>& uuids,
                      std::string& text);

}  // namespace ble

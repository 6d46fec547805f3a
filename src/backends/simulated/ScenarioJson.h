#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "backends/simulated/JsonReader.h"
#include "backends/simulated/Scenario.h"
#include "platform/Gatt.h"

/// From JSON values to the parts of a scenario, one function per kind of value and per section of
/// the file. All report what is wrong through the node they are given and never throw.
namespace ble::simulated {

/// "180D", "0x180D", "12345678" or "12345678-9ABC-DEF0-1234-56789ABCDEF0".
Uuid ReadUuid(const JsonNode& node);
/// "AA:BB:CC:DD:EE:FF" or "AABBCCDDEEFF".
std::uint64_t ReadAddress(const JsonNode& node);
/// "0201 06", [2, 1, 6] or {"utf8": "text"}.
Bytes ReadBytes(const JsonNode& node, std::size_t maxSize);
/// An attribute value: up to 512 bytes (Bluetooth Core 5.4, Vol 3 Part F, 3.2.9).
Bytes ReadValue(const JsonNode& node);
/// A whole number of milliseconds, up to a day.
milliseconds ReadDuration(const JsonNode& node);
/// A duration after which something happens again: at least one millisecond, or time would stand
/// still.
milliseconds ReadInterval(const JsonNode& node);
BluetoothError ReadBluetoothError(const JsonNode& node);
/// An ATT error code, 1 to 255, or its name in the standard ("insufficientEncryption").
std::uint8_t ReadAttError(const JsonNode& node);

/// An unsigned number of the width of `T`, at least `lowest`; hexadecimal text is allowed.
template <class T, T lowest = 0>
T ReadUnsigned(const JsonNode& node) {
  return static_cast<T>(node.IntegerOrHex(lowest, std::numeric_limits<T>::max()));
}

/// A number of the width of `T` in a range.
template <class T, std::int64_t lowest, std::int64_t highest>
T ReadInteger(const JsonNode& node) {
  return static_cast<T>(node.Integer(lowest, highest));
}

/// A text of at most `maxBytes`.
template <std::size_t maxBytes>
std::string ReadText(const JsonNode& node) {
  return node.Text(maxBytes);
}

/// The bytes of advertising data, given as bytes or as an object of named fields in their order.
Bytes ReadAdvertisingData(const JsonNode& node);
AdvertisingScenario ReadAdvertising(const JsonNode& node);

DescriptorScenario ReadDescriptor(const JsonNode& node);
/// What every attribute may say about its handle, value and the server's answers.
void ReadAttributeRules(const JsonObject& object, AttributeScenario& attribute);
std::vector<ServiceScenario> ReadServices(const JsonNode& node);

PeripheralScenario ReadPeripheral(const JsonNode& node);
AdapterScenario ReadAdapter(const JsonNode& node);
std::vector<Fault> ReadAdapterFaults(const JsonNode& node);
std::vector<Fault> ReadPeripheralFaults(const JsonNode& node);
CaptureScenario ReadCapture(const JsonNode& node);
RadioEvent ReadRadioEvent(const JsonNode& node);

/// Every element of an array through `reader`.
template <class Reader>
auto ReadAll(const JsonNode& node, Reader reader) {
  std::vector<decltype(reader(node))> all;
  for (const JsonNode& element : node.Elements())
    all.push_back(reader(element));
  return all;
}

}  // namespace ble::simulated

#include "backends/AdvertisingPayload.h"
#include "backends/simulated/ScenarioJson.h"

namespace ble::simulated {
namespace {

namespace data_type = advertisement_data_type;

constexpr std::size_t kMaxPayload = 1650;  // Bluetooth Core 5.4, Vol 6 Part B, 2.3.4.9

constexpr NamedValue<BluetoothLEAdvertisementType> kTypes[] = {
    {"connectableUndirected", BluetoothLEAdvertisementType::ConnectableUndirected},
    {"connectableDirected", BluetoothLEAdvertisementType::ConnectableDirected},
    {"scannableUndirected", BluetoothLEAdvertisementType::ScannableUndirected},
    {"nonConnectableUndirected", BluetoothLEAdvertisementType::NonConnectableUndirected},
};

void AppendChecked(const JsonNode& node, std::uint8_t type, const Bytes& data, Bytes& payload) {
  if (data.size() > kMaxSectionData)
    return node.Fail("does not fit one section of advertising data (254 bytes)");
  AppendSection(type, data, payload);
}

/// A list of UUIDs: a section for each size of them.
template <std::uint8_t UuidSections::*type>
void AppendUuids(const JsonNode& node, Bytes& payload) {
  const std::vector<Uuid> uuids = ReadAll(node, ReadUuid);
  for (const UuidSections& sections : kUuidSections) {
    const Bytes list = UuidsOfSize(uuids, sections.uuidSize);
    if (!list.empty()) AppendChecked(node, sections.*type, list, payload);
  }
}

template <std::uint8_t type>
void AppendText(const JsonNode& node, Bytes& payload) {
  const std::string text = node.Text(248);
  AppendChecked(node, type, {text.begin(), text.end()}, payload);
}

void AppendFlags(const JsonNode& node, Bytes& payload) {
  AppendChecked(node, data_type::kFlags, {ReadUnsigned<std::uint8_t>(node)}, payload);
}

void AppendTxPower(const JsonNode& node, Bytes& payload) {
  const auto power = ReadInteger<std::int8_t, -127, 127>(node);
  AppendChecked(node, data_type::kTxPowerLevel, {static_cast<std::uint8_t>(power)}, payload);
}

void AppendAppearance(const JsonNode& node, Bytes& payload) {
  Bytes section;
  AppendU16(section, ReadUnsigned<std::uint16_t>(node));
  AppendChecked(node, data_type::kAppearance, section, payload);
}

void AppendManufacturer(const JsonNode& node, Bytes& payload) {
  for (const JsonNode& element : node.Elements()) {
    const JsonObject entry(element, {"company", "data"});
    Bytes section;
    AppendU16(section, ReadUnsigned<std::uint16_t>(entry.At("company")));
    Append(section, ReadBytes(entry.At("data"), kMaxSectionData - section.size()));
    AppendChecked(element, data_type::kManufacturerSpecificData, section, payload);
  }
}

void AppendServiceData(const JsonNode& node, Bytes& payload) {
  for (const JsonNode& element : node.Elements()) {
    const JsonObject entry(element, {"uuid", "data"});
    ServiceDataHead section(ReadUuid(entry.At("uuid")));
    Append(section.bytes, ReadBytes(entry.At("data"), kMaxSectionData - section.bytes.size()));
    AppendChecked(element, section.type, section.bytes, payload);
  }
}

void AppendRaw(const JsonNode& node, Bytes& payload) {
  Append(payload, ReadBytes(node, kMaxPayload));
}

using AppendFunction = void (*)(const JsonNode&, Bytes&);
constexpr NamedValue<AppendFunction> kFields[] = {
    {"flags", AppendFlags},
    {"name", AppendText<data_type::kCompleteLocalName>},
    {"shortName", AppendText<data_type::kShortenedLocalName>},
    {"services", AppendUuids<&UuidSections::completeServices>},
    {"incompleteServices", AppendUuids<&UuidSections::incompleteServices>},
    {"solicited", AppendUuids<&UuidSections::solicitation>},
    {"txPower", AppendTxPower},
    {"appearance", AppendAppearance},
    {"manufacturer", AppendManufacturer},
    {"serviceData", AppendServiceData},
    {"raw", AppendRaw},
};

void AppendField(const JsonNode& object, const std::string& key, const JsonNode& value,
                 Bytes& payload) {
  for (const NamedValue<AppendFunction>& field : kFields) {
    if (field.name == key) return field.value(value, payload);
  }
  if (key == "comment")
    (void)value.Text(4096);
  else
    object.Fail("unknown key " + InQuotes(key));
}

}  // namespace

Bytes ReadAdvertisingData(const JsonNode& node) {
  if (!node.IsObject() || node.Has("utf8")) return ReadBytes(node, kMaxPayload);
  Bytes payload;
  for (const auto& [key, value] : node.Members())
    AppendField(node, key, value, payload);
  if (payload.size() > kMaxPayload) node.Fail("makes more than 1650 bytes of advertising data");
  return payload;
}

AdvertisingScenario ReadAdvertising(const JsonNode& node) {
  const JsonObject object(node, {"interval", "type", "rssi", "data", "scanResponse", "count"});
  AdvertisingScenario advertising;
  object.Read("interval", advertising.interval, ReadInterval);
  object.ReadName("type", advertising.type, kTypes);
  object.Read("rssi", advertising.rssi, ReadInteger<std::int16_t, -127, 20>);
  object.Read("data", advertising.data, ReadAdvertisingData);
  object.Read("scanResponse", advertising.scanResponse, ReadAdvertisingData);
  object.Read("count", advertising.count, ReadUnsigned<std::uint32_t>);
  const bool scannable = advertising.type == BluetoothLEAdvertisementType::ConnectableUndirected ||
                         advertising.type == BluetoothLEAdvertisementType::ScannableUndirected;
  if (advertising.scanResponse && !scannable)
    object.At("scanResponse").Fail("packets of this type have no scan response");
  return advertising;
}

}  // namespace ble::simulated

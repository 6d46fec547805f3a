#include "backends/simulated/ScenarioJson.h"

namespace ble::simulated {
namespace {

namespace data_type = advertisement_data_type;

constexpr std::uint8_t kFlags = 0x01;       // Assigned Numbers, 2.3
constexpr std::uint8_t kAppearance = 0x19;  // Assigned Numbers, 2.3
constexpr std::size_t kMaxSectionData = 254;
constexpr std::size_t kMaxPayload = 1650;  // Bluetooth Core 5.4, Vol 6 Part B, 2.3.4.9

constexpr NamedValue<BluetoothLEAdvertisementType> kTypes[] = {
    {"connectableUndirected", BluetoothLEAdvertisementType::ConnectableUndirected},
    {"connectableDirected", BluetoothLEAdvertisementType::ConnectableDirected},
    {"scannableUndirected", BluetoothLEAdvertisementType::ScannableUndirected},
    {"nonConnectableUndirected", BluetoothLEAdvertisementType::NonConnectableUndirected},
};

/// Appends one advertising data structure (Bluetooth Core 5.4, Vol 3 Part C, 11).
void AppendSection(const JsonNode& node, std::uint8_t type, const Bytes& data, Bytes& payload) {
  if (data.size() > kMaxSectionData) {
    node.Fail("does not fit one section of advertising data (254 bytes)");
    return;
  }
  payload.push_back(static_cast<std::uint8_t>(data.size() + 1));
  payload.push_back(type);
  payload.insert(payload.end(), data.begin(), data.end());
}

struct UuidListTypes {
  std::uint8_t width2, width4, width16;
};

void AppendUuids(const JsonNode& node, const UuidListTypes& types, Bytes& payload) {
  const UuidsByWidth uuids = SortByWidth(ReadAll(node, ReadUuid));
  if (!uuids.width2.empty()) AppendSection(node, types.width2, uuids.width2, payload);
  if (!uuids.width4.empty()) AppendSection(node, types.width4, uuids.width4, payload);
  if (!uuids.width16.empty()) AppendSection(node, types.width16, uuids.width16, payload);
}

Bytes NameBytes(const JsonNode& node) {
  const std::string name = node.Text(248);
  return {name.begin(), name.end()};
}

Bytes Little16(std::uint16_t value) {
  return {static_cast<std::uint8_t>(value & 0xFF), static_cast<std::uint8_t>(value >> 8)};
}

void AppendFlags(const JsonNode& node, Bytes& payload) {
  AppendSection(node, kFlags, {ReadUnsigned<std::uint8_t>(node)}, payload);
}

void AppendName(const JsonNode& node, Bytes& payload) {
  AppendSection(node, data_type::kCompleteLocalName, NameBytes(node), payload);
}

void AppendShortName(const JsonNode& node, Bytes& payload) {
  AppendSection(node, data_type::kShortenedLocalName, NameBytes(node), payload);
}

void AppendServices(const JsonNode& node, Bytes& payload) {
  AppendUuids(node,
              {data_type::kCompleteService16BitUuids, data_type::kCompleteService32BitUuids,
               data_type::kCompleteService128BitUuids},
              payload);
}

void AppendIncompleteServices(const JsonNode& node, Bytes& payload) {
  AppendUuids(node,
              {data_type::kIncompleteService16BitUuids, data_type::kIncompleteService32BitUuids,
               data_type::kIncompleteService128BitUuids},
              payload);
}

void AppendSolicited(const JsonNode& node, Bytes& payload) {
  AppendUuids(node,
              {data_type::kServiceSolicitation16BitUuids, data_type::kServiceSolicitation32BitUuids,
               data_type::kServiceSolicitation128BitUuids},
              payload);
}

void AppendTxPower(const JsonNode& node, Bytes& payload) {
  const auto power = static_cast<std::uint8_t>(node.Integer(-127, 127));
  AppendSection(node, data_type::kTxPowerLevel, {power}, payload);
}

void AppendAppearance(const JsonNode& node, Bytes& payload) {
  AppendSection(node, kAppearance, Little16(ReadUnsigned<std::uint16_t>(node)), payload);
}

void AppendManufacturer(const JsonNode& node, Bytes& payload) {
  for (const JsonNode& element : node.Elements()) {
    const JsonObject entry(element, {"company", "data"});
    Bytes section = Little16(ReadUnsigned<std::uint16_t>(entry.At("company")));
    const Bytes data = ReadBytes(entry.At("data"), kMaxSectionData - section.size());
    section.insert(section.end(), data.begin(), data.end());
    AppendSection(element, data_type::kManufacturerSpecificData, section, payload);
  }
}

void AppendServiceData(const JsonNode& node, Bytes& payload) {
  for (const JsonNode& element : node.Elements()) {
    const JsonObject entry(element, {"uuid", "data"});
    const UuidsByWidth uuid = SortByWidth({ReadUuid(entry.At("uuid"))});
    std::uint8_t type = data_type::kServiceData16BitUuids;
    Bytes section = uuid.width2;
    if (!uuid.width4.empty()) {
      type = data_type::kServiceData32BitUuids;
      section = uuid.width4;
    } else if (!uuid.width16.empty()) {
      type = data_type::kServiceData128BitUuids;
      section = uuid.width16;
    }
    const Bytes data = ReadBytes(entry.At("data"), kMaxSectionData - section.size());
    section.insert(section.end(), data.begin(), data.end());
    AppendSection(element, type, section, payload);
  }
}

void AppendRaw(const JsonNode& node, Bytes& payload) {
  const Bytes raw = ReadBytes(node, kMaxPayload);
  payload.insert(payload.end(), raw.begin(), raw.end());
}

using Append = void (*)(const JsonNode&, Bytes&);
constexpr NamedValue<Append> kFields[] = {
    {"flags", AppendFlags},
    {"name", AppendName},
    {"shortName", AppendShortName},
    {"services", AppendServices},
    {"incompleteServices", AppendIncompleteServices},
    {"solicited", AppendSolicited},
    {"txPower", AppendTxPower},
    {"appearance", AppendAppearance},
    {"manufacturer", AppendManufacturer},
    {"serviceData", AppendServiceData},
    {"raw", AppendRaw},
};

void AppendField(const JsonNode& object, const std::string& key, const JsonNode& value,
                 Bytes& payload) {
  for (const NamedValue<Append>& field : kFields) {
    if (field.name == key) return field.value(value, payload);
  }
  if (key == "comment")
    (void)value.Text(4096);
  else
    object.Fail("unknown key " + Quoted(key));
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
  object.Read("type", advertising.type, [](const JsonNode& type) { return type.OneOf(kTypes); });
  object.Read("rssi", advertising.rssi, [](const JsonNode& rssi) {
    return static_cast<std::int16_t>(rssi.Integer(-127, 20));
  });
  object.Read("data", advertising.data, ReadAdvertisingData);
  object.Read("scanResponse", advertising.scanResponse, ReadAdvertisingData);
  object.Read("count", advertising.count,
              [](const JsonNode& count) { return ReadUnsigned<std::uint32_t>(count); });
  const bool scannable = advertising.type == BluetoothLEAdvertisementType::ConnectableUndirected ||
                         advertising.type == BluetoothLEAdvertisementType::ScannableUndirected;
  if (advertising.scanResponse && !scannable)
    object.At("scanResponse").Fail("packets of this type have no scan response");
  return advertising;
}

}  // namespace ble::simulated

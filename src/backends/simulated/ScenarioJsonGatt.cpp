#include <algorithm>
#include <set>

#include "backends/simulated/AttributeDatabase.h"
#include "backends/simulated/ScenarioJson.h"

namespace ble::simulated {
namespace {

namespace properties = gatt_characteristic_properties;

constexpr std::size_t kMaxId = 64;

constexpr NamedValue<std::uint32_t> kProperties[] = {
    {"broadcast", properties::kBroadcast},
    {"read", properties::kRead},
    {"writeWithoutResponse", properties::kWriteWithoutResponse},
    {"write", properties::kWrite},
    {"notify", properties::kNotify},
    {"indicate", properties::kIndicate},
    {"authenticatedSignedWrites", properties::kAuthenticatedSignedWrites},
    {"extendedProperties", properties::kExtendedProperties},
    {"reliableWrites", properties::kReliableWrites},
    {"writableAuxiliaries", properties::kWritableAuxiliaries},
};

std::uint32_t ReadProperties(const JsonNode& node) {
  std::uint32_t bits = 0;
  for (const JsonNode& element : node.Elements()) {
    const std::uint32_t bit = element.OneOf(kProperties);
    if ((bits & bit) != 0) element.Fail("is listed twice");
    bits |= bit;
  }
  return bits;
}

ValueStream ReadStream(const JsonNode& node) {
  const JsonObject object(node, {"interval", "values", "repeat"});
  ValueStream stream;
  object.Read("interval", stream.interval, ReadInterval);
  object.Read("repeat", stream.repeat);
  stream.values = ReadAll(object.At("values"), ReadValue);
  if (stream.values.empty()) object.At("values").Fail("must not be empty");
  return stream;
}

CharacteristicScenario ReadCharacteristic(const JsonNode& node) {
  const JsonObject object(
      node, {"uuid", "properties", "value", "descriptors", "stream", "echo", "handle", "maxLength",
             "readError", "writeError", "responseDelay", "neverResponds"});
  CharacteristicScenario characteristic;
  characteristic.uuid = ReadUuid(object.At("uuid"));
  ReadAttributeRules(object, characteristic);
  characteristic.properties = ReadProperties(object.At("properties"));
  object.ReadAll("descriptors", characteristic.descriptors, ReadDescriptor);
  object.Read("stream", characteristic.stream, ReadStream);
  object.Read("echo", characteristic.echo);
  const bool sends =
      (characteristic.properties & (properties::kNotify | properties::kIndicate)) != 0;
  if (characteristic.stream && !sends)
    object.At("stream").Fail("needs the property notify or indicate");
  if (characteristic.echo && !sends)
    object.At("echo").Fail("needs the property notify or indicate");
  return characteristic;
}

ServiceScenario ReadService(const JsonNode& node) {
  const JsonObject object(node, {"id", "handle", "uuid", "primary", "includes", "characteristics"});
  ServiceScenario service;
  service.uuid = ReadUuid(object.At("uuid"));
  object.Read("id", service.id, ReadText<kMaxId>);
  object.Read("handle", service.handle, ReadUnsigned<std::uint16_t, 1>);
  object.Read("primary", service.primary);
  object.ReadAll("includes", service.includes, ReadText<kMaxId>);
  object.ReadAll("characteristics", service.characteristics, ReadCharacteristic);
  return service;
}

/// Ids name at most one service each, and includes name services there are.
void CheckIds(const std::vector<JsonNode>& nodes, const std::vector<ServiceScenario>& services) {
  std::set<std::string> ids;
  for (std::size_t i = 0; i < services.size(); ++i) {
    const std::string& id = services[i].id;
    if (!id.empty() && !ids.insert(id).second)
      nodes[i].Member("id").Fail("another service has the id " + InQuotes(id) + " too");
  }
  for (std::size_t i = 0; i < services.size(); ++i) {
    if (services[i].includes.empty()) continue;
    for (const JsonNode& include : nodes[i].Member("includes").Elements()) {
      const std::string id = include.Text(kMaxId);
      if (!ids.contains(id)) include.Fail("no service has the id " + InQuotes(id));
    }
  }
}

}  // namespace

void ReadAttributeRules(const JsonObject& object, AttributeScenario& attribute) {
  object.Read("handle", attribute.handle, ReadUnsigned<std::uint16_t, 1>);
  object.Read("value", attribute.value, ReadValue);
  object.Read("maxLength", attribute.maxLength, ReadInteger<std::size_t, 0, 512>);
  object.Read("readError", attribute.readError, ReadAttError);
  object.Read("writeError", attribute.writeError, ReadAttError);
  object.Read("responseDelay", attribute.responseDelay, ReadDuration);
  object.Read("neverResponds", attribute.neverResponds);
}

std::vector<ServiceScenario> ReadServices(const JsonNode& node) {
  std::vector<ServiceScenario> services = ReadAll(node, ReadService);
  CheckIds(node.Elements(), services);
  if (const auto error = CheckDatabase(services)) node.Fail(*error);
  return services;
}

}  // namespace ble::simulated

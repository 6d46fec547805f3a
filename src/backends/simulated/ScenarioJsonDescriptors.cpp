#include "backends/simulated/ScenarioJson.h"
#include "base/GattUuids.h"

namespace ble::simulated {
namespace {

// Assigned Numbers, 2.4.1.
constexpr NamedValue<std::uint8_t> kFormats[] = {
    {"boolean", 0x01}, {"uint2", 0x02},      {"uint4", 0x03},      {"uint8", 0x04},
    {"uint12", 0x05},  {"uint16", 0x06},     {"uint24", 0x07},     {"uint32", 0x08},
    {"uint48", 0x09},  {"uint64", 0x0A},     {"uint128", 0x0B},    {"sint8", 0x0C},
    {"sint12", 0x0D},  {"sint16", 0x0E},     {"sint24", 0x0F},     {"sint32", 0x10},
    {"sint48", 0x11},  {"sint64", 0x12},     {"sint128", 0x13},    {"float32", 0x14},
    {"float64", 0x15}, {"medfloat16", 0x16}, {"medfloat32", 0x17}, {"uint16_2", 0x18},
    {"utf8", 0x19},    {"utf16", 0x1A},      {"struct", 0x1B},
};

std::uint8_t ReadFormat(const JsonNode& node) {
  if (node.IsString() && !node.Text(64).starts_with("0x")) return node.OneOf(kFormats);
  return ReadUnsigned<std::uint8_t>(node);
}

/// The unit's assigned number: "2763" as for other UUIDs, or a number.
std::uint16_t ReadUnit(const JsonNode& node) {
  if (!node.IsString()) return ReadUnsigned<std::uint16_t>(node);
  if (const auto unit = ReadUuid(node).AssignedNumber16()) return *unit;
  node.Fail("must be a 16-bit UUID");
  return 0;
}

/// Bluetooth Core 5.4, Vol 3 Part G, 3.3.3.5.
Bytes ReadPresentationFormat(const JsonNode& node) {
  const JsonObject object(node, {"format", "exponent", "unit", "namespace", "description"});
  GattPresentationFormat format{ReadFormat(object.At("format")), 0, 0x2700, 1, 0};
  object.Read("exponent", format.exponent, ReadInteger<std::int8_t, -128, 127>);
  object.Read("unit", format.unit, ReadUnit);
  object.Read("namespace", format.nameSpace, ReadUnsigned<std::uint8_t>);
  object.Read("description", format.description, ReadUnsigned<std::uint16_t>);
  Bytes bytes{format.formatType, static_cast<std::uint8_t>(format.exponent)};
  AppendU16(bytes, format.unit);
  bytes.push_back(format.nameSpace);
  AppendU16(bytes, format.description);
  return bytes;
}

/// Bluetooth Core 5.4, Vol 3 Part G, 3.3.3.6: a list of attribute handles.
Bytes ReadAggregateFormat(const JsonNode& node) {
  Bytes bytes;
  for (const JsonNode& handle : node.Elements())
    AppendU16(bytes, ReadUnsigned<std::uint16_t, 1>(handle));
  if (bytes.empty() || bytes.size() > 512) node.Fail("must list 1 to 256 handles");
  return bytes;
}

Bytes ReadUserDescription(const JsonNode& node) {
  const std::string text = node.Text(512);
  return {text.begin(), text.end()};
}

struct ConvenienceForm {
  std::string_view key;
  std::uint16_t uuid;
  Bytes (*read)(const JsonNode&);
};
constexpr ConvenienceForm kConvenienceForms[] = {
    {"userDescription", gatt_uuid::kUserDescription, ReadUserDescription},
    {"presentationFormat", gatt_uuid::kPresentationFormat, ReadPresentationFormat},
    {"aggregateFormat", gatt_uuid::kAggregateFormat, ReadAggregateFormat},
};

}  // namespace

DescriptorScenario ReadDescriptor(const JsonNode& node) {
  const JsonObject object(node, {"uuid", "value", "userDescription", "presentationFormat",
                                 "aggregateFormat", "writable", "handle", "maxLength", "readError",
                                 "writeError", "responseDelay", "neverResponds"});
  DescriptorScenario descriptor;
  ReadAttributeRules(object, descriptor);
  object.Read("writable", descriptor.writable);
  int kinds = node.Has("uuid") || node.Has("value") ? 1 : 0;
  for (const ConvenienceForm& form : kConvenienceForms) {
    if (!node.Has(form.key)) continue;
    ++kinds;
    descriptor.uuid = Uuid::FromAssignedNumber(form.uuid);
    descriptor.value = form.read(object.At(form.key));
  }
  if (kinds > 1)
    node.Fail(
        "must have one of: uuid (with value), userDescription, presentationFormat, "
        "aggregateFormat");
  else if (kinds == 0 || node.Has("value") || node.Has("uuid"))
    descriptor.uuid = ReadUuid(object.At("uuid"));
  return descriptor;
}

}  // namespace ble::simulated

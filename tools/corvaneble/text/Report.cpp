#include "text/Report.h"

#include <nlohmann/json.hpp>

#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

std::string ShortList(const std::string& uuids) {
  std::vector<std::string> list = SplitList(uuids);
  for (std::string& uuid : list)
    uuid = ShortUuid(uuid);
  return JoinList(list, ",");
}

Json OutcomeJson(const ReadOutcome& outcome, const std::vector<Format>& formats) {
  if (outcome.code == 0) return ValueJson(outcome.bytes, formats);
  return {{"error", {{"code", outcome.code}, {"text", outcome.error}}}};
}

template <class Attribute>
Json AttributeJson(const Attribute& attribute) {
  return {{"id", attribute.id}, {"uuid", attribute.uuid}, {"name", attribute.description}};
}

Json CharacteristicJson(const CharacteristicInfo& info) {
  Json json = AttributeJson(info);
  json["flags"] = FlagNames(info.flags);
  json["userDescription"] = info.userDescription;
  json["formats"] = Json::array();
  for (const Format& format : info.formats)
    json["formats"].push_back({{"format", FormatName(format.type)},
                               {"exponent", format.exponent},
                               {"unit", format.unit}});
  if (info.value) json["value"] = OutcomeJson(*info.value, info.formats);
  json["descriptors"] = Json::array();
  for (const DescriptorInfo& descriptor : info.descriptors) {
    Json item = AttributeJson(descriptor);
    if (descriptor.value) item["value"] = OutcomeJson(*descriptor.value, {});
    json["descriptors"].push_back(std::move(item));
  }
  return json;
}

template <class Attribute>
std::string AttributeLine(std::string_view kind, const Attribute& attribute) {
  std::string line(kind);
  line += " " + attribute.id + " " + ShortUuid(attribute.uuid);
  if (!attribute.description.empty()) line += " " + Sanitize(attribute.description);
  return line;
}

void AppendValue(std::string& text, std::string_view indent,
                 const std::optional<ReadOutcome>& outcome, const std::vector<Format>& formats) {
  if (!outcome) return;
  text += indent;
  text += outcome->code == 0
              ? "value " + ValueLine(outcome->bytes, formats)
              : "error " + std::to_string(outcome->code) + " " + Sanitize(outcome->error);
  text += '\n';
}

void AppendCharacteristic(std::string& text, const CharacteristicInfo& info) {
  text += "  " + AttributeLine("characteristic", info) + " [" +
          JoinList(FlagNames(info.flags), ",") + "]\n";
  if (!info.userDescription.empty())
    text += "    description \"" + Sanitize(info.userDescription) + "\"\n";
  for (const Format& format : info.formats)
    text += "    format " + std::string(FormatName(format.type)) + " exponent " +
            std::to_string(format.exponent) + " unit " + ShortUuid(format.unit) + "\n";
  AppendValue(text, "    ", info.value, info.formats);
  for (const DescriptorInfo& descriptor : info.descriptors) {
    text += "    " + AttributeLine("descriptor", descriptor) + "\n";
    AppendValue(text, "      ", descriptor.value, {});
  }
}

}  // namespace

std::string Dump(const Json& json) {
  return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

Json AdvertisementJson(const AdvertisementEvent& a) {
  Json json{{"id", a.serverId}, {"name", a.name}, {"rssi", a.rssi}};
  json["txPower"] = a.txPower ? Json(*a.txPower) : Json();
  json["services"] = SplitList(a.serviceUuids);
  json["servicesWithData"] = SplitList(a.servicesWithData);
  json["solicited"] = SplitList(a.solicitedServiceUuids);
  json["companyId"] = a.companyId ? Json(*a.companyId) : Json();
  json["manufacturerData"] = Hex(a.manufacturerData);
  json["connectable"] = a.isConnectable;
  json["scanResponse"] = a.isScanResponse;
  return json;
}

std::string AdvertisementLine(const AdvertisementEvent& a) {
  std::string line = a.serverId + " " + std::to_string(a.rssi) + " dBm";
  if (!a.name.empty()) line += "  \"" + Sanitize(a.name) + "\"";
  if (!a.serviceUuids.empty()) line += "  services " + ShortList(a.serviceUuids);
  if (!a.servicesWithData.empty()) line += "  data " + ShortList(a.servicesWithData);
  if (!a.solicitedServiceUuids.empty()) line += "  solicits " + ShortList(a.solicitedServiceUuids);
  if (a.companyId) line += "  company " + Hex16(*a.companyId) + " " + Hex(a.manufacturerData);
  if (a.txPower) line += "  tx " + std::to_string(*a.txPower) + " dBm";
  if (a.isConnectable) line += "  connectable";
  if (a.isScanResponse) line += "  scan-response";
  return line;
}

Json ValueJson(const Bytes& value, const std::vector<Format>& formats) {
  Json json{{"hex", Hex(value)}};
  if (const auto text = PrintableText(value)) json["text"] = *text;
  if (const auto decoded = DecodeValue(value, formats)) json["decoded"] = *decoded;
  return json;
}

Json FoundJson(const FoundAttribute& found, const Bytes* value) {
  Json json{{"service", found.path.service}, {"characteristic", found.path.characteristic}};
  if (!found.path.descriptor.empty()) json["descriptor"] = found.path.descriptor;
  json["uuid"] = found.uuid;
  json["name"] = found.name;
  if (value) json["value"] = ValueJson(*value, found.formats);
  return json;
}

std::string ValueLine(const Bytes& value, const std::vector<Format>& formats) {
  return ValueLine(value, DecodeValue(value, formats));
}

std::string ValueLine(const Bytes& value, const std::optional<std::string>& decoded) {
  std::string line = value.empty() ? "(empty)" : Hex(value, " ");
  if (const auto text = PrintableText(value)) line += "  \"" + *text + "\"";
  if (decoded) line += "  = " + *decoded;
  return line;
}

Json TreeJson(const GattTree& tree) {
  Json json{{"id", tree.serverId}, {"name", tree.serverName}};
  json["services"] = Json::array();
  for (const ServiceInfo& service : tree.services) {
    Json item = AttributeJson(service);
    item["includes"] = service.includedServiceIds;
    item["includedBy"] = service.parentServiceIds;
    item["characteristics"] = Json::array();
    for (const CharacteristicInfo& info : service.characteristics)
      item["characteristics"].push_back(CharacteristicJson(info));
    json["services"].push_back(std::move(item));
  }
  return json;
}

std::string TreeText(const GattTree& tree) {
  std::string text = "server " + tree.serverId;
  if (!tree.serverName.empty()) text += " " + Sanitize(tree.serverName);
  text += '\n';
  for (const ServiceInfo& service : tree.services) {
    text += AttributeLine("service", service) + "\n";
    if (!service.includedServiceIds.empty())
      text += "  includes " + JoinList(service.includedServiceIds, ",") + "\n";
    if (!service.parentServiceIds.empty())
      text += "  included-by " + JoinList(service.parentServiceIds, ",") + "\n";
    for (const CharacteristicInfo& info : service.characteristics)
      AppendCharacteristic(text, info);
  }
  return text;
}

}  // namespace corvaneble::tool

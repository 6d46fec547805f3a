#include "api/ConfigDispatch.h"

#include <cstddef>

#include "base/Text.h"
#include "gatt/TreeReport.h"
#include "gatt/UuidText.h"

namespace ble {
namespace {

constexpr std::string_view kTreeInfo = "GattObjTreeInfo";
constexpr std::string_view kCompanyId = "ManufacturerCompanyId";
constexpr std::string_view kManufacturerData = "ManufacturerData";
constexpr std::string_view kManufacturerDataCount = "ManufacturerDataCount";
constexpr std::string_view kServiceData = "ServiceData";
constexpr std::string_view kLastError = "LastError";

bool Is(const ConfigItem& item, std::string_view name) {
  return EqualsIgnoringCase(item.name, name);
}

/// Whether an item asks for something of the advertisement being reported. Three are reads;
/// `ServiceData` takes its UUID in the place of a value.
bool AsksForAdvertisement(const ConfigItem& item) {
  if (!item.isRead) return Is(item, kServiceData);
  return Is(item, kCompanyId) || Is(item, kManufacturerData) || Is(item, kManufacturerDataCount);
}

std::string AsText(ByteView bytes) {
  return {bytes.begin(), bytes.end()};
}

}  // namespace

Status ConfigDispatch::Config(std::string_view text, std::string& answer) {
  answer.clear();
  const ConfigItem item = ParseConfigItem(text);
  if (ApplyStored(SettingLevel::Engine, item, answer)) return {};
  if (item.isRead && Is(item, kTreeInfo)) {
    answer = FormatTreeReport(parts_.connection.Current()->tree, parts_.base.codec);
    return {};
  }
  if (AsksForAdvertisement(item)) return ReadAdvertisement(item, answer);
  if (ApplyStored(SettingLevel::Transport, item, answer)) return {};
  if (ApplyStored(SettingLevel::Base, item, answer)) return {};
  if (Is(item, kLastError)) {  // a write is accepted and changes nothing
    if (item.isRead) answer = parts_.base.errors.LastText();
    return {};
  }
  return failure::kUnknownSetting;
}

bool ConfigDispatch::ApplyStored(SettingLevel level, const ConfigItem& item, std::string& answer) {
  const SettingInfo* info = FindSetting(level, item.name);
  if (info == nullptr) return false;
  if (item.isRead) {
    answer = parts_.base.settings.Text(info->id);
  } else {
    parts_.base.settings.SetText(info->id, item.value);
  }
  return true;
}

Status ConfigDispatch::ReadAdvertisement(const ConfigItem& item, std::string& answer) {
  const HeldAdvertisement* held = parts_.scanner.CurrentAdvertisement();
  if (held == nullptr) {
    return {error::kInvalidState,
            Concat("The ", item.name,
                   " setting is only usable within the Advertisement event handler.")};
  }
  if (Is(item, kServiceData)) return ReadServiceData(item, *held, answer);
  if (!Is(item, kManufacturerDataCount)) return ReadSection(item, *held, answer);
  answer = std::to_string(held->ManufacturerData().size());
  return {};
}

Status ConfigDispatch::ReadSection(const ConfigItem& item, const HeldAdvertisement& held,
                                   std::string& answer) {
  const auto& sections = held.ManufacturerData();
  if (item.index < 0 || static_cast<std::size_t>(item.index) >= sections.size()) {
    return failure::kInvalidSectionIndex;
  }
  const auto& section = sections[static_cast<std::size_t>(item.index)];
  answer = Is(item, kCompanyId) ? std::to_string(section.companyId) : AsText(section.data);
  return {};
}

Status ConfigDispatch::ReadServiceData(const ConfigItem& item, const HeldAdvertisement& held,
                                       std::string& answer) {
  const auto uuid = ParseUuid(item.value);
  if (!uuid) return failure::kMalformedUuid;
  const ByteView* data = held.ServiceData(*uuid);
  if (data == nullptr) {
    return {error::kInvalidArgument,
            Concat("No service data in advertisement for UUID ", FormatUuid(*uuid).View(), ".")};
  }
  answer = AsText(*data);
  return {};
}

}  // namespace ble

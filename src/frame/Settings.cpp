#include "frame/Settings.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "base/Text.h"

namespace ble {
namespace {

constexpr const char* kTrue = "True";
constexpr const char* kFalse = "False";

std::int32_t ParseHexadecimal(std::string_view digits) {
  std::uint32_t value = 0;
  for (const char c : digits) {
    const int digit = HexDigitValue(c);
    if (digit < 0) break;
    value = value << 4 | static_cast<std::uint32_t>(digit);
  }
  return static_cast<std::int32_t>(value);
}

}  // namespace

Settings::Settings() {
  for (const SettingInfo& info : kSettingTable) {
    if (info.id != Setting::ZeroMemory) SetText(info.id, info.defaultValue);
  }
}

std::string Settings::Text(Setting id) const {
  switch (InfoOf(id).kind) {
    case SettingKind::Boolean:
      return Flag(id) ? kTrue : kFalse;
    case SettingKind::Integer:
    case SettingKind::Octet:
      return std::to_string(Integer(id));
    case SettingKind::Text:
      break;
  }
  const MutexLock lock(mutex_);
  return texts_[static_cast<std::size_t>(id)];
}

void Settings::SetText(Setting id, std::string_view value) {
  switch (InfoOf(id).kind) {
    case SettingKind::Boolean:
      Number(id) = ParseBoolean(value) ? 1 : 0;
      return;
    case SettingKind::Integer:
      Number(id) = ParseInteger(value);
      return;
    case SettingKind::Octet:
      Number(id) = ParseInteger(value) & 0xFF;
      return;
    case SettingKind::Text:
      break;
  }
  const MutexLock lock(mutex_);
  texts_[static_cast<std::size_t>(id)] = value;
}

const SettingInfo* FindSetting(SettingLevel level, std::string_view name) {
  for (const SettingInfo& info : kSettingTable) {
    if (info.level == level && EqualsIgnoringCase(info.name, name)) return &info;
  }
  return nullptr;
}

bool ParseBoolean(std::string_view text) {
  return EqualsIgnoringCase(text, "TRUE") || EqualsIgnoringCase(text, "yes") || text == "1";
}

std::int32_t ParseDecimal(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  if (text.starts_with("+-")) return 0;  // two signs are no number
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int32_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  return text.starts_with('-') ? std::numeric_limits<std::int32_t>::min()
                               : std::numeric_limits<std::int32_t>::max();
}

std::int32_t ParseInteger(std::string_view text) {
  if (EqualsIgnoringCase(text, "TRUE") || EqualsIgnoringCase(text, "yes")) return 1;
  if (EqualsIgnoringCase(text, "FALSE") || EqualsIgnoringCase(text, "no")) return 0;
  if (text.starts_with("0x") || text.starts_with("0X")) return ParseHexadecimal(text.substr(2));
  return ParseDecimal(text);
}

}  // namespace ble

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace ble {

enum class Method : std::int32_t {
  Config = 2,
  Connect,
  Disconnect,
  Discover,
  DiscoverCharacteristics,
  DiscoverDescriptors,
  DiscoverServices,
  DoEvents,
  PostValue,
  ReadValue,
  Select,
  StartScanning,
  StopScanning,
  Subscribe,
  Unsubscribe,
  WriteValue,
  ConvertToWide = 2003,
};

struct MethodInfo {
  Method id;
  const char* name;
  /// One letter an input, in order: s text, i integer, b bytes.
  std::string_view inputs;
};

inline constexpr std::size_t kMaxMethodInputs = 4;

/// ConvertToWide is not here: its inputs are not taken as the others' are.
inline constexpr std::array<MethodInfo, 16> kMethodTable{{
    {Method::Config, "Config", "s"},
    {Method::Connect, "Connect", "s"},
    {Method::Disconnect, "Disconnect", ""},
    {Method::Discover, "Discover", "ssis"},
    {Method::DiscoverCharacteristics, "DiscoverCharacteristics", "ss"},
    {Method::DiscoverDescriptors, "DiscoverDescriptors", "ss"},
    {Method::DiscoverServices, "DiscoverServices", "ss"},
    {Method::DoEvents, "DoEvents", ""},
    {Method::PostValue, "PostValue", "ssb"},
    {Method::ReadValue, "ReadValue", "sss"},
    {Method::Select, "Select", "ss"},
    {Method::StartScanning, "StartScanning", "s"},
    {Method::StopScanning, "StopScanning", ""},
    {Method::Subscribe, "Subscribe", "ss"},
    {Method::Unsubscribe, "Unsubscribe", "ss"},
    {Method::WriteValue, "WriteValue", "sssb"},
}};

/// The row of a method number; null for a number without one. The rows are in the order of their
/// numbers, without a gap.
constexpr const MethodInfo* FindMethod(std::int32_t number) {
  const std::int64_t row = std::int64_t{number} - static_cast<std::int32_t>(kMethodTable[0].id);
  const bool isThere = row >= 0 && row < std::int64_t{kMethodTable.size()};
  return isThere ? &kMethodTable[static_cast<std::size_t>(row)] : nullptr;
}

static_assert(std::all_of(kMethodTable.begin(), kMethodTable.end(), [](const MethodInfo& info) {
  return FindMethod(static_cast<std::int32_t>(info.id)) == &info &&
         info.inputs.size() <= kMaxMethodInputs;
}));

}  // namespace ble

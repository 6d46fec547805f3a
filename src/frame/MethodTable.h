#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "corvaneble/corvaneble.h"

namespace ble {

enum class Method : std::int32_t {
  Config = CORVANEBLE_METHOD_CONFIG,
  Connect = CORVANEBLE_METHOD_CONNECT,
  Disconnect = CORVANEBLE_METHOD_DISCONNECT,
  Discover = CORVANEBLE_METHOD_DISCOVER,
  DiscoverCharacteristics = CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS,
  DiscoverDescriptors = CORVANEBLE_METHOD_DISCOVER_DESCRIPTORS,
  DiscoverServices = CORVANEBLE_METHOD_DISCOVER_SERVICES,
  DoEvents = CORVANEBLE_METHOD_DO_EVENTS,
  PostValue = CORVANEBLE_METHOD_POST_VALUE,
  ReadValue = CORVANEBLE_METHOD_READ_VALUE,
  Select = CORVANEBLE_METHOD_SELECT,
  StartScanning = CORVANEBLE_METHOD_START_SCANNING,
  StopScanning = CORVANEBLE_METHOD_STOP_SCANNING,
  Subscribe = CORVANEBLE_METHOD_SUBSCRIBE,
  Unsubscribe = CORVANEBLE_METHOD_UNSUBSCRIBE,
  WriteValue = CORVANEBLE_METHOD_WRITE_VALUE,
  ConvertToWide = CORVANEBLE_METHOD_CONVERT_TO_WIDE,
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

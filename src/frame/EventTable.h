#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ble {

/// The events a host receives, numbered in alphabetical order of their names.
enum class EventId : std::int32_t {
  Advertisement = 1,
  Connected,
  Disconnected,
  Discovered,
  Error,
  Log,
  ServerUpdate,
  StartScan,
  StopScan,
  Subscribed,
  Unsubscribed,
  Value,
  WriteResponse,
};

struct EventInfo {
  EventId id;
  const char* name;
  /// One letter a parameter, in order: s text, i integer, b bytes.
  std::string_view parameters;
};

inline constexpr std::size_t kMaxEventParameters = 11;

inline constexpr std::array<EventInfo, 13> kEventTable{{
    {EventId::Advertisement, "Advertisement", "ssiisssibii"},
    {EventId::Connected, "Connected", "is"},
    {EventId::Disconnected, "Disconnected", "is"},
    {EventId::Discovered, "Discovered", "isssss"},
    {EventId::Error, "Error", "is"},
    {EventId::Log, "Log", "iss"},
    {EventId::ServerUpdate, "ServerUpdate", "ss"},
    {EventId::StartScan, "StartScan", "s"},
    {EventId::StopScan, "StopScan", "is"},
    {EventId::Subscribed, "Subscribed", "ssss"},
    {EventId::Unsubscribed, "Unsubscribed", "ssss"},
    {EventId::Value, "Value", "sssssb"},
    {EventId::WriteResponse, "WriteResponse", "sssss"},
}};

constexpr const EventInfo& InfoOf(EventId id) {
  return kEventTable[static_cast<std::size_t>(id) - 1];
}

static_assert([] {
  for (const EventInfo& info : kEventTable) {
    if (&InfoOf(info.id) != &info || info.parameters.size() > kMaxEventParameters) return false;
  }
  return true;
}());

}  // namespace ble

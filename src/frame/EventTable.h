#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "corvaneble/corvaneble.h"

namespace ble {

/// The events a host receives, numbered in alphabetical order of their names.
enum class EventId : std::int32_t {
  Advertisement = CORVANEBLE_EVENT_ADVERTISEMENT,
  Connected = CORVANEBLE_EVENT_CONNECTED,
  Disconnected = CORVANEBLE_EVENT_DISCONNECTED,
  Discovered = CORVANEBLE_EVENT_DISCOVERED,
  Error = CORVANEBLE_EVENT_ERROR,
  Log = CORVANEBLE_EVENT_LOG,
  ServerUpdate = CORVANEBLE_EVENT_SERVER_UPDATE,
  StartScan = CORVANEBLE_EVENT_START_SCAN,
  StopScan = CORVANEBLE_EVENT_STOP_SCAN,
  Subscribed = CORVANEBLE_EVENT_SUBSCRIBED,
  Unsubscribed = CORVANEBLE_EVENT_UNSUBSCRIBED,
  Value = CORVANEBLE_EVENT_VALUE,
  WriteResponse = CORVANEBLE_EVENT_WRITE_RESPONSE,
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

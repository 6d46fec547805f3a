#pragma once

#include <cstdint>
#include <span>

#include "base/Bytes.h"
#include "frame/EventTable.h"

namespace ble {

/// One event parameter: which field counts is said by the event's row in `kEventTable`. Texts are
/// never null; bytes are followed by one 0 byte in memory.
struct EventValue {
  const char* text = "";
  std::int32_t integer = 0;
  ByteView bytes;

  static EventValue Of(std::int32_t value) { return {"", value, {}}; }
  static EventValue Of(const char* value) { return {value != nullptr ? value : "", 0, {}}; }
  static EventValue Of(ByteView value) { return {"", 0, value}; }
};

/// Receives the engine's events, on whatever thread raises them, also on several at once.
class EventSink {
 public:
  /// Delivers one event and returns the receiver's code. The values live until the call returns.
  virtual std::int32_t Fire(EventId event, std::span<const EventValue> values) = 0;

 protected:
  ~EventSink() = default;
};

}  // namespace ble

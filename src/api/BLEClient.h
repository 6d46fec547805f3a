#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "api/BLEClientEngine.h"
#include "corvaneble/corvaneble.h"
#include "frame/EventSink.h"

namespace ble {

/// One instance: what a host's handle points to. It owns itself until the host destroys it; calls
/// in progress keep it alive after that.
class BLEClient final : public EventSink {
 public:
  /// An instance on a radio. Creations are serialised, process-wide.
  static BLEClient* Create(CorvaneBLE_EventCallback callback, void* userData, bool unicodeEvents,
                           OpenedRadio radio);

  /// A reference for the time of one call.
  static std::shared_ptr<BLEClient> FromHandle(void* handle);

  /// Ends the host's ownership. No callback runs after this returned, save the one it is called
  /// from.
  void Destroy();

  BLEClientEngine& Engine() { return engine_; }

  std::int32_t Fire(EventId event, std::span<const EventValue> values) override;

  BLEClient(CorvaneBLE_EventCallback callback, void* userData, bool unicodeEvents,
            OpenedRadio radio);

 private:
  std::int32_t Invoke(const EventInfo& info, std::span<const EventValue> values);

  const CorvaneBLE_EventCallback callback_;
  void* const userData_;
  const bool unicodeEvents_;
  std::shared_ptr<BLEClient> self_;
  BLEClientEngine engine_;
};

}  // namespace ble

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "frame/ErrorState.h"
#include "platform/Radio.h"
#include "radio/AsyncWait.h"
#include "radio/BLEEvent.h"

namespace ble {

/// The way to the radio and back, which all parts that use the radio share. Any thread.
struct RadioLink {
  RadioLink(ErrorState& errors, OpenedRadio radio)
      : opened(std::move(radio)), wait(errors, opened, timeoutSeconds) {}
  RadioLink(const RadioLink&) = delete;
  RadioLink& operator=(const RadioLink&) = delete;

  Radio& Get() const { return *opened.radio; }

  const OpenedRadio opened;
  std::atomic<std::int32_t> timeoutSeconds{60};  ///< the `Timeout` property
  AsyncWait wait;
  /// The gate for the radio's callbacks, which keep it alive.
  const std::shared_ptr<BLEEvent> bridge = std::make_shared<BLEEvent>();
};

}  // namespace ble

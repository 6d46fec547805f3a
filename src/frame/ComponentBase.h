#pragma once

#include "frame/ErrorState.h"
#include "frame/EventSink.h"
#include "frame/Events.h"
#include "frame/Log.h"
#include "frame/Settings.h"
#include "frame/TextCodec.h"

namespace ble {

/// What every engine stands on: settings, errors, events, log and text conversion. Any thread.
class ComponentBase {
 public:
  ErrorState& Errors() { return errors_; }
  const TextCodec& Codec() const { return codec_; }
  Events& EventFires() { return events_; }

 protected:
  ComponentBase(EventSink& sink, const TextConverter& converter)
      : codec_(settings_, converter), events_(sink), log_(settings_, events_) {}
  ~ComponentBase() = default;
  ComponentBase(const ComponentBase&) = delete;
  ComponentBase& operator=(const ComponentBase&) = delete;

  Settings settings_;
  ErrorState errors_;
  TextCodec codec_;
  Events events_;
  Log log_;
};

}  // namespace ble

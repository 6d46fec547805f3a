#pragma once

#include "frame/ErrorState.h"
#include "frame/Events.h"
#include "frame/Log.h"
#include "frame/Settings.h"
#include "frame/TextCodec.h"

namespace ble {

/// What every part of an instance stands on. Any thread.
struct ComponentBase {
  ComponentBase(EventSink& sink, const TextConverter& converter)
      : codec(settings, converter), events(sink), log(settings, events) {}
  ComponentBase(const ComponentBase&) = delete;
  ComponentBase& operator=(const ComponentBase&) = delete;

  Settings settings;
  ErrorState errors;
  const TextCodec codec;
  Events events;
  Log log;

 protected:
  ~ComponentBase() = default;
};

}  // namespace ble

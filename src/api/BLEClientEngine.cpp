#include "api/BLEClientEngine.h"

#include <utility>

namespace ble {

BLEClientEngine::BLEClientEngine(EventSink& sink, OpenedRadio radio, const TextConverter& converter)
    : ComponentBase(sink, converter),
      link_(errors, std::move(radio)),
      gatt_(link_.wait, log),
      scanner_({.base = *this, .link = link_}),
      connection_({.base = *this,
                   .link = link_,
                   .scanner = scanner_,
                   .valueChanged = ValueChangedHandler()}),
      attributes_({.base = *this, .connection = connection_, .gatt = gatt_}),
      services_(
          {.base = *this, .connection = connection_, .gatt = gatt_, .attributes = attributes_}),
      reconciler_(events, log),
      reader_({.base = *this, .connection = connection_, .gatt = gatt_, .reconciler = reconciler_}),
      writer_({.base = *this,
               .link = link_,
               .connection = connection_,
               .gatt = gatt_,
               .reconciler = reconciler_}),
      fields_({.base = *this, .attributes = attributes_, .writer = writer_, .gatt = gatt_}),
      subscriptions_({.base = *this,
                      .link = link_,
                      .connection = connection_,
                      .gatt = gatt_,
                      .attributes = attributes_,
                      .fields = fields_}),
      config_({.base = *this, .scanner = scanner_, .connection = connection_}),
      properties_({.base = *this,
                   .link = link_,
                   .scanner = scanner_,
                   .connection = connection_,
                   .fields = fields_,
                   .reader = reader_,
                   .subscriptions = subscriptions_},
                  slots_),
      methods_({.base = *this,
                .link = link_,
                .slots = slots_,
                .config = config_,
                .scanner = scanner_,
                .connection = connection_,
                .services = services_,
                .attributes = attributes_,
                .reader = reader_,
                .writer = writer_,
                .subscriptions = subscriptions_}) {
  link_.opened.pump->SetOwner(this);
}

void BLEClientEngine::Attach(std::weak_ptr<void> owner) {
  link_.bridge->Attach(std::move(owner));
  notices_ = link_.Get().OnNotice([this, bridge = link_.bridge](const std::string& text) {
    bridge->Deliver([&] { log.Write(LogLevel::Information, log_type::kRadio, text); });
  });
}

GattCharacteristic::ValueChanged::Handler BLEClientEngine::ValueChangedHandler() {
  return [this, bridge = link_.bridge](GattCharacteristic& sender, ByteView value) {
    bridge->Deliver([&] { subscriptions_.OnValueChanged(sender, value); });
  };
}

}  // namespace ble

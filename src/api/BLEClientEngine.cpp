#include "api/BLEClientEngine.h"

#include <utility>

namespace ble {

BLEClientEngine::BLEClientEngine(EventSink& sink, OpenedRadio radio, const TextConverter& converter)
    : ComponentBase(sink, converter),
      radio_(std::move(radio)),
      scanner_({errors_, events_, log_, settings_, codec_, radio_, wait_, bridge_}),
      connection_({errors_, events_, log_, codec_, radio_, wait_, scanner_, bridge_,
                   ValueChangedHandler()}),
      attributes_({errors_, events_, log_, settings_, connection_, gatt_}),
      services_({errors_, events_, log_, settings_, connection_, gatt_, attributes_}),
      reader_({errors_, events_, log_, connection_, gatt_, reconciler_}),
      writer_({errors_, events_, log_, connection_, gatt_, wait_, reporter_, reconciler_}),
      fields_({errors_, codec_, attributes_, writer_, gatt_}),
      subscriptions_({errors_, events_, log_, settings_, connection_, gatt_, wait_, reporter_,
                      attributes_, fields_}),
      config_({errors_, settings_, codec_, scanner_, connection_}),
      properties_({errors_, codec_, slots_, wait_, scanner_, connection_, fields_, reader_,
                   subscriptions_, timeoutSeconds_}),
      methods_({errors_, codec_, slots_, wait_, config_, scanner_, connection_, services_,
                attributes_, reader_, writer_, subscriptions_}) {
  radio_.pump->SetOwner(this);
}

void BLEClientEngine::Attach(std::weak_ptr<void> owner) {
  bridge_->Attach(std::move(owner));
  notices_ = radio_.radio->OnNotice([this, bridge = bridge_](const std::string& text) {
    bridge->Deliver([&] { log_.Write(LogLevel::Information, log_type::kRadio, text); });
  });
}

GattCharacteristic::ValueChanged::Handler BLEClientEngine::ValueChangedHandler() {
  return [this, bridge = bridge_](GattCharacteristic& sender, ByteView value) {
    bridge->Deliver([&] { subscriptions_.OnValueChanged(sender, value); });
  };
}

}  // namespace ble

#pragma once

#include <memory>

#include "api/ConfigDispatch.h"
#include "api/MethodDispatch.h"
#include "api/PropertyDispatch.h"
#include "api/ReturnSlots.h"
#include "frame/ComponentBase.h"
#include "platform/Radio.h"
#include "procedures/AttributeDiscovery.h"
#include "procedures/CccdReconciler.h"
#include "procedures/CharacteristicFields.h"
#include "procedures/GattCall.h"
#include "procedures/Reader.h"
#include "procedures/ServiceDiscovery.h"
#include "procedures/Subscriptions.h"
#include "procedures/Writer.h"
#include "radio/Connection.h"
#include "radio/RadioLink.h"
#include "radio/Scanner.h"

namespace ble {

/// The parts of one instance, put together. It has no behaviour of its own: each part was given the
/// parts it uses, and the dispatch of properties and methods is the way in.
class BLEClientEngine : public ComponentBase {
 public:
  BLEClientEngine(EventSink& sink, OpenedRadio radio, const TextConverter& converter);

  /// Begins to deliver platform callbacks; `owner` is what keeps the engine alive.
  void Attach(std::weak_ptr<void> owner);

  /// The gate that platform callbacks and the host's callback pass.
  CallGate& Gate() { return link_.bridge->Gate(); }

  /// Releases the server: what another thread waits for ends.
  void Disconnect() { (void)connection_.Disconnect(); }

  PropertyDispatch& Properties() { return properties_; }
  MethodDispatch& Methods() { return methods_; }
  ReturnSlots& Slots() { return slots_; }

 private:
  /// What is registered as value-changed handler on every discovered characteristic.
  GattCharacteristic::ValueChanged::Handler ValueChangedHandler();

  RadioLink link_;
  ReturnSlots slots_;
  GattCall gatt_;
  Scanner scanner_;
  Connection connection_;
  AttributeDiscovery attributes_;
  ServiceDiscovery services_;
  CccdReconciler reconciler_;
  Reader reader_;
  Writer writer_;
  CharacteristicFields fields_;
  Subscriptions subscriptions_;
  ConfigDispatch config_;
  PropertyDispatch properties_;
  MethodDispatch methods_;
  EventToken notices_;
};

}  // namespace ble

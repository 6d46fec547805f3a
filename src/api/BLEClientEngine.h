#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "api/ConfigDispatch.h"
#include "api/MethodDispatch.h"
#include "api/PropertyDispatch.h"
#include "api/ReturnSlots.h"
#include "frame/ComponentBase.h"
#include "platform/Radio.h"
#include "platform/TextConverter.h"
#include "procedures/AttributeDiscovery.h"
#include "procedures/CccdReconciler.h"
#include "procedures/CharacteristicFields.h"
#include "procedures/GattCall.h"
#include "procedures/Reader.h"
#include "procedures/ServiceDiscovery.h"
#include "procedures/Subscriptions.h"
#include "procedures/Writer.h"
#include "radio/AsyncWait.h"
#include "radio/BLEEvent.h"
#include "radio/Connection.h"
#include "radio/ResultMapping.h"
#include "radio/Scanner.h"

namespace ble {

/// The parts of one instance, put together. It has no behaviour of its own: each part was given the
/// parts it uses, and the tables are the way in.
class BLEClientEngine : public ComponentBase {
 public:
  BLEClientEngine(EventSink& sink, OpenedRadio radio, const TextConverter& converter);

  /// Begins to deliver platform callbacks; `owner` is what keeps the engine alive.
  void Attach(std::weak_ptr<void> owner);

  /// Ends the delivery of platform callbacks, after waiting for those on other threads.
  void Detach() { bridge_->Detach(); }
  /// Releases the server: what another thread waits for ends.
  void Disconnect() { (void)connection_.Disconnect(); }

  PropertyDispatch& Properties() { return properties_; }
  MethodDispatch& Methods() { return methods_; }
  ReturnSlots& Slots() { return slots_; }

 private:
  /// What is registered as value-changed handler on every discovered characteristic.
  GattCharacteristic::ValueChanged::Handler ValueChangedHandler();

  OpenedRadio radio_;
  std::atomic<std::int32_t> timeoutSeconds_{60};
  const std::shared_ptr<BLEEvent> bridge_ = std::make_shared<BLEEvent>();
  ReturnSlots slots_;
  AsyncWait wait_{errors_, radio_, timeoutSeconds_};
  ResultReporter reporter_{errors_, log_};
  GattCall gatt_{errors_, wait_, reporter_};
  Scanner scanner_;
  Connection connection_;
  AttributeDiscovery attributes_;
  ServiceDiscovery services_;
  CccdReconciler reconciler_{events_, log_};
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

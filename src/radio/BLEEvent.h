#pragma once

#include <exception>
#include <memory>
#include <utility>

#include "frame/CallGate.h"

namespace ble {

/// What platform callbacks are bound to: the gate between the platform's threads and the engine.
/// The platform keeps it alive as long as it holds a callback; the engine may be long gone then.
class BLEEvent {
 public:
  /// Called once, before any callback is registered.
  void Attach(std::weak_ptr<void> engine) { engine_ = std::move(engine); }

  /// Runs a callback, unless delivery has ended. The engine lives until the callback has returned,
  /// even if the host destroys the instance from inside it. Exceptions of the callback are dropped:
  /// they must not reach the platform's thread.
  template <class Callback>
  void Deliver(Callback callback) {
    const std::shared_ptr<void> engine = engine_.lock();  // released after the pass
    const CallGate::Pass pass(gate_);
    if (!pass || !engine) return;
    try {
      callback();
    } catch (const std::exception&) {
    }
  }

  /// Closing it ends delivery.
  CallGate& Gate() { return gate_; }

 private:
  std::weak_ptr<void> engine_;
  CallGate gate_;
};

}  // namespace ble

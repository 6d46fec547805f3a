#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "api/ConfigDispatch.h"
#include "api/ReturnSlots.h"
#include "base/Bytes.h"
#include "frame/ComponentBase.h"
#include "frame/HostNumber.h"
#include "frame/MethodTable.h"
#include "gatt/Selection.h"
#include "procedures/AttributeDiscovery.h"
#include "procedures/Reader.h"
#include "procedures/ServiceDiscovery.h"
#include "procedures/Subscriptions.h"
#include "procedures/Writer.h"
#include "radio/Connection.h"
#include "radio/RadioLink.h"
#include "radio/Scanner.h"

namespace ble {

/// The arrays of one Do call. Either may be null; then there are no values and no room for results.
struct MethodCall {
  std::int32_t paramCount = 0;
  std::intptr_t* params = nullptr;
  std::int32_t* lengths = nullptr;
};

/// The host's numbered methods: decodes the number, takes the inputs, runs the body on the calling
/// thread and hands back the results.
class MethodDispatch {
 public:
  struct Parts {
    ComponentBase& base;
    RadioLink& link;
    ReturnSlots& slots;
    ConfigDispatch& config;
    Scanner& scanner;
    Connection& connection;
    ServiceDiscovery& services;
    AttributeDiscovery& attributes;
    Reader& reader;
    Writer& writer;
    Subscriptions& subscriptions;
  };

  explicit MethodDispatch(const Parts& parts) : parts_(parts) {}

  /// Runs a method and returns its code, which is also stored as the last error code. A number that
  /// is no method does nothing and succeeds.
  ErrorCode Do(std::int32_t methodId, const MethodCall& call);

 private:
  /// The inputs of a call, each in the member that its kind says, at its own position.
  struct Inputs {
    std::array<std::string, kMaxMethodInputs> texts;
    std::array<std::int32_t, kMaxMethodInputs> integers{};
    std::array<ByteView, kMaxMethodInputs> bytes;
  };

  Status TakeInputs(const MethodInfo& info, const MethodCall& call, TextForm form,
                    Inputs& inputs) const;
  Status TakeText(std::intptr_t value, TextForm form, std::string& text) const;
  Status Run(Method method, const Inputs& inputs, const MethodCall& call, TextForm form);
  Status Config(const Inputs& inputs, const MethodCall& call, TextForm form);
  Status ReadValue(const Inputs& inputs, const MethodCall& call);
  ErrorCode ConvertToWide(const MethodCall& call) const;

  Parts parts_;
};

}  // namespace ble

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "api/ReturnSlots.h"
#include "frame/ErrorState.h"
#include "frame/HostNumber.h"
#include "frame/PropertyTable.h"
#include "frame/TextCodec.h"
#include "procedures/CharacteristicFields.h"
#include "procedures/Reader.h"
#include "procedures/Subscriptions.h"
#include "radio/AsyncWait.h"
#include "radio/Connection.h"
#include "radio/Scanner.h"

namespace ble {

/// The host's numbered properties: decodes the number, checks the index, reads or writes the part
/// that owns the value, and gives texts the form that the number asks for. Any thread.
class PropertyDispatch {
 public:
  struct Parts {
    ErrorState& errors;
    const TextCodec& codec;
    ReturnSlots& slots;
    AsyncWait& wait;
    Scanner& scanner;
    Connection& connection;
    CharacteristicFields& fields;
    Reader& reader;
    Subscriptions& subscriptions;
    std::atomic<std::int32_t>& timeoutSeconds;
  };

  explicit PropertyDispatch(const Parts& parts) : parts_(parts) {}

  /// The value itself or a pointer to it; 0 for a number without a property and for an integer that
  /// cannot be had, an empty text for a text. `length`, if not null, receives the size of bytes.
  std::intptr_t Get(std::int32_t propertyId, std::int32_t index, std::int32_t* length);

  /// Writes a property; -1, with nothing changed, for a number without a writable one. A UTF-16
  /// text that cannot be converted fails before that and before the index is checked.
  ErrorCode Set(std::int32_t propertyId, std::int32_t index, std::intptr_t value);

  /// 0, or 280 after storing the collection's message.
  ErrorCode CheckIndex(std::int32_t propertyId, std::int32_t index);

 private:
  /// A text that is read: one that a record holds, kept alive by `record`, or a computed one.
  struct TextValue {
    const char* text = "";
    std::shared_ptr<const void> record;
    std::string computed;
    bool isComputed = false;
  };

  static TextValue Computed(std::string text) { return {"", nullptr, std::move(text), true}; }

  // All of them work on the session that is current when the access begins.
  [[nodiscard]] ErrorCode IndexCheck(const Session& session, Collection collection,
                                     std::int32_t index);

  std::int32_t ReadInteger(Session& session, Property property, std::int32_t index);
  TextValue ReadText(Session& session, Property property, std::int32_t index);
  ErrorCode ReadBytes(Session& session, Property property, std::int32_t index, Bytes& value);

  std::intptr_t GetText(Session& session, Property property, std::int32_t index, TextForm form);
  std::intptr_t GetBytes(Session& session, Property property, std::int32_t index, TextForm form,
                         std::int32_t* length);

  ErrorCode WriteInteger(Session& session, Property property, std::int32_t index,
                         std::int32_t value);
  ErrorCode WriteText(Session& session, Property property, std::int32_t index,
                      const std::string& value);

  Parts parts_;
};

}  // namespace ble

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "base/Bytes.h"
#include "frame/ComponentBase.h"
#include "frame/PropertyTable.h"
#include "procedures/CharacteristicFields.h"
#include "procedures/Reader.h"
#include "procedures/Subscriptions.h"
#include "radio/Connection.h"
#include "radio/RadioLink.h"
#include "radio/Scanner.h"

namespace ble {

/// The parts that own the values of properties.
struct PropertyOwners {
  ComponentBase& base;
  RadioLink& link;
  Scanner& scanner;
  Connection& connection;
  CharacteristicFields& fields;
  Reader& reader;
  Subscriptions& subscriptions;
};

/// One access to a property, in the session that was current when it began. The index is valid.
struct PropertyCall {
  const PropertyOwners& owners;
  Session& session;
  std::int32_t index;
};

/// A text that was read: one that stands in a record, which `record` keeps alive, or else a text
/// that nothing keeps.
struct TextValue {
  TextValue(const char* kept, std::shared_ptr<const void> keeper)
      : text(kept), record(std::move(keeper)) {}
  explicit TextValue(std::string loose) : computed(std::move(loose)) {}

  const char* text = "";
  std::shared_ptr<const void> record;
  std::string computed;
};

/// How a property is read and written, in the types that its row in `kPropertyTable` says.
struct PropertyAccessor {
  using ReadInteger = std::int32_t (*)(const PropertyCall&);
  using ReadText = TextValue (*)(const PropertyCall&);
  using ReadBytes = Result<Bytes> (*)(const PropertyCall&);
  using WriteInteger = Status (*)(const PropertyCall&, std::int32_t);
  using WriteText = Status (*)(const PropertyCall&, const std::string&);

  Property id;
  std::variant<ReadInteger, ReadText, ReadBytes> read;
  std::variant<std::monostate, WriteInteger, WriteText> write{};
};

const PropertyAccessor& AccessorOf(Property property);

}  // namespace ble

#pragma once

#include <cstdint>
#include <string>

#include "api/PropertyAccessors.h"
#include "api/ReturnSlots.h"
#include "frame/HostNumber.h"
#include "frame/PropertyTable.h"

namespace ble {

/// The host's numbered properties: decodes the number, checks the index, reads or writes through
/// the property's accessor, and gives texts the form that the number asks for. Any thread.
class PropertyDispatch {
 public:
  PropertyDispatch(const PropertyOwners& owners, ReturnSlots& slots)
      : owners_(owners), slots_(slots) {}

  /// The value itself or a pointer to it; 0 for a number without a property and for an integer that
  /// cannot be had, an empty text for a text. `length`, if not null, receives the size of bytes.
  std::intptr_t Get(std::int32_t propertyId, std::int32_t index, std::int32_t* length);

  /// Writes a property; -1, with nothing changed, for a number without a writable one. A UTF-16
  /// text that cannot be converted fails before that and before the index is checked.
  ErrorCode Set(std::int32_t propertyId, std::int32_t index, std::intptr_t value);

  /// 0, or 280 after storing the collection's message.
  ErrorCode CheckIndex(std::int32_t propertyId, std::int32_t index);

 private:
  /// A value on its way to the host, and where the length of bytes goes.
  struct Answer {
    std::intptr_t value;
    std::int32_t* length;
  };

  Status Read(const PropertyInfo& info, TextForm form, const PropertyCall& call, Answer& answer);
  std::intptr_t HandOut(TextValue&& text, ReturnSlot& slot, TextForm form);
  void HandOut(Bytes bytes, ReturnSlot& slot, TextForm form, Answer& answer);

  const PropertyOwners owners_;
  ReturnSlots& slots_;
};

}  // namespace ble

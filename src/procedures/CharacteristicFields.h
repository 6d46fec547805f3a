#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/ComponentBase.h"
#include "gatt/GattEntries.h"
#include "gatt/Selection.h"
#include "procedures/AttributeDiscovery.h"
#include "procedures/Writer.h"

namespace ble {

/// The fields of a characteristic that are computed at first use, looking for the descriptors they
/// depend on once per record. Failures of that look-up are not failures of a read: the field then
/// has its default. A descriptor that was found and could not be read is tried again by the next
/// read of a field. Runs on the thread that calls a method or accesses a property.
class CharacteristicFields {
 public:
  struct Parts {
    ComponentBase& base;
    AttributeDiscovery& attributes;
    Writer& writer;
    GattCall& gatt;
  };

  explicit CharacteristicFields(const Parts& parts) : parts_(parts) {}

  /// The `CharacteristicFlags` mask. `state` is the record's own or an exposed copy's.
  std::uint32_t Flags(Session& session, const CharacteristicPtr& entry, CharacteristicState& state);

  std::string UserDescription(Session& session, const ExposedCharacteristic& shown);
  /// Writes it to the device; 602 when the flags do not allow it.
  Status SetUserDescription(Session& session, const ExposedCharacteristic& shown,
                            std::string_view text);

  std::int32_t ValueFormatCount(Session& session, const ExposedCharacteristic& shown);
  std::int32_t ValueFormatIndex(Session& session, const ExposedCharacteristic& shown);
  Status SetValueFormatIndex(Session& session, const ExposedCharacteristic& shown,
                             std::int32_t index);

  /// Of the selected presentation format; 0 or empty when there is none.
  std::int32_t ValueExponent(Session& session, const ExposedCharacteristic& shown);
  std::int32_t ValueFormat(Session& session, const ExposedCharacteristic& shown);
  std::string ValueUnit(Session& session, const ExposedCharacteristic& shown);

 private:
  using Formats = std::vector<GattPresentationFormat>;

  void Ensure(Session& session, const CharacteristicPtr& entry, CharacteristicState& state,
              std::uint8_t mark, std::initializer_list<Uuid> descriptors);
  Formats ValueFormats(Session& session, const ExposedCharacteristic& shown);
  std::optional<GattPresentationFormat> SelectedFormat(Session& session,
                                                       const ExposedCharacteristic& shown);

  Parts parts_;
};

}  // namespace ble

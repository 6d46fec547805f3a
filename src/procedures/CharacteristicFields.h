#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/ErrorState.h"
#include "frame/TextCodec.h"
#include "gatt/GattEntries.h"
#include "gatt/Selection.h"
#include "procedures/AttributeDiscovery.h"
#include "procedures/Writer.h"

namespace corvaneble {

/// The fields of a characteristic that are computed at first use, looking for the descriptors they
/// depend on once per record. Failures of that look-up are not failures of a read: the field then
/// has its default. Runs on the thread that calls a method or accesses a property.
class CharacteristicFields {
 public:
  struct Parts {
    ErrorState& errors;
    const TextCodec& codec;
    AttributeDiscovery& attributes;
    Writer& writer;
  };

  explicit CharacteristicFields(const Parts& parts) : parts_(parts) {}

  /// The `CharacteristicFlags` mask. `state` is the record's own or an exposed copy's.
  std::uint32_t Flags(const CharacteristicPtr& entry, CharacteristicState& state);

  std::string UserDescription(const ExposedCharacteristic& shown);
  /// Writes it to the device; 602 when the flags do not allow it.
  [[nodiscard]] ErrorCode SetUserDescription(const ExposedCharacteristic& shown,
                                             std::string_view text);

  std::int32_t ValueFormatCount(const ExposedCharacteristic& shown);
  std::int32_t ValueFormatIndex(const ExposedCharacteristic& shown);
  [[nodiscard]] ErrorCode SetValueFormatIndex(const ExposedCharacteristic& shown,
                                              std::int32_t index);

  /// Of the selected presentation format; 0 or empty when there is none.
  std::int32_t ValueExponent(const ExposedCharacteristic& shown);
  std::int32_t ValueFormat(const ExposedCharacteristic& shown);
  std::string ValueUnit(const ExposedCharacteristic& shown);

 private:
  using Formats = std::vector<platform::GattPresentationFormat>;

  void Ensure(const CharacteristicPtr& entry, CharacteristicState& state, std::uint8_t mark,
              std::initializer_list<Uuid> descriptors);
  Formats ValueFormats(const ExposedCharacteristic& shown);
  std::optional<platform::GattPresentationFormat> SelectedFormat(
      const ExposedCharacteristic& shown);

  Parts parts_;
};

}  // namespace corvaneble

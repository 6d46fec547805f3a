#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Gatt.h"
#include "platform/att/Discovery.h"

namespace corvaneble::platform::att {

/// What a characteristic's descriptors say about it (Bluetooth Core 5.4, Vol 3 Part G, 3.3.3): the
/// descriptors that the last query found, with the values that could be read. Any thread.
class CharacteristicDescription {
 public:
  /// One descriptor and what became of the attempt to read it.
  struct Reading {
    enum class Outcome {
      NotRead,     ///< not tried, or the link ended before
      Read,        ///< the value is known
      Refused,     ///< by an error response
      Unanswered,  ///< the link ended because of it, or during it
    };
    DescriptorRecord descriptor;
    Outcome outcome = Outcome::NotRead;
    Bytes value;
  };
  using Readings = std::vector<Reading>;

  /// Whether descriptors of this type say something that is kept here.
  static bool Understands(const Guid& descriptorUuid);

  /// Replaces everything by what a query of the database with this version found and read.
  void Replace(std::uint32_t databaseVersion, Readings readings);

  /// What is known of `descriptors` in the database with this version, those alone that are
  /// understood: for a query that does not read all of them again.
  Readings Known(std::uint32_t databaseVersion,
                 const std::vector<DescriptorRecord>& descriptors) const;

  /// Takes over a value of a known descriptor that was read, or written, later.
  void Learn(const DescriptorRecord& descriptor, ByteView value);

  /// Those whose values can still be had: what a device did not answer is not among them, since
  /// asking it costs the link.
  std::vector<DescriptorRecord> Missing() const;

  /// The bits above the property byte: reliable writes and writable auxiliaries.
  std::uint32_t ExtendedProperties() const;
  std::u16string UserDescription() const;
  /// First those that the aggregate format lists, in its order, then the others by handle.
  std::vector<GattPresentationFormat> PresentationFormats() const;

 private:
  /// The value of the first descriptor of a type; expects mutex_ to be held.
  std::optional<ByteView> ValueOf(std::uint16_t assignedNumber) const;

  mutable std::mutex mutex_;  // guards everything below
  std::uint32_t databaseVersion_ = 0;
  Readings readings_;  // in the order of their handles
};

}  // namespace corvaneble::platform::att

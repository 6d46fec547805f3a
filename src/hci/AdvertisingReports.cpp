#include "hci/AdvertisingReports.h"

#include <utility>

namespace ble::hci {
namespace {

constexpr std::uint8_t kLeMetaEvent = 0x3E;
constexpr std::uint8_t kAdvertisingReport = 0x02;
constexpr std::uint8_t kExtendedAdvertisingReport = 0x0D;

constexpr std::size_t kMaxLegacyData = 31;
constexpr std::size_t kMaxExtendedData = 1650;  // Bluetooth Core 5.4, Vol 6 Part B, 2.3.4.9

constexpr const char* kTooMuchData = "more advertising data than there can be";

/// When this many are unfinished, their missing fragments are lost, not late.
constexpr std::size_t kMaxUnfinished = 256;

// Bits of the event type of an extended report.
constexpr std::uint16_t kConnectable = 0x01;
constexpr std::uint16_t kScannable = 0x02;
constexpr std::uint16_t kDirected = 0x04;
constexpr std::uint16_t kScanResponse = 0x08;
constexpr std::uint16_t kLegacy = 0x10;
constexpr std::uint16_t kKindBits = 0x1F;

enum class DataStatus : std::uint8_t { Complete = 0, MoreToCome = 1, Truncated = 2 };

using Type = BluetoothLEAdvertisementType;

MalformedEvent Malformed(const ByteReader& reader, const char* text) {
  return {reader.Offset(), text};
}

/// Public and random device and identity addresses alternate: odd is random.
bool IsRandom(std::uint8_t addressType) {
  return addressType != 0xFF && (addressType & 1) != 0;
}
bool IsAddressType(std::uint8_t addressType) {
  return addressType <= 3 || addressType == 0xFF;
}

/// The legacy PDUs that an extended report may stand for (7.7.65.13, table of event types).
std::optional<Type> LegacyPduType(std::uint16_t kind) {
  switch (kind) {
    case 0x13:
      return Type::ConnectableUndirected;
    case 0x15:
      return Type::ConnectableDirected;
    case 0x12:
      return Type::ScannableUndirected;
    case 0x10:
      return Type::NonConnectableUndirected;
    case 0x1B:
    case 0x1A:
      return Type::ScanResponse;
    default:
      return std::nullopt;
  }
}

Type ExtendedPduType(std::uint16_t kind) {
  if ((kind & kScanResponse) != 0) return Type::ScanResponse;
  if ((kind & kConnectable) != 0)
    return (kind & kDirected) != 0 ? Type::ConnectableDirected : Type::ConnectableUndirected;
  return (kind & kScannable) != 0 ? Type::ScannableUndirected : Type::NonConnectableUndirected;
}

std::optional<MalformedEvent> TakeLegacyReport(ByteReader& reader,
                                               const AdvertisingReports::Sink& sink) {
  const std::uint8_t kind = reader.U8();
  if (kind > static_cast<std::uint8_t>(Type::ScanResponse))
    return Malformed(reader, "an advertising report of unknown type");
  const std::uint8_t addressType = reader.U8();
  if (!IsAddressType(addressType)) return Malformed(reader, "an address of unknown type");
  const std::uint64_t address = reader.Little(6);
  const std::uint8_t length = reader.U8();
  if (length > kMaxLegacyData) return Malformed(reader, "more than 31 bytes of advertising data");
  const ByteView data = reader.Take(length);
  const auto rssi = static_cast<std::int8_t>(reader.U8());
  if (!reader.Ok()) return Malformed(reader, "an advertising report cut short");
  sink({address, IsRandom(addressType), static_cast<Type>(kind), rssi, data});
  return std::nullopt;
}

}  // namespace

std::optional<MalformedEvent> AdvertisingReports::TakeEvent(ByteReader event, const Sink& sink) {
  const std::uint8_t code = event.U8();
  const std::uint8_t length = event.U8();
  if (!event.Ok()) return Malformed(event, "an HCI event without its header");
  if (length != event.Remaining()) return Malformed(event, "an HCI event of the wrong length");
  if (code != kLeMetaEvent) return std::nullopt;
  const std::uint8_t subevent = event.U8();
  if (!event.Ok()) return Malformed(event, "an LE event without its kind");
  const bool extended = subevent == kExtendedAdvertisingReport;
  if (!extended && subevent != kAdvertisingReport) return std::nullopt;

  const std::uint8_t count = event.U8();
  if (!event.Ok() || count == 0) return Malformed(event, "an advertising event without reports");
  for (std::uint8_t i = 0; i < count; ++i) {
    auto error = extended ? TakeExtendedReport(event, sink) : TakeLegacyReport(event, sink);
    if (error) return error;
  }
  if (event.Remaining() != 0) return Malformed(event, "bytes after the last advertising report");
  return std::nullopt;
}

std::optional<MalformedEvent> AdvertisingReports::TakeExtendedReport(ByteReader& reader,
                                                                     const Sink& sink) {
  const auto eventType = reader.U16();
  const std::uint16_t kind = eventType & kKindBits;
  const auto status = static_cast<DataStatus>(eventType >> 5 & 3);
  const bool legacy = (kind & kLegacy) != 0;
  const auto type = legacy ? LegacyPduType(kind) : ExtendedPduType(kind);
  if (!type || status > DataStatus::Truncated)
    return Malformed(reader, "an advertising report of unknown type");
  const std::uint8_t addressType = reader.U8();
  if (!IsAddressType(addressType)) return Malformed(reader, "an address of unknown type");
  const std::uint64_t address = reader.Little(6);
  (void)reader.Take(2);  // PHYs
  const std::uint8_t advertisingSet = reader.U8();
  (void)reader.Take(1);  // TX power
  const auto rssi = static_cast<std::int8_t>(reader.U8());
  (void)reader.Take(2 + 1 + 6);  // periodic advertising interval, direct address
  const ByteView data = reader.Take(reader.U8());
  if (!reader.Ok()) return Malformed(reader, "an advertising report cut short");

  const std::size_t limit = legacy ? kMaxLegacyData : kMaxExtendedData;
  const auto report = [&](ByteView payload) {
    sink({address, IsRandom(addressType), *type, rssi, payload});
  };
  const FragmentKey key{addressType, address, advertisingSet, kind};
  const bool begun = unfinished_.contains(key);
  if (!begun && status != DataStatus::MoreToCome) {
    if (data.size() > limit) return Malformed(reader, kTooMuchData);
    report(data);
    return std::nullopt;
  }
  if (!begun && unfinished_.size() >= kMaxUnfinished) unfinished_.clear();
  Fragments& joined = unfinished_[key];
  std::optional<MalformedEvent> error;
  if (!joined.tooMuch) {
    joined.data.insert(joined.data.end(), data.begin(), data.end());
    joined.tooMuch = joined.data.size() > limit;
    if (joined.tooMuch) error = Malformed(reader, kTooMuchData);
  }
  if (status == DataStatus::MoreToCome) return error;
  const Fragments whole = std::move(joined);
  unfinished_.erase(key);
  if (!whole.tooMuch) report(whole.data);
  return error;
}

}  // namespace ble::hci

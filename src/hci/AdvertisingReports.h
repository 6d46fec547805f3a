#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "base/ByteReader.h"
#include "platform/BluetoothAdvertisement.h"

namespace ble::hci {

/// One advertising packet or scan response as a controller reports it.
struct AdvertisingReport {
  std::uint64_t address = 0;  ///< 48 bits
  bool randomAddress = false;
  BluetoothLEAdvertisementType type = BluetoothLEAdvertisementType::ConnectableUndirected;
  std::int16_t rssi = 0;  ///< dBm; 127: the controller did not know
  ByteView payload;       ///< valid only while the report is being taken
};

/// What is wrong with an event, and where: the reader's offset.
struct MalformedEvent {
  std::size_t offset = 0;
  std::string text;
};

/// Finds the advertising reports in a run of HCI events: LE Advertising Report and LE Extended
/// Advertising Report (Bluetooth Core 5.4, Vol 4 Part E, 7.7.65.2 and 7.7.65.13). The fragments of
/// an extended advertisement become one report; fragments whose end never comes become none.
class AdvertisingReports {
 public:
  using Sink = std::function<void(const AdvertisingReport&)>;

  /// Takes the next event, from its event code to its last parameter, and calls `sink` for each
  /// report it completes; allocates nothing for a report that came whole. Events of other kinds
  /// change nothing, but their length must be what they say.
  [[nodiscard]] std::optional<MalformedEvent> TakeEvent(ByteReader event, const Sink& sink);

 private:
  /// Address type, address, advertising set and kind of packet: whose fragments belong together.
  using FragmentKey = std::tuple<std::uint8_t, std::uint64_t, std::uint8_t, std::uint16_t>;

  std::optional<MalformedEvent> TakeExtendedReport(ByteReader& reader, const Sink& sink);

  struct Fragments {
    Bytes data;
    bool tooMuch = false;  ///< a last fragment was lost; packets are not told apart until the next
  };

  std::map<FragmentKey, Fragments> unfinished_;
};

}  // namespace ble::hci

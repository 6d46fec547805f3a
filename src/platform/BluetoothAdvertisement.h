#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "base/Latch.h"
#include "base/Uuid.h"
#include "platform/Event.h"

namespace ble {

/// Advertising data types (Assigned Numbers, 2.3).
namespace advertisement_data_type {
inline constexpr std::uint8_t kFlags = 0x01;
inline constexpr std::uint8_t kIncompleteService16BitUuids = 0x02;
inline constexpr std::uint8_t kCompleteService16BitUuids = 0x03;
inline constexpr std::uint8_t kIncompleteService32BitUuids = 0x04;
inline constexpr std::uint8_t kCompleteService32BitUuids = 0x05;
inline constexpr std::uint8_t kIncompleteService128BitUuids = 0x06;
inline constexpr std::uint8_t kCompleteService128BitUuids = 0x07;
inline constexpr std::uint8_t kShortenedLocalName = 0x08;
inline constexpr std::uint8_t kCompleteLocalName = 0x09;
inline constexpr std::uint8_t kTxPowerLevel = 0x0A;
inline constexpr std::uint8_t kServiceSolicitation16BitUuids = 0x14;
inline constexpr std::uint8_t kServiceSolicitation128BitUuids = 0x15;
inline constexpr std::uint8_t kServiceData16BitUuids = 0x16;
inline constexpr std::uint8_t kAppearance = 0x19;
inline constexpr std::uint8_t kServiceSolicitation32BitUuids = 0x1F;
inline constexpr std::uint8_t kServiceData32BitUuids = 0x20;
inline constexpr std::uint8_t kServiceData128BitUuids = 0x21;
inline constexpr std::uint8_t kManufacturerSpecificData = 0xFF;
}  // namespace advertisement_data_type

/// The types of the sections in which UUIDs of one size stand.
struct UuidSections {
  std::size_t uuidSize;
  std::uint8_t incompleteServices;
  std::uint8_t completeServices;
  std::uint8_t solicitation;
  std::uint8_t serviceData;
};
inline constexpr UuidSections kUuidSections[] = {
    {2, advertisement_data_type::kIncompleteService16BitUuids,
     advertisement_data_type::kCompleteService16BitUuids,
     advertisement_data_type::kServiceSolicitation16BitUuids,
     advertisement_data_type::kServiceData16BitUuids},
    {4, advertisement_data_type::kIncompleteService32BitUuids,
     advertisement_data_type::kCompleteService32BitUuids,
     advertisement_data_type::kServiceSolicitation32BitUuids,
     advertisement_data_type::kServiceData32BitUuids},
    {16, advertisement_data_type::kIncompleteService128BitUuids,
     advertisement_data_type::kCompleteService128BitUuids,
     advertisement_data_type::kServiceSolicitation128BitUuids,
     advertisement_data_type::kServiceData128BitUuids},
};

/// One advertising data structure. `data` points into the advertisement that holds the section.
struct BluetoothLEAdvertisementDataSection {
  std::uint8_t dataType = 0;
  ByteView data;
};

/// One manufacturer-data section: the company identifier and what follows it.
struct BluetoothLEManufacturerData {
  std::uint16_t companyId = 0;
  ByteView data;
};

/// The contents of one advertising packet (or scan response): its payload and what the payload
/// says. A value meant to be reused packet after packet: `Assign` keeps the storage it has.
/// Neither copied nor moved, since its sections point into its payload.
class BluetoothLEAdvertisement {
 public:
  BluetoothLEAdvertisement() = default;
  explicit BluetoothLEAdvertisement(ByteView payload) { Assign(payload); }
  BluetoothLEAdvertisement(const BluetoothLEAdvertisement&) = delete;
  BluetoothLEAdvertisement& operator=(const BluetoothLEAdvertisement&) = delete;

  /// Takes over a packet's payload: a run of length-type-data structures (Bluetooth Core 5.4,
  /// Vol 3 Part C, 11). A zero length ends the run early; a structure whose length runs past the
  /// end is dropped together with the rest.
  void Assign(ByteView payload);

  /// The complete local name if there is one, else the shortened one, else empty. Bytes that are
  /// not valid UTF-8 appear as U+FFFD.
  const std::u16string& LocalName() const { return localName_; }

  /// The UUIDs of all service UUID lists, in the order of the sections.
  const std::vector<Uuid>& ServiceUuids() const { return serviceUuids_; }

  /// The manufacturer-data sections of at least two bytes, in order.
  const std::vector<BluetoothLEManufacturerData>& ManufacturerData() const {
    return manufacturerData_;
  }

  /// Every section, in order.
  const std::vector<BluetoothLEAdvertisementDataSection>& DataSections() const {
    return dataSections_;
  }

 private:
  Bytes payload_;
  std::u16string localName_;
  std::vector<Uuid> serviceUuids_;
  std::vector<BluetoothLEManufacturerData> manufacturerData_;
  std::vector<BluetoothLEAdvertisementDataSection> dataSections_;
};

enum class BluetoothLEAdvertisementType : std::int32_t {
  ConnectableUndirected = 0,
  ConnectableDirected = 1,
  ScannableUndirected = 2,
  NonConnectableUndirected = 3,
  ScanResponse = 4,
};

enum class BluetoothLEAdvertisementWatcherStatus : std::int32_t {
  Created = 0,
  Started = 1,
  Stopping = 2,
  Stopped = 3,
  Aborted = 4,
};

enum class BluetoothLEScanningMode : std::int32_t { Passive = 0, Active = 1 };

/// Why the radio refused or ended something.
enum class BluetoothError : std::int32_t {
  Success = 0,
  RadioNotAvailable = 1,
  ResourceInUse = 2,
  DeviceNotConnected = 3,
  OtherError = 4,
  DisabledByPolicy = 5,
  NotSupported = 6,
  DisabledByUser = 7,
  ConsentRequired = 8,
  TransportNotSupported = 9,
};

/// One received packet. The advertisement is valid only while the handler runs.
struct BluetoothLEAdvertisementReceivedEventArgs {
  const BluetoothLEAdvertisement& advertisement;
  std::uint64_t bluetoothAddress = 0;  ///< 48 bits
  std::int16_t rawSignalStrengthInDBm = 0;
  BluetoothLEAdvertisementType advertisementType =
      BluetoothLEAdvertisementType::ConnectableUndirected;
};

struct BluetoothLEAdvertisementWatcherStoppedEventArgs {
  BluetoothError error = BluetoothError::Success;
};

/// What a packet must advertise to be reported: all of these service UUIDs. Empty: everything.
struct BluetoothLEAdvertisementFilter {
  std::vector<Uuid> serviceUuids;

  /// A packet is judged by what it says itself, not by earlier packets of its sender.
  bool Passes(const BluetoothLEAdvertisement& advertisement) const;
};

/// Listens for advertisements, once: `Created` until the radio listens, `Started`, `Stopping`, and
/// `Stopped` or `Aborted` at the end. All operations may be called from any thread, event handlers
/// included.
class BluetoothLEAdvertisementWatcher {
 public:
  using Received = EventSource<const BluetoothLEAdvertisementReceivedEventArgs&>;
  using Stopped = EventSource<const BluetoothLEAdvertisementWatcher&,
                              const BluetoothLEAdvertisementWatcherStoppedEventArgs&>;

  virtual ~BluetoothLEAdvertisementWatcher() = default;

  virtual BluetoothLEAdvertisementWatcherStatus Status() const = 0;
  /// Both before `Start`.
  virtual void SetScanningMode(BluetoothLEScanningMode mode) = 0;
  virtual void SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) = 0;

  /// Begins to listen; returns at once, `Status` becomes `Started` when the radio listens. A
  /// radio that cannot listen ends in `Aborted` and raises `Stopped` with the reason. Called once.
  virtual void Start() = 0;
  /// Ends listening, also where it has not begun yet; returns at once. `Stopped` is raised once,
  /// after the status has changed. Nothing happens when the watcher is over already.
  virtual void Stop() = 0;

  /// Each call gives a signal of the caller's own. `Begun` is set once the radio listens or was
  /// told to stop, or `Stopped` has been raised; `Over` once the status is `Stopped` or `Aborted`.
  virtual Latch::SignalPtr Begun() = 0;
  virtual Latch::SignalPtr Over() = 0;

  /// Both are raised on the platform's threads, `Received` possibly on several at once.
  [[nodiscard]] virtual EventToken OnReceived(Received::Handler handler) = 0;
  [[nodiscard]] virtual EventToken OnStopped(Stopped::Handler handler) = 0;
};

}  // namespace ble

#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "backends/simulated/Capture.h"
#include "backends/simulated/Fault.h"
#include "base/Bytes.h"
#include "base/Uuid.h"
#include "platform/BluetoothAdvertisement.h"

/// The contents of a scenario file: what a simulated radio hears and whom it can connect to.
/// Plain data; the loader fills it, the radio plays it. All durations are simulated time.
namespace ble::simulated {

using std::chrono::milliseconds;

struct AdapterScenario {
  bool present = true;
  bool lowEnergy = true;
  std::uint64_t address = 0;
  milliseconds scanStartLatency{0};          ///< from Start to Started
  bool neverStarts = false;                  ///< the watcher stays Created
  std::optional<BluetoothError> startError;  ///< Start ends in Aborted with this reason
  std::vector<Fault> faults;                 ///< of its look-up
};

/// The lower bound of every interval: with none, an event could repeat for ever at one point in
/// time.
inline constexpr std::chrono::milliseconds kShortestInterval{1};

/// What an attribute holds and how it answers. Errors are ATT error bytes, sent instead of an
/// answer.
struct AttributeRules {
  Bytes value;
  std::size_t maxLength = 512;  ///< longest value that can be written
  std::optional<std::uint8_t> readError;
  std::optional<std::uint8_t> writeError;
  milliseconds responseDelay{0};
  bool neverResponds = false;
};

struct AttributeScenario : AttributeRules {
  std::optional<std::uint16_t> handle;  ///< assigned in order when absent
  Uuid uuid;
};

struct DescriptorScenario : AttributeScenario {
  bool writable = false;
};

/// Values sent one after another while a client is subscribed.
struct ValueStream {
  milliseconds interval{1000};
  std::vector<Bytes> values;
  bool repeat = true;
};

/// `handle` is the declaration's; the value has the next one. A client characteristic
/// configuration descriptor is added when the properties ask for one and none is listed.
struct CharacteristicScenario : AttributeScenario {
  std::uint32_t properties = 0;  ///< bits of `gatt_characteristic_properties`
  std::vector<DescriptorScenario> descriptors;
  std::optional<ValueStream> stream;
  bool echo = false;  ///< what is written comes back as a notification or indication
};

struct ServiceScenario {
  std::string id;  ///< what `includes` of other services refer to; may be empty
  std::optional<std::uint16_t> handle;
  Uuid uuid;
  bool primary = true;
  std::vector<std::string> includes;  ///< ids; cycles are allowed
  std::vector<CharacteristicScenario> characteristics;
};

struct AdvertisingScenario {
  milliseconds interval{100};
  BluetoothLEAdvertisementType type = BluetoothLEAdvertisementType::ConnectableUndirected;
  std::int16_t rssi = -60;
  Bytes data;
  std::optional<Bytes> scanResponse;   ///< sent after each packet while scanning actively
  std::optional<std::uint32_t> count;  ///< packets per scan; no limit when absent
};

/// Something that happens to a peripheral while it is connected.
struct PeripheralEvent {
  enum class Kind { DropLink, RestoreLink, ChangeName, ChangeServices };
  Kind kind = Kind::DropLink;
  milliseconds at{0};  ///< after the link opened (RestoreLink: after it dropped)
  std::optional<std::uint32_t> afterRequests;  ///< instead of `at`: on the n-th ATT request
  std::string name;                            ///< ChangeName, UTF-8
  std::vector<ServiceScenario> services;       ///< ChangeServices: the new database
};

struct PeripheralScenario {
  std::uint64_t address = 0;
  bool randomAddress = false;
  std::string name;  ///< UTF-8
  std::optional<AdvertisingScenario> advertising;
  bool connectable = true;  ///< false: the link cannot be opened
  milliseconds connectLatency{0};
  milliseconds responseDelay{0};  ///< before every ATT response
  std::uint16_t mtu = 247;        ///< ATT_MTU the server offers, at least 23
  std::vector<ServiceScenario> services;
  std::vector<PeripheralEvent> events;
  std::vector<Fault> faults;  ///< of the look-up of the device and of its GATT operations
};

struct CaptureScenario {
  enum class Pace { Recorded, Fast };
  std::filesystem::path file;  ///< absolute, or relative to the working directory
  Pace pace = Pace::Recorded;
  bool repeat = false;
  std::vector<CapturedReport> reports;  ///< what the file holds
};

/// Something that happens to the radio while it scans.
struct RadioEvent {
  milliseconds at{0};                                        ///< after the scan started
  BluetoothError error = BluetoothError::RadioNotAvailable;  ///< the reason it aborts the scan
};

struct Scenario {
  bool virtualTime = false;
  AdapterScenario adapter;
  std::vector<PeripheralScenario> peripherals;
  std::vector<CaptureScenario> captures;
  std::vector<RadioEvent> radioEvents;
};

}  // namespace ble::simulated

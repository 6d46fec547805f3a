/// CorvaneBLE for C++17 and later: one header over corvaneble.h, nothing to link beyond the
/// library.
///
///     corvaneble::Client client;
///     client.OnAdvertisement([](const corvaneble::AdvertisementEvent& heard) {
///       std::cout << heard.serverId << ' ' << heard.rssi << " dBm\n";  // on a thread of the radio
///     });
///     client.StartScanning("180D");
///     client.DoEventsUntil([] { return false; }, 250);  // five seconds
///
/// A failure throws `Error`, with the library's code and text. Texts are UTF-8 on every platform.
/// Results and events are copies that belong to the program; it never holds a pointer into the
/// library. corvaneble.h documents, under the property or method of the same name, the meaning of
/// numbers and the errors of each member.
///
/// Threads. One thread at a time may use a client; its handlers may use it too, on any thread.
/// Events that a method raises arrive inside the call; advertisements, notifications and changes of
/// the link and of the server arrive on threads of the radio, several at once. A program that
/// handles everything on one thread queues them with `OnAnyEvent` and `OnMethodEnd`. Handlers may
/// be set at any time, from any thread. The last error belongs to the client, not to the thread: an
/// `Error` may carry the wrong text if a handler on another thread fails at the same moment.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "corvaneble/corvaneble.h"

namespace corvaneble {

using Bytes = std::vector<std::uint8_t>;

/// The bytes of a text, to be written as a value.
inline Bytes ToBytes(std::string_view text) {
  return {text.begin(), text.end()};
}

/// The elements of a list separated by commas, such as `AdvertisementEvent::serviceUuids`.
inline std::vector<std::string> SplitList(std::string_view list) {
  std::vector<std::string> elements;
  while (!list.empty()) {
    const std::size_t comma = list.find(',');
    elements.emplace_back(list.substr(0, comma));
    list.remove_prefix(comma == list.npos ? list.size() : comma + 1);
  }
  return elements;
}

/// An operation that failed: CorvaneBLE_Error and the library's text.
class Error : public std::runtime_error {
 public:
  Error(std::int32_t code, const std::string& text) : std::runtime_error(text), code_(code) {}
  [[nodiscard]] std::int32_t Code() const noexcept { return code_; }

 private:
  std::int32_t code_;
};

/// What a characteristic allows; a set of bits.
enum class Flags : std::int32_t {
  None = 0,
  Broadcast = CORVANEBLE_FLAG_BROADCAST,
  Read = CORVANEBLE_FLAG_READ,
  WriteWithoutResponse = CORVANEBLE_FLAG_WRITE_WITHOUT_RESPONSE,
  Write = CORVANEBLE_FLAG_WRITE,
  Notify = CORVANEBLE_FLAG_NOTIFY,
  Indicate = CORVANEBLE_FLAG_INDICATE,
  AuthenticatedSignedWrites = CORVANEBLE_FLAG_AUTHENTICATED_SIGNED_WRITES,
  ReliableWrites = CORVANEBLE_FLAG_RELIABLE_WRITES,
  WritableAuxiliaries = CORVANEBLE_FLAG_WRITABLE_AUXILIARIES,
};

constexpr Flags operator|(Flags a, Flags b) {
  return static_cast<Flags>(static_cast<std::int32_t>(a) | static_cast<std::int32_t>(b));
}
constexpr Flags operator&(Flags a, Flags b) {
  return static_cast<Flags>(static_cast<std::int32_t>(a) & static_cast<std::int32_t>(b));
}
/// Whether `flags` has any of `wanted`.
constexpr bool HasAny(Flags flags, Flags wanted) {
  return (flags & wanted) != Flags::None;
}

/// How the bytes of a value are to be read; all numbers little-endian.
enum class ValueFormat : std::int32_t {
  Unknown = CORVANEBLE_FORMAT_UNKNOWN,
  Boolean = CORVANEBLE_FORMAT_BOOLEAN,
  Bit2 = CORVANEBLE_FORMAT_BIT2,
  Nibble = CORVANEBLE_FORMAT_NIBBLE,
  UInt8 = CORVANEBLE_FORMAT_UINT8,
  UInt12 = CORVANEBLE_FORMAT_UINT12,
  UInt16 = CORVANEBLE_FORMAT_UINT16,
  UInt24 = CORVANEBLE_FORMAT_UINT24,
  UInt32 = CORVANEBLE_FORMAT_UINT32,
  UInt48 = CORVANEBLE_FORMAT_UINT48,
  UInt64 = CORVANEBLE_FORMAT_UINT64,
  UInt128 = CORVANEBLE_FORMAT_UINT128,
  SInt8 = CORVANEBLE_FORMAT_SINT8,
  SInt12 = CORVANEBLE_FORMAT_SINT12,
  SInt16 = CORVANEBLE_FORMAT_SINT16,
  SInt24 = CORVANEBLE_FORMAT_SINT24,
  SInt32 = CORVANEBLE_FORMAT_SINT32,
  SInt48 = CORVANEBLE_FORMAT_SINT48,
  SInt64 = CORVANEBLE_FORMAT_SINT64,
  SInt128 = CORVANEBLE_FORMAT_SINT128,
  Float32 = CORVANEBLE_FORMAT_FLOAT32,
  Float64 = CORVANEBLE_FORMAT_FLOAT64,
  SFloat = CORVANEBLE_FORMAT_SFLOAT,
  Float = CORVANEBLE_FORMAT_FLOAT,
  DUInt16 = CORVANEBLE_FORMAT_DUINT16,
  Utf8 = CORVANEBLE_FORMAT_UTF8,
  Utf16 = CORVANEBLE_FORMAT_UTF16,
  Struct = CORVANEBLE_FORMAT_STRUCT,
};

enum class LogLevel : std::int32_t {
  None = CORVANEBLE_LOG_NONE,
  Info = CORVANEBLE_LOG_INFO,
  Detail = CORVANEBLE_LOG_DETAIL,
  Debug = CORVANEBLE_LOG_DEBUG,
};

enum class GattType : std::int32_t {
  Service = CORVANEBLE_GATT_SERVICE,
  Characteristic = CORVANEBLE_GATT_CHARACTERISTIC,
  Descriptor = CORVANEBLE_GATT_DESCRIPTOR,
};

/// A discovered service, as it was when it was asked for. `description` is the assigned name, or
/// empty.
struct Service {
  std::string id;
  std::string uuid;
  std::string description;
  std::vector<std::string> includedServiceIds;
  std::vector<std::string> parentServiceIds;
};

struct Characteristic {
  std::string id;
  std::string uuid;
  std::string description;
  Flags flags = Flags::None;

  [[nodiscard]] bool CanSubscribe() const { return HasAny(flags, Flags::Notify | Flags::Indicate); }
};

struct Descriptor {
  std::string id;
  std::string uuid;
  std::string description;
};

/// One advertising packet.
struct AdvertisementEvent {
  std::string serverId;
  std::string name;
  std::int32_t rssi = 0;                ///< dBm
  std::optional<std::int32_t> txPower;  ///< dBm
  std::string serviceUuids;             ///< separated by commas, as are the next two
  std::string servicesWithData;
  std::string solicitedServiceUuids;
  std::optional<std::uint16_t> companyId;  ///< of the first section of manufacturer data
  Bytes manufacturerData;                  ///< of the same section
  bool isConnectable = false;
  bool isScanResponse = false;
};

struct ConnectedEvent {
  std::int32_t code = 0;
  std::string text;  ///< "OK", "Online" when a lost link is back, or why it failed
};

struct DisconnectedEvent {
  std::int32_t code = 0;
  std::string text;  ///< "OK", or "Offline" when the link was lost
};

struct DiscoveredEvent {
  GattType type = GattType::Service;
  std::string serviceId;
  std::string characteristicId;
  std::string descriptorId;
  std::string uuid;
  std::string description;
};

struct ErrorEvent {
  std::int32_t code = 0;
  std::string text;
};

struct LogEvent {
  LogLevel level = LogLevel::Info;
  std::string message;
  std::string type;
};

struct ServerUpdateEvent {
  std::string name;             ///< the new one, or empty
  std::string changedServices;  ///< what is known of them, or empty
};

struct StartScanEvent {
  std::string serviceUuids;
};

struct StopScanEvent {
  std::int32_t code = 0;
  std::string text;
};

struct SubscribedEvent {
  std::string serviceId;
  std::string characteristicId;
  std::string uuid;
  std::string description;
};

struct UnsubscribedEvent {
  std::string serviceId;
  std::string characteristicId;
  std::string uuid;
  std::string description;
};

/// A value that was read, or came by notification or indication.
struct ValueEvent {
  std::string serviceId;
  std::string characteristicId;
  std::string descriptorId;  ///< empty for the value of the characteristic itself
  std::string uuid;
  std::string description;
  Bytes value;
};

struct WriteResponseEvent {
  std::string serviceId;
  std::string characteristicId;
  std::string descriptorId;
  std::string uuid;
  std::string description;
};

/// Any event of the library. The alternatives are in the order of CorvaneBLE_Event.
using AnyEvent =
    std::variant<AdvertisementEvent, ConnectedEvent, DisconnectedEvent, DiscoveredEvent, ErrorEvent,
                 LogEvent, ServerUpdateEvent, StartScanEvent, StopScanEvent, SubscribedEvent,
                 UnsubscribedEvent, ValueEvent, WriteResponseEvent>;

/// The end of a method. The client itself raises it, not the library.
struct MethodEndEvent {
  std::int32_t method = 0;  ///< CorvaneBLE_Method
  std::int32_t code = 0;    ///< CorvaneBLE_Error
};

template <class Event>
using Handler = std::function<void(const Event&)>;

namespace detail {

/// The parameters of an event while its callback runs.
class EventParameters {
 public:
  EventParameters(const std::intptr_t* params, const std::int32_t* lengths)
      : params_(params), lengths_(lengths) {}

  [[nodiscard]] std::int32_t Integer(int i) const { return static_cast<std::int32_t>(params_[i]); }
  [[nodiscard]] bool Boolean(int i) const { return params_[i] != 0; }
  [[nodiscard]] std::string Text(int i) const { return reinterpret_cast<const char*>(params_[i]); }
  [[nodiscard]] Bytes Data(int i) const {
    const auto* data = reinterpret_cast<const std::uint8_t*>(params_[i]);
    return Bytes(data, data + lengths_[i]);
  }

 private:
  const std::intptr_t* params_;
  const std::int32_t* lengths_;
};

template <class Event>
Event Decode(const EventParameters& p);

template <>
inline AdvertisementEvent Decode(const EventParameters& p) {
  AdvertisementEvent event;
  event.serverId = p.Text(0);
  event.name = p.Text(1);
  event.rssi = p.Integer(2);
  if (p.Integer(3) != CORVANEBLE_TX_POWER_ABSENT) event.txPower = p.Integer(3);
  event.serviceUuids = p.Text(4);
  event.servicesWithData = p.Text(5);
  event.solicitedServiceUuids = p.Text(6);
  if (p.Integer(7) != CORVANEBLE_COMPANY_ABSENT)
    event.companyId = static_cast<std::uint16_t>(p.Integer(7));
  event.manufacturerData = p.Data(8);
  event.isConnectable = p.Boolean(9);
  event.isScanResponse = p.Boolean(10);
  return event;
}
template <>
inline ConnectedEvent Decode(const EventParameters& p) {
  return {p.Integer(0), p.Text(1)};
}
template <>
inline DisconnectedEvent Decode(const EventParameters& p) {
  return {p.Integer(0), p.Text(1)};
}
template <>
inline DiscoveredEvent Decode(const EventParameters& p) {
  return {
      static_cast<GattType>(p.Integer(0)), p.Text(1), p.Text(2), p.Text(3), p.Text(4), p.Text(5)};
}
template <>
inline ErrorEvent Decode(const EventParameters& p) {
  return {p.Integer(0), p.Text(1)};
}
template <>
inline LogEvent Decode(const EventParameters& p) {
  return {static_cast<LogLevel>(p.Integer(0)), p.Text(1), p.Text(2)};
}
template <>
inline ServerUpdateEvent Decode(const EventParameters& p) {
  return {p.Text(0), p.Text(1)};
}
template <>
inline StartScanEvent Decode(const EventParameters& p) {
  return {p.Text(0)};
}
template <>
inline StopScanEvent Decode(const EventParameters& p) {
  return {p.Integer(0), p.Text(1)};
}
template <>
inline SubscribedEvent Decode(const EventParameters& p) {
  return {p.Text(0), p.Text(1), p.Text(2), p.Text(3)};
}
template <>
inline UnsubscribedEvent Decode(const EventParameters& p) {
  return {p.Text(0), p.Text(1), p.Text(2), p.Text(3)};
}
template <>
inline ValueEvent Decode(const EventParameters& p) {
  return {p.Text(0), p.Text(1), p.Text(2), p.Text(3), p.Text(4), p.Data(5)};
}
template <>
inline WriteResponseEvent Decode(const EventParameters& p) {
  return {p.Text(0), p.Text(1), p.Text(2), p.Text(3), p.Text(4)};
}

/// The handlers, one for each kind of event. May be used on any thread.
template <class Any>
class HandlerTable;
template <class... Events>
class HandlerTable<std::variant<Events...>> {
 public:
  // A handler that is running stays alive while it is replaced.
  template <class Event>
  using Slot = std::shared_ptr<const Handler<Event>>;

  template <class Event>
  [[nodiscard]] Slot<Event> Get() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::get<Slot<Event>>(slots_);
  }
  template <class Event>
  void Set(Handler<Event> handler) {
    auto fresh = handler ? std::make_shared<const Handler<Event>>(std::move(handler)) : nullptr;
    const std::lock_guard<std::mutex> lock(mutex_);
    std::get<Slot<Event>>(slots_).swap(fresh);  // the former one dies after the lock
  }
  void SetAll(const std::function<void(AnyEvent)>& handler) { (Set<Events>(handler), ...); }

  /// Calls the handler for an event of the library. Events of later versions have none.
  void Call(std::int32_t eventId, const EventParameters& parameters) {
    std::int32_t id = 0;
    ((++id == eventId ? Call<Events>(parameters) : void()), ...);
  }

 private:
  template <class Event>
  void Call(const EventParameters& parameters) {
    if (const auto handler = Get<Event>()) (*handler)(Decode<Event>(parameters));
  }

  std::mutex mutex_;  // guards the slots
  std::tuple<Slot<Events>..., Slot<MethodEndEvent>> slots_;
};

/// The instance and its handlers. The library's callback gets its address, so it never moves.
class Core : public std::enable_shared_from_this<Core> {
 public:
  Core() : handle_(CorvaneBLE_BLEClient_Create(&Core::OnEvent, this, nullptr, 0)) {
    if (!handle_) throw std::bad_alloc();
  }
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;
  ~Core() { Destroy(); }

  /// Null once it is destroyed; every function of the library accepts null.
  [[nodiscard]] CorvaneBLE_Handle Handle() const { return handle_; }

  void Destroy() {
    if (const CorvaneBLE_Handle handle = handle_.exchange(nullptr))
      CorvaneBLE_BLEClient_Destroy(handle);
  }

  /// The exception for an operation that ended with `code`; none for 0.
  [[nodiscard]] std::optional<Error> Failure(std::int32_t code) const {
    if (code == 0) return std::nullopt;
    const char* text = CorvaneBLE_BLEClient_GetLastError(Handle());
    return Error(code, text != nullptr ? text : "The client has been destroyed.");
  }
  void Check(std::int32_t code) const {
    if (const auto failure = Failure(code)) throw *failure;
  }

  HandlerTable<AnyEvent>& Handlers() { return handlers_; }

 private:
  /// Catches what a handler throws: no exception may pass through the library.
  static std::int32_t CORVANEBLE_CALL OnEvent(void* self, std::int32_t eventId,
                                              std::int32_t /*paramCount*/,
                                              const std::intptr_t* params,
                                              const std::int32_t* lengths) noexcept {
    // A handler may destroy the client.
    const std::shared_ptr<Core> core = static_cast<Core*>(self)->weak_from_this().lock();
    if (!core) return 0;
    try {
      core->handlers_.Call(eventId, {params, lengths});
      return 0;
    } catch (const Error& error) {
      return core->ReportEventError(error.Code(), error.what());
    } catch (const std::bad_alloc&) {
      return core->ReportEventError(CORVANEBLE_ERROR_OUT_OF_MEMORY, "Out of memory.");
    } catch (const std::exception& error) {
      return core->ReportEventError(CORVANEBLE_ERROR_UNKNOWN, error.what());
    } catch (...) {
      return core->ReportEventError(CORVANEBLE_ERROR_UNKNOWN, "Unknown exception.");
    }
  }

  std::int32_t ReportEventError(std::int32_t code, const char* text) const {
    if (code == 0) code = CORVANEBLE_ERROR_UNKNOWN;
    return CorvaneBLE_BLEClient_SetEventErrorAndCode(Handle(), code, text);
  }

  HandlerTable<AnyEvent> handlers_;
  std::atomic<CorvaneBLE_Handle> handle_;
};

}  // namespace detail

/// One instance of the library. A client that was moved from can be destroyed and assigned to, and
/// nothing else.
class Client {
 public:
  /// Throws std::bad_alloc. An unavailable radio is reported when it is first used.
  Client() : core_(std::make_shared<detail::Core>()) { Config("CodePage", "65001"); }
  Client(Client&&) noexcept = default;
  Client& operator=(Client&& other) noexcept {
    std::swap(core_, other.core_);
    if (this != &other) other.Destroy();
    return *this;
  }
  /// Waits for handlers running on other threads; none runs afterwards. May be called from inside
  /// one.
  ~Client() { Destroy(); }

  /// For the functions of corvaneble.h.
  [[nodiscard]] CorvaneBLE_Handle Handle() const { return core_->Handle(); }

  // Scanning.

  void StartScanning(const std::string& serviceUuids = {}) {
    Call(CORVANEBLE_METHOD_START_SCANNING, serviceUuids);
  }
  void StopScanning() { Call(CORVANEBLE_METHOD_STOP_SCANNING); }
  [[nodiscard]] bool Scanning() const { return Number(CORVANEBLE_PROPERTY_SCANNING) != 0; }
  [[nodiscard]] bool ActiveScanning() const {
    return Number(CORVANEBLE_PROPERTY_ACTIVE_SCANNING) != 0;
  }
  void SetActiveScanning(bool active) { SetNumber(CORVANEBLE_PROPERTY_ACTIVE_SCANNING, active); }

  // The server.

  void Connect(const std::string& serverId) { Call(CORVANEBLE_METHOD_CONNECT, serverId); }
  void Disconnect() { Call(CORVANEBLE_METHOD_DISCONNECT); }
  [[nodiscard]] std::string ServerId() const { return Text(CORVANEBLE_PROPERTY_SERVER_ID); }
  [[nodiscard]] std::string ServerName() const { return Text(CORVANEBLE_PROPERTY_SERVER_NAME); }

  // Discovery.

  void Discover(const std::string& serviceUuids = {}, const std::string& characteristicUuids = {},
                bool descriptors = false, const std::string& includedByServiceId = {}) {
    std::intptr_t params[] = {Pointer(serviceUuids), Pointer(characteristicUuids), descriptors,
                              Pointer(includedByServiceId)};
    std::int32_t lengths[4] = {};
    Do(CORVANEBLE_METHOD_DISCOVER, 4, params, lengths);
  }
  void DiscoverServices(const std::string& serviceUuids = {},
                        const std::string& includedByServiceId = {}) {
    Call(CORVANEBLE_METHOD_DISCOVER_SERVICES, serviceUuids, includedByServiceId);
  }
  void DiscoverCharacteristics(const std::string& serviceId,
                               const std::string& characteristicUuids = {}) {
    Call(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, serviceId, characteristicUuids);
  }
  void DiscoverDescriptors(const std::string& serviceId, const std::string& characteristicId) {
    Call(CORVANEBLE_METHOD_DISCOVER_DESCRIPTORS, serviceId, characteristicId);
  }

  // What was discovered: all services, the characteristics of the selected service, the descriptors
  // of the selected characteristic.

  [[nodiscard]] std::vector<Service> Services() const {
    std::vector<Service> list(static_cast<std::size_t>(ServiceCount()));
    for (std::size_t n = 0; n < list.size(); ++n) {
      const int i = static_cast<int>(n);
      list[n] = {ServiceId(i), ServiceUuid(i), ServiceDescription(i),
                 SplitList(ServiceIncludedSvcIds(i)), SplitList(ServiceParentSvcIds(i))};
    }
    return list;
  }
  [[nodiscard]] std::vector<Characteristic> Characteristics() const {
    std::vector<Characteristic> list(static_cast<std::size_t>(CharacteristicCount()));
    for (std::size_t n = 0; n < list.size(); ++n) {
      const int i = static_cast<int>(n);
      list[n] = {CharacteristicId(i), CharacteristicUuid(i), CharacteristicDescription(i),
                 CharacteristicFlags(i)};
    }
    return list;
  }
  /// Selects a service first.
  [[nodiscard]] std::vector<Characteristic> Characteristics(const std::string& serviceId) {
    Select(serviceId);
    return Characteristics();
  }
  [[nodiscard]] std::vector<Descriptor> Descriptors() const {
    std::vector<Descriptor> list(static_cast<std::size_t>(DescriptorCount()));
    for (std::size_t n = 0; n < list.size(); ++n) {
      const int i = static_cast<int>(n);
      list[n] = {DescriptorId(i), DescriptorUuid(i), DescriptorDescription(i)};
    }
    return list;
  }
  /// Selects a service and one of its characteristics first.
  [[nodiscard]] std::vector<Descriptor> Descriptors(const std::string& serviceId,
                                                    const std::string& characteristicId) {
    Select(serviceId, characteristicId);
    return Descriptors();
  }

  void Select(const std::string& serviceId, const std::string& characteristicId = {}) {
    Call(CORVANEBLE_METHOD_SELECT, serviceId, characteristicId);
  }
  [[nodiscard]] std::string SelectedService() const { return Text(CORVANEBLE_PROPERTY_SERVICE); }
  void SetSelectedService(const std::string& id) { SetText(CORVANEBLE_PROPERTY_SERVICE, id); }
  [[nodiscard]] std::string SelectedCharacteristic() const {
    return Text(CORVANEBLE_PROPERTY_CHARACTERISTIC);
  }
  void SetSelectedCharacteristic(const std::string& id) {
    SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC, id);
  }

  // Services, by index.

  [[nodiscard]] int ServiceCount() const { return Number(CORVANEBLE_PROPERTY_SERVICE_COUNT); }
  [[nodiscard]] std::string ServiceId(int i) const {
    return Text(CORVANEBLE_PROPERTY_SERVICE_ID, i);
  }
  [[nodiscard]] std::string ServiceUuid(int i) const {
    return Text(CORVANEBLE_PROPERTY_SERVICE_UUID, i);
  }
  [[nodiscard]] std::string ServiceDescription(int i) const {
    return Text(CORVANEBLE_PROPERTY_SERVICE_DESCRIPTION, i);
  }
  [[nodiscard]] std::string ServiceIncludedSvcIds(int i) const {
    return Text(CORVANEBLE_PROPERTY_SERVICE_INCLUDED_SVC_IDS, i);
  }
  [[nodiscard]] std::string ServiceParentSvcIds(int i) const {
    return Text(CORVANEBLE_PROPERTY_SERVICE_PARENT_SVC_IDS, i);
  }

  // Characteristics of the selected service, by index.

  [[nodiscard]] int CharacteristicCount() const {
    return Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT);
  }
  void SetCharacteristicCount(int count) {
    SetNumber(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT, count);
  }
  [[nodiscard]] std::string CharacteristicId(int i) const {
    return Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, i);
  }
  [[nodiscard]] std::string CharacteristicUuid(int i) const {
    return Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID, i);
  }
  [[nodiscard]] std::string CharacteristicDescription(int i) const {
    return Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_DESCRIPTION, i);
  }
  [[nodiscard]] Flags CharacteristicFlags(int i) const {
    return static_cast<Flags>(Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS, i));
  }
  [[nodiscard]] bool CharacteristicCanSubscribe(int i) const {
    return Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_CAN_SUBSCRIBE, i) != 0;
  }
  /// Asks the device unless it is already known.
  [[nodiscard]] bool CharacteristicSubscribed(int i) const {
    return Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, i) != 0;
  }
  void SetCharacteristicSubscribed(int i, bool subscribed) {
    SetNumber(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, subscribed, i);
  }
  [[nodiscard]] Bytes CharacteristicCachedValue(int i) const {
    return Data(CORVANEBLE_PROPERTY_CHARACTERISTIC_CACHED_VALUE, i);
  }
  [[nodiscard]] std::string CharacteristicUserDescription(int i) const {
    return Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, i);
  }
  void SetCharacteristicUserDescription(int i, const std::string& description) {
    SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, description, i);
  }
  [[nodiscard]] int CharacteristicValueFormatCount(int i) const {
    return Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_COUNT, i);
  }
  [[nodiscard]] int CharacteristicValueFormatIndex(int i) const {
    return Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, i);
  }
  void SetCharacteristicValueFormatIndex(int i, int formatIndex) {
    SetNumber(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, formatIndex, i);
  }
  [[nodiscard]] ValueFormat CharacteristicValueFormat(int i) const {
    return static_cast<ValueFormat>(Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT, i));
  }
  [[nodiscard]] int CharacteristicValueExponent(int i) const {
    return Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_EXPONENT, i);
  }
  [[nodiscard]] std::string CharacteristicValueUnit(int i) const {
    return Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT, i);
  }

  // Descriptors of the selected characteristic, by index.

  [[nodiscard]] int DescriptorCount() const { return Number(CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT); }
  [[nodiscard]] std::string DescriptorId(int i) const {
    return Text(CORVANEBLE_PROPERTY_DESCRIPTOR_ID, i);
  }
  [[nodiscard]] std::string DescriptorUuid(int i) const {
    return Text(CORVANEBLE_PROPERTY_DESCRIPTOR_UUID, i);
  }
  [[nodiscard]] std::string DescriptorDescription(int i) const {
    return Text(CORVANEBLE_PROPERTY_DESCRIPTOR_DESCRIPTION, i);
  }
  [[nodiscard]] Bytes DescriptorCachedValue(int i) const {
    return Data(CORVANEBLE_PROPERTY_DESCRIPTOR_CACHED_VALUE, i);
  }

  // Values. An empty descriptor stands for the characteristic's own value.

  Bytes ReadValue(const std::string& serviceId, const std::string& characteristicId,
                  const std::string& descriptorId = {}) {
    std::intptr_t params[] = {Pointer(serviceId), Pointer(characteristicId), Pointer(descriptorId),
                              0};
    std::int32_t lengths[4] = {};
    Bytes value;
    Do(CORVANEBLE_METHOD_READ_VALUE, 4, params, lengths,
       [&] { value = Copy(params[3], lengths[3]); });
    return value;
  }
  void WriteValue(const std::string& serviceId, const std::string& characteristicId,
                  const std::string& descriptorId, const Bytes& value) {
    std::intptr_t params[] = {Pointer(serviceId), Pointer(characteristicId), Pointer(descriptorId),
                              reinterpret_cast<std::intptr_t>(value.data())};
    std::int32_t lengths[] = {0, 0, 0, static_cast<std::int32_t>(value.size())};
    Do(CORVANEBLE_METHOD_WRITE_VALUE, 4, params, lengths);
  }
  void WriteValue(const std::string& serviceId, const std::string& characteristicId,
                  const Bytes& value) {
    WriteValue(serviceId, characteristicId, {}, value);
  }
  void PostValue(const std::string& serviceId, const std::string& characteristicId,
                 const Bytes& value) {
    std::intptr_t params[] = {Pointer(serviceId), Pointer(characteristicId),
                              reinterpret_cast<std::intptr_t>(value.data())};
    std::int32_t lengths[] = {0, 0, static_cast<std::int32_t>(value.size())};
    Do(CORVANEBLE_METHOD_POST_VALUE, 3, params, lengths);
  }
  void Subscribe(const std::string& serviceId, const std::string& characteristicId) {
    Call(CORVANEBLE_METHOD_SUBSCRIBE, serviceId, characteristicId);
  }
  /// Of a whole service without `characteristicId`, of everything without both.
  void Unsubscribe(const std::string& serviceId = {}, const std::string& characteristicId = {}) {
    Call(CORVANEBLE_METHOD_UNSUBSCRIBE, serviceId, characteristicId);
  }

  // Waiting, settings, errors.

  /// Lets due work run, for about 20 ms at most.
  void DoEvents() { Call(CORVANEBLE_METHOD_DO_EVENTS); }
  /// Calls `DoEvents` until `done()`, at most `steps` times. Returns whether it is done.
  template <class Predicate>
  bool DoEventsUntil(Predicate done, int steps) {
    for (; !done(); --steps) {
      if (steps <= 0) return false;
      DoEvents();
    }
    return true;
  }

  /// Seconds that each operation of the radio may take.
  [[nodiscard]] int Timeout() const { return Number(CORVANEBLE_PROPERTY_TIMEOUT); }
  void SetTimeout(int seconds) { SetNumber(CORVANEBLE_PROPERTY_TIMEOUT, seconds); }

  /// Reads or writes a setting: "Name", "Name[index]" or "Name=value". An answer that is made of
  /// bytes ends at the first 0 byte.
  std::string Config(const std::string& text) {
    std::intptr_t params[] = {Pointer(text), 0};
    std::int32_t lengths[2] = {};
    std::string answer;
    Do(CORVANEBLE_METHOD_CONFIG, 2, params, lengths, [&] { answer = OrEmpty(params[1]); });
    return answer;
  }
  void Config(const std::string& name, const std::string& value) { Config(name + '=' + value); }

  [[nodiscard]] std::string Version() const {  // the one read that leaves the last error alone
    return OrEmpty(
        CorvaneBLE_BLEClient_Get(Handle(), CORVANEBLE_PROPERTY_VERSION, 0, nullptr, nullptr));
  }

  /// The exception that a handler threw last, if one did since `ClearEventError`. Its code is -1
  /// unless the exception was an `Error` or std::bad_alloc.
  [[nodiscard]] std::optional<Error> EventError() const {
    const std::int32_t code = CorvaneBLE_BLEClient_GetEventErrorCode(Handle());
    if (code == 0) return std::nullopt;
    const char* text = CorvaneBLE_BLEClient_GetEventError(Handle());
    return Error(code, text != nullptr ? text : "");
  }
  void ClearEventError() { CorvaneBLE_BLEClient_SetEventErrorAndCode(Handle(), 0, ""); }

  // Events: one handler for each, an empty one for none. A handler may call anything; an exception
  // that it throws becomes the `EventError`.

  void OnAdvertisement(Handler<AdvertisementEvent> handler) { Set(std::move(handler)); }
  void OnConnected(Handler<ConnectedEvent> handler) { Set(std::move(handler)); }
  void OnDisconnected(Handler<DisconnectedEvent> handler) { Set(std::move(handler)); }
  void OnDiscovered(Handler<DiscoveredEvent> handler) { Set(std::move(handler)); }
  void OnError(Handler<ErrorEvent> handler) { Set(std::move(handler)); }
  void OnLog(Handler<LogEvent> handler) { Set(std::move(handler)); }
  void OnServerUpdate(Handler<ServerUpdateEvent> handler) { Set(std::move(handler)); }
  void OnStartScan(Handler<StartScanEvent> handler) { Set(std::move(handler)); }
  void OnStopScan(Handler<StopScanEvent> handler) { Set(std::move(handler)); }
  void OnSubscribed(Handler<SubscribedEvent> handler) { Set(std::move(handler)); }
  void OnUnsubscribed(Handler<UnsubscribedEvent> handler) { Set(std::move(handler)); }
  void OnValue(Handler<ValueEvent> handler) { Set(std::move(handler)); }
  void OnWriteResponse(Handler<WriteResponseEvent> handler) { Set(std::move(handler)); }

  /// Sets one handler for all of these. It owns the event it is given and may keep it for another
  /// thread.
  void OnAnyEvent(const std::function<void(AnyEvent)>& handler) {
    core_->Handlers().SetAll(handler);
  }
  /// Called at the end of every method, on the thread that called it, before a failure is thrown.
  /// Here a program can handle events that it kept for this thread. An exception that it throws
  /// leaves the method.
  void OnMethodEnd(Handler<MethodEndEvent> handler) { Set(std::move(handler)); }

 private:
  static std::intptr_t Pointer(const std::string& text) {
    return reinterpret_cast<std::intptr_t>(text.c_str());
  }
  static const char* OrEmpty(std::intptr_t value) {
    // Not reinterpret_cast: GCC 12 then takes the text to be no longer than the array it came from.
    const char* text = nullptr;
    std::memcpy(&text, &value, sizeof text);
    return text != nullptr ? text : "";
  }
  static Bytes Copy(std::intptr_t data, std::int32_t size) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(data);
    return bytes != nullptr ? Bytes(bytes, bytes + size) : Bytes();
  }

  void Destroy() {
    if (core_) core_->Destroy();
  }

  template <class Event>
  void Set(Handler<Event> handler) {
    core_->Handlers().Set(std::move(handler));
  }

  // These share the core: a handler that runs inside the call may destroy the client.

  void Do(std::int32_t method, std::int32_t count, std::intptr_t* params, std::int32_t* lengths) {
    Do(method, count, params, lengths, [] {});
  }
  /// After a success, `take` copies the results before a handler can call another method.
  template <class Take>
  void Do(std::int32_t method, std::int32_t count, std::intptr_t* params, std::int32_t* lengths,
          Take take) {
    const auto core = core_;
    const std::int32_t code =
        CorvaneBLE_BLEClient_Do(core->Handle(), method, count, params, lengths, nullptr);
    const std::optional<Error> failure = core->Failure(code);
    if (!failure) take();
    if (const auto handler = core->Handlers().Get<MethodEndEvent>()) (*handler)({method, code});
    if (failure) throw *failure;
  }
  template <class... Texts>
  void Call(std::int32_t method, const Texts&... texts) {
    std::intptr_t params[sizeof...(texts) + 1] = {Pointer(texts)...};
    std::int32_t lengths[sizeof...(texts) + 1] = {};
    Do(method, static_cast<std::int32_t>(sizeof...(texts)), params, lengths);
  }

  std::intptr_t Get(std::int32_t property, int index, std::int32_t* length) const {
    const auto core = core_;
    const std::intptr_t value =
        CorvaneBLE_BLEClient_Get(core->Handle(), property, index, length, nullptr);
    core->Check(CorvaneBLE_BLEClient_GetLastErrorCode(core->Handle()));
    return value;
  }
  [[nodiscard]] int Number(std::int32_t property, int index = 0) const {
    return static_cast<int>(Get(property, index, nullptr));
  }
  [[nodiscard]] std::string Text(std::int32_t property, int index = 0) const {
    return OrEmpty(Get(property, index, nullptr));
  }
  [[nodiscard]] Bytes Data(std::int32_t property, int index) const {
    std::int32_t length = 0;
    const std::intptr_t value = Get(property, index, &length);
    return Copy(value, length);
  }
  void SetNumber(std::int32_t property, std::intptr_t value, int index = 0) {
    const auto core = core_;
    core->Check(CorvaneBLE_BLEClient_Set(core->Handle(), property, index, value, 0));
  }
  void SetText(std::int32_t property, const std::string& value, int index = 0) {
    SetNumber(property, Pointer(value), index);
  }

  std::shared_ptr<detail::Core> core_;
};

}  // namespace corvaneble

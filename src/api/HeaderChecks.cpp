#include <cstddef>

#include "corvaneble/corvaneble.h"
#include "frame/ErrorCode.h"
#include "frame/EventTable.h"
#include "frame/HostNumber.h"
#include "frame/Log.h"
#include "frame/MethodTable.h"
#include "frame/PropertyTable.h"
#include "gatt/CharacteristicFlags.h"

// The public header's numbers are written once more in the tables that the library works with. They
// must not drift apart.

namespace ble {
namespace {

template <class Id, class Constant>
constexpr bool Same(Id id, Constant constant) {
  return static_cast<long>(id) == static_cast<long>(constant);
}

#define CHECK_PROPERTY(id, constant) \
  static_assert(Same(Property::id, CORVANEBLE_PROPERTY_##constant))
CHECK_PROPERTY(ActiveScanning, ACTIVE_SCANNING);
CHECK_PROPERTY(Characteristic, CHARACTERISTIC);
CHECK_PROPERTY(CharacteristicCount, CHARACTERISTIC_COUNT);
CHECK_PROPERTY(CharacteristicCachedValue, CHARACTERISTIC_CACHED_VALUE);
CHECK_PROPERTY(CharacteristicCanSubscribe, CHARACTERISTIC_CAN_SUBSCRIBE);
CHECK_PROPERTY(CharacteristicDescription, CHARACTERISTIC_DESCRIPTION);
CHECK_PROPERTY(CharacteristicFlags, CHARACTERISTIC_FLAGS);
CHECK_PROPERTY(CharacteristicId, CHARACTERISTIC_ID);
CHECK_PROPERTY(CharacteristicSubscribed, CHARACTERISTIC_SUBSCRIBED);
CHECK_PROPERTY(CharacteristicUserDescription, CHARACTERISTIC_USER_DESCRIPTION);
CHECK_PROPERTY(CharacteristicUuid, CHARACTERISTIC_UUID);
CHECK_PROPERTY(CharacteristicValueExponent, CHARACTERISTIC_VALUE_EXPONENT);
CHECK_PROPERTY(CharacteristicValueFormat, CHARACTERISTIC_VALUE_FORMAT);
CHECK_PROPERTY(CharacteristicValueFormatCount, CHARACTERISTIC_VALUE_FORMAT_COUNT);
CHECK_PROPERTY(CharacteristicValueFormatIndex, CHARACTERISTIC_VALUE_FORMAT_INDEX);
CHECK_PROPERTY(CharacteristicValueUnit, CHARACTERISTIC_VALUE_UNIT);
CHECK_PROPERTY(DescriptorCount, DESCRIPTOR_COUNT);
CHECK_PROPERTY(DescriptorCachedValue, DESCRIPTOR_CACHED_VALUE);
CHECK_PROPERTY(DescriptorDescription, DESCRIPTOR_DESCRIPTION);
CHECK_PROPERTY(DescriptorId, DESCRIPTOR_ID);
CHECK_PROPERTY(DescriptorUuid, DESCRIPTOR_UUID);
CHECK_PROPERTY(Scanning, SCANNING);
CHECK_PROPERTY(ServerId, SERVER_ID);
CHECK_PROPERTY(ServerName, SERVER_NAME);
CHECK_PROPERTY(Service, SERVICE);
CHECK_PROPERTY(ServiceCount, SERVICE_COUNT);
CHECK_PROPERTY(ServiceDescription, SERVICE_DESCRIPTION);
CHECK_PROPERTY(ServiceId, SERVICE_ID);
CHECK_PROPERTY(ServiceIncludedSvcIds, SERVICE_INCLUDED_SVC_IDS);
CHECK_PROPERTY(ServiceParentSvcIds, SERVICE_PARENT_SVC_IDS);
CHECK_PROPERTY(ServiceUuid, SERVICE_UUID);
CHECK_PROPERTY(Timeout, TIMEOUT);
#undef CHECK_PROPERTY
#define CHECK_METHOD(id, constant) static_assert(Same(Method::id, CORVANEBLE_METHOD_##constant))
CHECK_METHOD(Config, CONFIG);
CHECK_METHOD(Connect, CONNECT);
CHECK_METHOD(Disconnect, DISCONNECT);
CHECK_METHOD(Discover, DISCOVER);
CHECK_METHOD(DiscoverCharacteristics, DISCOVER_CHARACTERISTICS);
CHECK_METHOD(DiscoverDescriptors, DISCOVER_DESCRIPTORS);
CHECK_METHOD(DiscoverServices, DISCOVER_SERVICES);
CHECK_METHOD(DoEvents, DO_EVENTS);
CHECK_METHOD(PostValue, POST_VALUE);
CHECK_METHOD(ReadValue, READ_VALUE);
CHECK_METHOD(Select, SELECT);
CHECK_METHOD(StartScanning, START_SCANNING);
CHECK_METHOD(StopScanning, STOP_SCANNING);
CHECK_METHOD(Subscribe, SUBSCRIBE);
CHECK_METHOD(Unsubscribe, UNSUBSCRIBE);
CHECK_METHOD(WriteValue, WRITE_VALUE);
CHECK_METHOD(ConvertToWide, CONVERT_TO_WIDE);
#undef CHECK_METHOD
#define CHECK_EVENT(id, constant) static_assert(Same(EventId::id, CORVANEBLE_EVENT_##constant))
CHECK_EVENT(Advertisement, ADVERTISEMENT);
CHECK_EVENT(Connected, CONNECTED);
CHECK_EVENT(Disconnected, DISCONNECTED);
CHECK_EVENT(Discovered, DISCOVERED);
CHECK_EVENT(Error, ERROR);
CHECK_EVENT(Log, LOG);
CHECK_EVENT(ServerUpdate, SERVER_UPDATE);
CHECK_EVENT(StartScan, START_SCAN);
CHECK_EVENT(StopScan, STOP_SCAN);
CHECK_EVENT(Subscribed, SUBSCRIBED);
CHECK_EVENT(Unsubscribed, UNSUBSCRIBED);
CHECK_EVENT(Value, VALUE);
CHECK_EVENT(WriteResponse, WRITE_RESPONSE);
#undef CHECK_EVENT
#define CHECK_ERROR(id, constant) static_assert(Same(error::k##id, CORVANEBLE_ERROR_##constant))
CHECK_ERROR(Success, NONE);
CHECK_ERROR(Unknown, UNKNOWN);
CHECK_ERROR(OutOfMemory, OUT_OF_MEMORY);
CHECK_ERROR(InvalidArgument, INVALID_ARGUMENT);
CHECK_ERROR(IndexOutOfRange, INDEX_OUT_OF_RANGE);
CHECK_ERROR(Timeout, TIMEOUT);
CHECK_ERROR(InvalidIndex, INVALID_INDEX);
CHECK_ERROR(MalformedUuid, MALFORMED_UUID);
CHECK_ERROR(NotDiscovered, NOT_DISCOVERED);
CHECK_ERROR(InvalidState, INVALID_STATE);
CHECK_ERROR(ScanAborted, SCAN_ABORTED);
CHECK_ERROR(ConnectFailed, CONNECT_FAILED);
CHECK_ERROR(NotConnected, NOT_CONNECTED);
CHECK_ERROR(AccessDenied, ACCESS_DENIED);
CHECK_ERROR(UnknownProtocolError, ACCESS_DENIED);
CHECK_ERROR(Unreachable, UNREACHABLE);
CHECK_ERROR(InclusionCycle, INCLUSION_CYCLE);
CHECK_ERROR(NoUserDescription, NO_USER_DESCRIPTION);
CHECK_ERROR(ApplicationError, APPLICATION);
CHECK_ERROR(NoRadio, NO_RADIO);
CHECK_ERROR(PlatformFailure, PLATFORM_FAILURE);
CHECK_ERROR(WriteRequestRejected, WRITE_REQUEST_REJECTED);
#undef CHECK_ERROR
#define CHECK_FLAG(id, constant) \
  static_assert(Same(characteristic_flag::k##id, CORVANEBLE_FLAG_##constant))
CHECK_FLAG(Broadcast, BROADCAST);
CHECK_FLAG(Read, READ);
CHECK_FLAG(WriteWithoutResponse, WRITE_WITHOUT_RESPONSE);
CHECK_FLAG(Write, WRITE);
CHECK_FLAG(Notify, NOTIFY);
CHECK_FLAG(Indicate, INDICATE);
CHECK_FLAG(AuthenticatedSignedWrites, AUTHENTICATED_SIGNED_WRITES);
CHECK_FLAG(ReliableWrites, RELIABLE_WRITES);
CHECK_FLAG(WritableAuxiliaries, WRITABLE_AUXILIARIES);
#undef CHECK_FLAG

static_assert(kVersionProperty == CORVANEBLE_PROPERTY_VERSION);
static_assert(kCodePageProperty == CORVANEBLE_PROPERTY_CODE_PAGE);
static_assert(kWideOffset == CORVANEBLE_WIDE);
static_assert(kBytesAsWideOffset == CORVANEBLE_BYTES_AS_WIDE);
static_assert(Same(LogLevel::Debug, CORVANEBLE_LOG_DEBUG));
static_assert(Same(GattType::Descriptor, CORVANEBLE_GATT_DESCRIPTOR));

// Bindings in other languages lay the record out by hand.
static_assert(sizeof(void*) != 4 || (offsetof(CorvaneBLE_EventString, narrow) == 12 &&
                                     offsetof(CorvaneBLE_EventString, wide) == 16 &&
                                     sizeof(CorvaneBLE_EventString) == 20));

}  // namespace
}  // namespace ble

#pragma once

#include <cstdint>
#include <string_view>

#include "corvaneble/corvaneble.h"

namespace ble {

/// 0 for success, else one of the codes below, or a platform error number of a text conversion.
using ErrorCode = std::int32_t;

namespace error {

inline constexpr ErrorCode kSuccess = CORVANEBLE_ERROR_NONE;
/// No such setting, property or parameter count.
inline constexpr ErrorCode kUnknown = CORVANEBLE_ERROR_UNKNOWN;
inline constexpr ErrorCode kOutOfMemory = CORVANEBLE_ERROR_OUT_OF_MEMORY;
inline constexpr ErrorCode kInvalidArgument = CORVANEBLE_ERROR_INVALID_ARGUMENT;
/// CheckIndex's own answer.
inline constexpr ErrorCode kIndexOutOfRange = CORVANEBLE_ERROR_INDEX_OUT_OF_RANGE;
inline constexpr ErrorCode kTimeout = CORVANEBLE_ERROR_TIMEOUT;
inline constexpr ErrorCode kInvalidIndex = CORVANEBLE_ERROR_INVALID_INDEX;
inline constexpr ErrorCode kMalformedUuid = CORVANEBLE_ERROR_MALFORMED_UUID;
inline constexpr ErrorCode kNotDiscovered = CORVANEBLE_ERROR_NOT_DISCOVERED;
inline constexpr ErrorCode kInvalidState = CORVANEBLE_ERROR_INVALID_STATE;
inline constexpr ErrorCode kScanAborted = CORVANEBLE_ERROR_SCAN_ABORTED;
inline constexpr ErrorCode kConnectFailed = CORVANEBLE_ERROR_CONNECT_FAILED;
inline constexpr ErrorCode kNotConnected = CORVANEBLE_ERROR_NOT_CONNECTED;
inline constexpr ErrorCode kAccessDenied = CORVANEBLE_ERROR_ACCESS_DENIED;
inline constexpr ErrorCode kUnknownProtocolError = CORVANEBLE_ERROR_ACCESS_DENIED;
inline constexpr ErrorCode kUnreachable = CORVANEBLE_ERROR_UNREACHABLE;
inline constexpr ErrorCode kInclusionCycle = CORVANEBLE_ERROR_INCLUSION_CYCLE;
inline constexpr ErrorCode kNoUserDescription = CORVANEBLE_ERROR_NO_USER_DESCRIPTION;
inline constexpr ErrorCode kApplicationError = CORVANEBLE_ERROR_APPLICATION;
inline constexpr ErrorCode kNoRadio = CORVANEBLE_ERROR_NO_RADIO;
inline constexpr ErrorCode kPlatformFailure = CORVANEBLE_ERROR_PLATFORM_FAILURE;
inline constexpr ErrorCode kWriteRequestRejected = CORVANEBLE_ERROR_WRITE_REQUEST_REJECTED;

}  // namespace error

/// A code with its fixed message.
struct Failure {
  ErrorCode code;
  std::string_view text;
};

namespace failure {

inline constexpr Failure kUnknownSetting{error::kUnknown, "Unknown config setting."};
inline constexpr Failure kOutOfMemory{error::kOutOfMemory, "Out of memory."};
inline constexpr Failure kNoServiceId{error::kInvalidArgument, "Must supply a service ID."};
inline constexpr Failure kNoCharacteristicId{error::kInvalidArgument,
                                             "Must supply a characteristic ID."};
inline constexpr Failure kZeroServiceHandle{error::kInvalidArgument,
                                            "Must supply a non-zero service handle."};
inline constexpr Failure kZeroCharacteristicHandle{
    error::kInvalidArgument,
    "Must supply a non-zero characteristic handle to supply a non-zero descriptor handle."};
inline constexpr Failure kInvalidFormatIndex{error::kInvalidArgument,
                                             "Invalid value format index."};
/// The placeholders are part of the text: hosts compare it as it is.
inline constexpr Failure kInvalidSectionIndex{error::kInvalidArgument,
                                              "Index '{0}' is invalid for {1}."};
inline constexpr Failure kTimeout{error::kTimeout, "Timeout."};
inline constexpr Failure kInvalidServiceIndex{error::kInvalidIndex,
                                              "Invalid ServiceIndex (out of bounds)."};
inline constexpr Failure kInvalidCharacteristicIndex{
    error::kInvalidIndex, "Invalid CharacteristicIndex (out of bounds)."};
inline constexpr Failure kInvalidDescriptorIndex{error::kInvalidIndex,
                                                 "Invalid DescriptorIndex (out of bounds)."};
inline constexpr Failure kMalformedUuid{
    error::kMalformedUuid,
    "UUIDs hexadecimal strings must represent either 16-, 32-, or 128-bit values."};
inline constexpr Failure kNoServiceSelected{
    error::kInvalidState, "You must select a service before selecting a characteristic."};
inline constexpr Failure kScanningNow{
    error::kInvalidState, "You cannot change the ActiveScanning property while scanning."};
inline constexpr Failure kCannotSubscribe{
    error::kInvalidState,
    "A characteristic cannot be subscribed to unless it has the 'Notify' and/or 'Indicate' flag "
    "set."};
inline constexpr Failure kNotWritableAuxiliaries{
    error::kInvalidState,
    "A characteristic's user description cannot be changed unless it has the 'Writable "
    "Auxiliaries' flag set."};
inline constexpr Failure kNotConnected{
    error::kNotConnected, "You must be connected to a server to perform the requested action."};
inline constexpr Failure kAccessDenied{error::kAccessDenied,
                                       "Error attempting communication: Access denied by system."};
inline constexpr Failure kUnreachable{error::kUnreachable,
                                      "Error attempting communication: Device unreachable."};
inline constexpr Failure kTooManyInclusions{error::kInclusionCycle,
                                            "The included services are nested too deeply."};
inline constexpr Failure kTooManyAttributes{
    error::kInclusionCycle, "The server reports more attributes than a server can have."};
/// An operation of the platform that ended without a result and without a failure.
inline constexpr Failure kNoResult{error::kPlatformFailure,
                                   "The platform completed the operation without a result."};
inline constexpr Failure kNoAdapter{error::kNoRadio, "No Bluetooth adapter found."};
inline constexpr Failure kNoLowEnergy{error::kNoRadio,
                                      "Bluetooth adapter does not support Low Energy."};

}  // namespace failure
}  // namespace ble

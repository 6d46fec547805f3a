#pragma once

#include <cstdint>
#include <string_view>

namespace ble {

/// What every operation returns: 0 for success, else one of the codes below, or a platform error
/// number of a text conversion. Whoever returns a non-zero code has stored its message first.
using ErrorCode = std::int32_t;

namespace error {

inline constexpr ErrorCode kSuccess = 0;
inline constexpr ErrorCode kUnknown = -1;  ///< no such setting, property or parameter count
inline constexpr ErrorCode kOutOfMemory = 200;
inline constexpr ErrorCode kInvalidArgument = 202;
inline constexpr ErrorCode kIndexOutOfRange = 280;  ///< CheckIndex's own answer
inline constexpr ErrorCode kTimeout = 301;
inline constexpr ErrorCode kInvalidIndex = 432;
inline constexpr ErrorCode kMalformedUuid = 600;
inline constexpr ErrorCode kNotDiscovered = 601;
inline constexpr ErrorCode kInvalidState = 602;
inline constexpr ErrorCode kScanAborted = 603;
inline constexpr ErrorCode kConnectFailed = 604;
inline constexpr ErrorCode kNotConnected = 605;
inline constexpr ErrorCode kAccessDenied = 606;
inline constexpr ErrorCode kUnknownProtocolError = 606;
inline constexpr ErrorCode kUnreachable = 607;
inline constexpr ErrorCode kInclusionCycle = 609;
inline constexpr ErrorCode kNoUserDescription = 611;
inline constexpr ErrorCode kApplicationError = 612;
inline constexpr ErrorCode kNoRadio = 613;
inline constexpr ErrorCode kPlatformFailure = 614;
inline constexpr ErrorCode kWriteRequestRejected = 952;

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

#pragma once

#include <memory>
#include <utility>

#include "att/AttBearer.h"
#include "platform/Async.h"
#include "platform/Gatt.h"

/// How the ends of ATT exchanges become the statuses of GATT results.
namespace ble::att {

inline GattResult ProtocolError(AttError error) {
  return {GattCommunicationStatus::ProtocolError, static_cast<std::uint8_t>(error)};
}

inline GattResult StatusOf(ChannelError error) {
  return {error == ChannelError::AccessDenied ? GattCommunicationStatus::AccessDenied
                                              : GattCommunicationStatus::Unreachable,
          std::nullopt};
}

/// The status of a request that was refused or lost; success for one that was answered.
inline GattResult StatusOf(const AttReply& reply) {
  switch (reply.outcome) {
    case AttReply::Outcome::Answered:
      return {};
    case AttReply::Outcome::Refused:
      return ProtocolError(reply.error);
    case AttReply::Outcome::Lost:
      break;
  }
  return StatusOf(reply.reason);
}

inline bool Succeeded(const GattResult& result) {
  return result.status == GattCommunicationStatus::Success;
}

/// Completes `operation` with `status` and whatever else `result` holds.
template <class Result>
void Complete(CompletableOperation<Result>& operation, const GattResult& status,
              Result result = {}) {
  static_cast<GattResult&>(result) = status;
  operation.Complete(std::make_shared<Result>(std::move(result)));
}

/// An operation that ended with `status` before it began.
template <class Result>
AsyncOperationPtr<Result> Completed(const GattResult& status, Result result = {}) {
  auto operation = std::make_shared<CompletableOperation<Result>>();
  Complete(*operation, status, std::move(result));
  return operation;
}

}  // namespace ble::att

#include "att/ValueRead.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "att/AttStatus.h"

namespace ble::att {
namespace {

constexpr std::size_t kReadHeader = 1;  // what comes before the value in a Read Response

/// The read of one value: the operation that its caller waits for, and what has come so far.
class ValueRead final : public CompletableOperation<GattReadResult> {
 public:
  using Ptr = std::shared_ptr<ValueRead>;

  ValueRead(std::uint16_t handle, std::shared_ptr<ValueKeeper>&& keeper,
            AttBearer::OnRefusal onRefusal = AttBearer::OnRefusal::SecureLink)
      : handle_(handle), onRefusal_(onRefusal), keeper_(std::move(keeper)) {}

  [[gnu::hot]] static void Begin(Ptr read, BearerPtr bearer) {
    read->bearer_ = std::move(bearer);
    const Pdu first = Build(ReadRequest{read->handle_});
    Ask(std::move(read), first);
  }

  [[gnu::hot]] void End(const GattResult& status) {
    if (!Succeeded(status))
      result_->value.clear();
    else if (keeper_)
      keeper_->Keep(result_->value);
    static_cast<GattResult&>(*result_) = status;
    Complete(std::move(result_));
  }

 private:
  [[gnu::hot]] static void Ask(Ptr read, const Pdu& request) {
    AttBearer& bearer = *read->bearer_;
    const AttBearer::OnRefusal onRefusal = read->onRefusal_;
    bearer.Request(
        request,
        [read = std::move(read)](const AttReply& reply) {
          if (const auto next = read->Take(reply)) Ask(read, *next);
        },
        onRefusal);
  }

  /// The next request; none when this reply was the last one.
  [[gnu::hot]] std::optional<Pdu> Take(const AttReply& reply) {
    Bytes& value = result_->value;
    if (reply.outcome != AttReply::Outcome::Answered) {
      End(EndsValue(reply) ? GattResult{} : StatusOf(reply));
      return std::nullopt;
    }
    const ByteView part = reply.pdu.subspan(kReadHeader);
    if (value.size() + part.size() > kMaxValueLength) {
      End(ProtocolError(AttError::InvalidPdu));
      return std::nullopt;
    }
    value.insert(value.end(), part.begin(), part.end());
    if (part.size() + kReadHeader < bearer_->Mtu() || value.size() == kMaxValueLength) {
      End({});
      return std::nullopt;
    }
    return Build(ReadBlobRequest{handle_, static_cast<std::uint16_t>(value.size())});
  }

  bool EndsValue(const AttReply& reply) const {
    return !result_->value.empty() && reply.outcome == AttReply::Outcome::Refused &&
           (reply.error == AttError::AttributeNotLong || reply.error == AttError::InvalidOffset);
  }

  const std::uint16_t handle_;
  const AttBearer::OnRefusal onRefusal_;
  const std::shared_ptr<ValueKeeper> keeper_;
  BearerPtr bearer_;
  std::shared_ptr<GattReadResult> result_ = std::make_shared<GattReadResult>();
};

}  // namespace

[[gnu::hot]] AsyncOperationPtr<GattReadResult> ReadWholeValue(AttLink& link, std::uint16_t handle,
                                                              std::shared_ptr<ValueKeeper> keeper) {
  auto read = std::make_shared<ValueRead>(handle, std::move(keeper));
  AsyncOperationPtr<GattReadResult> operation = read;
  link.WithBearer([read = std::move(read)](BearerPtr bearer, ChannelError error) mutable {
    if (!bearer) return read->End(StatusOf(error));
    ValueRead::Begin(std::move(read), std::move(bearer));
  });
  return operation;
}

AsyncOperationPtr<GattReadResult> ReadWholeValue(BearerPtr bearer, std::uint16_t handle,
                                                 std::shared_ptr<ValueKeeper> keeper,
                                                 AttBearer::OnRefusal onRefusal) {
  auto read = std::make_shared<ValueRead>(handle, std::move(keeper), onRefusal);
  ValueRead::Begin(read, std::move(bearer));
  return read;
}

}  // namespace ble::att

#include "att/AttBearer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/IfAlive.h"

namespace ble::att {

using std::chrono::milliseconds;
using Outcome = AttReply::Outcome;

namespace {

bool AsksForSecurity(AttError error) {
  return error == AttError::InsufficientAuthentication || error == AttError::InsufficientEncryption;
}

// Calls `visit(handle, value)` for each tuple; false when a length does not fit.
template <class Visit>
bool ForEachHandleValue(ByteView pdu, Visit visit) {
  ByteReader reader(pdu.subspan(1));
  do {
    const std::uint16_t handle = reader.U16();
    const std::uint16_t length = reader.U16();
    const ByteView value = reader.Take(length);
    if (!reader.Ok()) return false;
    visit(handle, value);
  } while (!reader.AtEnd());
  return true;
}

}  // namespace

AttBearer::AttBearer(std::shared_ptr<AttChannel> channel, std::shared_ptr<Executor> executor,
                     std::weak_ptr<Listener> listener)
    : channel_(std::move(channel)),
      executor_(std::move(executor)),
      listener_(std::move(listener)) {}

AttBearer::~AttBearer() {
  Shutdown(ChannelError::Unreachable);
}

void AttBearer::Start(Reply ready) {
  channel_->Start(weak_from_this());
  const ExchangeMtu offer{Opcode::ExchangeMtuRequest, kMaxMtu};
  Request(Build(offer), [this, ready = std::move(ready)](const AttReply& reply) {
    if (const auto answer = Parse<ExchangeMtu>(reply.pdu))
      mtu_ = std::clamp(answer->mtu, kDefaultMtu, kMaxMtu);
    ready(reply);
  });
}

[[gnu::hot]] void AttBearer::Request(const Pdu& request, Reply reply, OnRefusal onRefusal) {
  MutexLock lock(mutex_);
  if (dead_) {
    const ChannelError reason = reason_;
    lock.Unlock();
    return reply({.reason = reason});
  }
  if (outstanding_) {
    queue_.emplace_back(request, std::move(reply), onRefusal);
    return;
  }
  outstanding_.emplace(request, std::move(reply), onRefusal);
  Begin();
  lock.Unlock();
  Transmit(request);
}

void AttBearer::Command(const Pdu& command, Callback<void(bool left)> sent) {
  if (!IsUsable()) return sent(false);
  if (channel_->Send(command))
    return channel_->WhenSent(
        [self = shared_from_this(), sent = std::move(sent)] { sent(self->IsUsable()); });
  Shutdown(ChannelError::Unreachable);
  sent(false);
}

[[gnu::hot]] void AttBearer::Begin() {
  outstanding_->sentSecured = security_ == Security::Raised;
  outstanding_->deadline = executor_->Now() + kTransactionTimeout;
  if (timer_ == 0) SetTimer(kTransactionTimeout);
}

void AttBearer::SetTimer(milliseconds delay) {
  timer_ = executor_->PostAfter(delay, IfAlive(weak_from_this(), &AttBearer::OnTimer));
}

[[gnu::hot]] std::optional<Pdu> AttBearer::BeginNext() {
  if (queue_.empty() || outstanding_ || dead_) return std::nullopt;
  outstanding_.emplace(std::move(queue_.front()));
  queue_.pop_front();
  Begin();
  return outstanding_->request;
}

bool AttBearer::IsOutstanding(Opcode request) const {
  return outstanding_ && OpcodeOf(outstanding_->request) == request;
}

[[gnu::hot]] void AttBearer::Transmit(ByteView pdu) {
  if (!channel_->Send(pdu)) Shutdown(ChannelError::Unreachable);
}

void AttBearer::Shutdown(ChannelError reason) {
  std::vector<Exchange> lost;
  std::vector<Exchange> refused;
  {
    const MutexLock lock(mutex_);
    if (dead_) return;
    dead_ = true;
    reason_ = reason;
    executor_->Cancel(timer_);
    if (outstanding_) {
      lost.push_back(std::move(*outstanding_));
      outstanding_.reset();
    }
    refused.swap(awaitingSecurity_);
    std::move(queue_.begin(), queue_.end(), std::back_inserter(lost));
    queue_.clear();
  }
  channel_->Close();
  // A link that ends while it is being secured could not be secured: the refusal stands.
  for (const Exchange& exchange : refused)
    exchange.reply({.outcome = Outcome::Refused, .error = exchange.refusal});
  for (const Exchange& exchange : lost)
    exchange.reply({.reason = reason});
}

// A request that is answered in time leaves the timer as it is: to set it again now and then costs
// less than to set and cancel one for each request.
void AttBearer::OnTimer() {
  {
    const MutexLock lock(mutex_);
    timer_ = 0;
    if (!outstanding_) return;
    const auto left = std::chrono::ceil<milliseconds>(outstanding_->deadline - executor_->Now());
    if (left > milliseconds{0}) return SetTimer(left);
  }
  Shutdown(ChannelError::Unreachable);
}

void AttBearer::OnClosed(ChannelError error) {
  const ChannelError reason = error == ChannelError::None ? ChannelError::Unreachable : error;
  Shutdown(reason);
  if (const auto listener = listener_.lock()) listener->OnBearerClosed(reason);
}

[[gnu::hot]] void AttBearer::OnPdu(ByteView pdu) {
  if (pdu.empty() || pdu.size() > kMaxMtu) return;
  const Opcode opcode = OpcodeOf(pdu);
  if (IsResponse(opcode)) return OnResponse(pdu);
  switch (opcode) {
    case Opcode::ErrorResponse:
      return OnErrorResponse(pdu);
    case Opcode::HandleValueNotification:
    case Opcode::HandleValueIndication:
      return OnHandleValue(pdu);
    case Opcode::MultipleHandleValueNotification:
      return OnMultipleHandleValues(pdu);
    case Opcode::HandleValueConfirmation:  // of an indication that a client never sends
      return;
    default:
      if (!IsCommand(opcode)) OnRequest(pdu);
  }
}

[[gnu::hot]] void AttBearer::OnResponse(ByteView pdu) {
  // A response opcode is the request's plus one.
  const auto request = static_cast<Opcode>(static_cast<std::uint8_t>(pdu[0]) - 1);
  Reply reply;
  std::optional<Pdu> next;
  {
    const MutexLock lock(mutex_);
    if (!IsOutstanding(request)) return;
    reply = std::move(outstanding_->reply);
    outstanding_.reset();
    next = BeginNext();
  }
  if (next) Transmit(*next);
  reply({.outcome = Outcome::Answered, .pdu = pdu});
}

void AttBearer::OnErrorResponse(ByteView pdu) {
  const auto error = Parse<ErrorResponse>(pdu);
  if (!error) return;
  std::optional<Exchange> refused;
  std::optional<Pdu> next;
  bool raise = false;
  bool retried = false;
  {
    const MutexLock lock(mutex_);
    if (!IsOutstanding(error->request)) return;
    refused.swap(outstanding_);
    if (AsksForSecurity(error->error) && refused->onRefusal == OnRefusal::SecureLink &&
        !refused->sentSecured && security_ != Security::Refused) {
      retried = true;
      refused->refusal = error->error;
      if (security_ == Security::Raised) {
        queue_.push_front(std::move(*refused));
      } else {
        raise = std::exchange(security_, Security::Raising) == Security::Untried;
        awaitingSecurity_.push_back(std::move(*refused));
      }
    }
    next = BeginNext();
  }
  if (next) Transmit(*next);
  if (raise) channel_->RaiseSecurity(IfAlive(weak_from_this(), &AttBearer::OnSecurityRaised));
  if (!retried) refused->reply({.outcome = Outcome::Refused, .error = error->error});
}

void AttBearer::OnSecurityRaised(bool raised) {
  std::vector<Exchange> refused;
  std::optional<Pdu> next;
  {
    const MutexLock lock(mutex_);
    if (dead_) return;
    security_ = raised ? Security::Raised : Security::Refused;
    refused.swap(awaitingSecurity_);
    if (raised) {
      queue_.insert(queue_.begin(), std::make_move_iterator(refused.begin()),
                    std::make_move_iterator(refused.end()));
      refused.clear();
    }
    // A request made meanwhile is sent only now.
    if (outstanding_) outstanding_->deadline = executor_->Now() + kTransactionTimeout;
    next = BeginNext();
  }
  if (next) Transmit(*next);
  for (const Exchange& exchange : refused)
    exchange.reply({.outcome = Outcome::Refused, .error = exchange.refusal});
}

[[gnu::hot]] void AttBearer::OnHandleValue(ByteView pdu) {
  const auto message = Parse<HandleValue>(pdu);
  if (!message || message->value.size() > kMaxValueLength) return;
  if (const auto listener = listener_.lock()) listener->OnValue(message->handle, message->value);
  if (message->opcode == Opcode::HandleValueIndication)
    Transmit(Pdu(Opcode::HandleValueConfirmation));
}

void AttBearer::OnMultipleHandleValues(ByteView pdu) {
  if (!ForEachHandleValue(pdu, [](std::uint16_t, ByteView) {})) return;
  if (const auto listener = listener_.lock())
    ForEachHandleValue(
        pdu, [&](std::uint16_t handle, ByteView value) { listener->OnValue(handle, value); });
}

void AttBearer::OnRequest(ByteView pdu) {
  const auto exchange = Parse<ExchangeMtu>(pdu);
  if (!exchange)
    return Transmit(Build(ErrorResponse{OpcodeOf(pdu), 0, AttError::RequestNotSupported}));
  // Both directions of a channel share one ATT_MTU, whichever end asked for it.
  Transmit(Build(ExchangeMtu{Opcode::ExchangeMtuResponse, kMaxMtu}));
  mtu_ = std::clamp(exchange->mtu, kDefaultMtu, kMaxMtu);
}

}  // namespace ble::att

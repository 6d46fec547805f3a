#include "backends/simulated/SimulatedLink.h"

#include <algorithm>
#include <utility>

#include "base/IfAlive.h"

namespace ble::simulated {
namespace {

/// Requests have even opcodes; commands and the confirmation do not count as requests.
bool IsRequest(ByteView pdu) {
  const att::Opcode opcode = att::OpcodeOf(pdu);
  return !pdu.empty() && pdu[0] % 2 == 0 && !att::IsCommand(opcode) &&
         opcode != att::Opcode::HandleValueConfirmation;
}

}  // namespace

/// A task that acts on the link if that is open when the task runs.
template <class Action>
auto SimulatedLink::WhileOpen(Action action) {
  return IfAlive(weak_from_this(), [action = std::move(action)](SimulatedLink& self) {
    if (self.IsOpen()) action(self);
  });
}

SimulatedLink::SimulatedLink(TimelineRef timeline, std::shared_ptr<VirtualPeripheral> peripheral)
    : timeline_(std::move(timeline)),
      peripheral_(std::move(peripheral)),
      server_(peripheral_->Database(), peripheral_->Scenario().mtu, *this) {}

void SimulatedLink::Start(std::weak_ptr<Listener> listener) {
  timeline_.Post([self = shared_from_this(), listener = std::move(listener)] {
    self->started_ = true;
    self->listener_ = listener;
    for (const Bytes& pdu : std::exchange(self->undelivered_, {}))
      self->Deliver(pdu);
  });
}

bool SimulatedLink::Send(ByteView pdu) {
  if (timeline_.IsGone() || !IsOpen()) return false;
  timeline_.Post(
      WhileOpen([sent = Bytes(pdu.begin(), pdu.end())](SimulatedLink& self) { self.Serve(sent); }));
  return true;
}

void SimulatedLink::RaiseSecurity(std::function<void(bool raised)> done) {
  timeline_.Post([done = std::move(done)] { done(false); });
}

void SimulatedLink::End(att::ChannelError error) {
  if (!open_.exchange(false, std::memory_order_acq_rel)) return;
  timeline_.Post([self = shared_from_this(), error] {
    self->StopStreams();
    if (const auto listener = self->listener_.lock()) listener->OnClosed(error);
  });
}

void SimulatedLink::Serve(ByteView pdu) {
  if (IsRequest(pdu)) peripheral_->OnRequest(*this, ++requests_);
  if (!IsOpen()) return;  // dropped by this very request
  const AttServer::Reply reply = server_.Handle(pdu);
  if (!reply.pdu) return;
  const auto delay = reply.delay + peripheral_->Scenario().responseDelay;
  if (delay <= delay.zero()) return Deliver(*reply.pdu);
  const ByteView bytes = *reply.pdu;
  timeline_.PostAfter(delay, WhileOpen([late = Bytes(bytes.begin(), bytes.end())](
                                           SimulatedLink& self) { self.Deliver(late); }));
}

void SimulatedLink::Deliver(ByteView pdu) {
  if (!IsOpen()) return;
  if (!started_) {
    undelivered_.emplace_back(pdu.begin(), pdu.end());
  } else if (const auto listener = listener_.lock()) {
    listener->OnPdu(pdu);
  }
}

void SimulatedLink::OnServicesReplaced() {
  StopStreams();
  server_.OnServicesReplaced();
}

void SimulatedLink::OnValueWritten(const HostedCharacteristic& characteristic, ByteView value) {
  if (!characteristic.echo) return;
  timeline_.Post(WhileOpen([handle = characteristic.valueHandle,
                            echoed = Bytes(value.begin(), value.end())](SimulatedLink& self) {
    if (const auto* target = self.peripheral_->Database().FindByValue(handle))
      self.server_.SendValue(*target, echoed);
  }));
}

void SimulatedLink::OnConfigured(const HostedCharacteristic& characteristic,
                                 std::uint16_t configuration) {
  const auto running = streams_.find(characteristic.valueHandle);
  if (configuration == 0) {
    if (running == streams_.end()) return;
    timeline_.Cancel(running->second.task);
    streams_.erase(running);
  } else if (running == streams_.end() && characteristic.stream &&
             !characteristic.stream->values.empty()) {
    Stream& stream = streams_[characteristic.valueHandle];
    stream.due = timeline_.Now() + characteristic.stream->interval;
    ScheduleStream(characteristic.valueHandle, stream);
  }
}

void SimulatedLink::ScheduleStream(std::uint16_t valueHandle, Stream& stream) {
  stream.task = timeline_.PostAt(stream.due, WhileOpen([valueHandle](SimulatedLink& self) {
                                   self.SendNextOfStream(valueHandle);
                                 }));
}

void SimulatedLink::SendNextOfStream(std::uint16_t valueHandle) {
  const auto found = streams_.find(valueHandle);
  const auto* characteristic = peripheral_->Database().FindByValue(valueHandle);
  if (found == streams_.end() || !characteristic || !characteristic->stream) return;
  const auto source = characteristic->stream;  // the services may change while the value is sent
  Stream& stream = found->second;
  const Bytes& value = source->values[stream.next];
  stream.next = (stream.next + 1) % source->values.size();
  stream.due = std::max(stream.due + std::max(source->interval, kShortestInterval),
                        timeline_.Now());  // values that a slow host missed are not repeated
  const bool more = stream.next != 0 || source->repeat;
  if (more) ScheduleStream(valueHandle, stream);
  peripheral_->Database().Find(valueHandle)->value = value;
  server_.SendValue(*characteristic, value);
}

void SimulatedLink::StopStreams() {
  for (const auto& [handle, stream] : std::exchange(streams_, {}))
    timeline_.Cancel(stream.task);
}

void SimulatedConnector::Open(Opened opened) {
  timeline_.PostAfter(peripheral_->Scenario().connectLatency,
                      [timeline = timeline_, peripheral = peripheral_, opened = std::move(opened)] {
                        if (!peripheral->InReach())
                          return opened(nullptr, att::ChannelError::Unreachable);
                        const auto link = std::make_shared<SimulatedLink>(timeline, peripheral);
                        peripheral->OnLinkOpened(link);
                        opened(link, att::ChannelError::None);
                      });
}

}  // namespace ble::simulated

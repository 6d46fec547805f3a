#pragma once

#include <memory>
#include <utility>

#include "att/AttChannel.h"
#include "att/AttPdu.h"
#include "base/Executor.h"
#include "base/GattUuids.h"
#include "fuzz/Input.h"

namespace ble::fuzz {

/// A device whose responses come from the fuzzer input, the script. Each request, and each attempt
/// to open a channel, reads its response from the script; at the end of the script, the link is
/// lost for good. The script can send any PDU at any time. It has short codes for likely PDUs:
/// otherwise nearly every run would end a discovery at its first response.
class HostileServer final : public att::AttConnector,
                            public std::enable_shared_from_this<HostileServer> {
 public:
  HostileServer(Input script, Executor& executor) : script_(script), executor_(executor) {}

  void Open(Opened opened) override {
    executor_.Post([self = shared_from_this(), opened = std::move(opened)] {
      if (const ChannelError error = self->NextRefusal(); error != ChannelError::None)
        return opened(nullptr, error);
      opened(std::make_shared<Channel>(self), ChannelError::None);
    });
  }

 private:
  using ByteView = ByteView;
  using ChannelError = att::ChannelError;
  using Opcode = att::Opcode;
  using Pdu = Bytes;

  class Channel final : public att::AttChannel, public std::enable_shared_from_this<Channel> {
   public:
    explicit Channel(std::shared_ptr<HostileServer> server) : server_(std::move(server)) {}
    ~Channel() override { Close(); }

    void Start(std::weak_ptr<Listener> listener) override {
      listener_ = std::move(listener);
      server_->executor_.Post([self = shared_from_this()] { self->server_->Interrupt(*self); });
    }
    bool Send(ByteView pdu) override {
      if (!open_) return false;
      Require(!pdu.empty() && pdu.size() <= att::kMaxMtu);
      if (!IsRequest(pdu[0])) return true;
      server_->executor_.Post([self = shared_from_this(), request = Pdu(pdu.begin(), pdu.end())] {
        self->server_->Answer(*self, request);
      });
      return true;
    }
    void Close() override { Hangup(ChannelError::None); }
    void RaiseSecurity(std::function<void(bool)> done) override {
      server_->executor_.Post(
          [done = std::move(done), raised = server_->script_.Flag()] { done(raised); });
    }

    void Say(ByteView pdu) {
      if (const auto listener = open_ ? listener_.lock() : nullptr) listener->OnPdu(pdu);
    }
    void Hangup(ChannelError error) {
      if (!std::exchange(open_, false)) return;
      server_->executor_.Post([listener = listener_, error] {
        if (const auto target = listener.lock()) target->OnClosed(error);
      });
    }

   private:
    static bool IsRequest(std::uint8_t opcode) {
      return (opcode & 0x41) == 0 &&
             opcode != static_cast<std::uint8_t>(Opcode::HandleValueConfirmation);
    }

    const std::shared_ptr<HostileServer> server_;
    std::weak_ptr<Listener> listener_;
    bool open_ = true;
  };

  ChannelError NextRefusal() {
    if (script_.AtEnd()) return ChannelError::Unreachable;
    const std::uint8_t how = script_.Byte();
    if (how < 0xF0) return ChannelError::None;
    return how < 0xF8 ? ChannelError::Unreachable : ChannelError::AccessDenied;
  }

  /// Sends the unsolicited PDUs of the server.
  void Interrupt(Channel& channel) {
    for (int count = script_.Byte() % 4; count > 0; --count)
      channel.Say(script_.Run());
  }

  void Answer(Channel& channel, const Pdu& request) {
    if (script_.AtEnd()) return channel.Hangup(ChannelError::Unreachable);
    Pdu answer{static_cast<std::uint8_t>(request[0] + 1)};
    switch (const std::uint8_t action = script_.Byte(); action % 10) {
      case 0:  // a response of the right type with arbitrary contents
        Append(answer, script_.Run());
        break;
      case 1:
        Append(answer, script_.LongRun());
        break;
      case 2:  // a nearly correct response
        return channel.Say(LikelyAnswer(request));
      case 3:
        answer = {static_cast<std::uint8_t>(Opcode::ErrorResponse), request[0], 0, 0,
                  script_.Byte()};
        break;
      case 4:  // Attribute Not Found, which ends a discovery
        answer = {static_cast<std::uint8_t>(Opcode::ErrorResponse), request[0], 0, 0, 0x0A};
        break;
      case 5:  // a notification or indication first
        answer[0] = static_cast<std::uint8_t>(script_.Flag() ? Opcode::HandleValueNotification
                                                             : Opcode::HandleValueIndication);
        Append(answer, script_.Run());
        channel.Say(answer);
        return Answer(channel, request);
      case 6:  // an arbitrary PDU first
        channel.Say(script_.Run());
        return Answer(channel, request);
      case 7:  // twice
        Append(answer, script_.Run());
        channel.Say(answer);
        break;
      case 8:
        return;  // no response
      case 9:
        return channel.Hangup(action < 128 ? ChannelError::Unreachable
                                           : ChannelError::AccessDenied);
    }
    channel.Say(answer);
  }

  Pdu LikelyAnswer(const Pdu& request) {
    Pdu answer{static_cast<std::uint8_t>(request[0] + 1)};
    switch (static_cast<Opcode>(request[0])) {
      case Opcode::ExchangeMtuRequest:
        AppendU16(answer, static_cast<std::uint16_t>(23 + script_.Byte() * 2));
        break;
      case Opcode::ReadByGroupTypeRequest:
      case Opcode::ReadByTypeRequest:
      case Opcode::FindInformationRequest:
      case Opcode::FindByTypeValueRequest:
        AppendElements(answer, request);
        break;
      case Opcode::PrepareWriteRequest:
        Append(answer, ByteView(request).subspan(1));
        break;
      case Opcode::ReadRequest:
      case Opcode::ReadBlobRequest:
        answer.resize(1 + script_.U16() % att::kMaxMtu, script_.Byte());
        break;
      default:
        break;
    }
    return answer;
  }

  /// A list of attributes that begins at the start handle of the request, with small gaps.
  void AppendElements(Pdu& answer, const Pdu& request) {
    const auto opcode = static_cast<Opcode>(request[0]);
    const bool isInclude = request.size() == 7 && request[5] == 0x02 && request[6] == 0x28;
    std::uint32_t handle = static_cast<std::uint32_t>(request[1] | request[2] << 8);
    const bool wide = opcode != Opcode::FindByTypeValueRequest && script_.Flag();
    if (opcode == Opcode::FindInformationRequest) answer.push_back(wide ? 2 : 1);
    if (opcode == Opcode::ReadByGroupTypeRequest) answer.push_back(wide ? 20 : 6);
    if (opcode == Opcode::ReadByTypeRequest && isInclude) answer.push_back(wide ? 6 : 8);
    if (opcode == Opcode::ReadByTypeRequest && !isInclude) answer.push_back(wide ? 21 : 7);
    for (int count = 1 + script_.Byte() % 4; count > 0; --count) {
      handle += script_.Byte() % 4;
      AppendU16(answer, handle);
      switch (opcode) {
        case Opcode::ReadByGroupTypeRequest:
        case Opcode::FindByTypeValueRequest:
          handle += script_.Byte() % 32;
          AppendU16(answer, handle);
          break;
        case Opcode::ReadByTypeRequest:
          if (isInclude) {
            AppendU16(answer, 1U + script_.Byte());
            AppendU16(answer, 256U + script_.Byte());
          } else {
            answer.push_back(script_.Byte());
            AppendU16(answer, ++handle);
          }
          break;
        default:
          break;
      }
      ++handle;
      if (opcode != Opcode::FindByTypeValueRequest) AppendUuid(answer, isInclude, wide);
    }
  }

  /// A UUID that the client treats specially, or any other.
  void AppendUuid(Pdu& answer, bool isInclude, bool wide) {
    if (wide && isInclude) return;
    constexpr std::uint16_t kNumbers[] = {
        gatt_uuid::kGenericAttribute,    gatt_uuid::kServiceChanged,
        gatt_uuid::kExtendedProperties,  gatt_uuid::kUserDescription,
        gatt_uuid::kClientConfiguration, gatt_uuid::kPresentationFormat,
        gatt_uuid::kAggregateFormat};
    const std::size_t which = script_.Byte() % (std::size(kNumbers) + 1);
    const std::uint16_t number = which < std::size(kNumbers) ? kNumbers[which] : script_.U16();
    if (wide) Append(answer, Pdu{0xFB, 0x34, 0x9B, 0x5F, 0x80, 0, 0, 0x80, 0, 0x10, 0, 0});
    AppendU16(answer, number);
    if (wide) AppendU16(answer, 0);
  }

  static void Append(Pdu& pdu, ByteView bytes) {
    pdu.insert(pdu.end(), bytes.begin(), bytes.end());
  }
  static void AppendU16(Pdu& pdu, std::uint32_t number) {
    pdu.push_back(static_cast<std::uint8_t>(number));
    pdu.push_back(static_cast<std::uint8_t>(number >> 8));
  }

  Input script_;
  Executor& executor_;
};

}  // namespace ble::fuzz

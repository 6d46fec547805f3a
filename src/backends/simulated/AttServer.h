#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "att/AttPdu.h"
#include "backends/simulated/AttributeDatabase.h"
#include "base/Bytes.h"

namespace ble::simulated {

/// The ATT server of a simulated peripheral, for one connection (Bluetooth Core 5.4, Vol 3 Part F).
/// Used on the radio's thread alone.
class AttServer {
 public:
  /// The peripheral behind the server.
  class Host {
   public:
    /// A notification or indication for this connection.
    virtual void SendPdu(ByteView pdu) = 0;
    /// The client wrote a characteristic's configuration: 0, or the notify and indicate bits.
    virtual void OnConfigured(const HostedCharacteristic& characteristic,
                              std::uint16_t configuration) = 0;
    virtual void OnValueWritten(const HostedCharacteristic& characteristic, ByteView value) = 0;

   protected:
    ~Host() = default;
  };

  /// What goes back for one PDU.
  struct Reply {
    std::optional<att::Pdu> pdu;         ///< none: nothing goes back
    std::chrono::milliseconds delay{0};  ///< what the attributes concerned ask for
  };

  /// `mtu` is the ATT_MTU the server offers. Database and host outlive the server.
  AttServer(AttributeDatabase& database, std::uint16_t mtu, Host& host);

  /// Serves one PDU of the client.
  Reply Handle(ByteView pdu);

  /// Sends a characteristic's value if the client has subscribed: as a notification or, queued
  /// until those before it are confirmed, an indication; what the MTU has no room for is cut off.
  void SendValue(const HostedCharacteristic& characteristic, ByteView value);

  /// To be called when the database has new contents: forgets subscriptions and prepared writes,
  /// all but the subscription to Service Changed, which tells the client.
  void OnServicesReplaced();

  /// The client's configuration of a characteristic: 0, or the notify and indicate bits.
  std::uint16_t Configuration(const HostedCharacteristic& characteristic) const;

 private:
  using Refusal = std::optional<att::AttError>;
  class ListResponse;
  struct PreparedWrite {
    std::uint16_t handle;
    std::uint16_t offset;
    Bytes part;
  };

  /// Answers the request at hand.
  att::Pdu Serve(ByteView pdu);
  /// Answers a malformed request, or one for an impossible range, by itself.
  template <class Message>
  att::Pdu Parsed(ByteView pdu, att::Pdu (AttServer::*serve)(const Message&));

  att::Pdu ExchangeMtu(const att::ExchangeMtu& request);
  att::Pdu FindInformation(const att::FindInformationRequest& request);
  att::Pdu FindByTypeValue(const att::FindByTypeValueRequest& request);
  att::Pdu ReadByType(const att::ReadByTypeRequest& request);
  att::Pdu ReadByGroupType(const att::ReadByTypeRequest& request);
  att::Pdu Finished(ListResponse& list, std::uint16_t start) const;
  att::Pdu Read(const att::ReadRequest& request);
  att::Pdu ReadBlob(const att::ReadBlobRequest& request);
  att::Pdu ReadFrom(att::Opcode opcode, std::uint16_t handle, std::size_t offset);
  att::Pdu ReadMultiple(ByteView pdu);
  att::Pdu Write(const att::HandleValue& request);
  att::Pdu PrepareWrite(const att::PrepareWrite& request);
  att::Pdu ExecuteWrite(ByteView pdu);
  void WriteCommand(ByteView pdu);
  void Confirm();

  att::Pdu Refuse(att::AttError error, std::uint16_t handle) const;
  void Touch(const Attribute& attribute);
  Refusal AppendValue(att::Pdu& response, std::uint16_t handle, std::size_t offset);
  Refusal CheckWritable(std::uint16_t handle);
  Refusal Store(Attribute& attribute, ByteView value);
  Refusal StoreConfiguration(const Attribute& attribute, ByteView value);
  /// Valid until the next call: a configuration belongs to the connection, not to the database.
  ByteView ValueOf(const Attribute& attribute);

  AttributeDatabase& database_;
  const std::uint16_t offeredMtu_;
  Host& host_;
  std::uint16_t mtu_ = att::kDefaultMtu;
  att::Opcode request_{};  ///< the one being served
  std::chrono::milliseconds delay_{0};
  bool silent_ = false;
  std::map<std::uint16_t, std::uint16_t> configurations_;  ///< by configuration handle
  Bytes configurationValue_;
  std::vector<PreparedWrite> prepared_;
  std::deque<Bytes> indications_;  ///< the first is sent and not yet confirmed
};

}  // namespace ble::simulated

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
  struct Request;
  struct PreparedWrite {
    std::uint16_t handle;
    std::uint16_t offset;
    Bytes part;
  };

  att::Pdu ExchangeMtu(ByteView pdu);
  att::Pdu FindInformation(ByteView pdu);
  att::Pdu FindByTypeValue(ByteView pdu);
  att::Pdu ReadByType(ByteView pdu);
  att::Pdu Read(ByteView pdu);
  att::Pdu ReadBlob(ByteView pdu);
  att::Pdu ReadMultiple(ByteView pdu);
  att::Pdu ReadByGroupType(ByteView pdu);
  att::Pdu Write(ByteView pdu);
  att::Pdu PrepareWrite(ByteView pdu);
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

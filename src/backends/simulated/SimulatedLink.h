#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "att/AttChannel.h"
#include "backends/simulated/AttServer.h"
#include "backends/simulated/TimelineRef.h"
#include "backends/simulated/VirtualPeripheral.h"

namespace ble::simulated {

/// One open link to a virtual peripheral: the client's end of the ATT channel and, behind it, the
/// peripheral's server and the value streams that this client has subscribed to. The listener is
/// called on the radio's thread; a wait inside one of its calls runs the next call nested.
class SimulatedLink final : public att::AttChannel,
                            public std::enable_shared_from_this<SimulatedLink>,
                            private AttServer::Host {
 public:
  SimulatedLink(TimelineRef timeline, std::shared_ptr<VirtualPeripheral> peripheral);

  void Start(std::weak_ptr<Listener> listener) override;
  bool Send(ByteView pdu) override;
  void Close() override { End(att::ChannelError::None); }
  /// Answers false: what simulated attributes allow does not depend on the link's security.
  void RaiseSecurity(std::function<void(bool raised)> done) override;

  bool IsOpen() const { return open_.load(std::memory_order_acquire); }

  /// The peripheral's side, on the radio's thread.
  void Drop() { End(att::ChannelError::Unreachable); }
  void OnServicesReplaced();

 private:
  struct Stream {
    std::size_t next = 0;
    Timeline::TimePoint due;
    Executor::TaskId task = 0;
  };

  void SendPdu(ByteView pdu) override { Deliver(pdu); }
  void OnConfigured(const HostedCharacteristic& characteristic,
                    std::uint16_t configuration) override;
  void OnValueWritten(const HostedCharacteristic& characteristic, ByteView value) override;

  template <class Action>
  auto WhileOpen(Action action);
  void End(att::ChannelError error);
  void Serve(ByteView pdu);
  void Deliver(ByteView pdu);
  void ScheduleStream(std::uint16_t valueHandle, Stream& stream);
  void SendNextOfStream(std::uint16_t valueHandle);
  void StopStreams();

  TimelineRef timeline_;
  const std::shared_ptr<VirtualPeripheral> peripheral_;
  std::atomic<bool> open_{true};

  // Below: the radio's thread alone.
  AttServer server_;
  std::uint32_t requests_ = 0;
  bool started_ = false;
  std::weak_ptr<Listener> listener_;
  std::vector<Bytes> undelivered_;           ///< until `Start`
  std::map<std::uint16_t, Stream> streams_;  ///< by value handle
};

/// Opens links to one virtual peripheral.
class SimulatedConnector final : public att::AttConnector {
 public:
  SimulatedConnector(TimelineRef timeline, std::shared_ptr<VirtualPeripheral> peripheral)
      : timeline_(std::move(timeline)), peripheral_(std::move(peripheral)) {}

  void Open(Opened opened) override;

 private:
  TimelineRef timeline_;
  const std::shared_ptr<VirtualPeripheral> peripheral_;
};

}  // namespace ble::simulated

#pragma once

#include <sys/types.h>

#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "att/AttChannel.h"
#include "att/AttPdu.h"
#include "backends/linux/EventLoop.h"
#include "backends/linux/FileDescriptor.h"
#include "backends/linux/LendableInput.h"
#include "base/Mutex.h"

namespace ble::linux_radio {

/// The kernel's ATT channel to one device: a connected L2CAP socket, one PDU a packet. The listener
/// is called on the radio's thread; a wait inside one of its calls runs the next call nested.
/// Responses may come on a thread of the host instead, one that waits in the loop.
class L2capChannel final : public att::AttChannel,
                           public std::enable_shared_from_this<L2capChannel> {
 public:
  /// `keepAlive` lives as long as the channel: whatever the loop belongs to.
  L2capChannel(std::shared_ptr<EventLoop> loop, FileDescriptor socket,
               std::shared_ptr<void> keepAlive);
  ~L2capChannel() override;

  void Start(std::weak_ptr<Listener> listener) override;
  bool Send(ByteView pdu) override;
  void WhenSent(Callback<void()> done) override;
  void Close() override { End(); }
  /// Has the kernel encrypt the link, and pair when there is no key yet.
  void RaiseSecurity(std::function<void(bool raised)> done) override;

 private:
  using PduBuffer = std::array<std::uint8_t, att::kMaxMtu>;

  LendableInput::Taken TakeOne();
  void GiveBack(bool ended);

  void Listen(std::weak_ptr<Listener> listener);
  void OnReady(std::uint32_t events);
  void Receive();
  void ReceiveRest();
  void ReceiveAll();
  bool ReceiveOne();
  ssize_t Next(PduBuffer& pdu);
  void Deliver(ByteView pdu);
  bool SendNow(ByteView pdu) const;
  void SendWaiting();
  void RunWhenSent();
  void Secure(std::function<void(bool raised)> done);
  bool IsSecured() const;
  void SecurityDone(bool raised);
  void WatchFor(std::uint32_t events);
  void End();

  const std::shared_ptr<void> keepAlive_;
  const std::shared_ptr<EventLoop> loop_;
  const FileDescriptor socket_;  // closed with the channel; shut down when the channel ends
  LendableInput input_;
  std::atomic<bool> open_{true};

  Mutex mutex_;
  std::deque<Bytes> waiting_ GUARDED_BY(mutex_);  ///< PDUs that the kernel does not take yet
  std::vector<Callback<void()>> whenSent_ GUARDED_BY(mutex_);
  std::atomic<bool> isCongested_{false};  ///< something waits; written under the lock

  Mutex inputMutex_;  // held while a PDU is received
  /// PDUs for the radio's thread that another thread has taken.
  std::deque<Bytes> kept_ GUARDED_BY(inputMutex_);

  std::weak_ptr<Listener> listener_;  // set before the first PDU is asked for

  // Below: the radio's thread alone.
  EventLoop::WatchId watch_ = 0;
  int filled_ = 0;  ///< how often in a row there were as many PDUs as asked for
  std::function<void(bool raised)> securityDone_;
  EventLoop::TaskId securityTimer_ = 0;
};

}  // namespace ble::linux_radio

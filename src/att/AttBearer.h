#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "att/AttChannel.h"
#include "att/AttPdu.h"
#include "base/Callback.h"
#include "base/Executor.h"
#include "base/Mutex.h"

namespace ble::att {

/// After this long without a response the bearer is dead (Bluetooth Core 5.4, Vol 3 Part F,
/// 3.3.3).
inline constexpr std::chrono::milliseconds kTransactionTimeout{30'000};

/// How a request ended.
struct AttReply {
  enum class Outcome {
    Answered,  ///< by the response that belongs to it; its contents are not checked yet
    Refused,   ///< by an error response
    Lost,      ///< no answer will come: the channel ended
  };
  Outcome outcome = Outcome::Lost;
  ByteView pdu{};    ///< Answered: the whole response, valid only during the call
  AttError error{};  ///< Refused
  ChannelError reason = ChannelError::None;  ///< Lost
};

/// The client's end of one ATT channel: one request at a time with a queue behind it, values the
/// server sends by itself, and the rules that end the channel. Whatever a server may send, each
/// request ends exactly once.
///
/// All operations may be called from any thread. Events run on the channel's thread, replies there
/// or on a thread that waits for one; a request that cannot be sent ends on the thread that found
/// out. No lock is held meanwhile.
class AttBearer final : public AttChannel::Listener,
                        public std::enable_shared_from_this<AttBearer> {
 public:
  using Reply = Callback<void(const AttReply&)>;

  class Listener {
   public:
    /// A notification or indication; an indication is confirmed when this returns.
    virtual void OnValue(std::uint16_t valueHandle, ByteView value) = 0;
    /// The channel has ended; the last call.
    virtual void OnBearerClosed(ChannelError reason) = 0;

   protected:
    ~Listener() = default;
  };

  AttBearer(std::shared_ptr<AttChannel> channel, std::shared_ptr<Executor> executor,
            std::weak_ptr<Listener> listener);
  ~AttBearer();

  /// Starts the channel and agrees on the ATT_MTU; `ready` is told how that ended. Anything but
  /// `Lost` leaves a usable bearer. Called once, before any request.
  void Start(Reply ready);

  /// What becomes of a refusal for want of authentication or encryption.
  enum class OnRefusal {
    SecureLink,  ///< the link is secured, once per channel, and the request repeated
    Stands,      ///< for what the host did not ask for: a pairing may need a person's consent
  };

  /// Sends a request, at once when none is outstanding, on the calling thread.
  void Request(const Pdu& request, Reply reply, OnRefusal onRefusal = OnRefusal::SecureLink);

  /// Sends a command and calls `sent` once it has left, false when the channel has ended: a command
  /// has no answer, and a sender of many must not run far ahead of the link.
  void Command(const Pdu& command, Callback<void(bool left)> sent);

  /// Ends the channel; requests not answered yet are lost.
  void Close() { Shutdown(ChannelError::Unreachable); }

  /// False once the channel has ended or is about to: every request would be lost.
  bool IsUsable() const { return !dead_; }
  std::uint16_t Mtu() const { return mtu_; }

  void OnPdu(ByteView pdu) override;
  void OnClosed(ChannelError error) override;

 private:
  enum class Security { Untried, Raising, Raised, Refused };

  struct Exchange {
    Exchange(const Pdu& pdu, Reply&& whenDone, OnRefusal whenRefused)
        : request(pdu), reply(std::move(whenDone)), onRefusal(whenRefused) {}

    Pdu request;
    Reply reply;
    OnRefusal onRefusal;
    Executor::TimePoint deadline{};
    bool sentSecured = false;  ///< the link had been secured when the request went out
    AttError refusal{};        ///< why it waits for security
  };

  void Begin() REQUIRES(mutex_);
  void SetTimer(std::chrono::milliseconds delay) REQUIRES(mutex_);
  std::optional<Pdu> BeginNext() REQUIRES(mutex_);
  bool IsOutstanding(Opcode request) const REQUIRES(mutex_);

  void Transmit(ByteView pdu);
  void Shutdown(ChannelError reason);
  void OnTimer();
  void OnSecurityRaised(bool raised);

  void OnResponse(ByteView pdu);
  void OnErrorResponse(ByteView pdu);
  void OnHandleValue(ByteView pdu);
  void OnMultipleHandleValues(ByteView pdu);
  void OnRequest(ByteView pdu);

  const std::shared_ptr<AttChannel> channel_;
  const std::shared_ptr<Executor> executor_;
  const std::weak_ptr<Listener> listener_;

  std::atomic<std::uint16_t> mtu_{kDefaultMtu};

  mutable Mutex mutex_;  // never held across a callback
  std::optional<Exchange> outstanding_ GUARDED_BY(mutex_);
  std::deque<Exchange> queue_ GUARDED_BY(mutex_);
  std::vector<Exchange> awaitingSecurity_ GUARDED_BY(mutex_);
  /// For the first deadline of the requests so far; 0: none.
  Executor::TaskId timer_ GUARDED_BY(mutex_) = 0;
  Security security_ GUARDED_BY(mutex_) = Security::Untried;
  std::atomic<bool> dead_{false};  // set under the lock
  ChannelError reason_ GUARDED_BY(mutex_) = ChannelError::None;
};

using BearerPtr = std::shared_ptr<AttBearer>;

}  // namespace ble::att

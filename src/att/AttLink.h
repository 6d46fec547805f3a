#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "att/AttBearer.h"
#include "att/AttChannel.h"
#include "base/Executor.h"
#include "base/Mutex.h"

namespace ble::att {

/// The link to one device over its whole life: opened by the first operation that needs it, opened
/// again by a later one after it was lost, closed for good by `Close`.
class AttLink final : public AttBearer::Listener, public std::enable_shared_from_this<AttLink> {
 public:
  /// Called with a bearer that is ready for use, or with null and the reason why there is none.
  using Use = Callback<void(const std::shared_ptr<AttBearer>& bearer, ChannelError error)>;

  /// Told about the link on the channel's thread, without any lock held.
  class Observer {
   public:
    virtual void OnLinkOpened() = 0;
    virtual void OnLinkClosed() = 0;  ///< only after `OnLinkOpened`; never after `Close`
    virtual void OnValue(std::uint16_t valueHandle, ByteView value) = 0;

   protected:
    ~Observer() = default;
  };

  AttLink(std::shared_ptr<AttConnector> connector, std::shared_ptr<Executor> executor,
          std::weak_ptr<Observer> observer);
  ~AttLink();

  /// Calls `use`, which is like a `Use`, with the bearer: at once, on the calling thread, when the
  /// link is open, else when it has been opened or could not be.
  template <class AnyUse>
  void WithBearer(AnyUse use) {
    if (auto bearer = UsableBearer()) return use(std::move(bearer), ChannelError::None);
    WithBearerLater(std::move(use));
  }

  bool IsOpen() const;

  /// Closes the link and keeps it closed; whatever waits or runs ends as unreachable.
  void Close();

  void OnValue(std::uint16_t valueHandle, ByteView value) override;
  void OnBearerClosed(ChannelError reason) override;

 private:
  enum class State {
    Idle,     ///< no channel
    Opening,  ///< from asking for a channel until its ATT_MTU is agreed on
    Open,     ///< also while the bearer is dead and its channel still closing
    Closed,   ///< for good
  };

  std::shared_ptr<AttBearer> UsableBearer() const;
  void WithBearerLater(Use use);
  void OpenChannel();
  void OnChannel(std::shared_ptr<AttChannel> channel, ChannelError error);
  void OnNoChannel(ChannelError error);
  bool WasNeverEstablished() const REQUIRES(mutex_);
  void OnReady(const std::shared_ptr<AttBearer>& bearer, const AttReply& reply);

  const std::shared_ptr<AttConnector> connector_;
  const std::shared_ptr<Executor> executor_;
  const std::weak_ptr<Observer> observer_;

  mutable Mutex mutex_;  // never held across a callback
  State state_ GUARDED_BY(mutex_) = State::Idle;
  bool announced_ GUARDED_BY(mutex_) = false;  ///< the observer knows that the link is open
  std::shared_ptr<AttBearer> bearer_ GUARDED_BY(mutex_);
  std::vector<Use> waiting_ GUARDED_BY(mutex_);
  Executor::TimePoint channelSince_ GUARDED_BY(mutex_){};
  /// Opened since the link was last ready or given up.
  int channels_ GUARDED_BY(mutex_) = 0;
};

}  // namespace ble::att

#include "att/AttLink.h"

#include <utility>

namespace ble::att {

namespace {

/// A central reports a link as soon as it has asked for one, and learns only after six connection
/// intervals that the peripheral did not hear it (Bluetooth Core 5.4, Vol 6 Part B, 4.5.2). On a
/// busy or distant link that is common, and the next attempt usually succeeds.
constexpr std::chrono::seconds kEstablishment{2};
constexpr int kMostChannels = 3;

void FailAll(const std::vector<AttLink::Use>& waiting, ChannelError error) {
  for (const AttLink::Use& use : waiting)
    use(nullptr, error == ChannelError::None ? ChannelError::Unreachable : error);
}

}  // namespace

AttLink::AttLink(std::shared_ptr<AttConnector> connector, std::shared_ptr<Executor> executor,
                 std::weak_ptr<Observer> observer)
    : connector_(std::move(connector)),
      executor_(std::move(executor)),
      observer_(std::move(observer)) {}

AttLink::~AttLink() {
  Close();
}

[[gnu::hot]] std::shared_ptr<AttBearer> AttLink::UsableBearer() const {
  const MutexLock lock(mutex_);
  return state_ == State::Open && bearer_->IsUsable() ? bearer_ : nullptr;
}

void AttLink::WithBearerLater(Use use) {
  MutexLock lock(mutex_);
  if (state_ == State::Closed) {
    lock.Unlock();
    return use(nullptr, ChannelError::Unreachable);
  }
  if (state_ == State::Open && bearer_->IsUsable()) {  // by now
    const std::shared_ptr<AttBearer> bearer = bearer_;
    lock.Unlock();
    return use(bearer, ChannelError::None);
  }
  // A channel that is still closing comes first: OnBearerClosed opens the next one.
  waiting_.push_back(std::move(use));
  if (state_ != State::Idle) return;
  state_ = State::Opening;
  lock.Unlock();
  OpenChannel();
}

bool AttLink::IsOpen() const {
  const MutexLock lock(mutex_);
  return announced_;
}

void AttLink::Close() {
  std::shared_ptr<AttBearer> bearer;
  std::vector<Use> waiting;
  {
    const MutexLock lock(mutex_);
    state_ = State::Closed;
    announced_ = false;
    bearer.swap(bearer_);
    waiting.swap(waiting_);
  }
  if (bearer) bearer->Close();
  FailAll(waiting, ChannelError::Unreachable);
}

void AttLink::OpenChannel() {
  connector_->Open(
      [weak = weak_from_this()](std::shared_ptr<AttChannel> channel, ChannelError error) {
        if (const auto self = weak.lock())
          self->OnChannel(std::move(channel), error);
        else if (channel)
          channel->Close();
      });
}

void AttLink::OnChannel(std::shared_ptr<AttChannel> channel, ChannelError error) {
  if (!channel) return OnNoChannel(error);
  const auto bearer = std::make_shared<AttBearer>(std::move(channel), executor_, weak_from_this());
  {
    const MutexLock lock(mutex_);
    if (state_ != State::Opening) return;  // closed meanwhile; the bearer closes the channel
    bearer_ = bearer;
    channelSince_ = executor_->Now();
    ++channels_;
  }
  bearer->Start([weak = weak_from_this(), started = std::weak_ptr(bearer)](const AttReply& reply) {
    if (const auto self = weak.lock()) self->OnReady(started.lock(), reply);
  });
}

void AttLink::OnNoChannel(ChannelError error) {
  std::vector<Use> waiting;
  {
    const MutexLock lock(mutex_);
    if (state_ != State::Closed) state_ = State::Idle;
    channels_ = 0;
    waiting.swap(waiting_);
  }
  FailAll(waiting, error);
}

bool AttLink::WasNeverEstablished() const {
  return channels_ < kMostChannels && executor_->Now() - channelSince_ < kEstablishment;
}

void AttLink::OnReady(const std::shared_ptr<AttBearer>& bearer, const AttReply& reply) {
  const bool ready = reply.outcome != AttReply::Outcome::Lost;
  std::vector<Use> waiting;
  {
    const MutexLock lock(mutex_);
    if (!bearer || bearer_ != bearer) return;  // its end has answered what was waiting
    state_ = State::Open;
    announced_ = ready;
    if (!ready && reply.reason == ChannelError::Unreachable && WasNeverEstablished())
      return;  // OnBearerClosed opens another one
    channels_ = 0;
    waiting.swap(waiting_);
  }
  if (!ready) return FailAll(waiting, reply.reason);
  if (const auto observer = observer_.lock()) observer->OnLinkOpened();
  for (const Use& use : waiting)
    use(bearer, ChannelError::None);
}

[[gnu::hot]] void AttLink::OnValue(std::uint16_t valueHandle, ByteView value) {
  if (const auto observer = observer_.lock()) observer->OnValue(valueHandle, value);
}

void AttLink::OnBearerClosed(ChannelError) {
  std::shared_ptr<AttBearer> retired;  // dies after the lock
  bool announced = false;
  bool reopen = false;
  {
    const MutexLock lock(mutex_);
    if (state_ == State::Closed) return;
    retired.swap(bearer_);
    announced = std::exchange(announced_, false);
    reopen = !waiting_.empty();
    state_ = reopen ? State::Opening : State::Idle;
  }
  if (announced)
    if (const auto observer = observer_.lock()) observer->OnLinkClosed();
  if (reopen) OpenChannel();
}

}  // namespace ble::att

#include "att/ValueWrite.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "att/AttStatus.h"

namespace ble::att {

namespace {

// What comes before the value in a Write Request, a Prepare Write Request.
constexpr std::size_t kWriteHeader = 3;
constexpr std::size_t kPrepareHeader = 5;

class LongWrite : public std::enable_shared_from_this<LongWrite> {
 public:
  LongWrite(std::shared_ptr<AttBearer> bearer, std::uint16_t handle, Bytes value, WriteDone done)
      : bearer_(std::move(bearer)),
        handle_(handle),
        value_(std::move(value)),
        done_(std::move(done)) {}

  void PrepareNext() {
    const std::size_t size =
        std::min(value_.size() - offset_, std::size_t{bearer_->Mtu()} - kPrepareHeader);
    bearer_->Request(Part(Opcode::PrepareWriteRequest, size),
                     [self = shared_from_this(), size](const AttReply& reply) {
                       self->OnPrepared(reply, size);
                     });
  }

 private:
  Pdu Part(Opcode opcode, std::size_t size) const {
    return Build(PrepareWrite{opcode, handle_, static_cast<std::uint16_t>(offset_),
                              ByteView(value_).subspan(offset_, size)});
  }

  void OnPrepared(const AttReply& reply, std::size_t size) {
    if (reply.outcome == AttReply::Outcome::Lost) return done_(StatusOf(reply));
    if (reply.outcome == AttReply::Outcome::Refused) return Execute(false, StatusOf(reply));
    const Pdu echo = Part(Opcode::PrepareWriteResponse, size);
    if (!std::ranges::equal(reply.pdu, echo.View()))
      return Execute(false, ProtocolError(AttError::UnlikelyError));
    offset_ += size;
    if (offset_ < value_.size())
      PrepareNext();
    else
      Execute(true, {});
  }

  // Carries out what was prepared, or cancels it; the write then ends with `status` unless
  // carrying it out fails.
  void Execute(bool write, const GattResult& status) {
    bearer_->Request(Build(ExecuteWriteRequest{write}),
                     [self = shared_from_this(), write, status](const AttReply& reply) {
                       self->done_(write ? StatusOf(reply) : status);
                     });
  }

  const std::shared_ptr<AttBearer> bearer_;
  const std::uint16_t handle_;
  const Bytes value_;
  const WriteDone done_;
  std::size_t offset_ = 0;
};

}  // namespace

void LongWriteQueue::Run(Job job) {
  {
    const MutexLock lock(mutex_);
    waiting_.push_back(std::move(job));
  }
  RunNext();
}

void LongWriteQueue::RunNext() {
  Job job;
  {
    const MutexLock lock(mutex_);
    if (running_ || waiting_.empty()) return;
    running_ = true;
    job = std::move(waiting_.front());
    waiting_.pop_front();
  }
  job([self = shared_from_this()] {
    {
      const MutexLock lock(self->mutex_);
      self->running_ = false;
    }
    self->RunNext();
  });
}

void WriteWholeValue(const std::shared_ptr<AttBearer>& bearer,
                     const std::shared_ptr<LongWriteQueue>& longWrites, std::uint16_t handle,
                     Bytes value, WriteDone done) {
  if (value.size() > kMaxValueLength)
    return done(ProtocolError(AttError::InvalidAttributeValueLength));
  if (value.size() + kWriteHeader <= bearer->Mtu())
    return bearer->Request(
        Build(HandleValue{Opcode::WriteRequest, handle, value}),
        [done = std::move(done)](const AttReply& reply) { done(StatusOf(reply)); });
  longWrites->Run([=, value = std::move(value),
                   done = std::move(done)](Callback<void()> finished) mutable {
    auto both = [done = std::move(done), finished = std::move(finished)](const GattResult& status) {
      finished();
      done(status);
    };
    std::make_shared<LongWrite>(bearer, handle, std::move(value), std::move(both))->PrepareNext();
  });
}

void WriteWithoutResponse(AttBearer& bearer, std::uint16_t handle, ByteView value, WriteDone done) {
  if (value.size() + kWriteHeader > bearer.Mtu())
    return done(ProtocolError(AttError::InvalidAttributeValueLength));
  bearer.Command(Build(HandleValue{Opcode::WriteCommand, handle, value}),
                 [done = std::move(done)](bool left) {
                   done(left ? GattResult{} : StatusOf(ChannelError::Unreachable));
                 });
}

}  // namespace ble::att

#include "frame/ErrorState.h"

#include "base/Text.h"

namespace ble {
namespace {

std::string DefaultText(ErrorCode code) {
  if (code == error::kTimeout) return "Interrupted.";
  if (code == error::kOutOfMemory) return std::string(failure::kOutOfMemory.text);
  return Concat("[", code, "] (no description available)");
}

}  // namespace

[[gnu::hot]] ErrorCode ErrorState::Finish(const Status& status) {
  if (!status.Ok()) {
    const MutexLock lock(mutex_);
    if (!status.Text().empty()) lastText_ = status.Text();
    if (lastText_.empty()) lastText_ = DefaultText(status.Code());
  }
  SetLastCode(status.Code());
  return status.Code();
}

void ErrorState::Note(const Status& status) {
  if (!status.Text().empty()) SetLastText(status.Text());
}

std::string ErrorState::LastText() const {
  const MutexLock lock(mutex_);
  return lastText_;
}

void ErrorState::SetLastText(std::string_view text) {
  const MutexLock lock(mutex_);
  lastText_ = text;
}

std::string ErrorState::EventText() const {
  const MutexLock lock(mutex_);
  return eventText_;
}

void ErrorState::SetEvent(ErrorCode code, std::string_view text) {
  const MutexLock lock(mutex_);
  eventText_ = text;
  eventCode_ = code;
}

bool ErrorState::RecordUnhandledEvent(ErrorCode code, std::string_view text) {
  const MutexLock lock(mutex_);
  if (!eventText_.empty()) return false;
  eventText_ = text;
  eventCode_ = code;
  return true;
}

}  // namespace ble

#include "radio/Session.h"

#include <utility>

namespace ble {

Session::Session(const ValueChanged::Handler& valueChanged, DevicePtr device)
    : tree(valueChanged),
      selection(tree),
      device_(std::move(device)),
      isLive_(device_ != nullptr) {}

Session::DevicePtr Session::Device() const {
  const MutexLock lock(mutex_);
  return device_;
}

ServerId Session::Server() const {
  const DevicePtr device = Device();
  return device ? ServerId(device->BluetoothAddress()) : ServerId();
}

std::optional<BluetoothConnectionStatus> Session::LinkStatus() const {
  const DevicePtr device = Device();
  return device ? std::optional(device->ConnectionStatus()) : std::nullopt;
}

std::optional<std::u16string> Session::Name() const {
  const DevicePtr device = Device();
  return device ? std::optional(device->Name()) : std::nullopt;
}

void Session::Keep(EventToken handler) {
  const MutexLock lock(mutex_);
  if (device_) handlers_.push_back(std::move(handler));
}

bool Session::NoteLink(bool isUp) {
  const MutexLock lock(mutex_);
  return device_ && isLive_.exchange(isUp) != isUp;
}

void Session::End() {
  DevicePtr device;  // both released after the lock
  std::vector<EventToken> handlers;
  const MutexLock lock(mutex_);
  device.swap(device_);
  handlers.swap(handlers_);
  isLive_ = false;
}

}  // namespace ble

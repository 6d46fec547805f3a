#include "backends/linux/LinuxSession.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "backends/linux/Rfkill.h"
#include "base/IfAlive.h"

namespace ble::linux_radio {
namespace {

using std::chrono::milliseconds;

/// For a caller who would wait for ever, and at most for any other.
constexpr milliseconds kLongestSearch{30'000};

}  // namespace

std::shared_ptr<LinuxSession> LinuxSession::Create(std::string adapterName) {
  std::shared_ptr<LinuxSession> session(new LinuxSession(std::move(adapterName)));
  // What arrives on the bus may end with the last user of the session letting go of it.
  session->bus_.SetOwner(session);
  return session;
}

LinuxSession::LinuxSession(std::string adapterName)
    : adapterName_(std::move(adapterName)), bus_(*loop_, [this] {
        objects_.End("The connection to the system's message bus was lost.");
      }) {}

LinuxSession::~LinuxSession() {
  loop_->Stop();  // from here on nothing but this thread touches the members
}

void LinuxSession::Run(std::function<void(LinuxSession&)> task) {
  loop_->Post(IfAlive(weak_from_this(), [task = std::move(task)](LinuxSession& self) {
    self.OpenBus();
    self.objects_.WhenKnown(IfAlive(self.weak_from_this(), task));
  }));
}

milliseconds LinuxSession::SearchLimit() const {
  const milliseconds limit = waitLimit_;
  if (limit <= milliseconds{0}) return kLongestSearch;
  const milliseconds margin = std::min(limit / 10, milliseconds{1'000});
  return std::min(limit - margin, kLongestSearch);
}

void LinuxSession::OpenBus() {
  if (bus_.IsOpen()) return;
  if (const int error = bus_.Open(); error == 0) {
    objects_.Begin();
  } else {
    objects_.End("The system's message bus cannot be reached (" +
                 std::string(std::strerror(error)) + "); BlueZ needs D-Bus.");
  }
}

const AdapterObject* LinuxSession::Adapter() const {
  const AdapterObject* best = nullptr;
  for (const auto& [path, adapter] : objects_.Adapters()) {
    if (!adapterName_.empty() && adapter.Name() != adapterName_) continue;
    if (!best || (adapter.powered && adapter.lowEnergy && !(best->powered && best->lowEnergy)))
      best = &adapter;
  }
  return best;
}

std::string LinuxSession::WhyNoAdapter() const {
  const AdapterObject* const adapter = Adapter();
  if (!adapter && IsBluetoothBlocked())
    return "Bluetooth is blocked; unblock it (rfkill unblock bluetooth).";
  if (!adapter && !objects_.Absence().empty()) return objects_.Absence();
  if (!adapter && !adapterName_.empty() && !objects_.Adapters().empty())
    return "There is no Bluetooth adapter with the name " + adapterName_ + ".";
  if (!adapter) return kNoAdapter;
  if (adapter->powered) return {};
  if (IsAdapterBlocked(adapter->Name()))
    return "The Bluetooth adapter " + adapter->Name() +
           " is blocked; unblock it (rfkill unblock bluetooth).";
  return "The Bluetooth adapter " + adapter->Name() +
         " is switched off; switch it on (bluetoothctl power on).";
}

void LinuxSession::Notify(const std::string& text) {
  notices_.Raise(text);
}

void LinuxSession::NotifyWhyNoAdapter() {
  const std::string obstacle = WhyNoAdapter();
  if (!obstacle.empty()) Notify(obstacle);
}

}  // namespace ble::linux_radio

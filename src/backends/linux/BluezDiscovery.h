#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "backends/linux/BluezObjects.h"
#include "backends/linux/SystemBus.h"
#include "platform/BluetoothAdvertisement.h"

namespace ble::linux_radio {

/// BlueZ's discovery, which a bus connection can have once, shared by all who listen: on while
/// there is a user and nobody has paused it. On the radio's thread alone.
class BluezDiscovery {
 public:
  /// Told how starting went, each time: a pause may be between two; and when the adapter is lost.
  using Started = std::function<void(BluetoothError error)>;
  using Done = std::function<void()>;
  using UserId = std::uint64_t;

  BluezDiscovery(SystemBus& bus, BluezObjects& objects);

  /// Turns discovery on on an adapter. All users are on the same adapter.
  UserId Add(const std::string& adapterPath, const Started& started);
  /// Without users discovery ends; `done` is called once it has.
  void Remove(UserId user, Done done = {});

  /// The kernel opens no new link while it discovers: whoever opens one pauses discovery, and is
  /// told when it rests. Each pause ends with a `Resume`.
  void Pause(Done resting);
  void Resume();

 private:
  void Update();
  void Start();
  void Stop();
  void OnStarted(const BusError* error);
  void OnAdaptersChanged();
  void Tell(BluetoothError error) const;
  void RunDone();

  SystemBus& bus_;
  BluezObjects& objects_;
  std::string adapterPath_;
  UserId lastUser_ = 0;
  std::map<UserId, Started> users_;
  int pauses_ = 0;
  bool on_ = false;
  bool changing_ = false;  ///< a call to the daemon is under way
  std::vector<Done> whenOff_;
  EventToken adaptersChanged_;
};

}  // namespace ble::linux_radio

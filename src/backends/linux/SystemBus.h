#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/EventLoop.h"

namespace ble::linux_radio {

struct BusSlotDeleter {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
struct BusMessageDeleter {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageDeleter>;

/// How a D-Bus call was refused: the name and the words of the error.
struct BusError {
  std::string name;
  std::string text;
};

/// A connection to the system's message bus, on the radio's thread alone. Nothing here blocks, and
/// every handler runs outside sd-bus, so that it may make the loop run nested.
class SystemBus {
 public:
  using Handler = std::function<void(sd_bus_message* message)>;
  /// Exactly one of the two is there.
  using Reply = std::function<void(sd_bus_message* reply, const BusError* error)>;
  using AppendArguments = std::function<int(sd_bus_message* call)>;

  /// `onClosed` is called once when the bus goes away.
  SystemBus(EventLoop& loop, std::function<void()> onClosed);
  ~SystemBus();
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

  /// What must live while handlers run: they may end with the last use of this very object.
  void SetOwner(std::weak_ptr<void> owner) { owner_ = std::move(owner); }

  /// Connects; 0, or the errno that says why not.
  int Open();
  bool IsOpen() const { return bus_ != nullptr; }

  /// Has `handler` called with every signal that matches `rule`, until the bus closes.
  void Subscribe(const std::string& rule, Handler handler);

  /// Calls a method of BlueZ (or `destination`) and has `reply` called with what came of it; not
  /// any more once the bus has been destroyed. `append` may be empty.
  void Call(const std::string& path, const char* interface, const char* member,
            const AppendArguments& append, Reply reply,
            std::chrono::milliseconds limit = std::chrono::seconds(20));

 private:
  struct Pending {
    SystemBus* bus;
    Handler handler;  ///< of a subscription
    Reply reply;      ///< of a call
    std::unique_ptr<sd_bus_slot, BusSlotDeleter> slot;
  };

  static int OnMessage(sd_bus_message* message, void* pending, sd_bus_error* error);
  /// `action` as a task or handler of the loop: run only while the owner lives, which it keeps
  /// alive meanwhile.
  template <class Action>
  auto Owned(Action action) {
    return [owner = owner_, action](auto&&...) {
      if (const auto pin = owner.lock()) action();
    };
  }
  void Process();
  void Deliver();
  /// Has the loop wait for what sd-bus waits for now.
  void Rearm();
  void Close();

  EventLoop& loop_;
  const std::function<void()> onClosed_;
  std::weak_ptr<void> owner_;
  sd_bus* bus_ = nullptr;
  EventLoop::WatchId watch_ = 0;
  EventLoop::TaskId timer_ = 0;
  std::vector<std::unique_ptr<Pending>> subscriptions_;
  std::vector<std::unique_ptr<Pending>> calls_;
  /// What sd-bus has handed over and no handler has seen yet.
  std::deque<std::pair<Pending*, BusMessage>> delivered_;
};

}  // namespace ble::linux_radio

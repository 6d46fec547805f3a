#pragma once

#include <chrono>
#include <corvaneble/corvaneble.hpp>
#include <functional>
#include <thread>

#include "EventQueue.h"

namespace corvaneble::tool {

struct Session;

/// A client of the library whose events are all handled on one thread, the one that owns this
/// object: events that a method raises inside the method, those of other threads when a method ends
/// or in `Step`.
class Host {
 public:
  using Handler = std::function<void(const AnyEvent&)>;

  /// With the options of a session. Prints log lines and errors on standard error, and gives every
  /// event to `handler`.
  explicit Host(const Session& session, Handler handler = {});

  /// Gives every event to `handler` and prints nothing. `timeout` is in seconds, the library's own
  /// if negative. Log lines have levels up to `logLevel`, but always CORVANEBLE_LOG_INFO.
  Host(Handler handler, int timeout, int logLevel);

  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  Client& operator*() { return client_; }
  Client* operator->() { return &client_; }

  /// Handles what has arrived, after waiting about 20 ms for it at most. Events that come faster
  /// than they are handled are left for the next step after as long again. Time of a simulated
  /// radio passes in here, unless something was left.
  void Step();

  /// Handles what has arrived for as long as a step does, then drops the advertisements and values
  /// that are left.
  void DropRest();

  /// When the event that is being handled was raised.
  std::chrono::steady_clock::time_point RaisedAt() const { return raisedAt_; }

  /// Prints how many events were dropped, if any were.
  void TellDropped() const;

 private:
  void OnEvent(AnyEvent event);
  void OnMethodEnd();

  /// Handles the decisive events and one more, and others until `slice` is over. Returns whether
  /// nothing is left.
  bool HandleEvents(std::chrono::milliseconds slice);

  const std::thread::id owner_ = std::this_thread::get_id();
  const Handler handler_;
  bool handling_ = false;
  std::chrono::steady_clock::time_point raisedAt_;
  EventQueue events_;
  Client client_;  // last: its events use all of the above
};

}  // namespace corvaneble::tool

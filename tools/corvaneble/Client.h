#pragma once

#include <corvaneble/corvaneble.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <variant>

#include "Events.h"

namespace corvaneble::tool {

/// An operation of the library that failed: its code and its text.
class ClientError : public std::runtime_error {
 public:
  ClientError(int code, const std::string& text) : std::runtime_error(text), code_(code) {}
  int Code() const { return code_; }

 private:
  int code_;
};

/// An instance of the library, seen from the thread that owns it. Events of the platform's threads
/// are queued; the handler runs on the owner's thread alone, inside the calls below. What fails
/// throws `ClientError`.
class Client {
 public:
  using Handler = std::function<void(const Event&)>;

  /// Identifiers are the library's; `timeout` is in seconds, kept as it is when negative. Log lines
  /// come up to `logLevel`, and at least those that inform.
  explicit Client(Handler handler = {}, int timeout = -1, int logLevel = CORVANEBLE_LOG_NONE);
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  std::string Config(const std::string& text);

  void StartScanning(const std::string& serviceUuids);
  void StopScanning();
  bool Scanning() { return Number(CORVANEBLE_PROPERTY_SCANNING) != 0; }

  void Connect(const std::string& address);
  void Disconnect();
  void DiscoverServices(const std::string& uuids, const std::string& includedBy);
  void DiscoverCharacteristics(const std::string& service, const std::string& uuids);
  void DiscoverDescriptors(const std::string& service, const std::string& characteristic);
  Bytes Read(const AttributePath& path);
  void Write(const AttributePath& path, const Bytes& value);  ///< with response
  void Post(const AttributePath& path, const Bytes& value);   ///< without
  void Subscribe(const AttributePath& path);
  void Unsubscribe(const AttributePath& path);

  int Number(int property, int index = 0);
  std::string Text(int property, int index = 0);
  void SetNumber(int property, int value, int index = 0);
  void SetText(int property, const std::string& value, int index = 0);

  /// Hands over what has arrived, having waited about 20 ms for it at most. What comes faster than
  /// it is handled is left for the next step after as long again. Time of a simulated radio passes
  /// in here, unless something was left.
  void Step();

  /// Hands over what has arrived for as long as a step does; advertisements and values that are
  /// left then are dropped.
  void DropRest();

  /// How many events of a kind were dropped because they came faster than they were handled.
  template <class Kind>
  std::size_t Dropped() const {
    const std::lock_guard lock(mutex_);
    return dropped_[Event(Kind()).index()];
  }
  /// How many of them have not been handled yet.
  template <class Kind>
  std::size_t Waiting() const {
    const std::lock_guard lock(mutex_);
    return waiting_[Event(Kind()).index()];
  }

 private:
  static std::int32_t CORVANEBLE_CALL OnEvent(void* self, std::int32_t eventId,
                                              std::int32_t paramCount, const std::intptr_t* params,
                                              const std::int32_t* lengths) noexcept;

  void Do(int method, std::intptr_t* params, std::int32_t* lengths, int count);
  void Do(int method, std::initializer_list<const std::string*> texts);
  void Check(int code);
  void Enqueue(Event event);
  /// Calls the handler for what there is of the first queue and one more event, and for more until
  /// the time is over; says whether nothing is left.
  bool HandOver(std::chrono::milliseconds slice);
  std::optional<Event> TakeNext();

  const std::thread::id owner_ = std::this_thread::get_id();
  Handler handler_;
  bool handingOver_ = false;

  mutable std::mutex mutex_;  // guards the queues and the counts
  std::condition_variable arrived_;
  std::deque<Event> first_;  ///< what decides how things go on
  std::deque<Event> then_;   ///< what is only shown, and may come in floods
  using CountOfEachKind = std::array<std::size_t, std::variant_size_v<Event>>;
  CountOfEachKind waiting_{};  ///< in the queues
  CountOfEachKind dropped_{};

  struct Destroyer {
    void operator()(CorvaneBLE_Handle handle) const { CorvaneBLE_BLEClient_Destroy(handle); }
  };
  // Last, so that it goes first: events come as long as it exists.
  std::unique_ptr<void, Destroyer> handle_;
};

}  // namespace corvaneble::tool

#pragma once

#include <corvaneble/corvaneble.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

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

  /// Hands over what has arrived, having waited about 20 ms for it at most. Time of a simulated
  /// radio passes in here.
  void Step();

  /// Advertisements thrown away because they came faster than they were handled.
  std::size_t DroppedAdvertisements() const;

 private:
  static std::int32_t CORVANEBLE_CALL OnEvent(void* self, std::int32_t eventId,
                                              std::int32_t paramCount, const std::intptr_t* params,
                                              const std::int32_t* lengths) noexcept;

  void Do(int method, std::intptr_t* params, std::int32_t* lengths, int count);
  void Do(int method, std::initializer_list<const std::string*> texts);
  void Check(int code);
  void Enqueue(Event event);
  void Dispatch();

  const std::thread::id owner_ = std::this_thread::get_id();
  Handler handler_;
  bool dispatching_ = false;

  mutable std::mutex mutex_;  // guards the queue and the count of what did not fit in it
  std::condition_variable arrived_;
  std::deque<Event> queue_;
  std::size_t dropped_ = 0;

  struct Destroyer {
    void operator()(CorvaneBLE_Handle handle) const { CorvaneBLE_BLEClient_Destroy(handle); }
  };
  // Last, so that it goes first: events come as long as it exists.
  std::unique_ptr<void, Destroyer> handle_;
};

}  // namespace corvaneble::tool

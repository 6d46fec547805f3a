#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "backends/simulated/SimulatedRadio.h"
#include "base/Bytes.h"
#include "corvaneble/corvaneble.h"

namespace ble::tests {

/// A simulated radio from the text of a scenario, in virtual time by default.
simulated::OpenedSimulatedRadio OpenScenario(const std::string& json);

/// An event as the callback received it.
struct HostEvent {
  std::int32_t id = 0;
  std::vector<std::variant<std::int32_t, std::string>> values;  ///< bytes as a string
  std::thread::id thread;

  std::int32_t Integer(std::size_t position) const {
    return std::get<std::int32_t>(values.at(position));
  }
  const std::string& Text(std::size_t position) const {
    return std::get<std::string>(values.at(position));
  }
  /// The event's name and values on one line, for comparing whole sequences.
  std::string Line() const;
};

/// A text in the code page of the system.
std::string Narrow(std::u16string_view text);

/// A host with one instance: calls the exported functions and stores the events.
class Host {
 public:
  explicit Host(const std::string& scenarioJson) : Host(OpenScenario(scenarioJson)) {}
  explicit Host(OpenedRadio radio);
  ~Host() { Destroy(); }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  CorvaneBLE_Handle Handle() const { return handle_; }
  void Destroy();

  /// Calls a method whose parameters are all texts; results in the four positions of `params`.
  std::int32_t Do(std::int32_t method, std::initializer_list<const char*> texts = {});
  std::int32_t Discover(const char* services = "", const char* characteristics = "",
                        bool descriptors = false, const char* includedBy = "");
  std::int32_t Read(const std::string& characteristicId, const std::string& descriptorId,
                    std::string& value);
  std::int32_t Write(std::int32_t method, const std::string& characteristicId,
                     const std::string& value, const std::string& descriptorId = "");
  /// The result of Config, or "!" and the code.
  std::string Config(const std::string& text);

  std::intptr_t Get(std::int32_t property, std::int32_t index = 0) const;
  std::string Text(std::int32_t property, std::int32_t index = 0) const;
  std::int32_t Set(std::int32_t property, std::intptr_t value, std::int32_t index = 0) const;
  std::int32_t SetText(std::int32_t property, const char* value, std::int32_t index = 0) const;
  std::string LastError() const { return CorvaneBLE_BLEClient_GetLastError(handle_); }

  /// The events so far; `Forget` removes them.
  std::vector<HostEvent> Events(std::int32_t id = 0) const;
  /// The number of events, without a copy: a copy would delay new events.
  std::size_t Count(std::int32_t id) const;
  std::vector<std::string> Lines(std::int32_t id = 0) const;
  void Forget();

  /// Lets simulated time pass until `count` events of a kind have arrived, for at most a minute.
  bool PumpUntil(std::int32_t id, std::size_t count = 1);
  void Pump(std::int32_t milliseconds);

  /// Called by the callback after it has stored the event; the result is that of the callback.
  std::function<std::int32_t(const HostEvent&)> onEvent;

 private:
  static std::int32_t CORVANEBLE_CALL OnEvent(void* userData, std::int32_t eventId,
                                              std::int32_t paramCount, const std::intptr_t* params,
                                              const std::int32_t* lengths);

  CorvaneBLE_Handle handle_ = nullptr;
  mutable std::mutex mutex_;  // guards events_
  std::vector<HostEvent> events_;
};

/// The identifier of the service of a characteristic.
inline std::string ServiceIdOf(const std::string& id) {
  return id.substr(0, 4) + "00000000";
}

}  // namespace ble::tests

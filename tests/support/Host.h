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

/// A simulated radio from scenario text, in virtual time unless the text says otherwise.
simulated::OpenedSimulatedRadio OpenScenario(const std::string& json);

/// One event as the host's callback saw it.
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

/// A text in the system's own code page.
std::string Narrow(std::u16string_view text);

/// A host of one instance: calls the exported functions and keeps the events.
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
  /// The answer of a configuration text, or "!" and the code.
  std::string Config(const std::string& text);

  std::intptr_t Get(std::int32_t property, std::int32_t index = 0) const;
  std::string Text(std::int32_t property, std::int32_t index = 0) const;
  std::int32_t Set(std::int32_t property, std::intptr_t value, std::int32_t index = 0) const;
  std::int32_t SetText(std::int32_t property, const char* value, std::int32_t index = 0) const;
  std::string LastError() const { return CorvaneBLE_BLEClient_GetLastError(handle_); }

  /// The events so far, and forgetting them.
  std::vector<HostEvent> Events(std::int32_t id = 0) const;
  /// How many of them: without a copy, which would keep what arrives waiting.
  std::size_t Count(std::int32_t id) const;
  std::vector<std::string> Lines(std::int32_t id = 0) const;
  void Forget();

  /// Lets simulated time pass until `count` events of a kind were seen, at most a minute of it.
  bool PumpUntil(std::int32_t id, std::size_t count = 1);
  void Pump(std::int32_t milliseconds);

  /// What the callback does besides recording; its result is the callback's.
  std::function<std::int32_t(const HostEvent&)> onEvent;

 private:
  static std::int32_t CORVANEBLE_CALL OnEvent(void* userData, std::int32_t eventId,
                                              std::int32_t paramCount, const std::intptr_t* params,
                                              const std::int32_t* lengths);

  CorvaneBLE_Handle handle_ = nullptr;
  mutable std::mutex mutex_;  // guards events_
  std::vector<HostEvent> events_;
};

/// A characteristic's id for the service it belongs to.
inline std::string ServiceIdOf(const std::string& id) {
  return id.substr(0, 4) + "00000000";
}

}  // namespace ble::tests

#include "support/Host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include "api/BLEClient.h"
#include "backends/simulated/ScenarioLoader.h"
#include "frame/EventTable.h"
#include "platform/TextConverter.h"

namespace ble::tests {

simulated::OpenedSimulatedRadio OpenScenario(const std::string& json) {
  auto result = simulated::ParseScenario(json, "test.json");
  if (const auto* error = std::get_if<std::string>(&result)) throw std::runtime_error(*error);
  auto scenario = std::get<simulated::Scenario>(std::move(result));
  if (json.find("\"time\"") == std::string::npos) scenario.virtualTime = true;
  return simulated::OpenSimulatedRadio(std::move(scenario));
}

std::string HostEvent::Line() const {
  std::string line = InfoOf(static_cast<EventId>(id)).name;
  for (const auto& value : values) {
    const auto* text = std::get_if<std::string>(&value);
    line += "|" + (text != nullptr ? *text : std::to_string(std::get<std::int32_t>(value)));
  }
  return line;
}

Host::Host(OpenedRadio radio)
    : handle_(BLEClient::Create(&Host::OnEvent, this, false, std::move(radio))) {}

std::string Narrow(std::u16string_view text) {
  std::string narrow;
  EXPECT_EQ(SystemTextConverter().ToNarrow(0, text, narrow), ConversionError::None);
  return narrow;
}

void Host::Destroy() {
  CorvaneBLE_BLEClient_Destroy(std::exchange(handle_, nullptr));
}

std::int32_t Host::Do(std::int32_t method, std::initializer_list<const char*> texts) {
  std::array<std::intptr_t, 5> params{};
  std::array<std::int32_t, 5> lengths{};
  std::size_t position = 0;
  for (const char* text : texts)
    params[position++] = reinterpret_cast<std::intptr_t>(text);
  return CorvaneBLE_BLEClient_Do(handle_, method, static_cast<std::int32_t>(texts.size()),
                                 params.data(), lengths.data(), nullptr);
}

std::int32_t Host::Discover(const char* services, const char* characteristics, bool descriptors,
                            const char* includedBy) {
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(services),
                            reinterpret_cast<std::intptr_t>(characteristics), descriptors ? 1 : 0,
                            reinterpret_cast<std::intptr_t>(includedBy)};
  std::int32_t lengths[4] = {};
  return CorvaneBLE_BLEClient_Do(handle_, CORVANEBLE_METHOD_DISCOVER, 4, params, lengths, nullptr);
}

std::int32_t Host::Read(const std::string& characteristicId, const std::string& descriptorId,
                        std::string& value) {
  const std::string serviceId = ServiceIdOf(characteristicId);
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(serviceId.c_str()),
                            reinterpret_cast<std::intptr_t>(characteristicId.c_str()),
                            reinterpret_cast<std::intptr_t>(descriptorId.c_str()), 0};
  std::int32_t lengths[4] = {};
  const std::int32_t code =
      CorvaneBLE_BLEClient_Do(handle_, CORVANEBLE_METHOD_READ_VALUE, 3, params, lengths, nullptr);
  if (code == 0 && handle_ != nullptr) {  // a callback may have destroyed it, and the value with it
    value.assign(reinterpret_cast<const char*>(params[3]), static_cast<std::size_t>(lengths[3]));
  }
  return code;
}

std::int32_t Host::Write(std::int32_t method, const std::string& characteristicId,
                         const std::string& value, const std::string& descriptorId) {
  const std::string serviceId = ServiceIdOf(characteristicId);
  const auto bytes = reinterpret_cast<std::intptr_t>(value.data());
  const auto size = static_cast<std::int32_t>(value.size());
  const bool posts = method == CORVANEBLE_METHOD_POST_VALUE;
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(serviceId.c_str()),
                            reinterpret_cast<std::intptr_t>(characteristicId.c_str()),
                            posts ? bytes : reinterpret_cast<std::intptr_t>(descriptorId.c_str()),
                            bytes};
  std::int32_t lengths[] = {0, 0, posts ? size : 0, size};
  return CorvaneBLE_BLEClient_Do(handle_, method, posts ? 3 : 4, params, lengths, nullptr);
}

std::string Host::Config(const std::string& text) {
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(text.c_str()), 0};
  std::int32_t lengths[2] = {};
  const std::int32_t code =
      CorvaneBLE_BLEClient_Do(handle_, CORVANEBLE_METHOD_CONFIG, 1, params, lengths, nullptr);
  if (code != 0) return "!" + std::to_string(code);
  // Not reinterpret_cast: GCC 12 would assume that the text is no longer than the array.
  return std::bit_cast<const char*>(params[1]);
}

std::intptr_t Host::Get(std::int32_t property, std::int32_t index) const {
  return CorvaneBLE_BLEClient_Get(handle_, property, index, nullptr, nullptr);
}

std::string Host::Text(std::int32_t property, std::int32_t index) const {
  return reinterpret_cast<const char*>(Get(property, index));
}

std::int32_t Host::Set(std::int32_t property, std::intptr_t value, std::int32_t index) const {
  return CorvaneBLE_BLEClient_Set(handle_, property, index, value, 0);
}

std::int32_t Host::SetText(std::int32_t property, const char* value, std::int32_t index) const {
  return Set(property, reinterpret_cast<std::intptr_t>(value), index);
}

std::vector<HostEvent> Host::Events(std::int32_t id) const {
  const std::lock_guard lock(mutex_);
  std::vector<HostEvent> events;
  for (const HostEvent& event : events_) {
    if (id == 0 || event.id == id) events.push_back(event);
  }
  return events;
}

std::size_t Host::Count(std::int32_t id) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count(events_, id, &HostEvent::id));
}

std::vector<std::string> Host::Lines(std::int32_t id) const {
  std::vector<std::string> lines;
  for (const HostEvent& event : Events(id))
    lines.push_back(event.Line());
  return lines;
}

void Host::Forget() {
  const std::lock_guard lock(mutex_);
  events_.clear();
}

bool Host::PumpUntil(std::int32_t id, std::size_t count) {
  for (int step = 0; step < 3000 && Count(id) < count; ++step)
    Pump(20);
  return Count(id) >= count;
}

void Host::Pump(std::int32_t milliseconds) {
  for (; milliseconds > 0; milliseconds -= 20)
    Do(CORVANEBLE_METHOD_DO_EVENTS);
}

std::int32_t Host::OnEvent(void* userData, std::int32_t eventId, std::int32_t paramCount,
                           const std::intptr_t* params, const std::int32_t* lengths) {
  auto& host = *static_cast<Host*>(userData);
  const EventInfo& info = InfoOf(static_cast<EventId>(eventId));
  HostEvent event{eventId, {}, std::this_thread::get_id()};
  for (std::size_t i = 0; i < static_cast<std::size_t>(paramCount); ++i) {
    switch (info.parameters[i]) {
      case 'i':
        event.values.emplace_back(static_cast<std::int32_t>(params[i]));
        break;
      case 'b':
        event.values.emplace_back(std::string(reinterpret_cast<const char*>(params[i]),
                                              static_cast<std::size_t>(lengths[i])));
        break;
      default:
        event.values.emplace_back(reinterpret_cast<const char*>(params[i]));
    }
  }
  {
    const std::lock_guard lock(host.mutex_);
    host.events_.push_back(event);
  }
  return host.onEvent ? host.onEvent(event) : 0;
}

}  // namespace ble::tests

#pragma once

#include <cstdint>
#include <span>

#include "base/Text.h"
#include "corvaneble/corvaneble.h"
#include "frame/Events.h"
#include "frame/Settings.h"

namespace ble {

/// What a log line is about, in the words the host sees.
namespace log_type {
inline constexpr const char* kScanning = "Scanning";
inline constexpr const char* kConnection = "Connection";
inline constexpr const char* kDiscovery = "Discovery";
inline constexpr const char* kRadio = "Radio";
inline constexpr const char* kRead = "Read";
inline constexpr const char* kWrite = "Write";
inline constexpr const char* kSubscriptions = "Subscriptions";
inline constexpr const char* kVerbose = "Verbose";
inline constexpr const char* kDebug = "Debug";
}  // namespace log_type

enum class LogLevel : std::int32_t {
  Information = CORVANEBLE_LOG_INFO,
  Detail = CORVANEBLE_LOG_DETAIL,
  Debug = CORVANEBLE_LOG_DEBUG,
};

/// Reports progress to the host through the Log event. Any thread; never called under a lock.
class Log {
 public:
  Log(const Settings& settings, Events& events) : settings_(settings), events_(events) {}

  /// Fires one line built from `parts` (as by `Concat`) if the `LogLevel` setting lets its level
  /// through; otherwise nothing is built.
  template <class... Parts>
  void Write(LogLevel level, const char* type, const Parts&... parts) {
    if (settings_.Integer(Setting::LogLevel) < static_cast<std::int32_t>(level)) return;
    const TextPart list[]{TextPart(parts)...};
    Fire(level, type, list);
  }

 private:
  void Fire(LogLevel level, const char* type, std::span<const TextPart> parts);

  const Settings& settings_;
  Events& events_;
};

}  // namespace ble

#include "frame/Log.h"

namespace ble {

[[gnu::hot]] void Log::Fire(LogLevel level, const char* type, std::span<const TextPart> parts) {
  events_.FireLog(static_cast<std::int32_t>(level), PassingText(parts).CStr(), type);
}

}  // namespace ble

#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "gatt/WatchTargets.h"
#include "text/Interpretation.h"

namespace corvaneble::tool {

/// A value that a watched characteristic sent.
struct Sample {
  std::size_t source = 0;  ///< the number of the watched characteristic
  const WatchedCharacteristic& characteristic;
  const Bytes& value;
  const Interpretation& meaning;
  std::string time;  ///< UTC, as in 2026-11-22T22:10:06.123Z
};

/// Shows values on standard output.
class WatchView {
 public:
  virtual ~WatchView() = default;
  virtual void Begin() {}
  /// Another characteristic is watched. Sources are numbered in this order.
  virtual void AddSource(const WatchedCharacteristic& /*characteristic*/) {}
  virtual void Show(const Sample& sample) = 0;
  /// Redraws a live view. Called often.
  virtual void Refresh(bool /*last*/) {}
  /// Other output has moved the cursor: a live view must not overwrite its last lines.
  virtual void Displaced() {}
};

enum class WatchStyle { Lines, Json, Csv, Live };

std::unique_ptr<WatchView> MakeWatchView(WatchStyle style);

/// A moment in UTC with milliseconds: "2026-11-22T22:10:06.123Z".
std::string UtcText(std::chrono::system_clock::time_point time);

}  // namespace corvaneble::tool

#pragma once

#include <string>
#include <vector>

#include "chart/Chart.h"
#include "gatt/WatchTargets.h"
#include "text/Interpretation.h"

namespace corvaneble::tool {

/// Records the numbers of a watch and draws them at its end. Times are in seconds since the watch
/// began.
class ChartRecorder {
 public:
  /// Throws when `file` cannot be written.
  explicit ChartRecorder(std::string file);

  void AddSource(const WatchedCharacteristic& characteristic);
  void Add(std::size_t source, double seconds, const Interpretation& meaning);
  void LinkLost(double seconds);
  void LinkBack(double seconds);

  /// Writes the file.
  void Write(const std::string& title, const std::string& subtitle, double seconds);

 private:
  const std::string file_;
  Chart chart_;
  bool offline_ = false;
};

}  // namespace corvaneble::tool

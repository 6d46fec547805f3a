#pragma once

#include <array>
#include <chrono>
#include <corvaneble/corvaneble.hpp>

#include "Terminal.h"

namespace corvaneble::tool {

/// Shows the progress of a discovery on the terminal.
class DiscoveryProgress {
 public:
  void OnEvent(const AnyEvent& event);
  void OnRead(int values);
  void Clear() { line_.Clear(); }

 private:
  void Show(const std::string& text);

  ProgressLine line_;
  std::array<int, 3> counts_{};  // by GattType
  std::chrono::steady_clock::time_point shown_;
};

}  // namespace corvaneble::tool

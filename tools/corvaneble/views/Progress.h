#pragma once

#include <chrono>

#include "Events.h"
#include "Terminal.h"

namespace corvaneble::tool {

/// Shows on the terminal how far a discovery has come.
class DiscoveryProgress {
 public:
  void OnEvent(const Event& event);
  void OnRead(int values);
  void Clear() { line_.Clear(); }

 private:
  void Show(const std::string& text);

  ProgressLine line_;
  int counts_[3] = {};  // by CorvaneBLE_GattType
  std::chrono::steady_clock::time_point shown_;
};

}  // namespace corvaneble::tool

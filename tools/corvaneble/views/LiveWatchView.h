#pragma once

#include <chrono>
#include <cstdint>

#include "views/Sparkline.h"
#include "views/WatchView.h"

namespace corvaneble::tool {

/// Keeps one line for each characteristic up to date on the terminal: its last value, the number of
/// values, and a sparkline of them.
class LiveWatchView : public WatchView {
 public:
  void AddSource(const WatchedCharacteristic& characteristic) override;
  void Show(const Sample& sample) override;
  void Refresh(bool last) override;
  void Displaced() override { drawnLines_ = 0; }

 private:
  struct Row {
    std::string label;
    std::string value;
    Sparkline moves;
    std::uint64_t count = 0;
  };

  std::string Render();

  std::vector<Row> rows_;
  std::size_t drawnLines_ = 0;
  bool changed_ = true;
  std::chrono::steady_clock::time_point drawn_;
};

}  // namespace corvaneble::tool

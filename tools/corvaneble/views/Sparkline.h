#pragma once

#include <cstddef>
#include <deque>
#include <string>

namespace corvaneble::tool {

/// The latest numbers of a series as a row of bars.
class Sparkline {
 public:
  void Add(double number);

  /// At most `width` characters, the newest number last. The heights are scaled to the numbers
  /// shown.
  std::string Render(std::size_t width) const;

 private:
  std::deque<double> numbers_;
};

}  // namespace corvaneble::tool

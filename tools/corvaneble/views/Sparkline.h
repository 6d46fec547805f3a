#pragma once

#include <cstddef>
#include <deque>
#include <string>

namespace corvaneble::tool {

/// The last numbers of a series as a row of bars.
class Sparkline {
 public:
  void Add(double number);

  /// At most `width` characters, the newest last; the lowest and the highest of those shown span
  /// the height.
  std::string Render(std::size_t width) const;

 private:
  std::deque<double> numbers_;
};

}  // namespace corvaneble::tool

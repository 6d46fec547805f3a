#pragma once

#include <string>
#include <vector>

namespace corvaneble::tool {

/// A range of numbers with round ticks (1, 2 or 5 times a power of ten apart).
class Axis {
 public:
  /// From the lowest to the highest value, with about `ticks` ticks in between.
  static Axis Exactly(double low, double high, int ticks);

  /// Widened to the next ticks outside, so that no line lies on the frame. An empty range is
  /// widened too. Begins at 0 or above if all values do.
  static Axis Around(double low, double high, int ticks);

  /// Where a value lies: 0 at the low end, 1 at the high end.
  double Share(double value) const { return (value - low_) / (high_ - low_); }
  const std::vector<double>& Ticks() const { return ticks_; }

  /// The text of a tick, with enough places to tell the ticks apart.
  std::string Label(double tick) const;

 private:
  Axis(double low, double high, double step);

  double low_;
  double high_;
  double step_;
  std::vector<double> ticks_;
};

}  // namespace corvaneble::tool

#include "chart/Axis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace corvaneble::tool {
namespace {

constexpr double kMargin = 0.04;         // of the range, above and below the values
constexpr double kSmallestRange = 1e-9;  // of the values; a smaller one counts as constant
constexpr double kRounding = 1e-6;       // of a step: how far outside a tick still counts as inside

/// The smallest of 1, 2 and 5 times a power of ten that is no less than `width`.
double RoundStep(double width) {
  const double power = std::pow(10.0, std::floor(std::log10(width)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (factor * power >= width * (1 - kRounding)) return factor * power;
  return 10 * power;
}

}  // namespace

Axis::Axis(double low, double high, double step) : low_(low), high_(high), step_(step) {
  const double last = std::floor(high / step + kRounding);
  for (double i = std::ceil(low / step - kRounding); i <= last; ++i)
    ticks_.push_back(i * step + 0.0);  // + 0.0: no negative zero
}

Axis Axis::Exactly(double low, double high, int ticks) {
  return {low, high, RoundStep((high - low) / ticks)};
}

Axis Axis::Around(double low, double high, int ticks) {
  const bool negative = low < 0;
  const double size = std::max(std::fabs(low), std::fabs(high));
  const bool constant = high - low <= size * kSmallestRange;
  const double margin = !constant ? (high - low) * kMargin : size > 0 ? size * 0.1 : 1;
  low -= margin;
  high += margin;
  if (!negative) low = std::max(low, 0.0);
  const double step = RoundStep((high - low) / ticks);
  return {std::floor(low / step) * step, std::ceil(high / step) * step, step};
}

std::string Axis::Label(double tick) const {
  const double size = std::max(std::fabs(low_), std::fabs(high_));
  const int magnitude = static_cast<int>(std::floor(std::log10(step_) + kRounding));
  char text[48];
  if (size >= 1e9 || size < 1e-4) {
    const int places = static_cast<int>(std::floor(std::log10(size))) - magnitude;
    std::snprintf(text, sizeof text, "%.*e", std::clamp(places, 0, 12), tick);
  } else {
    std::snprintf(text, sizeof text, "%.*f", std::max(-magnitude, 0), tick);
  }
  return tick == 0 ? "0" : text;
}

}  // namespace corvaneble::tool

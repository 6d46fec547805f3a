#include "views/Sparkline.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace corvaneble::tool {
namespace {

constexpr std::size_t kMostKept = 512;  // wider than any terminal

constexpr std::string_view kBars[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr double kHighestBar = 7;
constexpr std::size_t kMiddleBar = 3;

}  // namespace

void Sparkline::Add(double number) {
  if (numbers_.size() == kMostKept) numbers_.pop_front();
  numbers_.push_back(number);
}

std::string Sparkline::Render(std::size_t width) const {
  const auto begin = numbers_.end() - static_cast<std::ptrdiff_t>(std::min(width, numbers_.size()));
  if (begin == numbers_.end()) return "";
  const auto [low, high] = std::minmax_element(begin, numbers_.end());
  const double range = *high / 2 - *low / 2;  // half of it: the range itself could overflow
  std::string text;
  for (auto number = begin; number != numbers_.end(); ++number)
    text += kBars[range > 0 ? static_cast<std::size_t>(
                                  std::lround((*number / 2 - *low / 2) / range * kHighestBar))
                            : kMiddleBar];
  return text;
}

}  // namespace corvaneble::tool

#include "chart/ChartLine.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvaneble::tool {
namespace {

constexpr std::size_t kMostDots = 90;
constexpr char kDashes[] = "6 4";
constexpr char kSolid[] = "none";

using Run = std::vector<PlotPoint>;

/// The runs of values between interruptions, none of them empty.
std::vector<Run> RunsOf(const ChartSeries& series,
                        const std::function<PlotPoint(const ChartPoint&)>& place) {
  std::vector<Run> runs(1);
  for (const ChartPoint& point : series.points) {
    if (std::isfinite(point.value))
      runs.back().push_back(place(point));
    else if (!runs.back().empty())
      runs.emplace_back();
  }
  if (runs.back().empty()) runs.pop_back();
  return runs;
}

Run Reduced(const Run& run) {
  Run reduced;
  for (auto first = run.begin(); first != run.end();) {
    const double column = std::floor(first->x);
    const auto end = std::find_if(
        first, run.end(), [&](const PlotPoint& point) { return std::floor(point.x) != column; });
    auto [lowest, highest] = std::minmax_element(
        first, end, [](const PlotPoint& left, const PlotPoint& right) { return left.y < right.y; });
    if (highest < lowest) std::swap(lowest, highest);
    auto written = run.end();
    for (const auto point : {first, lowest, highest, end - 1})
      if (point != written) reduced.push_back(*(written = point));
    first = end;
  }
  return reduced;
}

std::string PathOf(const Run& run) {
  std::string path;
  for (const PlotPoint& point : run)
    path += (path.empty() ? "M" : " L") + Pixels(point.x) + " " + Pixels(point.y);
  return path;
}

}  // namespace

void DrawLine(SvgWriter& svg, const LineStyle& style, const ChartSeries& series,
              const std::function<PlotPoint(const ChartPoint&)>& place) {
  svg.Open("g", {{"fill", "none"},
                 {"stroke", style.color},
                 {"stroke-width", "1.8"},
                 {"stroke-linejoin", "round"},
                 {"stroke-linecap", "round"},
                 {"stroke-dasharray", style.dashed ? kDashes : kSolid}});
  svg.Text(series.name, {}, "title");
  const bool dots = series.points.size() <= kMostDots;
  for (const Run& run : RunsOf(series, place)) {
    if (run.size() > 1) svg.Element("path", {{"d", PathOf(Reduced(run))}});
    if (!dots && run.size() > 1) continue;
    for (const PlotPoint& point : run)
      svg.Element("circle", {{"cx", Pixels(point.x)},
                             {"cy", Pixels(point.y)},
                             {"r", "2.6"},
                             {"fill", style.color},
                             {"stroke", "none"}});
  }
  svg.Close("g");
}

void DrawSwatch(SvgWriter& svg, const LineStyle& style, double x, double y, double width) {
  svg.Element("line", {{"x1", Pixels(x)},
                       {"y1", Pixels(y)},
                       {"x2", Pixels(x + width)},
                       {"y2", Pixels(y)},
                       {"stroke", style.color},
                       {"stroke-width", "2.5"},
                       {"stroke-dasharray", style.dashed ? kDashes : kSolid}});
}

}  // namespace corvaneble::tool

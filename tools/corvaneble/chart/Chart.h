#pragma once

#include <string>
#include <vector>

namespace corvaneble::tool {

struct ChartPoint {
  double seconds = 0;
  double value = 0;  ///< not a number: the line is interrupted here
};

struct ChartSeries {
  std::string name;
  std::string unit;                ///< UUID, or empty
  std::vector<ChartPoint> points;  ///< in the order of time
};

/// A stretch of time, in seconds.
struct ChartGap {
  double begin = 0;
  double end = 0;
};

/// Numbers over time.
struct Chart {
  std::string title;
  std::string subtitle;
  double seconds = 0;  ///< the length of the time axis, from 0 on
  std::vector<ChartSeries> series;
  std::vector<ChartGap> offline;  ///< when the device could not be reached
};

/// The chart as an SVG document: a panel for each unit, one above the other, with the time axis in
/// common. Series without any number are left out.
std::string ChartSvg(const Chart& chart);

}  // namespace corvaneble::tool

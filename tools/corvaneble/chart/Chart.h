#pragma once

#include <string>
#include <vector>

namespace corvaneble::tool {

struct ChartPoint {
  double seconds = 0;
  double value = 0;  ///< NaN interrupts the line
};

struct ChartSeries {
  std::string name;
  std::string unit;                ///< UUID, or empty
  std::vector<ChartPoint> points;  ///< in the order of time
};

/// A period of time, in seconds.
struct ChartGap {
  double begin = 0;
  double end = 0;
};

/// Numbers over time.
struct Chart {
  std::string title;
  std::string subtitle;
  double seconds = 0;  ///< the end of the time axis, which begins at 0
  std::vector<ChartSeries> series;
  std::vector<ChartGap> offline;  ///< when the device could not be reached
};

/// The chart as an SVG document: one panel below the other for each unit, with a common time axis.
/// Series without any number are left out.
std::string ChartSvg(const Chart& chart);

}  // namespace corvaneble::tool

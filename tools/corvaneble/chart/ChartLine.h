#pragma once

#include <functional>

#include "chart/Chart.h"
#include "chart/Svg.h"

namespace corvaneble::tool {

struct LineStyle {
  const char* color;
  bool dashed;
};

/// A point of the drawing, in pixels.
struct PlotPoint {
  double x;
  double y;
};

/// Draws a series as a line, with a dot for each value if there are few. Values in the same column
/// of pixels are reduced to the first, the lowest, the highest and the last, which looks the same.
void DrawLine(SvgWriter& svg, const LineStyle& style, const ChartSeries& series,
              const std::function<PlotPoint(const ChartPoint&)>& place);

/// Draws the sample of a line in a legend.
void DrawSwatch(SvgWriter& svg, const LineStyle& style, double x, double y, double width);

}  // namespace corvaneble::tool

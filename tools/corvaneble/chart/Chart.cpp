#include "chart/Chart.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "chart/Axis.h"
#include "chart/ChartLine.h"
#include "chart/Svg.h"
#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

// Pixels.
constexpr double kWidth = 960;
constexpr double kTitleRoom = 38;  // the value axis' title, left of its labels
constexpr double kLeastLeft = 84;
constexpr double kRight = 28;
constexpr double kTop = 66;  // title and subtitle
constexpr double kBottom = 50;
constexpr double kOnlyPanel = 340;
constexpr double kOneOfPanels = 210;
constexpr double kLegendRow = 22;
constexpr double kBetweenPanels = 20;
constexpr double kSwatch = 22;
constexpr double kLetter = 6.8;  // average width at 12 px, rounded up
constexpr double kDigit = 7.7;
constexpr std::size_t kLongestName = 48;

constexpr int kTimeTicks = 8;
constexpr int kValueTicks = 5;

constexpr char kInk[] = "#24292f";
constexpr char kFaintInk[] = "#57606a";
constexpr char kGrid[] = "#e4e7eb";
constexpr char kFrame[] = "#afb8c1";
constexpr char kOfflineFill[] = "#f1f2f4";

// Distinguishable with every common colour vision (Okabe and Ito), the darkest first.
constexpr const char* kColors[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                   "#e69f00", "#56b4e9", "#7a4fa3", "#666666"};

/// The series of one unit, with their line styles.
struct Panel {
  std::string unit;
  std::vector<const ChartSeries*> series;
  std::vector<LineStyle> styles;
  Axis values;
};

bool HasNumber(const ChartSeries& series) {
  return std::any_of(series.points.begin(), series.points.end(),
                     [](const ChartPoint& point) { return std::isfinite(point.value); });
}

Axis ValueAxis(const std::vector<const ChartSeries*>& all) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (const ChartSeries* series : all)
    for (const ChartPoint& point : series->points)
      if (std::isfinite(point.value)) {
        low = std::min(low, point.value);
        high = std::max(high, point.value);
      }
  return Axis::Around(low, high, kValueTicks);
}

std::vector<Panel> PanelsOf(const Chart& chart) {
  std::vector<Panel> panels;
  std::size_t number = 0;
  for (const ChartSeries& series : chart.series) {
    if (!HasNumber(series)) continue;
    auto panel = std::find_if(panels.begin(), panels.end(),
                              [&](const Panel& other) { return other.unit == series.unit; });
    if (panel == panels.end())
      panel = panels.insert(panel, Panel{series.unit, {}, {}, Axis::Around(0, 0, kValueTicks)});
    panel->series.push_back(&series);
    const std::size_t round = number / std::size(kColors);
    panel->styles.push_back({kColors[number++ % std::size(kColors)], round % 2 == 1});
  }
  for (Panel& panel : panels)
    panel.values = ValueAxis(panel.series);
  return panels;
}

/// Room for the widest label of a value.
double LeftOf(const std::vector<Panel>& panels) {
  std::size_t longest = 0;
  for (const Panel& panel : panels)
    for (const double tick : panel.values.Ticks())
      longest = std::max(longest, panel.values.Label(tick).size());
  return std::max(kLeastLeft, kTitleRoom + kDigit * static_cast<double>(longest));
}

std::string AxisTitle(const std::string& unit) {
  const std::string sign = UnitSign(unit);
  if (sign.empty()) return "value";
  const std::string name = UnitName(unit);
  if (name.empty()) return "value (unit " + sign + ")";
  return name + " (" + sign + ")";
}

class Drawing {
 public:
  Drawing(const Chart& chart, std::vector<Panel> panels)
      : chart_(chart),
        panels_(std::move(panels)),
        left_(LeftOf(panels_)),
        plotWidth_(kWidth - left_ - kRight),
        time_(Axis::Exactly(0, TimeRange(chart), kTimeTicks)),
        plotHeight_(panels_.size() > 1 ? kOneOfPanels : kOnlyPanel),
        svg_(kWidth, Height()) {}

  std::string Draw() {
    svg_.Text(chart_.title, {}, "title");
    svg_.Element("rect", {{"width", "100%"}, {"height", "100%"}, {"fill", "#ffffff"}});
    Label(chart_.title, left_, 30, "start", kInk, "17", "600");
    Label(chart_.subtitle, left_, 50, "start", kFaintInk, "12", "400");
    double y = kTop;
    for (const Panel& panel : panels_) {
      y = DrawLegend(panel, y);
      DrawPanel(panel, y);
      y += plotHeight_ + (&panel == &panels_.back() ? 0 : kBetweenPanels);
    }
    if (panels_.empty())
      Label("No numeric values were received.", kWidth / 2, kTop + 40, "middle", kFaintInk, "14",
            "400");
    else
      DrawTimeAxis(y);
    return svg_.Finish();
  }

 private:
  static double TimeRange(const Chart& chart) {
    double seconds = chart.seconds;
    for (const ChartSeries& series : chart.series)
      if (!series.points.empty()) seconds = std::max(seconds, series.points.back().seconds);
    return seconds > 0 ? seconds : 1;
  }

  static double EntryWidth(const ChartSeries& series) {
    return kSwatch + 30 +
           kLetter * static_cast<double>(std::min(DisplayWidth(series.name), kLongestName));
  }

  std::size_t LegendRows(const Panel& panel) const {
    std::size_t rows = 1;
    double x = 0;
    for (const ChartSeries* series : panel.series) {
      const double width = EntryWidth(*series);
      if (x > 0 && x + width > plotWidth_) {
        ++rows;
        x = 0;
      }
      x += width;
    }
    return rows;
  }

  double Height() const {
    if (panels_.empty()) return kTop + 90;
    double height = kTop + kBottom - kBetweenPanels;
    for (const Panel& panel : panels_)
      height += static_cast<double>(LegendRows(panel)) * kLegendRow + plotHeight_ + kBetweenPanels;
    return height;
  }

  double X(double seconds) const { return left_ + time_.Share(seconds) * plotWidth_; }

  void Label(std::string_view text, double x, double y, const char* anchor, const char* color,
             const char* size = "12", const char* weight = "400") {
    svg_.Text(text, {{"x", Pixels(x)},
                     {"y", Pixels(y)},
                     {"text-anchor", anchor},
                     {"fill", color},
                     {"font-size", size},
                     {"font-weight", weight}});
  }

  void Line(double x1, double y1, double x2, double y2, const char* color) {
    svg_.Element("line", {{"x1", Pixels(x1)},
                          {"y1", Pixels(y1)},
                          {"x2", Pixels(x2)},
                          {"y2", Pixels(y2)},
                          {"stroke", color}});
  }

  /// Returns the upper edge of the plot.
  double DrawLegend(const Panel& panel, double y) {
    double x = 0;
    for (std::size_t i = 0; i < panel.series.size(); ++i) {
      const ChartSeries& series = *panel.series[i];
      if (x > 0 && x + EntryWidth(series) > plotWidth_) {
        y += kLegendRow;
        x = 0;
      }
      DrawSwatch(svg_, panel.styles[i], left_ + x, y + 7, kSwatch);
      const bool tooLong = DisplayWidth(series.name) > kLongestName;
      Label(tooLong ? Fit(series.name, kLongestName - 1) + "…" : series.name,
            left_ + x + kSwatch + 7, y + 11, "start", kInk);
      x += EntryWidth(series);
    }
    return y + kLegendRow;
  }

  void DrawPanel(const Panel& panel, double top) {
    const double bottom = top + plotHeight_;
    const Axis& values = panel.values;
    for (const ChartGap& gap : chart_.offline)
      svg_.Element("rect", {{"x", Pixels(X(gap.begin))},
                            {"y", Pixels(top)},
                            {"width", Pixels(X(gap.end) - X(gap.begin))},
                            {"height", Pixels(plotHeight_)},
                            {"fill", kOfflineFill}});
    for (const double tick : time_.Ticks())
      Line(X(tick), top, X(tick), bottom, kGrid);
    for (const double tick : values.Ticks()) {
      const double y = bottom - values.Share(tick) * plotHeight_;
      Line(left_, y, left_ + plotWidth_, y, kGrid);
      Label(values.Label(tick), left_ - 8, y + 4, "end", kFaintInk);
    }
    Line(left_, top, left_, bottom, kFrame);
    Line(left_, bottom, left_ + plotWidth_, bottom, kFrame);
    const std::string middle = Pixels(top + plotHeight_ / 2);
    svg_.Text(AxisTitle(panel.unit), {{"transform", "translate(20 " + middle + ") rotate(-90)"},
                                      {"text-anchor", "middle"},
                                      {"fill", kInk}});
    const auto place = [&](const ChartPoint& point) {
      return PlotPoint{X(point.seconds), bottom - values.Share(point.value) * plotHeight_};
    };
    for (std::size_t i = 0; i < panel.series.size(); ++i)
      DrawLine(svg_, panel.styles[i], *panel.series[i], place);
  }

  void DrawTimeAxis(double bottom) {
    for (const double tick : time_.Ticks()) {
      Line(X(tick), bottom, X(tick), bottom + 4, kFrame);
      Label(time_.Label(tick), X(tick), bottom + 18, "middle", kFaintInk);
    }
    Label("time (s)", left_ + plotWidth_ / 2, bottom + 38, "middle", kInk);
  }

  const Chart& chart_;
  const std::vector<Panel> panels_;
  const double left_;
  const double plotWidth_;
  const Axis time_;
  const double plotHeight_;
  SvgWriter svg_;
};

}  // namespace

std::string ChartSvg(const Chart& chart) {
  return Drawing(chart, PanelsOf(chart)).Draw();
}

}  // namespace corvaneble::tool

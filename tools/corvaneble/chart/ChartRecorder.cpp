#include "chart/ChartRecorder.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <utility>

namespace corvaneble::tool {
namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

void Require(bool good, const std::string& file) {
  if (!good) throw std::runtime_error("cannot write " + file);
}

}  // namespace

ChartRecorder::ChartRecorder(std::string file) : file_(std::move(file)) {
  // Fails now rather than after an hour of watching. The file keeps its content until `Write`.
  Require(std::ofstream(file_, std::ios::app).is_open(), file_);
}

void ChartRecorder::AddSource(const WatchedCharacteristic& characteristic) {
  std::string name = characteristic.Label();
  const auto same = [&](const ChartSeries& other) { return other.name == name; };
  if (std::any_of(chart_.series.begin(), chart_.series.end(), same))
    name += " " + characteristic.path.characteristic;
  chart_.series.push_back({std::move(name), "", {}});
}

void ChartRecorder::Add(std::size_t source, double seconds, const Interpretation& meaning) {
  ChartSeries& series = chart_.series[source];
  if (meaning.number && series.unit.empty()) series.unit = meaning.unit;
  // An axis has one unit: values in another one, as after a change of scale, interrupt the line.
  const bool fits = meaning.number && meaning.unit == series.unit;
  series.points.push_back({seconds, fits ? *meaning.number : kNoNumber});
}

void ChartRecorder::LinkLost(double seconds) {
  for (ChartSeries& series : chart_.series)
    if (!series.points.empty()) series.points.push_back({seconds, kNoNumber});
  chart_.offline.push_back({seconds, seconds});
  offline_ = true;
}

void ChartRecorder::LinkBack(double seconds) {
  if (std::exchange(offline_, false)) chart_.offline.back().end = seconds;
}

void ChartRecorder::Write(const std::string& title, const std::string& subtitle, double seconds) {
  LinkBack(seconds);
  chart_.title = title;
  chart_.subtitle = subtitle;
  chart_.seconds = seconds;
  std::ofstream out(file_, std::ios::binary);
  out << ChartSvg(chart_);
  out.close();
  Require(out.good(), file_);
}

}  // namespace corvaneble::tool

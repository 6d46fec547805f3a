#include "views/WatchView.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "Terminal.h"
#include "text/Names.h"
#include "text/Report.h"
#include "text/Text.h"
#include "views/LiveWatchView.h"

namespace corvaneble::tool {
namespace {

class LinesView : public WatchView {
 public:
  void Show(const Sample& sample) override {
    WriteLine(sample.time + " " + sample.characteristic.path.characteristic + " " +
              Sanitize(sample.characteristic.Label()) + "  " +
              ValueLine(sample.value, sample.meaning.text));
  }
};

class JsonView : public WatchView {
 public:
  void Show(const Sample& sample) override {
    const WatchedCharacteristic& of = sample.characteristic;
    const Interpretation& meaning = sample.meaning;
    const auto text = PrintableText(sample.value);
    Json json{{"time", sample.time},
              {"service", of.path.service},
              {"characteristic", of.path.characteristic},
              {"uuid", of.uuid},
              {"name", of.name},
              {"hex", Hex(sample.value)}};
    json["text"] = text ? Json(*text) : Json();
    json["decoded"] = meaning.text ? Json(*meaning.text) : Json();
    json["number"] = meaning.number ? Json(*meaning.number) : Json();
    json["unit"] = meaning.number ? Json(UnitSign(meaning.unit)) : Json();
    WriteLine(Dump(json));
  }
};

/// A table as in RFC 4180, but with the line ends of all other output.
class CsvView : public WatchView {
 public:
  void Begin() override { WriteLine("time,service,characteristic,name,hex,value,unit"); }
  void Show(const Sample& sample) override {
    const WatchedCharacteristic& of = sample.characteristic;
    const Interpretation& meaning = sample.meaning;
    WriteLine(sample.time + "," + of.path.service + "," + of.path.characteristic + "," +
              Field(of.name.empty() ? ShortUuid(of.uuid) : of.name) + "," + Hex(sample.value) +
              "," + Field(meaning.digits) + "," +
              Field(meaning.number ? UnitSign(meaning.unit) : ""));
  }

 private:
  static std::string Field(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text)
      quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
  }
};

}  // namespace

std::unique_ptr<WatchView> MakeWatchView(WatchStyle style) {
  switch (style) {
    case WatchStyle::Json:
      return std::make_unique<JsonView>();
    case WatchStyle::Csv:
      return std::make_unique<CsvView>();
    case WatchStyle::Live:
      return std::make_unique<LiveWatchView>();
    case WatchStyle::Lines:
      break;
  }
  return std::make_unique<LinesView>();
}

std::string UtcText(std::chrono::system_clock::time_point time) {
  using namespace std::chrono;
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(floor<milliseconds>(time - day));
  char text[80];
  std::snprintf(
      text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

}  // namespace corvaneble::tool

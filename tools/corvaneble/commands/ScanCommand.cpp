#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "text/Report.h"
#include "text/Text.h"
#include "views/DeviceTable.h"

namespace corvaneble::tool {
namespace {

using std::chrono::steady_clock;

struct ScanOptions {
  std::vector<std::string> services;
  bool active = false;
  double seconds = std::numeric_limits<double>::infinity();
  std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
};

/// Shows advertisements: a table on a terminal, lines elsewhere.
class ScanView {
 public:
  ScanView(bool json, bool live) : json_(json), live_(live) {}

  void Show(const AdvertisementEvent& advertisement) {
    table_.Update(advertisement, steady_clock::now());
    if (json_) return WriteLine(Dump(AdvertisementJson(advertisement)));
    if (!live_) return WriteLine(AdvertisementLine(advertisement));
    changed_ = true;
  }

  /// Redraws the table, a few times a second at most.
  void Refresh(bool last = false) {
    const auto now = steady_clock::now();
    const auto interval = std::chrono::milliseconds(changed_ ? 250 : 1000);
    if (!live_ || (!last && now - drawn_ < interval)) return;
    std::string text = lines_ > 0 ? "\x1b[" + std::to_string(lines_) + "A\x1b[J" : "";
    text += table_.Render(OutputSize(), UseColor(Stream::Output), now, lines_);
    Write(Stream::Output, text);
    drawn_ = now;
    changed_ = false;
  }

  std::size_t Devices() const { return table_.Size(); }

 private:
  const bool json_;
  const bool live_;
  DeviceTable table_;
  std::size_t lines_ = 0;
  bool changed_ = true;
  steady_clock::time_point drawn_;
};

class Scan {
 public:
  Scan(const Session& session, const ScanOptions& options)
      : options_(options),
        view_(session.json, IsTerminal(Stream::Output) && !session.json && session.logLevel == 0),
        host_(session, [this](const AnyEvent& event) { OnEvent(event); }) {}

  int Run() {
    const auto begin = steady_clock::now();
    const auto elapsed = [&] {
      return std::chrono::duration<double>(steady_clock::now() - begin).count();
    };
    host_->SetActiveScanning(options_.active);
    host_->StartScanning(JoinList(options_.services, ","));
    if (!started_ && !stopped_ && !host_->Scanning())
      throw std::runtime_error("the radio did not begin to scan");
    while (!Interrupted() && !stopped_ && heard_ < options_.count && elapsed() < options_.seconds) {
      host_.Step();
      view_.Refresh();
      CheckOutput();
    }
    const bool endedByItself = stopped_.has_value();
    if (heard_ < options_.count) host_.DropRest();
    host_->StopScanning();
    view_.Refresh(true);
    Summarize(elapsed());
    host_.TellDropped();
    return endedByItself && stopped_->code != 0 ? kFailed : kDone;
  }

 private:
  void OnEvent(const AnyEvent& event) {
    if (const auto* stopped = std::get_if<StopScanEvent>(&event)) stopped_ = *stopped;
    if (std::holds_alternative<StartScanEvent>(event)) started_ = true;
    const auto* advertisement = std::get_if<AdvertisementEvent>(&event);
    if (!advertisement || heard_ >= options_.count) return;
    ++heard_;
    view_.Show(*advertisement);
  }

  void Summarize(double seconds) const {
    if (!IsTerminal(Stream::Diagnostics)) return;
    Write(Stream::Diagnostics, std::to_string(view_.Devices()) + " devices, " +
                                   std::to_string(heard_) + " advertisements in " +
                                   std::to_string(std::lround(seconds)) + " s\n");
  }

  const ScanOptions options_;
  ScanView view_;
  std::uint64_t heard_ = 0;
  bool started_ = false;
  std::optional<StopScanEvent> stopped_;
  Host host_;  // last: its events use all of the above
};

}  // namespace

void AddScanCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("scan", "Show the devices that advertise");
  const auto options = std::make_shared<ScanOptions>();
  command->add_option("--service", options->services, "Only devices that list this service")
      ->type_name("UUID")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CheckUuid);
  command->add_flag("--active", options->active, "Ask the devices for their scan response");
  command->add_option("--for", options->seconds, "End after this time")
      ->type_name("SECONDS")
      ->check(CheckSeconds);
  command->add_option("--count", options->count, "End after this many advertisements")
      ->type_name("N")
      ->check(CheckCount);
  command->footer(Examples({"scan", "scan --active --for 10", "scan --service 180D --service 180F",
                            "--json scan --count 100 > heard.jsonl"}) +
                  "\nWithout --for and --count it goes on until Ctrl-C. On a terminal it shows a "
                  "table, else a\n"
                  "line for each advertisement.");
  command->callback([&session, options] {
    session.run = [&session, options] { return Scan(session, *options).Run(); };
  });
}

}  // namespace corvaneble::tool

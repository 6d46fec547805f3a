#include <algorithm>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "text/Report.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// Whether a radio can scan here, or the reason why it cannot.
struct Verdict {
  bool usable = false;
  int code = 0;
  std::string text;
  std::vector<std::string> notices;  ///< log lines of the radio itself
};

Verdict Try(const Session& session, const std::string& radio) {
  SetEnvironment("CORVANEBLE_RADIO", radio);
  bool started = false;
  Verdict verdict;
  Host host(
      [&](const AnyEvent& event) {
        if (std::holds_alternative<StartScanEvent>(event)) started = true;
        if (const auto* error = std::get_if<ErrorEvent>(&event)) {
          verdict.code = error->code;
          verdict.text = error->text;
        }
        const auto* line = std::get_if<LogEvent>(&event);
        if (line && line->type == "Radio") verdict.notices.push_back(line->message);
      },
      session.timeout, CORVANEBLE_LOG_INFO);
  try {
    host->StartScanning();
    verdict.usable = started && verdict.code == 0;
    if (!started && verdict.code == 0) verdict.text = "The radio did not begin to scan.";
    host->StopScanning();
  } catch (const Error& failure) {
    verdict.code = failure.Code();
    verdict.text = failure.what();
  }
  return verdict;
}

int RunRadios(const Session& session) {
  std::vector<std::string> radios{"auto", "linux", "windows", "simulated"};
  if (!session.radio.empty()) radios = {session.radio};
  for (const std::string& radio : radios) {
    StopIfInterrupted();
    const Verdict verdict = Try(session, radio);
    if (session.json) {
      Json json{{"radio", radio}, {"usable", verdict.usable}};
      if (!verdict.usable) json["error"] = {{"code", verdict.code}, {"text", verdict.text}};
      if (!verdict.notices.empty()) json["notices"] = verdict.notices;
      WriteLine(Dump(json));
    } else {
      std::string line = Fit(radio, std::max<std::size_t>(10, DisplayWidth(radio))) +
                         (verdict.usable ? "  yes" : "  no   ");
      if (verdict.code != 0) line += std::to_string(verdict.code) + " ";
      WriteLine(line + Sanitize(verdict.text));
      for (const std::string& notice : verdict.notices)
        WriteLine("            " + Sanitize(notice));
    }
  }
  return kDone;
}

}  // namespace

void AddRadiosCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("radios", "Show which radios can be used here, or why not");
  command->footer(Examples({"radios", "--radio linux:hci1 radios"}) +
                  "\nEach radio is asked to scan for a moment.");
  command->callback([&session] { session.run = [&session] { return RunRadios(session); }; });
}

}  // namespace corvaneble::tool

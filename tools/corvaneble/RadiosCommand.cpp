#include <algorithm>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Interrupt.h"
#include "Report.h"
#include "Terminal.h"
#include "Text.h"

namespace corvaneble::tool {
namespace {

/// Whether a radio can scan here, and if not, why.
struct Verdict {
  bool usable = false;
  int code = 0;
  std::string text;
};

Verdict Try(const Session& session, const std::string& radio) {
  SetEnvironment("CORVANEBLE_RADIO", radio);
  bool started = false;
  Verdict verdict;
  Client client(
      [&](const Event& event) {
        if (std::holds_alternative<ScanStarted>(event)) started = true;
        if (const auto* error = std::get_if<ErrorReported>(&event))
          verdict = {false, error->code, error->text};
      },
      session.timeout);
  try {
    client.StartScanning("");
    verdict.usable = started;
    if (!started && verdict.code == 0) verdict.text = "The radio did not begin to scan.";
    client.StopScanning();
  } catch (const ClientError& failure) {
    verdict = {false, failure.Code(), failure.what()};
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
      WriteLine(Dump(json));
    } else {
      std::string line = Fit(radio, std::max<std::size_t>(10, DisplayWidth(radio))) +
                         (verdict.usable ? "  yes" : "  no   ");
      if (verdict.code != 0) line += std::to_string(verdict.code) + " ";
      WriteLine(line + Sanitize(verdict.text));
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

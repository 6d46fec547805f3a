#include <memory>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Terminal.h"
#include "text/Report.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

int RunConfig(const Session& session, const std::vector<std::string>& texts) {
  Host host(session);
  for (const std::string& text : texts) {
    const std::string answer = host->Config(text);
    const auto equals = text.find('=');
    if (session.json) {
      Json json{{"setting", text.substr(0, equals)}, {"answer", answer}};
      WriteLine(Dump(json));
    } else if (equals == std::string::npos || !answer.empty()) {
      WriteLine(SanitizeLines(answer));
    }
  }
  return kDone;
}

}  // namespace

void AddConfigCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("config", "Read or try out settings of the library");
  const auto texts = std::make_shared<std::vector<std::string>>();
  command->add_option("setting", *texts, "NAME to read, NAME=VALUE to write")->required();
  command->footer(Examples({"config BuildInfo", "config LogLevel ScanStartedTimeout",
                            "config LogLevel=0x3 LogLevel"}) +
                  "\nSettings last as long as the command; a write is there to be checked.");
  command->callback([&session, texts] {
    session.run = [&session, texts] { return RunConfig(session, *texts); };
  });
}

}  // namespace corvaneble::tool

#include <memory>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Terminal.h"
#include "gatt/GattTree.h"
#include "gatt/Link.h"
#include "text/Report.h"
#include "text/Text.h"
#include "views/Progress.h"

namespace corvaneble::tool {
namespace {

struct ReportOptions {
  std::string address;
  bool descriptors = false;
};

int RunReport(const Session& session, const ReportOptions& options) {
  DiscoveryProgress progress;
  Host host(session, [&](const AnyEvent& event) { progress.OnEvent(event); });
  const Link link(*host, options.address);
  DiscoverAll(*host, options.descriptors);
  std::string report = host->Config("GattObjTreeInfo");
  progress.Clear();
  std::erase(report, '\r');  // the line ends of all other output
  if (session.json)
    WriteLine(Dump(Json{{"id", options.address}, {"report", report}}));
  else
    Write(Stream::Output, SanitizeLines(report));
  return kDone;
}

}  // namespace

void AddReportCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("report", "Print the library's own report of a device");
  const auto options = std::make_shared<ReportOptions>();
  AddAddress(*command, options->address);
  command->add_flag("--descriptors", options->descriptors, "Discover the descriptors too");
  command->footer(Examples({"report C0FFEE123456", "report C0FFEE123456 --descriptors"}) +
                  "\nThe text is the setting GattObjTreeInfo; for scripts there is tree --json.");
  command->callback([&session, options] {
    session.run = [&session, options] { return RunReport(session, *options); };
  });
}

}  // namespace corvaneble::tool

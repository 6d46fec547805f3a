#include <memory>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Terminal.h"
#include "gatt/GattTree.h"
#include "gatt/Link.h"
#include "text/Report.h"
#include "views/Progress.h"

namespace corvaneble::tool {
namespace {

struct TreeOptions {
  std::string address;
  bool noDescriptors = false;
  bool values = false;
};

int RunTree(const Session& session, const TreeOptions& options) {
  DiscoveryProgress progress;
  Host host(session, [&](const AnyEvent& event) { progress.OnEvent(event); });
  const Link link(*host, options.address);
  DiscoverAll(*host, !options.noDescriptors);
  GattTree tree = Snapshot(*host, !options.noDescriptors);
  if (options.values) ReadValues(*host, tree, [&](int done) { progress.OnRead(done); });
  progress.Clear();
  if (session.json)
    WriteLine(Dump(TreeJson(tree)));
  else
    Write(Stream::Output, TreeText(tree));
  if (!tree.interruptedBy) return kDone;
  Complain(std::to_string(tree.interruptedBy->code) + " " + tree.interruptedBy->error);
  return kFailed;
}

}  // namespace

void AddTreeCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("tree", "Show a device's services and what they hold");
  const auto options = std::make_shared<TreeOptions>();
  AddAddress(*command, options->address);
  command->add_flag("--no-descriptors", options->noDescriptors, "Leave the descriptors out");
  command->add_flag("--values", options->values, "Read every value that can be read");
  command->footer(Examples({"tree C0FFEE123456", "tree C0:FF:EE:12:34:56 --values",
                            "--json tree C0FFEE123456 | jq .services[].name"}));
  command->callback([&session, options] {
    session.run = [&session, options] { return RunTree(session, *options); };
  });
}

}  // namespace corvaneble::tool

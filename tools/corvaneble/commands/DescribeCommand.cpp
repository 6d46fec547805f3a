#include <memory>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "gatt/Attributes.h"
#include "gatt/Link.h"
#include "text/Report.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

struct DescribeOptions {
  std::string address;
  AttributePath attribute;
  std::string text;
  CLI::Option* set = nullptr;
};

int RunDescribe(const Session& session, const DescribeOptions& options) {
  Host host(session);
  Client& client = *host;
  const Link link(client, options.address);
  const FoundAttribute found = FindAttribute(client, options.attribute);
  StopIfInterrupted();
  const bool setting = options.set->count() > 0;
  std::string description = options.text;
  if (setting)
    client.SetCharacteristicUserDescription(found.index, description);
  else
    description = client.CharacteristicUserDescription(found.index);
  if (session.json) {
    Json json = FoundJson(found, nullptr);
    json["userDescription"] = description;
    WriteLine(Dump(json));
  } else if (!setting) {
    WriteLine(Sanitize(description));
  }
  return kDone;
}

}  // namespace

void AddDescribeCommand(CLI::App& app, Session& session) {
  auto* command =
      app.add_subcommand("describe", "Read or set what a characteristic is described as");
  const auto options = std::make_shared<DescribeOptions>();
  AddAddress(*command, options->address);
  AddCharacteristic(*command, options->attribute);
  options->set =
      command->add_option("--set", options->text, "The new user description")->type_name("TEXT");
  command->footer(Examples({"describe C0FFEE123456 181A 2A6E",
                            "describe C0FFEE123456 181A 2A6E --set \"At the window\""}) +
                  "\nOnly a characteristic with writable auxiliaries takes a new description.");
  command->callback([&session, options] {
    session.run = [&session, options] { return RunDescribe(session, *options); };
  });
}

}  // namespace corvaneble::tool

#include <memory>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "gatt/Attributes.h"
#include "gatt/Link.h"
#include "text/Report.h"

namespace corvaneble::tool {
namespace {

struct ReadOptions {
  std::string address;
  AttributePath attribute;
  bool raw = false;
};

int RunRead(const Session& session, const ReadOptions& options) {
  Host host(session);
  const Link link(*host, options.address);
  const FoundAttribute found = FindAttribute(*host, options.attribute);
  const auto& [service, characteristic, descriptor] = found.path;
  StopIfInterrupted();
  const Bytes value = host->ReadValue(service, characteristic, descriptor);
  if (options.raw)
    Write(Stream::Output, {reinterpret_cast<const char*>(value.data()), value.size()});
  else if (session.json)
    WriteLine(Dump(FoundJson(found, &value)));
  else
    WriteLine(ValueLine(value, found.formats));
  return kDone;
}

}  // namespace

void AddReadCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("read", "Read one value from a device");
  const auto options = std::make_shared<ReadOptions>();
  AddAddress(*command, options->address);
  AttributePath& path = options->attribute;
  AddCharacteristic(*command, path);
  command->add_option("descriptor", path.descriptor, "UUID or identifier")->check(CheckAttribute);
  command->add_flag("--raw", options->raw, "Write the bytes as they are");
  command->footer(Examples({"read C0FFEE123456 180F 2A19", "read C0FFEE123456 180A 2A29 --raw",
                            "--json read C0FFEE123456 000A00000000 000A000B0000"}));
  command->callback([&session, options] {
    session.run = [&session, options] {
      if (session.json && options->raw) throw UsageError("choose one of --json and --raw");
      return RunRead(session, *options);
    };
  });
}

}  // namespace corvaneble::tool

#include <algorithm>
#include <chrono>
#include <map>

#include "Command.h"
#include "Host.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "gatt/GattTree.h"
#include "gatt/Link.h"
#include "text/Names.h"
#include "text/Report.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

constexpr char kHeartRate[] = "180D";

/// The tour: scans, shows what the heart-rate strap offers, disconnects.
class Demo {
 public:
  explicit Demo(const Session& session)
      : host_(session, [this](const AnyEvent& event) { OnEvent(event); }) {}

  int Run(double seconds) {
    WriteLine("Scanning.");
    ListenFor(std::chrono::duration<double>(seconds));
    if (strap_.empty()) throw std::runtime_error("no heart-rate strap was heard");
    WriteLine("\nConnecting to the heart-rate strap " + strap_ + ".");
    const GattTree tree = Explore();
    Write(Stream::Output, "\n" + TreeText(tree));
    Conclude(tree);
    return tree.interruptedBy ? kFailed : kDone;
  }

 private:
  void OnEvent(const AnyEvent& event) {
    const auto* advertisement = std::get_if<AdvertisementEvent>(&event);
    if (!advertisement) return;
    const auto services = SplitList(advertisement->serviceUuids);
    if (std::find(services.begin(), services.end(), CanonicalUuid(kHeartRate)) != services.end() &&
        advertisement->isConnectable)
      strap_ = advertisement->serverId;
    if (heard_[advertisement->serverId]++ == 0) WriteLine("  " + AdvertisementLine(*advertisement));
  }

  void ListenFor(std::chrono::duration<double> time) {
    host_->SetActiveScanning(true);
    host_->StartScanning();
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < time) {
      StopIfInterrupted();
      host_.Step();
      CheckOutput();
    }
    host_->StopScanning();
  }

  GattTree Explore() {
    const Link link(*host_, strap_);
    DiscoverAll(*host_, true);
    GattTree tree = Snapshot(*host_, true);
    ReadValues(*host_, tree, [](int) {});
    return tree;
  }

  void Conclude(const GattTree& tree) const {
    std::size_t characteristics = 0, values = 0;
    for (const ServiceInfo& service : tree.services)
      for (const CharacteristicInfo& info : service.characteristics) {
        ++characteristics;
        values += info.value && info.value->code == 0;
        for (const DescriptorInfo& descriptor : info.descriptors)
          values += descriptor.value && descriptor.value->code == 0;
      }
    WriteLine("\nHeard " + std::to_string(heard_.size()) + " devices; " +
              Sanitize(tree.serverName.empty() ? tree.serverId : tree.serverName) + " has " +
              std::to_string(tree.services.size()) + " services with " +
              std::to_string(characteristics) + " characteristics, and gave " +
              std::to_string(values) + " values. Disconnected; all done.");
  }

  std::map<std::string, int> heard_;
  std::string strap_;
  Host host_;  // last: its events use all of the above
};

}  // namespace

void AddDemoCommand(CLI::App& app, Session& session) {
  auto* command =
      app.add_subcommand("demo", "A tour with the simulated radio: scan, connect, read");
  const auto seconds = std::make_shared<double>(3);
  command->add_option("--for", *seconds, "How long to scan (3)")
      ->type_name("SECONDS")
      ->check(CheckSeconds);
  command->footer(Examples({"demo", "--log debug demo"}) +
                  "\nUses the simulated radio unless --radio names another one.");
  command->callback([&session, seconds] {
    if (session.radio.empty()) session.radio = "simulated";
    session.run = [&session, seconds] {
      if (session.json) throw UsageError("the demo is for people: it has no --json");
      return Demo(session).Run(*seconds);
    };
  });
}

}  // namespace corvaneble::tool

#include <algorithm>
#include <chrono>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "Command.h"
#include "Host.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "chart/ChartRecorder.h"
#include "gatt/Link.h"
#include "gatt/WatchTargets.h"
#include "text/Interpretation.h"
#include "text/Text.h"
#include "views/WatchView.h"

namespace corvaneble::tool {
namespace {

using std::chrono::steady_clock;
using std::chrono::system_clock;

struct WatchOptions {
  std::string address;
  WatchWish wish;
  double seconds = std::numeric_limits<double>::infinity();
  std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
  bool csv = false;
  std::string plot;
};

WatchStyle StyleOf(const Session& session, const WatchOptions& options) {
  if (options.csv) return WatchStyle::Csv;
  if (session.json) return WatchStyle::Json;
  return IsTerminal(Stream::Output) && session.logLevel == 0 ? WatchStyle::Live : WatchStyle::Lines;
}

class Watch {
 public:
  Watch(const Session& session, const WatchOptions& options)
      : options_(options),
        view_(MakeWatchView(StyleOf(session, options))),
        host_(session, [this](const AnyEvent& event) { OnEvent(event); }) {
    if (!options.plot.empty()) recorder_.emplace(options.plot);
  }

  int Run() {
    Link link(*host_, options_.address);
    const std::string name = host_->ServerName();
    const auto found = FindWatched(*host_, options_.wish);
    view_->Begin();
    SetSources(found);
    begin_ = steady_clock::now();
    beginUtc_ = system_clock::now();
    SubscribeToSome();
    try {
      Follow(link);
    } catch (...) {  // the values so far are drawn all the same
      if (recorder_) Draw(name);
      host_.TellDropped();
      throw;
    }
    if (received_ < options_.count) host_.DropRest();
    over_ = true;
    UnsubscribeAll();
    view_->Refresh(true);
    if (recorder_) Draw(name);
    host_.TellDropped();
    return failed_ || offline_ ? kFailed : kDone;
  }

 private:
  void Follow(Link& link) {
    while (!Interrupted() && received_ < options_.count && Elapsed() < options_.seconds) {
      if (!offline_ && std::exchange(changed_, false))
        StartAnew(link);
      else if (std::exchange(backAgain_, false))
        SubscribeAll();
      host_.Step();
      view_->Refresh(false);
      CheckOutput();
    }
  }

  /// Discovers and subscribes again after a change of services. Identifiers are made of handles,
  /// which may belong to other attributes now, and the library forgets them only when it
  /// disconnects.
  void StartAnew(Link& link) {
    Say("the device has changed its services; looking for the characteristics again");
    if (recorder_) recorder_->LinkLost(Elapsed());
    try {
      link.Renew();
      host_.DropRest();  // their identifiers may belong to other characteristics now
      backAgain_ = changed_ = false;
      SetSources(FindWatched(*host_, options_.wish));
      SubscribeToSome();
    } catch (const Error&) {
      if (!offline_) throw;
      changed_ = true;  // tried again when the link is back
      return;
    }
    if (recorder_ && !offline_) recorder_->LinkBack(Elapsed());
  }

  /// A characteristic that is found again, by its UUID, continues the source it was before.
  void SetSources(const std::vector<WatchedCharacteristic>& found) {
    sources_.clear();
    for (WatchedCharacteristic& gone : watched_)
      gone.path = {};
    for (const WatchedCharacteristic& one : found) {
      const auto known = std::find_if(watched_.begin(), watched_.end(), [&](const auto& old) {
        return old.path.characteristic.empty() && old.uuid == one.uuid;
      });
      sources_.emplace(one.path.characteristic, known - watched_.begin());
      if (known != watched_.end()) {
        *known = one;
        continue;
      }
      watched_.push_back(one);
      view_->AddSource(one);
      if (recorder_) recorder_->AddSource(one);
    }
  }

  void SubscribeToSome() {
    SubscribeAll();
    if (subscribed_ == 0 && !offline_ && !Interrupted())
      throw std::runtime_error("nothing to watch");
  }

  double Elapsed() const { return SecondsAt(steady_clock::now()); }
  double SecondsAt(steady_clock::time_point time) const {
    return std::chrono::duration<double>(time - begin_).count();
  }

  /// Also after a lost link: the tool never reads `CharacteristicSubscribed`, so the library caches
  /// nothing and writes the configuration again.
  void SubscribeAll() {
    subscribed_ = 0;
    ListenForChanges();
    for (const auto& [id, source] : sources_) {
      const WatchedCharacteristic& characteristic = watched_[source];
      if (Interrupted()) return;
      try {
        host_->Subscribe(characteristic.path.service, id);
        ++subscribed_;
      } catch (const Error& failure) {
        Say(std::to_string(failure.Code()) + " " + failure.what() + " (" + characteristic.Label() +
            ")");
        if (offline_) return;  // subscribed when it is back
        failed_ = true;
        if (LinkIsGone(failure.Code())) return;
      }
    }
  }

  /// Once on each link, a discovery of all services makes the library subscribe to their changes.
  void ListenForChanges() {
    try {
      host_->DiscoverServices();
    } catch (const Error&) {  // subscribing will fail for the same reason and report it
    }
  }

  /// Subscriptions that cannot be ended here end with the link.
  void UnsubscribeAll() {
    for (const auto& [id, source] : sources_) {
      if (offline_) return;
      try {
        host_->Unsubscribe(watched_[source].path.service, id);
      } catch (const Error& failure) {
        if (LinkIsGone(failure.Code())) return;
      }
    }
  }

  void OnEvent(const AnyEvent& event) {
    if (const auto* value = std::get_if<ValueEvent>(&event)) OnValue(*value);
    if (std::holds_alternative<ConnectedEvent>(event)) OnConnected();
    if (const auto* end = std::get_if<DisconnectedEvent>(&event)) OnDisconnected(*end);
    const auto* update = std::get_if<ServerUpdateEvent>(&event);
    if (update && update->name.empty()) changed_ = true;
  }

  void OnValue(const ValueEvent& received) {
    const auto source = sources_.find(received.characteristicId);
    if (source == sources_.end() || over_ || received_ >= options_.count) return;
    ++received_;
    const WatchedCharacteristic& from = watched_[source->second];
    const Interpretation meaning = Interpret(from.uuid, received.value, from.formats);
    const auto raised = host_.RaisedAt();
    const auto sinceBegin = std::chrono::duration_cast<system_clock::duration>(raised - begin_);
    view_->Show({source->second, from, received.value, meaning, UtcText(beginUtc_ + sinceBegin)});
    if (recorder_) recorder_->Add(source->second, SecondsAt(raised), meaning);
  }

  void OnDisconnected(const DisconnectedEvent& event) {
    if (event.text != "Offline") return;
    offline_ = true;
    Say("the link was lost; waiting for the device to come back");
    if (recorder_) recorder_->LinkLost(Elapsed());
  }

  void OnConnected() {
    if (!offline_) return;
    offline_ = false;
    backAgain_ = true;
    Say("the link is back");
    if (recorder_) recorder_->LinkBack(Elapsed());
  }

  void Say(const std::string& text) {
    Complain(text);
    view_->Displaced();
  }

  void Draw(const std::string& name) {
    const std::string& address = options_.address;
    recorder_->Write(name.empty() ? address : name + " (" + address + ")",
                     "from " + UtcText(beginUtc_) + ", " + std::to_string(received_) + " values",
                     Elapsed());
  }

  const WatchOptions options_;
  const std::unique_ptr<WatchView> view_;
  std::optional<ChartRecorder> recorder_;
  std::vector<WatchedCharacteristic> watched_;
  // From the identifier to the index in `watched_`, which also keeps characteristics that are gone.
  std::map<std::string, std::size_t, std::less<>> sources_;
  steady_clock::time_point begin_;
  system_clock::time_point beginUtc_;
  std::size_t subscribed_ = 0;
  std::uint64_t received_ = 0;
  bool offline_ = false;
  bool backAgain_ = false;  // the link is: subscribe again
  bool changed_ = false;    // the device has changed its services
  bool failed_ = false;
  bool over_ = false;  // values that come while unsubscribing are not shown
  Host host_;          // last: its events use all of the above
};

void CheckWish(const WatchWish& wish) {
  if (wish.pairs.size() % 2 != 0)
    throw CLI::ValidationError("a characteristic is missing after service " + wish.pairs.back());
  if (wish.pairs.empty() && wish.characteristics.empty() && !wish.all)
    throw CLI::ValidationError(
        "name what to watch: SERVICE CHARACTERISTIC, --characteristic or --all");
}

}  // namespace

void AddWatchCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("watch", "Show values as a device sends them");
  const auto options = std::make_shared<WatchOptions>();
  AddAddress(*command, options->address);
  command->add_option("characteristics", options->wish.pairs, "UUIDs or identifiers, in pairs")
      ->type_name("SERVICE CHARACTERISTIC")
      ->check(CheckAttribute);
  command
      ->add_option("--characteristic", options->wish.characteristics,
                   "A characteristic of whatever service; again for more")
      ->type_name("UUID")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(CheckAttribute);
  command->add_flag("--all", options->wish.all, "All that can notify or indicate");
  command->add_option("--for", options->seconds, "End after this time")
      ->type_name("SECONDS")
      ->check(CheckSeconds);
  command->add_option("--count", options->count, "End after this many values")
      ->type_name("N")
      ->check(CheckCount);
  command->add_flag("--csv", options->csv, "A table for spreadsheets: one line a value");
  command->add_option("--plot", options->plot, "At the end, draw the numbers over time")
      ->type_name("FILE.svg");
  command->footer(Examples({"watch C0FFEE123456 180D 2A37", "watch C0FFEE123456 --all --for 60",
                            "watch C0FFEE123456 --characteristic 2A6E --plot hour.svg --for 3600",
                            "watch C0FFEE123456 180D 2A37 180F 2A19 --csv > values.csv"}) +
                  "\nWithout --for and --count it goes on until Ctrl-C, also when the link is lost "
                  "and comes back.");
  command->callback([&session, options] {
    CheckWish(options->wish);
    session.run = [&session, options] {
      if (session.json && options->csv) throw UsageError("choose one of --json and --csv");
      return Watch(session, *options).Run();
    };
  });
}

}  // namespace corvaneble::tool

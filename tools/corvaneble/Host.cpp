#include "Host.h"

#include <algorithm>
#include <string>
#include <utility>

#include "Command.h"
#include "Terminal.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// How long events are handled before their owner looks at everything else.
constexpr std::chrono::milliseconds kSlice{20};

/// A message whose further lines are indented below the first.
std::string Indented(std::string_view text) {
  std::string lines;
  for (;;) {
    const std::size_t end = text.find("\r\n");
    lines += Sanitize(text.substr(0, end));
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 2);
    if (text.substr(0, 1) == "\t") text.remove_prefix(1);
    lines += "\n      ";
  }
}

void Report(const LogEvent& line, int logLevel) {
  const int level = static_cast<int>(line.level);
  if (level <= logLevel)
    Write(Stream::Diagnostics,
          "log " + std::to_string(level) + " " + line.type + ": " + Indented(line.message) + "\n");
  else if (line.type == "Radio")  // something that the user can do something about
    Complain(line.message);
}

Host::Handler Reporting(int logLevel, Host::Handler handler) {
  return [logLevel, handler = std::move(handler)](const AnyEvent& event) {
    if (const auto* line = std::get_if<LogEvent>(&event)) Report(*line, logLevel);
    if (const auto* error = std::get_if<ErrorEvent>(&event))
      Complain(std::to_string(error->code) + " " + error->text);
    if (handler) handler(event);
  };
}

}  // namespace

Host::Host(const Session& session, Handler handler)
    : Host(Reporting(session.logLevel, std::move(handler)), session.timeout, session.logLevel) {}

Host::Host(Handler handler, int timeout, int logLevel) : handler_(std::move(handler)) {
  client_.OnAnyEvent([this](AnyEvent event) { OnEvent(std::move(event)); });
  client_.OnMethodEnd([this](const MethodEndEvent&) { OnMethodEnd(); });
  client_.Config("LogLevel", std::to_string(std::max(logLevel, int{CORVANEBLE_LOG_INFO})));
  if (timeout >= 0) client_.SetTimeout(timeout);
}

void Host::Step() {
  using namespace std::chrono;
  if (!HandleEvents(kSlice)) return;  // what is late comes first
  const auto begin = steady_clock::now();
  client_.DoEvents();
  // A step that found nothing to do and did not wait must not turn our loop into a busy one.
  if (steady_clock::now() - begin < milliseconds(1)) events_.Wait(milliseconds(1));
  HandleEvents(kSlice);
}

void Host::DropRest() {
  if (!HandleEvents(kSlice)) events_.DropShown();
}

void Host::TellDropped() const {
  const struct {
    std::size_t count;
    const char* what;
  } kinds[] = {{events_.Dropped<AdvertisementEvent>(), "advertisements"},
               {events_.Dropped<ValueEvent>(), "values"},
               {events_.Dropped<LogEvent>() + events_.Waiting<LogEvent>(), "log lines"}};
  for (const auto& [count, what] : kinds)
    if (count > 0)
      Complain(std::to_string(count) + " " + what +
               " came faster than they could be shown and were dropped");
}

void Host::OnEvent(AnyEvent event) {
  events_.Put(std::move(event));
  // Inside one of its own calls the owner need not wait for the end: progress shows at once.
  if (std::this_thread::get_id() == owner_) HandleEvents({});
}

void Host::OnMethodEnd() {
  HandleEvents(kSlice);
  if (const auto lost = client_.EventError()) {  // an event for which there was no memory
    client_.ClearEventError();
    handler_(ErrorEvent{lost->Code(), lost->what()});
  }
}

bool Host::HandleEvents(std::chrono::milliseconds slice) {
  if (handling_) return false;  // an event raised by a call of the handler: its turn comes
  handling_ = true;
  struct Done {
    bool& flag;
    ~Done() { flag = false; }
  } done{handling_};
  const auto end = std::chrono::steady_clock::now() + slice;
  const std::size_t least = 1 + events_.DecisiveCount();
  for (std::size_t i = 0; i < least || std::chrono::steady_clock::now() < end; ++i) {
    const auto entry = events_.Take();
    if (!entry) return true;
    raisedAt_ = entry->raised;
    handler_(entry->event);
  }
  return false;
}

}  // namespace corvaneble::tool

#include "Events.h"

#include <corvaneble/corvaneble.h>

#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// The parameters of one callback, by position.
struct Parameters {
  const std::intptr_t* values;
  const std::int32_t* lengths;

  int Number(int position) const { return static_cast<int>(values[position]); }
  std::string Text(int position) const {
    const char* text = reinterpret_cast<const char*>(values[position]);
    return text ? text : "";
  }
  Bytes Data(int position) const {
    const auto* data = reinterpret_cast<const std::uint8_t*>(values[position]);
    return data ? Bytes(data, data + lengths[position]) : Bytes();
  }
  std::optional<int> NumberUnless(int position, int absent) const {
    const int number = Number(position);
    return number == absent ? std::nullopt : std::optional(number);
  }
};

Advertisement DecodeAdvertisement(const Parameters& p) {
  return {p.Text(0),
          p.Text(1),
          p.Number(2),
          p.NumberUnless(3, CORVANEBLE_TX_POWER_ABSENT),
          SplitList(p.Text(4)),
          SplitList(p.Text(5)),
          SplitList(p.Text(6)),
          p.NumberUnless(7, CORVANEBLE_COMPANY_ABSENT),
          p.Data(8),
          p.Number(9) != 0,
          p.Number(10) != 0};
}

/// How many parameters each event has had from the first version on.
int ParameterCount(std::int32_t eventId) {
  constexpr int kCounts[] = {0, 11, 2, 2, 6, 2, 3, 2, 1, 2, 4, 4, 6, 5};
  return eventId >= 1 && eventId <= 13 ? kCounts[eventId] : 0;
}

}  // namespace

std::optional<Event> DecodeEvent(std::int32_t eventId, std::int32_t paramCount,
                                 const std::intptr_t* params, const std::int32_t* lengths) {
  if (paramCount < ParameterCount(eventId)) return std::nullopt;
  const Parameters p{params, lengths};
  switch (eventId) {
    case CORVANEBLE_EVENT_ADVERTISEMENT:
      return DecodeAdvertisement(p);
    case CORVANEBLE_EVENT_CONNECTED:
      return LinkChanged{true, p.Number(0), p.Text(1)};
    case CORVANEBLE_EVENT_DISCONNECTED:
      return LinkChanged{false, p.Number(0), p.Text(1)};
    case CORVANEBLE_EVENT_DISCOVERED:
      return Discovered{p.Number(0), {p.Text(1), p.Text(2), p.Text(3)}, p.Text(4), p.Text(5)};
    case CORVANEBLE_EVENT_ERROR:
      return ErrorReported{p.Number(0), p.Text(1)};
    case CORVANEBLE_EVENT_LOG:
      return LogLine{p.Number(0), p.Text(1), p.Text(2)};
    case CORVANEBLE_EVENT_SERVER_UPDATE:
      return ServerUpdated{p.Text(0), p.Text(1)};
    case CORVANEBLE_EVENT_START_SCAN:
      return ScanStarted{p.Text(0)};
    case CORVANEBLE_EVENT_STOP_SCAN:
      return ScanStopped{p.Number(0), p.Text(1)};
    case CORVANEBLE_EVENT_SUBSCRIBED:
    case CORVANEBLE_EVENT_UNSUBSCRIBED:
      return SubscriptionChanged{
          eventId == CORVANEBLE_EVENT_SUBSCRIBED, {p.Text(0), p.Text(1), ""}, p.Text(2), p.Text(3)};
    case CORVANEBLE_EVENT_VALUE:
      return ValueReceived{{p.Text(0), p.Text(1), p.Text(2)},
                           p.Text(3),
                           p.Text(4),
                           p.Data(5),
                           std::chrono::steady_clock::now()};
    case CORVANEBLE_EVENT_WRITE_RESPONSE:
      return WriteConfirmed{{p.Text(0), p.Text(1), p.Text(2)}, p.Text(3), p.Text(4)};
    default:
      return std::nullopt;
  }
}

}  // namespace corvaneble::tool

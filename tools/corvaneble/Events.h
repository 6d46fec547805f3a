#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace corvaneble::tool {

using Bytes = std::vector<std::uint8_t>;

struct Advertisement {
  std::string serverId;
  std::string name;
  int rssi = 0;                ///< dBm
  std::optional<int> txPower;  ///< dBm
  std::vector<std::string> services;
  std::vector<std::string> servicesWithData;
  std::vector<std::string> solicited;
  std::optional<int> companyId;
  Bytes manufacturerData;
  bool connectable = false;
  bool scanResponse = false;
};

struct LinkChanged {
  bool connected = false;
  int code = 0;
  std::string text;
};

/// Names one attribute; the levels that do not apply are empty.
struct AttributePath {
  std::string service;
  std::string characteristic;
  std::string descriptor;
};

struct Discovered {
  int gattType = 0;
  AttributePath path;
  std::string uuid;
  std::string name;
};

struct ErrorReported {
  int code = 0;
  std::string text;
};

struct LogLine {
  int level = 0;
  std::string message;
  std::string kind;
};

struct ServerUpdated {
  std::string name;
  std::string changedServices;
};

struct ScanStarted {
  std::string filter;
};

struct ScanStopped {
  int code = 0;
  std::string reason;
};

struct SubscriptionChanged {
  bool subscribed = false;
  AttributePath path;
  std::string uuid;
  std::string name;
};

struct ValueReceived {
  AttributePath path;
  std::string uuid;
  std::string name;
  Bytes value;
  std::chrono::steady_clock::time_point heard;  ///< when the library told us
};

struct WriteConfirmed {
  AttributePath path;
  std::string uuid;
  std::string name;
};

using Event =
    std::variant<Advertisement, LinkChanged, Discovered, ErrorReported, LogLine, ServerUpdated,
                 ScanStarted, ScanStopped, SubscriptionChanged, ValueReceived, WriteConfirmed>;

/// Copies what the library's callback was given; nothing for an event of a later version.
std::optional<Event> DecodeEvent(std::int32_t eventId, std::int32_t paramCount,
                                 const std::intptr_t* params, const std::int32_t* lengths);

/// Makes one handler of several lambdas, for `std::visit`.
template <class... Handlers>
struct Overloaded : Handlers... {
  using Handlers::operator()...;
};
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

}  // namespace corvaneble::tool

// Measures the cost of the library on a real ATT channel: the same reads and notifications through
// the exported functions and through a bare loop on an ATT socket, alternately. Needs the virtual
// machine and its peripheral: scripts/vm bench/linux/run

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "att/AttPdu.h"
#include "backends/linux/BluetoothSockets.h"
#include "base/WakeSignal.h"
#include "corvaneble/corvaneble.h"
#include "linux/Peripheral.h"

namespace ble::bench {
namespace {

namespace kernel = linux_radio::kernel;
using std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int kReads = 100;      // per round
constexpr int kReadRounds = 17;  // many, because the cost varies by a tenth between rounds
constexpr int kRounds = 9;       // for the other comparisons
constexpr std::uint32_t kNotifications = 1000;
constexpr const char* kOwnService = "5C0A180A-7D2E-4B1F-9A63-1E5F2C8D7B40";
constexpr const char* kNotified = "5C0A0004-7D2E-4B1F-9A63-1E5F2C8D7B40";

double ProcessorTime() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

struct Cost {
  double time = 0;       ///< seconds per operation
  double processor = 0;  ///< seconds per operation
};

template <class Work>
Cost Measure(int count, Work work) {
  const auto begin = steady_clock::now();
  const double processor = ProcessorTime();
  work();
  return {Seconds(steady_clock::now() - begin).count() / count,
          (ProcessorTime() - processor) / count};
}

/// A client of the library.
class Library {
 public:
  Library() : client_(CorvaneBLE_BLEClient_Create(&OnEvent, this, nullptr, 0)) {
    Do(CORVANEBLE_METHOD_CONNECT, tests::kPeripheralId);
  }
  ~Library() { CorvaneBLE_BLEClient_Destroy(client_); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  void Do(std::int32_t method, const char* first, const char* second = "") {
    std::intptr_t params[5] = {};
    std::int32_t lengths[5] = {};
    std::memcpy(&params[0], &first, sizeof first);
    std::memcpy(&params[1], &second, sizeof second);
    if (CorvaneBLE_BLEClient_Do(client_, method, 4, params, lengths, nullptr) != 0)
      throw std::runtime_error(CorvaneBLE_BLEClient_GetLastError(client_));
  }

  void Discover(const char* service, const char* characteristic) {
    Do(CORVANEBLE_METHOD_DISCOVER, service, characteristic);
  }
  void Read() { Do(CORVANEBLE_METHOD_READ_VALUE, service_.c_str(), characteristic_.c_str()); }
  void Subscribe() { Do(CORVANEBLE_METHOD_SUBSCRIBE, service_.c_str(), characteristic_.c_str()); }
  std::uint16_t ValueHandle() const {
    return static_cast<std::uint16_t>(std::stoi(characteristic_.substr(4, 4), nullptr, 16) + 1);
  }
  /// Blocks until all notifications have arrived.
  void WaitForNotifications() {
    if (!arrived_.WaitFor(std::chrono::minutes(1))) throw std::runtime_error("values are missing");
  }

 private:
  static std::int32_t CORVANEBLE_CALL OnEvent(void* self, std::int32_t event, std::int32_t,
                                              const std::intptr_t* params, const std::int32_t*) {
    auto& library = *static_cast<Library*>(self);
    const auto text = [&](int i) {
      const char* result = nullptr;
      std::memcpy(&result, &params[i], sizeof result);
      return result;
    };
    if (event == CORVANEBLE_EVENT_VALUE && ++library.values_ == kNotifications)
      library.arrived_.Set();
    if (event == CORVANEBLE_EVENT_DISCOVERED && params[0] == 1) {
      library.service_ = text(1);
      library.characteristic_ = text(2);
    }
    return 0;
  }

  std::atomic<std::uint32_t> values_{0};
  WakeSignal arrived_;
  std::string service_;
  std::string characteristic_;
  CorvaneBLE_Handle client_;
};

/// The ATT socket alone.
class Bare {
 public:
  Bare() : socket_(::socket(kernel::kAfBluetooth, SOCK_SEQPACKET, kernel::kProtocolL2cap)) {
    kernel::L2capAddress local;
    local.channel = kernel::kAttChannel;
    local.addressType = kernel::kLePublic;
    kernel::L2capAddress peer = local;
    for (int i = 0; i < 6; ++i)
      peer.address[i] = static_cast<std::uint8_t>(tests::kPeripheralAddress >> (8 * i));
    const std::uint8_t own[] = {0x00, 0x00, 0x00, 0x01, 0xAA, 0x00};
    std::memcpy(local.address, own, sizeof own);
    if (bind(socket_, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 ||
        connect(socket_, reinterpret_cast<sockaddr*>(&peer), sizeof peer) != 0)
      throw std::runtime_error("bare socket: " + std::string(std::strerror(errno)));
    Exchange({0x02, 0x05, 0x02});  // requests the same ATT_MTU as the library
  }
  ~Bare() { close(socket_); }
  Bare(const Bare&) = delete;
  Bare& operator=(const Bare&) = delete;

  void Exchange(std::initializer_list<std::uint8_t> request) {
    if (send(socket_, request.begin(), request.size(), 0) < 0 || Receive() <= 0)
      throw std::runtime_error("bare socket: lost");
  }
  void Read(std::uint16_t handle) {
    Exchange({0x0A, static_cast<std::uint8_t>(handle), static_cast<std::uint8_t>(handle >> 8)});
  }
  void Subscribe(std::uint16_t valueHandle) {
    const int configuration = valueHandle + 1;
    Exchange({0x12, static_cast<std::uint8_t>(configuration),
              static_cast<std::uint8_t>(configuration >> 8), 1, 0});
  }
  ssize_t Receive() { return recv(socket_, buffer_, sizeof buffer_, 0); }

 private:
  int socket_;
  std::uint8_t buffer_[att::kMaxMtu];
};

/// Waits until the link of the previous client has ended: there is only one.
void Rest() {
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
}

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

void CompareReads() {
  std::vector<double> times, processors, bareTimes, bareProcessors;
  for (int round = 0; round < kReadRounds; ++round) {
    std::uint16_t handle = 0;
    {
      Library library;
      library.Discover("180F", "2A19");
      handle = library.ValueHandle();
      const Cost cost = Measure(kReads, [&] {
        for (int i = 0; i < kReads; ++i)
          library.Read();
      });
      times.push_back(cost.time);
      processors.push_back(cost.processor);
    }
    Rest();
    {
      Bare bare;
      const Cost cost = Measure(kReads, [&] {
        for (int i = 0; i < kReads; ++i)
          bare.Read(handle);
      });
      bareTimes.push_back(cost.time);
      bareProcessors.push_back(cost.processor);
    }
    Rest();
  }
  const auto report = [](const char* what, double ours, double bare, double wanted) {
    std::printf("%-28s %8.0f us, bare loop %8.0f us: %.2f times (wanted %.2f)\n", what, ours * 1e6,
                bare * 1e6, ours / bare, wanted);
  };
  report("read round trip", Median(times), Median(bareTimes), 1.25);
  report("processor time of a read", Median(processors), Median(bareProcessors), 2);
}

void CompareNotifications() {
  std::vector<double> rates, bareRates;
  for (int round = 0; round < kRounds; ++round) {
    const auto timed = [&](std::vector<double>& all, auto receive) {
      std::thread sender([] { tests::Tell("notify 1000"); });
      const auto begin = steady_clock::now();
      receive();
      all.push_back(kNotifications / Seconds(steady_clock::now() - begin).count());
      sender.join();
    };
    std::uint16_t handle = 0;
    {
      Library library;
      library.Discover(kOwnService, kNotified);
      handle = library.ValueHandle();
      library.Subscribe();
      timed(rates, [&] { library.WaitForNotifications(); });
    }
    Rest();
    {
      Bare bare;
      bare.Subscribe(handle);
      timed(bareRates, [&] {
        for (std::uint32_t i = 0; i < kNotifications; ++i)
          if (bare.Receive() <= 0) throw std::runtime_error("bare socket: lost");
      });
    }
    Rest();
  }
  std::printf("%-28s %8.0f /s, bare loop %8.0f /s: %.2f times (wanted 0.80)\n", "notifications",
              Median(rates), Median(bareRates), Median(rates) / Median(bareRates));
}

void TimeFirstValue() {
  std::vector<double> times;
  for (int round = 0; round < kRounds; ++round) {
    times.push_back(Measure(1, [] {
                      Library library;
                      library.Discover("180F", "2A19");
                      library.Read();
                    }).time);
    Rest();
  }
  std::printf("%-28s %8.0f ms\n", "connect to first value", Median(times) * 1e3);
}

}  // namespace
}  // namespace ble::bench

/// Runs all comparisons, or one: connect, reads or notifications.
int main(int argc, char** argv) {
  const std::string only = argc > 1 ? argv[1] : "";
  bool compared = false;
  const auto compare = [&](const char* name, void (*comparison)()) {
    if (!only.empty() && only != name) return;
    comparison();
    compared = true;
  };
  try {
    setenv("CORVANEBLE_RADIO", "linux:hci0", 1);
    ble::tests::Tell("advertise");
    compare("connect", ble::bench::TimeFirstValue);
    compare("reads", ble::bench::CompareReads);
    compare("notifications", ble::bench::CompareNotifications);
    if (!compared) throw std::runtime_error("no comparison \"" + only + "\"");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}

// Looks for a heart rate strap, connects, and prints ten heart rates, through the C++ wrapper.
#include <corvaneble/corvaneble.hpp>
#include <deque>
#include <iostream>
#include <mutex>
#include <string>

namespace {

constexpr int kStepsPerSecond = 50;
constexpr int kWantedRates = 10;

/// What the handlers, which run on threads of the radio, tell the main thread.
class Inbox {
 public:
  void Heard(const std::string& address) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (strap_.empty()) strap_ = address;
  }
  std::string Strap() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return strap_;
  }

  void Put(int rate) {
    const std::lock_guard<std::mutex> lock(mutex_);
    rates_.push_back(rate);
  }
  bool Take(int& rate) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (rates_.empty()) return false;
    rate = rates_.front();
    rates_.pop_front();
    return true;
  }

 private:
  std::mutex mutex_;  // guards both fields
  std::string strap_;
  std::deque<int> rates_;
};

/// Heart Rate Measurement: flags, whose bit 0 says that the rate has 16 bits, then the rate.
/// `at` throws for a value that is too short, which becomes the client's event error.
int RateOf(const corvaneble::Bytes& value) {
  const bool isWide = (value.at(0) & 1) != 0;
  return isWide ? value.at(1) | value.at(2) << 8 : value.at(1);
}

bool HasUuid(const std::string& uuid, const std::string& digits) {
  return uuid.compare(4, 4, digits) == 0;
}

void Run(corvaneble::Client& client, Inbox& inbox) {
  client.OnAdvertisement([&](const auto& heard) { inbox.Heard(heard.serverId); });
  client.StartScanning("180D");
  if (!client.DoEventsUntil([&] { return !inbox.Strap().empty(); }, 30 * kStepsPerSecond))
    throw std::runtime_error("no strap is in range");

  client.Connect(inbox.Strap());  // ends the scan
  client.Discover("180D");
  std::cout << "connected to " << client.ServerName() << '\n';

  client.OnValue([&](const corvaneble::ValueEvent& event) {
    if (HasUuid(event.uuid, "2A37")) inbox.Put(RateOf(event.value));
  });
  const std::string service = client.Services().at(0).id;
  for (const auto& characteristic : client.Characteristics(service)) {
    if (HasUuid(characteristic.uuid, "2A38"))
      std::cout << "worn at place " << int{client.ReadValue(service, characteristic.id).at(0)}
                << '\n';
    if (HasUuid(characteristic.uuid, "2A37")) client.Subscribe(service, characteristic.id);
  }

  for (int i = 0; i < kWantedRates; ++i) {
    int rate = 0;
    if (!client.DoEventsUntil([&] { return inbox.Take(rate); }, 30 * kStepsPerSecond))
      throw std::runtime_error("the strap fell silent");
    std::cout << rate << " beats a minute\n";
  }
  client.Unsubscribe();
  client.Disconnect();
}

}  // namespace

int main() {
  Inbox inbox;  // before the client: handlers use it as long as that exists
  try {
    corvaneble::Client client;
    Run(client, inbox);
    if (const auto failed = client.EventError()) throw *failed;
    return 0;
  } catch (const corvaneble::Error& error) {
    std::cerr << error.what() << " (code " << error.Code() << ")\n";
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
  }
  return 1;
}

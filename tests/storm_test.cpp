#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "api/BLEClient.h"
#include "support/Host.h"
#include "support/StormRadio.h"

namespace ble::tests {
namespace {

/// Threads that repeat an action until they are stopped.
class Storm {
 public:
  explicit Storm(std::vector<std::function<void()>> gusts) {
    for (auto& gust : gusts) {
      threads_.emplace_back([this, gust = std::move(gust)] {
        while (!stop_) {
          gust();
          ++count_;
        }
      });
    }
  }
  ~Storm() {
    stop_ = true;
    for (std::thread& thread : threads_)
      thread.join();
  }
  Storm(const Storm&) = delete;
  Storm& operator=(const Storm&) = delete;

  std::uint64_t Count() const { return count_; }

 private:
  std::atomic<bool> stop_ = false;
  std::atomic<std::uint64_t> count_ = 0;
  std::vector<std::thread> threads_;
};

std::vector<std::function<void()>> AllGusts(const std::shared_ptr<StormRadio>& radio) {
  const Bytes value{1, 2, 3, 4};
  return {[radio] { radio->Hear(); }, [radio, value] { radio->Notify(0, value); },
          [radio, value] { radio->Notify(1, value); },
          [radio] {
            radio->ChangeName();
            radio->ChangeServices();
          },
          [radio] {
            radio->ChangeStatus(false);
            radio->ChangeStatus(true);
          }};
}

/// All operations of a host on a connection. Their codes depend on timing.
void LiveOn(CorvaneBLE_Handle handle) {
  const auto call = [&](int method, const char* a = "", const char* b = "") {
    std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(a),
                              reinterpret_cast<std::intptr_t>(b), 0, 0};
    std::int32_t lengths[4] = {};
    CorvaneBLE_BLEClient_Do(handle, method, 2, params, lengths, nullptr);
  };
  call(CORVANEBLE_METHOD_START_SCANNING);
  call(CORVANEBLE_METHOD_CONNECT, "00A050C4E2F1");
  call(CORVANEBLE_METHOD_DISCOVER_SERVICES);
  call(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, "000100000000");
  call(CORVANEBLE_METHOD_SELECT, "000100000000", "000100020000");
  call(CORVANEBLE_METHOD_SUBSCRIBE, "000100000000", "000100020000");
  for (int property = 1; property <= 32; ++property) {
    std::int32_t length = 0;
    CorvaneBLE_BLEClient_Get(handle, property, 0, &length, nullptr);
    CorvaneBLE_BLEClient_Get(handle, CORVANEBLE_WIDE + property, 1, &length, nullptr);
  }
  call(CORVANEBLE_METHOD_CONFIG, "GattObjTreeInfo");
  call(CORVANEBLE_METHOD_UNSUBSCRIBE);
  call(CORVANEBLE_METHOD_STOP_SCANNING);
  call(CORVANEBLE_METHOD_DISCONNECT);
}

TEST(Storm, EventsFromManyThreadsAgainstEveryCall) {
  std::shared_ptr<StormRadio> radio;
  Host host(StormRadio::Open(radio));
  std::atomic<std::uint64_t> answered = 0;
  std::atomic<int> values = 0;
  host.onEvent = [&](const HostEvent& event) {
    // Calls many functions inside the callback, like a careless host.
    const char* name = reinterpret_cast<const char*>(host.Get(CORVANEBLE_PROPERTY_SERVER_NAME));
    const char* error = CorvaneBLE_BLEClient_GetLastError(host.Handle());
    const char* uuid =
        reinterpret_cast<const char*>(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID, 0));
    answered += std::string(name).size() + std::string(error).size() + std::string(uuid).size();
    if (event.id == CORVANEBLE_EVENT_ADVERTISEMENT) {
      EXPECT_EQ(host.Config("ManufacturerDataCount"), "1");
      EXPECT_EQ(host.Config("ServiceData=180F"), "d");
    }
    if (event.id == CORVANEBLE_EVENT_VALUE) {
      ++values;
      EXPECT_EQ(event.Text(5).size(), 4U);
    }
    if (host.Events().size() > 5000) host.Forget();
    return event.id == CORVANEBLE_EVENT_SERVER_UPDATE ? 5 : 0;
  };
  {
    const Storm storm(AllGusts(radio));
    // The threads start at an arbitrary time; values arrive only after a characteristic is known.
    for (int round = 0; round < 12 || values == 0 || storm.Count() < 1000; ++round) {
      LiveOn(host.Handle());
    }
  }
  LiveOn(host.Handle());
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_SERVER_ID), "");
}

/// Counts callbacks, and those that run after Destroy has returned.
struct Silence {
  std::atomic<bool> destroyed = false;
  std::atomic<int> before = 0;
  std::atomic<int> after = 0;
};

std::int32_t CORVANEBLE_CALL CountCallback(void* userData, std::int32_t, std::int32_t,
                                           const std::intptr_t*, const std::int32_t*) {
  auto& silence = *static_cast<Silence*>(userData);
  ++(silence.destroyed ? silence.after : silence.before);
  return 0;
}

TEST(Storm, NoCallbackComesAfterDestroyReturned) {
  for (int round = 0; round < 8; ++round) {
    std::shared_ptr<StormRadio> radio;
    Silence silence;
    CorvaneBLE_Handle client =
        BLEClient::Create(&CountCallback, &silence, false, StormRadio::Open(radio));
    const Storm storm(AllGusts(radio));
    LiveOn(client);
    std::intptr_t params[] = {reinterpret_cast<std::intptr_t>("00A050C4E2F1")};
    CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_CONNECT, 1, params, nullptr, nullptr);
    params[0] = 0;
    CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_START_SCANNING, 1, params, nullptr, nullptr);
    const std::uint64_t then = storm.Count();
    while (storm.Count() < then + 50)
      std::this_thread::yield();
    CorvaneBLE_BLEClient_Destroy(client);
    silence.destroyed = true;
    const std::uint64_t now = storm.Count();
    while (storm.Count() < now + 50)
      std::this_thread::yield();
    EXPECT_GT(silence.before, 0);
    EXPECT_EQ(silence.after, 0);
  }
}

}  // namespace
}  // namespace ble::tests

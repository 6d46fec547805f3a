#include <benchmark/benchmark.h>

#include "AllocationCounter.h"
#include "BenchHost.h"

namespace ble::bench {
namespace {

/// 31 bytes: flags, a name, two service UUIDs, manufacturer data.
const Bytes kPayload = {2,    0x01, 0x06, 9,    0x09, 'H',  'R',  ' ',  'S', 't',  'r',
                        'a',  'p',  5,    0x03, 0x0D, 0x18, 0x0F, 0x18, 11,  0xFF, 0x4C,
                        0x00, 1,    2,    3,    4,    5,    6,    7,    8};

/// From the callback of the platform to the return of the host, for one Advertisement event.
void Advertisement(benchmark::State& state) {
  const auto radio = std::make_shared<LoopbackRadio>();
  const BenchHost host({radio, SystemClock(), SystemPump()}, state.range(0) != 0);
  if (host.Do(CORVANEBLE_METHOD_START_SCANNING) != 0) state.SkipWithError("no scan");
  const BluetoothLEAdvertisement advertisement(kPayload);
  const BluetoothLEAdvertisementReceivedEventArgs args{advertisement, 0xC0FFEE000001, -60, {}};
  radio->Ether().Hear(args);  // lets the storage grow first
  const std::uint64_t eventsBefore = host.Events();
  const std::size_t before = AllocationsNow().count;
  for (auto _ : state)
    radio->Ether().Hear(args);
  const auto iterations = static_cast<double>(state.iterations());
  state.counters["allocations"] = static_cast<double>(AllocationsNow().count - before) / iterations;
  state.SetItemsProcessed(static_cast<std::int64_t>(host.Events() - eventsBefore));
}
BENCHMARK(Advertisement)->ArgName("utf16")->Arg(0)->Arg(1);

}  // namespace
}  // namespace ble::bench

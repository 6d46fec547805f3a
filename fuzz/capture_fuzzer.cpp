#include "backends/simulated/Capture.h"
#include "fuzz/Input.h"

// Fuzzes capture files.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ble;
  using ble::fuzz::Require;

  const simulated::CaptureResult result = simulated::ParseCapture({data, size});
  if (result.error) {
    Require(result.reports.empty());
    Require(result.error->offset <= size && !result.error->text.empty());
  }
  std::size_t heard = 0;
  BluetoothLEAdvertisement advertisement;
  for (const simulated::CapturedReport& report : result.reports) {
    Require(report.address >> 48 == 0);
    Require(report.type >= BluetoothLEAdvertisementType::ConnectableUndirected &&
            report.type <= BluetoothLEAdvertisementType::ScanResponse);
    heard += report.payload.size();
    advertisement.Assign(report.payload);
  }
  Require(heard <= size);  // no byte of the file may be reported twice
  return 0;
}

#include "radio/HeldAdvertisement.h"

#include <algorithm>
#include <limits>

#include "radio/AdvertisementUuids.h"

namespace ble {
namespace {

/// What the host sees when a packet does not say its transmission power.
constexpr std::int32_t kNoTxPower = std::numeric_limits<std::int32_t>::min();

std::int32_t TxPowerOf(const BluetoothLEAdvertisement& advertisement) {
  for (const auto& section : advertisement.DataSections()) {
    if (section.dataType != advertisement_data_type::kTxPowerLevel) continue;
    return section.data.empty() ? 0 : static_cast<std::int8_t>(section.data.front());
  }
  return kNoTxPower;
}

}  // namespace

AdvertisementReport HeldAdvertisement::Hold(const BluetoothLEAdvertisementReceivedEventArgs& args,
                                            const TextCodec& codec) {
  advertisement_ = &args.advertisement;
  serverId_ = ServerId(args.bluetoothAddress);
  codec.ToNarrowLossy(args.advertisement.LocalName(), name_);
  JoinUuids(args.advertisement.ServiceUuids(), serviceUuids_);

  // A malformed packet is not a failure of this instance.
  (void)ServiceDataUuids(*advertisement_, serviceDataUuids_, serviceDataValues_, servicesWithData_);
  (void)SolicitedUuids(*advertisement_, solicitedUuids_, solicitedServiceUuids_);

  AdvertisementReport report;
  report.serverId = serverId_.c_str();
  report.name = name_.c_str();
  report.rssi = args.rawSignalStrengthInDBm;
  report.txPower = TxPowerOf(*advertisement_);
  report.serviceUuids = serviceUuids_.c_str();
  report.servicesWithData = servicesWithData_.c_str();
  report.solicitedServiceUuids = solicitedServiceUuids_.c_str();
  if (const auto& sections = ManufacturerData(); !sections.empty()) {
    report.manufacturerCompanyId = sections.front().companyId;
    report.manufacturerData = sections.front().data;
  }
  report.isConnectable =
      args.advertisementType == BluetoothLEAdvertisementType::ConnectableUndirected ||
      args.advertisementType == BluetoothLEAdvertisementType::ConnectableDirected;
  report.isScanResponse = args.advertisementType == BluetoothLEAdvertisementType::ScanResponse;
  return report;
}

const ByteView* HeldAdvertisement::ServiceData(const Uuid& uuid) const {
  const auto found = std::find(serviceDataUuids_.begin(), serviceDataUuids_.end(), uuid);
  if (found == serviceDataUuids_.end()) return nullptr;
  return &serviceDataValues_[static_cast<std::size_t>(found - serviceDataUuids_.begin())];
}

}  // namespace ble

#include "gatt/TreeReport.h"

#include "base/Text.h"
#include "gatt/CharacteristicFlags.h"

namespace ble {
namespace {

constexpr std::string_view kHeader =
    "GATT Object Tree Info [>Services, >>Characteristics, >>>Descriptors]:\r\n";

/// What every line begins with: level mark, UUID, the name if there is one, the id.
template <class Entry>
std::string LineStart(std::string_view mark, const Entry& entry) {
  const std::string_view name = entry.name;
  std::string line = Concat(mark, entry.uuidText.View(), " ");
  if (!name.empty()) line += Concat(Quoted{name}, " ");
  return line + Concat("[ID=", entry.id.View());
}

std::string ServiceLine(const GattObjectTree& tree, const ServiceEntry& service) {
  return LineStart(">", service) + Concat(", ParentSvcIds=", Quoted{tree.ParentIds(service)},
                                          ", IncludedSvcIds=", Quoted{tree.IncludedIds(service)},
                                          "]\r\n");
}

std::string CharacteristicLine(const CharacteristicEntry& characteristic, const TextCodec& codec) {
  const std::uint32_t flags = characteristic.state.flags;
  const bool subscribed = characteristic.subscription == SubscriptionState::Subscribed;
  // Up to its first zero byte, where it ends for the host: the device chose it, and the report goes
  // on behind it.
  const std::string whole = codec.ToSystemNarrow(characteristic.platform->UserDescription());
  const std::string_view description = whole.c_str();
  return LineStart(">>", characteristic) +
         Concat(", Flags=0x", Hex{flags, true}, " (", FlagsText(flags),
                "), Subscribed=", std::string_view(subscribed ? "True" : "False"),
                ", UserDescr=", Quoted{description},
                ", VFCount=", characteristic.platform->PresentationFormats().size(), "]\r\n");
}

}  // namespace

std::string FormatTreeReport(const GattObjectTree& tree, const TextCodec& codec) {
  std::string report(kHeader);
  for (const ServicePtr& service : tree.Services()) {
    report += ServiceLine(tree, *service);
    for (const CharacteristicPtr& characteristic : tree.CharacteristicsOf(*service)) {
      report += CharacteristicLine(*characteristic, codec);
      for (const DescriptorPtr& descriptor : tree.DescriptorsOf(*characteristic)) {
        report += LineStart(">>>", *descriptor) + "]\r\n";
      }
    }
  }
  return report;
}

}  // namespace ble

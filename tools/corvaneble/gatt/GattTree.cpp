#include "gatt/GattTree.h"

#include <utility>

#include "Interrupt.h"
#include "gatt/Link.h"

namespace corvaneble::tool {
namespace {

ReadOutcome TryRead(Client& client, const AttributePath& path) {
  StopIfInterrupted();
  try {
    return {0, "", client.ReadValue(path.service, path.characteristic, path.descriptor)};
  } catch (const Error& failure) {
    return {failure.Code(), failure.what(), {}};
  }
}

std::vector<DescriptorInfo> DescriptorsOf(Client& client, const std::string& characteristic) {
  client.SetSelectedCharacteristic(characteristic);
  std::vector<DescriptorInfo> descriptors;
  for (Descriptor& descriptor : client.Descriptors())
    descriptors.push_back({std::move(descriptor), {}});
  return descriptors;
}

std::vector<CharacteristicInfo> CharacteristicsOf(Client& client, const std::string& service,
                                                  bool descriptors) {
  client.SetSelectedService(service);
  std::vector<CharacteristicInfo> characteristics;
  for (Characteristic& characteristic : client.Characteristics()) {
    const int index = static_cast<int>(characteristics.size());
    CharacteristicInfo& info = characteristics.emplace_back();
    static_cast<Characteristic&>(info) = std::move(characteristic);
    if (!descriptors) continue;
    info.userDescription = client.CharacteristicUserDescription(index);
    info.formats = FormatsOf(client, index);
    info.descriptors = DescriptorsOf(client, info.id);
  }
  return characteristics;
}

}  // namespace

void DiscoverAllServices(Client& client) {
  client.DiscoverServices();
  // New services are appended to the list, known ones are not, so this ends even if services
  // include each other.
  for (int i = 0; i < client.ServiceCount(); ++i) {
    StopIfInterrupted();
    client.DiscoverServices("", client.ServiceId(i));
  }
}

void DiscoverAll(Client& client, bool descriptors) {
  client.Config("IncludeRediscovered", "False");
  client.Config("AutoDiscoverDescriptors", descriptors ? "True" : "False");
  DiscoverAllServices(client);
  const int count = client.ServiceCount();
  for (int i = 0; i < count; ++i) {
    StopIfInterrupted();
    client.DiscoverCharacteristics(client.ServiceId(i));
  }
}

std::vector<Format> FormatsOf(Client& client, int index) {
  std::vector<Format> formats;
  const int count = client.CharacteristicValueFormatCount(index);
  for (int i = 0; i < count; ++i) {
    client.SetCharacteristicValueFormatIndex(index, i);
    formats.push_back({client.CharacteristicValueFormat(index),
                       client.CharacteristicValueExponent(index),
                       client.CharacteristicValueUnit(index)});
  }
  return formats;
}

GattTree Snapshot(Client& client, bool descriptors) {
  GattTree tree{client.ServerId(), client.ServerName(), {}, {}};
  for (Service& service : client.Services()) {
    auto characteristics = CharacteristicsOf(client, service.id, descriptors);
    tree.services.push_back({std::move(service), std::move(characteristics)});
  }
  return tree;
}

void ReadValues(Client& client, GattTree& tree, const std::function<void(int)>& progress) {
  int done = 0;
  const auto read = [&](std::optional<ReadOutcome>& value, const AttributePath& path) {
    value = TryRead(client, path);
    progress(++done);
    if (LinkIsGone(value->code)) tree.interruptedBy = value;
    return !tree.interruptedBy;
  };
  for (ServiceInfo& service : tree.services)
    for (CharacteristicInfo& info : service.characteristics) {
      if (HasAny(info.flags, Flags::Read) && !read(info.value, {service.id, info.id, ""})) return;
      for (DescriptorInfo& descriptor : info.descriptors)
        if (!read(descriptor.value, {service.id, info.id, descriptor.id})) return;
    }
}

}  // namespace corvaneble::tool

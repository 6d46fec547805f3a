#include "gatt/GattTree.h"

#include "Interrupt.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

ReadOutcome TryRead(Client& client, const AttributePath& path) {
  StopIfInterrupted();
  try {
    return {0, "", client.Read(path)};
  } catch (const ClientError& failure) {
    return {failure.Code(), failure.what(), {}};
  }
}

std::vector<DescriptorInfo> DescriptorsOf(Client& client, const std::string& characteristic) {
  client.SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC, characteristic);
  std::vector<DescriptorInfo> descriptors;
  const int count = client.Number(CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT);
  descriptors.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    descriptors.push_back({{client.Text(CORVANEBLE_PROPERTY_DESCRIPTOR_ID, i),
                            client.Text(CORVANEBLE_PROPERTY_DESCRIPTOR_UUID, i),
                            client.Text(CORVANEBLE_PROPERTY_DESCRIPTOR_DESCRIPTION, i)},
                           {}});
  return descriptors;
}

std::vector<CharacteristicInfo> CharacteristicsOf(Client& client, const std::string& service,
                                                  bool descriptors) {
  client.SetText(CORVANEBLE_PROPERTY_SERVICE, service);
  std::vector<CharacteristicInfo> characteristics;
  const int count = client.Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT);
  for (int i = 0; i < count; ++i) {
    CharacteristicInfo info;
    info.id = client.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, i);
    info.uuid = client.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID, i);
    info.name = client.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_DESCRIPTION, i);
    info.flags = client.Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS, i);
    if (descriptors) {
      info.userDescription = client.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, i);
      info.formats = FormatsOf(client, i);
      info.descriptors = DescriptorsOf(client, info.id);
    }
    characteristics.push_back(std::move(info));
  }
  return characteristics;
}

}  // namespace

void DiscoverAllServices(Client& client) {
  client.DiscoverServices("", "");
  // What a service includes is appended to the list when it is new, so this ends, circles or not.
  for (int i = 0; i < client.Number(CORVANEBLE_PROPERTY_SERVICE_COUNT); ++i) {
    StopIfInterrupted();
    client.DiscoverServices("", client.Text(CORVANEBLE_PROPERTY_SERVICE_ID, i));
  }
}

void DiscoverAll(Client& client, bool descriptors) {
  client.Config("IncludeRediscovered=False");
  client.Config(descriptors ? "AutoDiscoverDescriptors=True" : "AutoDiscoverDescriptors=False");
  DiscoverAllServices(client);
  const int count = client.Number(CORVANEBLE_PROPERTY_SERVICE_COUNT);
  for (int i = 0; i < count; ++i) {
    StopIfInterrupted();
    client.DiscoverCharacteristics(client.Text(CORVANEBLE_PROPERTY_SERVICE_ID, i), "");
  }
}

std::vector<Format> FormatsOf(Client& client, int index) {
  std::vector<Format> formats;
  const int count = client.Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_COUNT, index);
  for (int i = 0; i < count; ++i) {
    client.SetNumber(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, i, index);
    formats.push_back({client.Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT, index),
                       client.Number(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_EXPONENT, index),
                       client.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT, index)});
  }
  return formats;
}

GattTree Snapshot(Client& client, bool descriptors) {
  GattTree tree;
  tree.serverId = client.Text(CORVANEBLE_PROPERTY_SERVER_ID);
  tree.serverName = client.Text(CORVANEBLE_PROPERTY_SERVER_NAME);
  const int count = client.Number(CORVANEBLE_PROPERTY_SERVICE_COUNT);
  for (int i = 0; i < count; ++i) {
    ServiceInfo service;
    service.id = client.Text(CORVANEBLE_PROPERTY_SERVICE_ID, i);
    service.uuid = client.Text(CORVANEBLE_PROPERTY_SERVICE_UUID, i);
    service.name = client.Text(CORVANEBLE_PROPERTY_SERVICE_DESCRIPTION, i);
    service.includes = SplitList(client.Text(CORVANEBLE_PROPERTY_SERVICE_INCLUDED_SVC_IDS, i));
    service.includedBy = SplitList(client.Text(CORVANEBLE_PROPERTY_SERVICE_PARENT_SVC_IDS, i));
    service.characteristics = CharacteristicsOf(client, service.id, descriptors);
    tree.services.push_back(std::move(service));
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
      if (info.flags & CORVANEBLE_FLAG_READ && !read(info.value, {service.id, info.id, ""})) return;
      for (DescriptorInfo& descriptor : info.descriptors)
        if (!read(descriptor.value, {service.id, info.id, descriptor.id})) return;
    }
}

bool LinkIsGone(int code) {
  return code == CORVANEBLE_ERROR_TIMEOUT || code == CORVANEBLE_ERROR_NOT_CONNECTED ||
         code == CORVANEBLE_ERROR_UNREACHABLE;
}

void Link::Renew() {
  client_.Disconnect();
  client_.Connect(address_);
}

Link::~Link() {
  try {
    client_.Disconnect();
  } catch (const ClientError&) {  // the instance is about to be destroyed and closes it then
  }
}

}  // namespace corvaneble::tool

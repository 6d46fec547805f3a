#include "gatt/Attributes.h"

#include <stdexcept>

#include "gatt/GattTree.h"
#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// The properties that list one level of the tree.
struct Level {
  const char* kind;
  int count;
  int id;
  int uuid;
  int description;
};

constexpr Level kServices{"service", CORVANEBLE_PROPERTY_SERVICE_COUNT,
                          CORVANEBLE_PROPERTY_SERVICE_ID, CORVANEBLE_PROPERTY_SERVICE_UUID,
                          CORVANEBLE_PROPERTY_SERVICE_DESCRIPTION};
constexpr Level kCharacteristics{"characteristic", CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT,
                                 CORVANEBLE_PROPERTY_CHARACTERISTIC_ID,
                                 CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID,
                                 CORVANEBLE_PROPERTY_CHARACTERISTIC_DESCRIPTION};
constexpr Level kDescriptors{"descriptor", CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT,
                             CORVANEBLE_PROPERTY_DESCRIPTOR_ID, CORVANEBLE_PROPERTY_DESCRIPTOR_UUID,
                             CORVANEBLE_PROPERTY_DESCRIPTOR_DESCRIPTION};

/// Indices of the elements that `wanted` names, by identifier or by UUID.
std::vector<int> Matches(Client& client, const Level& level, const std::string& wanted) {
  const bool byId = IsIdentifier(wanted);
  const std::string text = ToUpper(byId ? wanted : CanonicalUuid(wanted));
  std::vector<int> matches;
  const int count = client.Number(level.count);
  for (int i = 0; i < count; ++i)
    if (client.Text(byId ? level.id : level.uuid, i) == text) matches.push_back(i);
  return matches;
}

int TheOne(Client& client, const Level& level, const std::string& wanted,
           const std::string& owner = "the device") {
  const auto matches = Matches(client, level, wanted);
  if (matches.empty())
    throw std::runtime_error(owner + " has no " + std::string(level.kind) + " " + wanted);
  if (matches.size() == 1) return matches.front();
  std::string text = "the device has several: name the " + std::string(level.kind) + " by one of";
  for (const int match : matches)
    text.append(1, ' ').append(client.Text(level.id, match));
  throw std::runtime_error(text);
}

int FindService(Client& client, const std::string& wanted) {
  if (!IsIdentifier(wanted)) {
    client.DiscoverServices(wanted, "");
    if (!Matches(client, kServices, wanted).empty()) return TheOne(client, kServices, wanted);
  }
  DiscoverAllServices(client);  // it may be one that only another one includes
  return TheOne(client, kServices, wanted);
}

}  // namespace

bool IsIdentifier(const std::string& text) {
  return text.size() == 12 && IsHex(text);
}

FoundAttribute FindAttribute(Client& client, const AttributePath& wanted) {
  FoundAttribute found;
  const auto take = [&](const Level& level, int index) {
    found.uuid = client.Text(level.uuid, index);
    found.name = client.Text(level.description, index);
    return client.Text(level.id, index);
  };
  found.path.service = take(kServices, FindService(client, wanted.service));

  const std::string& characteristic = wanted.characteristic;
  client.DiscoverCharacteristics(found.path.service,
                                 IsIdentifier(characteristic) ? "" : characteristic);
  client.SetText(CORVANEBLE_PROPERTY_SERVICE, found.path.service);
  const int index = found.index =
      TheOne(client, kCharacteristics, characteristic, "service " + wanted.service);
  found.path.characteristic = take(kCharacteristics, index);
  if (wanted.descriptor.empty()) {
    found.formats = FormatsOf(client, index);
    return found;
  }
  client.DiscoverDescriptors(found.path.service, found.path.characteristic);
  client.SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC, found.path.characteristic);
  found.path.descriptor = take(kDescriptors, TheOne(client, kDescriptors, wanted.descriptor,
                                                    "characteristic " + characteristic));
  return found;
}

}  // namespace corvaneble::tool
